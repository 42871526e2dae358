// Owners of cJSON trees and printed texts, so that every path releases them.
#ifndef NORLA_MESSAGING_JSON_PTR_H
#define NORLA_MESSAGING_JSON_PTR_H

#include <cjson/cJSON.h>

#include <memory>

namespace norla {

struct JsonDeleter {
    void operator()(cJSON *item) const noexcept { cJSON_Delete(item); }
};
using JsonPtr = std::unique_ptr<cJSON, JsonDeleter>;

struct JsonTextDeleter {
    void operator()(char *text) const noexcept { cJSON_free(text); }
};
using JsonTextPtr = std::unique_ptr<char, JsonTextDeleter>;

}  // namespace norla

#endif
