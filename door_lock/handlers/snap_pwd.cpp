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
constexpr DoorLock_Refusal_S kSnapRefusals[] = {
    {OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL, kResultSnapFull},
    {OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_UNKNOWN, kResultSnapUnknown},
    {OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT, kResultSnapLimit},
};

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
    return MapDeviceRefusal(kSnapRefusals, ret);
}

void AddSnapInfo(DoorLock_XmlWriter &rsp, const oqDevSDK_DoorLock_SnapPwdInfo_S &entry) {
    char begin[kDateStrLen] = {};
    char end[kDateStrLen] = {};
    const auto beginTime = static_cast<int32_t>(entry.uiBeginTime);
    const auto endTime = static_cast<int32_t>(entry.uiEndTime);
    GetDateStrFromTime(&beginTime, begin, sizeof begin);
    GetDateStrFromTime(&endTime, end, sizeof end);
    rsp.Elem("Info")
        .Attr("Index", entry.usIndex + 1)
        .Into()
        .Elem("User")
        .Attr("Name", FieldText(entry.szName).c_str())
        .Elem("Expire")
        .Attr("Begin", begin)
        .Attr("End", end)
        .Elem("Limit")
        .Attr("Num", entry.iLimitNum)
        .Attr("AvailableCount",
              entry.iLimitNum == kUnlimitedUses ? kUnlimitedUses : entry.iAvailableCount)
        .Out();
}

}  // namespace

int ReqHnd_SetSnapPwd(CMarkupSTL &request, DoorLock_XmlWriter &response) {
    auto rec = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetSnapPwd_S>();
    if (!rec) {
        DoorLock_LogMallocFailed(ToDevice<oqDevSDK_DoorLock_SetSnapPwd_S>::kLen);
        response.Elem("Index").Elem("Pwd");
        return kResultRefused;
    }
    int result = kResultBadRequest;
    if (ParseSetSnapPassword(request, rec.get()) != 0) {
        oqdev_debug(kLogError, "Failed to ParseSetSnapPassword.\n");
    } else {
        result = SendSnapPwd(rec.get());
    }
    AddIndexElem(response, rec->usIndex).Elem("Pwd", FieldText(rec->szPwd).c_str());
    return result;
}

int ReqHnd_QuerySnapPwdInfo(CMarkupSTL & /*request*/, DoorLock_XmlWriter &response) {
    auto list = DoorLock_FetchRecord<oqDevSDK_DoorLock_SnapPwdList_S>(
        "Failed to get snap password info.\n");
    if (!list) {
        return kResultRefused;
    }
    for (unsigned int i = 0; i < list->usCount && i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        AddSnapInfo(response, list->astEntry[i]);
    }
    return kResultOk;
}

}  // namespace norla
