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
constexpr std::size_t kIndexTextLen = 32;
constexpr unsigned int kWeekdayTextLen = 32;
constexpr std::size_t kClockTextLen = 16;
constexpr int kDecimal = 10;

long ToLong(const std::string &text) noexcept {
    return std::strtol(text.c_str(), nullptr, kDecimal);
}

// "HH:MM" into hour and minute; what does not scan keeps the allocation's zeros.
void ScanClock(const std::string &text, int32_t *hour, int32_t *minute) noexcept {
    std::sscanf(text.c_str(), "%02d:%02d", hour, minute);
}

int ParseDates(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) noexcept {
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES; ++slot) {
        if (!req.FindElem("Date")) {
            break;
        }
        oqDevSDK_DoorLock_AlarmPeriod_S &period = rec->astDate[slot];
        std::string begin = req.x_GetAttrib("Begin");
        if (begin.empty()) {
            oqdev_debug(OQDEV_LOG_ERROR, "[Index %d]Failed to find attrib:Begin.\n", slot);
            return -1;
        }
        ScanClock(begin, &period.iBeginHour, &period.iBeginMinute);
        std::string end = req.x_GetAttrib("End");
        if (end.empty()) {
            oqdev_debug(OQDEV_LOG_ERROR, "[Index %d]Failed to find attrib:End.\n", slot);
            return -1;
        }
        ScanClock(end, &period.iEndHour, &period.iEndMinute);
        ++rec->usDateNum;
    }
    return 0;
}

int ParseUsers(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) noexcept {
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS; ++slot) {
        if (!req.FindElem("User")) {
            break;
        }
        oqDevSDK_DoorLock_AlarmUser_S &user = rec->astUser[slot];
        std::string index = req.x_GetAttrib("Index");
        if (index.empty()) {
            oqdev_debug(OQDEV_LOG_ERROR, "[Index %d]Failed to find attrib:Index.\n", slot);
            return -1;
        }
        user.usIndex = static_cast<uint16_t>(ToLong(index) - 1);
        std::string name = req.x_GetAttrib("Name");
        if (name.empty()) {
            oqdev_debug(OQDEV_LOG_ERROR, "[Index %d]Failed to find attrib:Name.\n", slot);
            return -1;
        }
        std::snprintf(user.szName, sizeof user.szName, "%s", name.c_str());
        ++rec->usUserNum;
    }
    return 0;
}

int ParsePlan(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) noexcept {
    if (!req.FindElem("Plan")) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find elem:Plan\n");
        return -1;
    }
    std::string enable = req.x_GetAttrib("Enable");
    if (enable.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Enable\n");
        return -1;
    }
    rec->ucEnable = static_cast<uint8_t>(ToLong(enable));
    std::string weekday = req.x_GetAttrib("Weekday");
    if (weekday.empty()) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Weekday\n");
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
int ParseSetNotBackAlarmPlan(CMarkupSTL &req, oqDevSDK_DoorLock_SetAlarmPlan_S *rec) noexcept {
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
    rec->usIndex = 0;
    if (rec->ucOptType != OQDEVSDK_DOORLOCK_OPT_CREATE) {
        std::string index = req.x_GetAttrib("Index");
        if (index.empty()) {
            oqdev_debug(OQDEV_LOG_ERROR, "Failed to find attrib:Index\n");
            return -1;
        }
        rec->usIndex = static_cast<uint16_t>(ToLong(index) - 1);
        if (rec->ucOptType == OQDEVSDK_DOORLOCK_OPT_DELETE) {
            return 0;
        }
    }
    return ParsePlan(req, rec);
}

std::string ClockText(int32_t hour, int32_t minute) noexcept {
    char text[kClockTextLen] = {};
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
    return text;
}

// The builders answer false as soon as the document cannot take an element or
// attribute (its memory ran out); every level entered is left again.
bool AddDates(CMarkupSTL &rsp, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) noexcept {
    if (!rsp.x_AddElem("DateList") || !rsp.IntoElem()) {
        return false;
    }
    bool ok = true;
    for (unsigned int i = 0; ok && i < plan.usDateNum && i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
         ++i) {
        const oqDevSDK_DoorLock_AlarmPeriod_S &period = plan.astDate[i];
        ok = rsp.x_AddElem("Date") &&
             rsp.x_SetAttrib("Begin", ClockText(period.iBeginHour, period.iBeginMinute).c_str()) &&
             rsp.x_SetAttrib("End", ClockText(period.iEndHour, period.iEndMinute).c_str());
    }
    return rsp.OutOfElem() && ok;
}

bool AddUsers(CMarkupSTL &rsp, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) noexcept {
    if (!rsp.x_AddElem("UserList") || !rsp.IntoElem()) {
        return false;
    }
    bool ok = true;
    for (unsigned int i = 0; ok && i < plan.usUserNum && i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
         ++i) {
        const oqDevSDK_DoorLock_AlarmUser_S &user = plan.astUser[i];
        ok =
            rsp.x_AddElem("User") && rsp.x_SetAttrib("Index", user.usIndex + 1) &&
            rsp.x_SetAttrib(
                "Name", std::string(user.szName, strnlen(user.szName, sizeof user.szName)).c_str());
    }
    return rsp.OutOfElem() && ok;
}

bool AddPlanEntry(CMarkupSTL &rsp, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) noexcept {
    char weekday[kWeekdayTextLen] = {};
    WeekDay_Data2Str(plan.ucWeekday, weekday, kWeekdayTextLen);
    if (!rsp.x_AddElem("Plan") || !rsp.x_SetAttrib("Index", plan.usIndex + 1) ||
        !rsp.x_SetAttrib("Enable", plan.ucEnable) || !rsp.x_SetAttrib("Weekday", weekday) ||
        !rsp.IntoElem()) {
        return false;
    }
    const bool ok = AddDates(rsp, plan) && AddUsers(rsp, plan);
    return rsp.OutOfElem() && ok;
}

}  // namespace

int ReqHnd_SetNotBackAlarmPlan(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    auto rec = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetAlarmPlan_S>();
    if (!rec) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to malloc mem, size=%u.\n",
                    OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN);
        DoorLock_xml_set_result(response, kResultFailed);
        response.x_AddElem("Index", "0");
        return kResultFailed;
    }
    int result = kResultOk;
    if (ParseSetNotBackAlarmPlan(request, rec.get()) != 0) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to ParseSetNotBackAlarmPlan.\n");
        result = kResultBadRequest;
    } else if (DoorLock_BusDev_Msg2Dev(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN, rec.get(),
                                       OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN_LEN) != 0) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to set NotBackAlarm plan.\n");
        result = kResultFailed;
    }
    DoorLock_xml_set_result(response, result);
    char index[kIndexTextLen] = {};
    std::snprintf(index, sizeof index, "%d", rec->usIndex + 1);
    response.x_AddElem("Index", index);
    return result;
}

int ReqHnd_QueryNotBackAlarmPlans(CMarkupSTL &request, CMarkupSTL &response) noexcept {
    (void)request;
    auto list = DoorLock_HeapZalloc<oqDevSDK_DoorLock_AlarmPlanList_S>();
    if (!list) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to malloc mem, size=%u.\n",
                    OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN);
        DoorLock_xml_set_result(response, kResultFailed);
        return kResultFailed;
    }
    if (DoorLock_BusDev_GetRuntimeInfo(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS, list.get(),
                                       OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS_LEN) != 0) {
        oqdev_debug(OQDEV_LOG_ERROR, "Failed to get NotBackAlarmPlans info.\n");
        DoorLock_xml_set_result(response, kResultFailed);
        return kResultFailed;
    }
    DoorLock_xml_set_result(response, kResultOk);
    for (unsigned int i = 0; i < list->usCount && i < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++i) {
        if (!AddPlanEntry(response, list->astPlan[i])) {
            // Out of memory half way through: the list must not pass for complete.
            oqdev_debug(OQDEV_LOG_ERROR, "Failed to fill NotBackAlarmPlans info.\n");
            DoorLock_xml_set_result(response, kResultFailed);
            return kResultFailed;
        }
    }
    return kResultOk;
}

}  // namespace norla
