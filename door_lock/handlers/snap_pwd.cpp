#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/bus_dev.h"
#include "frame/memory.h"
#include "handlers/codecs.h"
#include "handlers/handlers.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"

namespace norla {
namespace {

constexpr int kResultOk = 0;
constexpr int kResultBadRequest = 3;
constexpr int kResultFailed = 4;
constexpr int32_t kUnlimitedUses = -1;
constexpr std::size_t kIndexTextLen = 32;
constexpr int kDecimal = 10;

// The lock's own refusals reach the platform under codes of their own.
struct RefusalMap {
    int device;
    int platform;
};
constexpr RefusalMap kRefusals[] = {
    {0x18001, 0x183001},
    {0x18002, 0x183002},
    {0x18003, 0x183003},
};

int MapDeviceRefusal(int ret) noexcept {
    for (const RefusalMap &row : kRefusals) {
        if (row.device == ret) {
            return row.platform;
        }
    }
    return kResultFailed;
}

long ToLong(const std::string &text) noexcept {
    return std::strtol(text.c_str(), nullptr, kDecimal);
}

// A text of the lock's record, never read past its field.
std::string FieldText(const char *field, std::size_t size) noexcept {
    return std::string(field, strnlen(field, size));
}

int ParseCreate(CMarkupSTL &req, oqDevSDK_DoorLock_SetSnapPwd_S *rec) noexcept {
    rec->usIndex = 0;
    if (!req.FindElem("Info")) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find elem:Info\n");
        return -1;
    }
    req.IntoElem();
    if (!req.FindElem("User")) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find elem:User\n");
        return -1;
    }
    std::string name = req.x_GetAttrib("Name");
    if (name.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Name\n");
        return -1;
    }
    std::snprintf(rec->szName, sizeof rec->szName, "%s", name.c_str());
    if (!req.FindElem("Expire")) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find elem:Expire\n");
        return -1;
    }
    std::string begin = req.x_GetAttrib("Begin");
    if (begin.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Begin\n");
        return -1;
    }
    rec->uiBeginTime = static_cast<uint32_t>(GetTimeFromDateStr(begin.c_str()));
    std::string end = req.x_GetAttrib("End");
    if (end.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:End\n");
        return -1;
    }
    rec->uiEndTime = static_cast<uint32_t>(GetTimeFromDateStr(end.c_str()));
    if (!req.FindElem("Limit")) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find elem:Limit\n");
        return -1;
    }
    std::string num = req.x_GetAttrib("Num");
    if (num.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Num\n");
        return -1;
    }
    rec->iLimitNum = static_cast<int32_t>(ToLong(num));
    rec->iAvailableCount = rec->iLimitNum;
    req.OutOfElem();
    return 0;
}

// Only create and delete exist; code 1 is refused like any unknown code.
int ParseSetSnapPassword(CMarkupSTL &req, oqDevSDK_DoorLock_SetSnapPwd_S *rec) noexcept {
    // The body starts before the UserDefine element the round trip appended.
    if (!req.FindElem("OptType", true)) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find elem:OptType\n");
        return -1;
    }
    std::string type = req.x_GetAttrib("Type");
    if (type.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Type\n");
        return -1;
    }
    rec->ucOptType = static_cast<uint8_t>(ToLong(type));
    if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_CREATE) {
        return ParseCreate(req, rec);
    }
    if (rec->ucOptType != OQDEVSDK_DOORLOCK_OPT_DELETE) {
        oqdev_debug(OQDEV_LOG_ERROR, "Invalid operation type:%d\n", rec->ucOptType);
        return -1;
    }
    std::string index = req.x_GetAttrib("Index");
    if (index.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Index\n");
        return -1;
    }
    rec->usIndex = static_cast<uint16_t>(ToLong(index) - 1);
    return 0;
}

int SendSnapPwd(oqDevSDK_DoorLock_SetSnapPwd_S *rec) noexcept {
    int ret = DoorLock_BusDev_Msg2Dev(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, rec,
                                      OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN);
    if (ret == 0) {
        return kResultOk;
    }
    oqdev_debug(OQDEV_LOG_ERROR, "Failed to set snap password, Result:%#x\n",
                static_cast<unsigned int>(ret));
    return MapDeviceRefusal(ret);
}

void AddSnapInfo(CMarkupSTL &rsp, const oqDevSDK_DoorLock_SnapPwdInfo_S &entry) noexcept {
    char date[kDateStrLen] = {};
    rsp.x_AddElem("Info");
    rsp.x_SetAttrib("Index", entry.usIndex + 1);
    rsp.IntoElem();
    rsp.x_AddElem("User");
    rsp.x_SetAttrib("Name", FieldText(entry.szName, sizeof entry.szName).c_str());
    rsp.x_AddElem("Expire");
    int32_t begin = static_cast<int32_t>(entry.uiBeginTime);
    GetDateStrFromTime(&begin, date, sizeof date);
    rsp.x_SetAttrib("Begin", date);
    int32_t end = static_cast<int32_t>(entry.uiEndTime);
    GetDateStrFromTime(&end, date, sizeof date);
    rsp.x_SetAttrib("End", date);
    rsp.x_AddElem("Limit");
    rsp.x_SetAttrib("Num", entry.iLimitNum);
    rsp.x_SetAttrib("AvailableCount",
                    entry.iLimitNum == kUnlimitedUses ? kUnlimitedUses : entry.iAvailableCount);
    rsp.OutOfElem();
}

}  // namespace

int ReqHnd_SetSnapPwd(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    auto rec = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetSnapPwd_S>();
    if (!rec) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to malloc mem, size=%u.\n",
                    OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD_LEN);
        DoorLock_xml_set_result(response, kResultFailed);
        response.x_AddElem("Index");
        response.x_AddElem("Pwd");
        return kResultFailed;
    }
    int result = kResultBadRequest;
    if (ParseSetSnapPassword(request, rec.get()) != 0) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to ParseSetSnapPassword.\n");
    } else {
        result = SendSnapPwd(rec.get());
    }
    DoorLock_xml_set_result(response, result);
    char index[kIndexTextLen] = {};
    std::snprintf(index, sizeof index, "%d", rec->usIndex + 1);
    response.x_AddElem("Index", index);
    response.x_AddElem("Pwd", FieldText(rec->szPwd, sizeof rec->szPwd).c_str());
    return result;
}

int ReqHnd_QuerySnapPwdInfo(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    (void)request;
    auto list = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SnapPwdList_S>();
    if (!list) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to malloc mem, size=%u.\n",
                    OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN);
        DoorLock_xml_set_result(response, kResultFailed);
        return kResultFailed;
    }
    if (DoorLock_BusDev_GetRuntimeInfo(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, list.get(),
                                       OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS_LEN) != 0) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to get snap password info.\n");
        DoorLock_xml_set_result(response, kResultFailed);
        return kResultFailed;
    }
    DoorLock_xml_set_result(response, kResultOk);
    for (unsigned int i = 0; i < list->usCount && i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        AddSnapInfo(response, list->astEntry[i]);
    }
    return kResultOk;
}

}  // namespace norla
