#include <cstring>
#include <string>

#include "frame/bus_dev.h"
#include "frame/memory.h"
#include "frame/record_fetch.h"
#include "frame/text_field.h"
#include "handlers/codecs.h"
#include "handlers/handlers.h"
#include "handlers/xml_fields.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

constexpr int32_t kUnlimitedUses = -1;

// The lock's own refusals reach the platform under codes of their own.
struct RefusalMap {
    int device;
    int platform;
};
constexpr RefusalMap kRefusals[] = {
    {OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL, kResultSnapFull},
    {OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN, kResultSnapUnknown},
    {OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT, kResultSnapLimit},
};

int MapDeviceRefusal(int ret) {
    for (const RefusalMap &row : kRefusals) {
        if (row.device == ret) {
            return row.platform;
        }
    }
    return kResultRefused;
}

int ParseCreate(CMarkupSTL &req, oqDevSDK_DoorLock_SetSnapPwd_S *rec) {
    rec->usIndex = 0;
    if (!FindRequiredElem(req, "Info", false)) {
        return -1;
    }
    req.IntoElem();
    std::string text;
    if (!FindRequiredElem(req, "User", false) || !ReadRequiredAttrib(req, "Name", text)) {
        return -1;
    }
    CopyText(rec->szName, text.c_str());
    if (!FindRequiredElem(req, "Expire", false) || !ReadRequiredAttrib(req, "Begin", text)) {
        return -1;
    }
    rec->uiBeginTime = static_cast<uint32_t>(GetTimeFromDateStr(text.c_str()));
    if (!ReadRequiredAttrib(req, "End", text)) {
        return -1;
    }
    rec->uiEndTime = static_cast<uint32_t>(GetTimeFromDateStr(text.c_str()));
    if (!FindRequiredElem(req, "Limit", false) || !ReadRequiredInt(req, "Num", rec->iLimitNum)) {
        return -1;
    }
    rec->iAvailableCount = rec->iLimitNum;
    req.OutOfElem();
    return 0;
}

// Only create and delete exist; code 1 is refused like any unknown code.
int ParseSetSnapPassword(CMarkupSTL &req, oqDevSDK_DoorLock_SetSnapPwd_S *rec) {
    // The body starts before the UserDefine element the round trip appended.
    int32_t value = 0;
    if (!FindRequiredElem(req, "OptType", true) || !ReadRequiredInt(req, "Type", value)) {
        return -1;
    }
    rec->ucOptType = static_cast<uint8_t>(value);
    if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_CREATE) {
        return ParseCreate(req, rec);
    }
    if (rec->ucOptType != OQDEVSDK_DOORLOCK_OPT_DELETE) {
        oqdev_debug(kLogError, "Invalid operation type:%d\n", rec->ucOptType);
        return -1;
    }
    if (!ReadRequiredInt(req, "Index", value)) {
        return -1;
    }
    rec->usIndex = ToSlotIndex(value);
    return 0;
}

int SendSnapPwd(oqDevSDK_DoorLock_SetSnapPwd_S *rec) {
    int ret = DoorLock_BusDev_Send(*rec);
    if (ret == 0) {
        return kResultOk;
    }
    oqdev_debug(kLogError, "Failed to set snap password, Result:%#x\n",
                static_cast<unsigned int>(ret));
    return MapDeviceRefusal(ret);
}

void AddSnapInfo(CMarkupSTL &rsp, const oqDevSDK_DoorLock_SnapPwdInfo_S &entry) {
    char date[kDateStrLen] = {};
    rsp.x_AddElem("Info");
    rsp.x_SetAttrib("Index", entry.usIndex + 1);
    rsp.IntoElem();
    rsp.x_AddElem("User");
    rsp.x_SetAttrib("Name", FieldText(entry.szName).c_str());
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

int ReqHnd_SetSnapPwd(CMarkupSTL &request, CMarkupSTL &response) {
    auto rec = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetSnapPwd_S>();
    if (!rec) {
        DoorLock_LogMallocFailed(ToDevice<oqDevSDK_DoorLock_SetSnapPwd_S>::kLen);
        FinishResponse(response, kResultRefused);
        response.x_AddElem("Index");
        response.x_AddElem("Pwd");
        return kResultRefused;
    }
    int result = kResultBadRequest;
    if (ParseSetSnapPassword(request, rec.get()) != 0) {
        oqdev_debug(kLogError, "Failed to ParseSetSnapPassword.\n");
    } else {
        result = SendSnapPwd(rec.get());
    }
    FinishResponse(response, result);
    AddIndexElem(response, rec->usIndex);
    response.x_AddElem("Pwd", FieldText(rec->szPwd).c_str());
    return result;
}

int ReqHnd_QuerySnapPwdInfo(CMarkupSTL &request, CMarkupSTL &response) {
    (void)request;
    auto list = DoorLock_FetchRecord<oqDevSDK_DoorLock_SnapPwdList_S>(
        "Failed to get snap password info.\n");
    if (!list) {
        return FinishResponse(response, kResultRefused);
    }
    FinishResponse(response, kResultOk);
    for (unsigned int i = 0; i < list->usCount && i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        AddSnapInfo(response, list->astEntry[i]);
    }
    return kResultOk;
}

}  // namespace norla
