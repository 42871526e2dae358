// Pieces shared by the status items' change detectors and reports.
#ifndef NORLA_STATUS_ITEM_COMMON_H
#define NORLA_STATUS_ITEM_COMMON_H

#include <cstring>
#include <type_traits>

namespace norla {

// Byte-wise change detection: any byte the device changes, reserved ones
// included, is news. Copies the fetched record into the cache when it differs.
template <typename T>
bool TakeIfChanged(T &cache, const T &fetched) {
    static_assert(std::is_trivially_copyable<T>::value, "records are compared as bytes");
    if (std::memcmp(&fetched, &cache, sizeof cache) == 0) {
        return false;
    }
    std::memcpy(&cache, &fetched, sizeof cache);
    return true;
}

// What a detector answers for a failed fetch: one class of device errors is
// passed up as -1, every other failure counts as no change.
int IsChangedFetchError(int devRet);

// A report whose body is one Status element with Type and Value.
int SendStatusReport(const char *type, const char *value);

}  // namespace norla

#endif
