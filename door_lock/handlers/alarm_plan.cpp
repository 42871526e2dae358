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

constexpr unsigned int kWeekdayTextLen = 32;

// What does not scan keeps the allocation's zeros.
int ParseDates(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) {
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES; ++slot) {
        if (!req.FindElem("Date")) {
            break;
        }
        oqDevSDK_DoorLock_AlarmPeriod_S &period = rec->astDate[slot];
        std::string text;
        if (!ReadRequiredAttrib(req, "Begin", text, InSlot(slot))) {
            return -1;
        }
        ScanHourMinute(text, &period.iBeginHour, &period.iBeginMinute);
        if (!ReadRequiredAttrib(req, "End", text, InSlot(slot))) {
            return -1;
        }
        ScanHourMinute(text, &period.iEndHour, &period.iEndMinute);
        ++rec->usDateNum;
    }
    return 0;
}

int ParseUsers(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) {
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS; ++slot) {
        if (!req.FindElem("User")) {
            break;
        }
        oqDevSDK_DoorLock_AlarmUser_S &user = rec->astUser[slot];
        int32_t index = 0;
        if (!ReadRequiredInt(req, "Index", index, InSlot(slot))) {
            return -1;
        }
        user.usIndex = ToSlotIndex(index);
        std::string name;
        if (!ReadRequiredAttrib(req, "Name", name, InSlot(slot))) {
            return -1;
        }
        CopyText(user.szName, name.c_str());
        ++rec->usUserNum;
    }
    return 0;
}

int ParsePlan(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) {
    int32_t enable = 0;
    if (!FindRequiredElem(req, "Plan", false) || !ReadRequiredInt(req, "Enable", enable)) {
        return -1;
    }
    rec->ucEnable = static_cast<uint8_t>(enable);
    std::string weekday;
    if (!ReadRequiredAttrib(req, "Weekday", weekday)) {
        return -1;
    }
    WeekDay_Str2Data(weekday.c_str(), &rec->ucWeekday);
    req.IntoElem();
    if (req.FindElem("DateList")) {
        req.IntoElem();
        if (ParseDates(req, rec) != 0) {
            return -1;
        }
        req.OutOfElem();
    }
    if (!req.FindElem("UserList")) {
        req.OutOfElem();
        return 0;
    }
    req.IntoElem();
    if (ParseUsers(req, rec) != 0) {
        return -1;
    }
    req.OutOfElem();
    req.OutOfElem();
    return 0;
}

// Every non-zero code but delete reads a whole plan, as a change does.
int ParseSetNotBackAlarmPlan(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) {
    int32_t value = 0;
    if (!FindRequiredElem(req, "OptType", true) || !ReadRequiredInt(req, "Type", value)) {
        return -1;
    }
    rec->ucOptType = static_cast<uint8_t>(value);
    rec->usIndex = 0;
    if (rec->ucOptType != OQDEVSDK_DOORLOCK_OPT_CREATE) {
        if (!ReadRequiredInt(req, "Index", value)) {
            return -1;
        }
        rec->usIndex = ToSlotIndex(value);
        if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
            return 0;
        }
    }
    return ParsePlan(req, rec);
}

void AddDates(DoorLock_XmlWriter &rsp, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) {
    rsp.Elem("DateList").Into();
    for (unsigned int i = 0; i < plan.usDateNum && i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
         ++i) {
        const oqDevSDK_DoorLock_AlarmPeriod_S &period = plan.astDate[i];
        rsp.Elem("Date");
        SetHourMinuteAttrib(rsp, "Begin", period.iBeginHour, period.iBeginMinute);
        SetHourMinuteAttrib(rsp, "End", period.iEndHour, period.iEndMinute);
    }
    rsp.Out();
}

void AddUsers(DoorLock_XmlWriter &rsp, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) {
    rsp.Elem("UserList").Into();
    for (unsigned int i = 0; i < plan.usUserNum && i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
         ++i) {
        const oqDevSDK_DoorLock_AlarmUser_S &user = plan.astUser[i];
        rsp.Elem("User")
            .Attr("Index", user.usIndex + 1)
            .Attr("Name", FieldText(user.szName).c_str());
    }
    rsp.Out();
}

void AddPlanEntry(DoorLock_XmlWriter &rsp, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) {
    char weekday[kWeekdayTextLen] = {};
    WeekDay_Data2Str(plan.ucWeekday, weekday, kWeekdayTextLen);
    rsp.Elem("Plan")
        .Attr("Index", plan.usIndex + 1)
        .Attr("Enable", plan.ucEnable)
        .Attr("Weekday", weekday)
        .Into();
    AddDates(rsp, plan);
    AddUsers(rsp, plan);
    rsp.Out();
}

}  // namespace

int ReqHnd_SetNotBackAlarmPlan(CMarkupSTL &request, DoorLock_XmlWriter &response) {
    auto rec = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetAlarmPlan_S>();
    if (!rec) {
        DoorLock_LogMallocFailed(ToDevice<oqDevSDK_DoorLock_SetAlarmPlan_S>::kLen);
        response.Elem("Index", "0");
        return kResultRefused;
    }
    int result = kResultOk;
    if (ParseSetNotBackAlarmPlan(request, rec.get()) != 0) {
        oqdev_debug(kLogError, "Failed to ParseSetNotBackAlarmPlan.\n");
        result = kResultBadRequest;
    } else if (DoorLock_BusDev_Send(*rec) != 0) {
        oqdev_debug(kLogError, "Failed to set NotBackAlarm plan.\n");
        result = kResultRefused;
    }
    AddIndexElem(response, rec->usIndex);
    return result;
}

int ReqHnd_QueryNotBackAlarmPlans(CMarkupSTL & /*request*/, DoorLock_XmlWriter &response) {
    auto list = DoorLock_FetchRecord<oqDevSDK_DoorLock_AlarmPlanList_S>(
        "Failed to get NotBackAlarmPlans info.\n");
    if (!list) {
        return kResultRefused;
    }
    for (unsigned int i = 0; i < list->usCount && i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++i) {
        AddPlanEntry(response, list->astPlan[i]);
    }
    // Out of memory half way through: the list must not pass for complete.
    if (!response.Ok()) {
        oqdev_debug(kLogError, "Failed to fill NotBackAlarmPlans info.\n");
    }
    return kResultOk;
}

}  // namespace norla
