#include <cstring>
#include <string>

#include "frame/bus_dev.h"
#include "frame/text_field.h"
#include "handlers/handlers.h"
#include "handlers/xml_fields.h"
#include "messaging/envelope.h"
#include "messaging/number_text.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_log.h"
#include "oqdev_status_report.h"
#include "oqdev_time.h"
#include "vocabulary.h"

namespace norla {
namespace {

using Plan = oqDevSDK_DoorLock_AutoFaceUnlockPlan_S;

int VerifyResultCode(uint32_t verify) {
    if (verify == OQDEVSDK_DOORLOCK_VERIFY_OK) {
        return kResultOk;
    }
    return verify == OQDEVSDK_DOORLOCK_VERIFY_FAILED ? kResultVerifyFailed : kResultVerifyOther;
}

int ParseUserVerify(CMarkupSTL &req, oqDevSDK_DoorLock_UserVerify_S *rec) {
    if (!FindRequiredElem(req, "UserID", true, kMissFullStop)) {
        return -1;
    }
    CopyText(rec->szUserId, req.x_GetData().c_str());
    if (!FindRequiredElem(req, "Timeout", false, kMissFullStop)) {
        return -1;
    }
    rec->uiTimeout = NumText_ToULong(req.x_GetData().c_str());
    if (rec->uiTimeout == 0) {
        rec->uiTimeout = OQDEVSDK_DOORLOCK_VERIFY_DEFAULT_TIMEOUT;
    }
    return 0;
}

// Reads up to four Plan slots of one Date into the day; the position is on
// the Date and stays there.
void ParseDay(CMarkupSTL &req, oqDevSDK_DoorLock_FacePlanSlot_S *day) {
    req.IntoElem();
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS; ++slot) {
        if (!req.FindElem("Plan")) {
            break;
        }
        day[slot].uiBegin = oqdev_ParseTimeHHMM(req.x_GetAttrib("B").c_str());
        day[slot].uiEnd = oqdev_ParseTimeHHMM(req.x_GetAttrib("E").c_str());
    }
    req.OutOfElem();
}

// Fills the requested schedule from the Date elements after Actor; true when
// at least one Date was met, even one naming no valid weekday.
bool ParseSchedule(CMarkupSTL &req, Plan *plan) {
    bool met = false;
    for (int i = 0; i < OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS; ++i) {
        if (!req.FindElem("Date")) {
            break;
        }
        met = true;
        int day = req.x_GetAttrib("Weekday")[0] - '0';
        if (day < 0 || day >= OQDEVSDK_DOORLOCK_FACE_PLAN_DAYS) {
            continue;
        }
        ParseDay(req, plan->astDay[day]);
    }
    return met;
}

}  // namespace

int ReqHnd_TriggerUserVerify(CMarkupSTL &request, DoorLock_XmlWriter & /*response*/) {
    oqDevSDK_DoorLock_UserVerify_S rec;
    std::memset(&rec, 0, sizeof rec);
    int result = kResultBadRequest;
    if (ParseUserVerify(request, &rec) == 0) {
        if (DoorLock_BusDev_Send(rec) != 0) {
            oqdev_debug(kLogError, "Failed to trigger user verify.\n");
            result = kResultRefused;
        } else {
            result = VerifyResultCode(rec.uiVerifyResult);
        }
    }
    return result;
}

// The request's schedule replaces the lock's whole table (never merged day by
// day); what the request leaves out is kept as the lock reported it.
int ReqHnd_SetDevPlan(CMarkupSTL &request, DoorLock_XmlWriter & /*response*/) {
    oqdev_debug(kLogInfo, "ReqHnd_SetDevPlan\n");
    Plan wanted;
    Plan current;
    std::memset(&wanted, 0, sizeof wanted);
    std::memset(&current, 0, sizeof current);

    bool hasEnable = request.FindElem("Enable", true);
    if (hasEnable) {
        wanted.iEnable = NumText_ToLong(request.x_GetData().c_str()) != 0 ? 1 : 0;
    }
    if (!request.FindElem("Actor", !hasEnable)) {
        oqdev_debug(kLogError, "without actor element.\n");
        return kResultPlanRefused;
    }
    wanted.uiChannel =
        static_cast<uint32_t>(NumText_ToLong(request.x_GetAttrib("Channel").c_str()));
    if (NumText_ToLong(request.x_GetAttrib("PlanType").c_str()) != kAutoFacePlanType) {
        oqdev_debug(kLogError, "unspport plan type \n");
        return kResultPlanRefused;
    }
    bool hasSchedule = ParseSchedule(request, &wanted);

    if (DoorLock_BusDev_Fetch(current) != 0) {
        oqdev_debug(kLogError, "DoorLock SetDevplan get runtimeinfo error\n");
        return kResultPlanRefused;
    }
    if (hasEnable) {
        current.iEnable = wanted.iEnable;
    }
    if (hasSchedule) {
        std::memcpy(current.astDay, wanted.astDay, sizeof current.astDay);
    }
    current.uiChannel = wanted.uiChannel;

    const int result = DoorLock_BusDev_Send(current) == 0 ? kResultOk : kResultRefused;
    oqDevSDK_report_set_force_report(kStatusAutoFacePlan);
    return result;
}

}  // namespace norla
