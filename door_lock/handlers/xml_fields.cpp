#include "handlers/xml_fields.h"

#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "frame/domain_ids.h"
#include "messaging/envelope.h"
#include "oqdev_kernel.h"
#include "oqdev_log.h"

namespace norla {
namespace {

constexpr int kDecimal = 10;
constexpr std::size_t kIndexTextLen = 32;
constexpr std::size_t kHourMinuteTextLen = 32;
constexpr const char *kDevSerialKey = "dev_subserial";

// The scan writes straight into the record's fields.
static_assert(std::is_same<int32_t, int>::value, "%d scans into int32_t");

void LogMissing(const char *kind, const char *name, Missing how) noexcept {
    const char *stop = how.bFullStop ? "." : "";
    if (how.iIndex < 0) {
        oqdev_debug(kLogError, "Failed to find %s:%s%s\n", kind, name, stop);
    } else {
        oqdev_debug(kLogError, "[Index %d]Failed to find %s:%s%s\n", how.iIndex, kind, name, stop);
    }
}

}  // namespace

int FinishResponse(CMarkupSTL &response, int result) noexcept {
    DoorLock_xml_set_result(response, result);
    return result;
}

long ToLong(const std::string &text) noexcept {
    return std::strtol(text.c_str(), nullptr, kDecimal);
}

int32_t ToInt32(const std::string &text) noexcept {
    return static_cast<int32_t>(ToLong(text));
}

bool FindRequiredElem(CMarkupSTL &xml, const char *name, bool fromFirst, Missing how) noexcept {
    if (xml.FindElem(name, fromFirst)) {
        return true;
    }
    LogMissing("elem", name, Missing{how.bFullStop, -1});
    return false;
}

bool ReadRequiredAttrib(const CMarkupSTL &xml, const char *name, std::string &text,
                        Missing how) noexcept {
    text = xml.x_GetAttrib(name);
    if (text.empty()) {
        LogMissing("attrib", name, how);
        return false;
    }
    return true;
}

bool ReadRequiredLong(const CMarkupSTL &xml, const char *name, long &value, Missing how) noexcept {
    std::string text;
    if (!ReadRequiredAttrib(xml, name, text, how)) {
        return false;
    }
    value = ToLong(text);
    return true;
}

bool ReadRequiredInt(const CMarkupSTL &xml, const char *name, int32_t &value,
                     Missing how) noexcept {
    long wide = 0;
    if (!ReadRequiredLong(xml, name, wide, how)) {
        return false;
    }
    value = static_cast<int32_t>(wide);
    return true;
}

void ScanHourMinute(const std::string &text, int32_t *hour, int32_t *minute) noexcept {
    std::sscanf(text.c_str(), "%02d:%02d", hour, minute);
}

bool SetHourMinuteAttrib(CMarkupSTL &xml, const char *name, int32_t hour, int32_t minute) noexcept {
    // Room for "-2147483648:-2147483648".
    char text[kHourMinuteTextLen] = {};
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return xml.x_SetAttrib(name, text);
}

bool AddIndexElem(CMarkupSTL &xml, uint16_t index) noexcept {
    char text[kIndexTextLen] = {};
    std::snprintf(text, sizeof text, "%d", index + 1);
    return xml.x_AddElem("Index", text);
}

bool AddDevSerial(CMarkupSTL &xml) noexcept {
    const char *serial = oqdev_sdk_kernel_getdevinfo_bykey(kDevSerialKey);
    return xml.x_AddElem("DevSerial", serial != nullptr ? serial : "");
}

}  // namespace norla
