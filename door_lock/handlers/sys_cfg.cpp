#include <cjson/cJSON.h>

#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>

#include "frame/bus_dev.h"
#include "frame/kernel_domain.h"
#include "frame/module.h"
#include "frame/text_field.h"
#include "handlers/handlers.h"
#include "handlers/xml_fields.h"
#include "messaging/envelope.h"
#include "messaging/json_ptr.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

// More than a full day, deliberately not exactly one.
constexpr int64_t kSysCfgQuietSeconds = 86401;
constexpr std::size_t kCfgNameLen = 32;
constexpr unsigned int kLowByteMask = 0xFFu;

int32_t Now() {
    return static_cast<int32_t>(std::time(nullptr));
}

// Authorization comes before DevSerial in this request, unlike the reports.
bool BuildSysCfgRequest(DoorLock_XmlWriter &xml) {
    DoorLock_xml_add_dev_serial(DoorLock_xml_init_req(xml).Elem("Authorization"))
        .Elem("Type", kSysCfgDLPower);
    return xml.Ok();
}

int SetDLPower(const char *jsonText) {
    JsonPtr json(cJSON_Parse(jsonText));
    if (json == nullptr) {
        oqdev_debug(kLogError, "Failed to parse json.\n");
        return -1;
    }
    oqDevSDK_DoorLock_DLPower_S rec;
    std::memset(&rec, 0, sizeof rec);
    const cJSON *item = cJSON_GetObjectItem(json.get(), kJsonLowPercent);
    if (item == nullptr) {
        oqdev_debug(kLogError, "Failed to find item:low_percent\n");
        return -1;
    }
    rec.ucLowPercent =
        static_cast<uint8_t>(static_cast<unsigned int>(item->valueint) & kLowByteMask);
    if (DoorLock_BusDev_Send(rec) != 0) {
        oqdev_debug(kLogError, "Failed to set dlpower.\n");
        return -1;
    }
    return 0;
}

}  // namespace

int DoorLock_SystemConfig() {
    if (DoorLock_GetRegisterStatus() != kRegistered) {
        return 0;
    }
    int64_t elapsed =
        static_cast<int64_t>(Now()) - g_stInnerCtrl.tLastSysCfg.load(std::memory_order_relaxed);
    if (elapsed < kSysCfgQuietSeconds) {
        return 0;
    }
    CMarkupSTL doc;
    DoorLock_XmlWriter xml(doc);
    if (!BuildSysCfgRequest(xml)) {
        oqdev_debug(kLogError, "Failed to build system config req of DoorLock.\n");
        return 0;
    }
    // The next tick is the retry; the send's result changes nothing here.
    (void)DoorLock_send_msg_to_platform(xml, kCmdSystemConfigReq, kDoorLockVersion, 0,
                                        DoorLock_GetNextSeq());
    return 0;
}

int RspHnd_SetSystemConfig(const char *data, int /*len*/) {
    CMarkupSTL xml;
    if (!xml.SetDoc(data)) {
        oqdev_debug(kLogError, "Failed to parse XML rsp in system config resp of DoorLock.\n");
        return -1;
    }
    int result = DoorLock_xml_get_result(xml);
    if (result != 0) {
        oqdev_debug(kLogError, "Invalid result %d from platform, by getting system config rsp.\n",
                    result);
        return -1;
    }
    std::string name;
    if (!FindRequiredElem(xml, "Type", false) || !ReadRequiredAttrib(xml, "name", name)) {
        return -1;
    }
    char szName[kCfgNameLen] = {0};
    CopyText(szName, name.c_str());
    std::string value;
    if (!ReadRequiredAttrib(xml, "value", value)) {
        return -1;
    }
    if (std::strcmp(szName, kSysCfgDLPower) != 0) {
        oqdev_debug(kLogError, "Invalid system config resp type:%s\n", szName);
        return -1;
    }
    if (SetDLPower(value.c_str()) != 0) {
        oqdev_debug(kLogError, "Failed to set DLPower.\n");
        return -1;
    }
    g_stInnerCtrl.tLastSysCfg.store(Now(), std::memory_order_relaxed);
    return 0;
}

}  // namespace norla
