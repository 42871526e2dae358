// Platform commands that set one user (18857) and list every user (20160),
// and the XML form of the user table they answer with.
#include <cstdint>
#include <string>

#include "frame/bus_dev.h"
#include "frame/memory.h"
#include "frame/record_fetch.h"
#include "frame/text_field.h"
#include "handlers/codecs.h"
#include "handlers/handlers.h"
#include "handlers/user_xml.h"
#include "handlers/xml_fields.h"
#include "messaging/envelope.h"
#include "oqDevSDK_door_lock.h"
#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

// Two refusals of the device application that the platform knows by codes of
// its own; every other refusal is a plain 4.
struct UserRefusal {
    int iDevCode;
    int iResult;
};
constexpr UserRefusal kUserRefusals[] = {
    {OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL, kResultUsersFull},
    {OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN, kResultUserUnknown},
};

constexpr int kOptNoIndex = 0;
constexpr int32_t kUnlimited = OQDEVSDK_DOORLOCK_USER_UNLIMITED;
// "HH:MM" of a time slot; room for any two ints.

// Slot-indexed messages of a time slot: only Weekday has no full stop.
constexpr Missing InSlot(int index, bool fullStop = true) {
    return Missing{fullStop, index};
}

// -1 failure, 0 continue with the user, 1 a delete that is complete.
int ParseOpt(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    if (!FindRequiredElem(request, "OptType", true)) {
        return -1;
    }
    int32_t value = 0;
    if (!ReadRequiredInt(request, "Type", value)) {
        return -1;
    }
    cfg->ucOptType = static_cast<uint8_t>(value);
    if (cfg->ucOptType == kOptNoIndex) {
        cfg->usOptIndex = 0;
        return 0;
    }
    if (!ReadRequiredInt(request, "Index", value)) {
        return -1;
    }
    cfg->usOptIndex = ToSlotIndex(value);
    return cfg->ucOptType == OQDEVSDK_DOORLOCK_USER_OPT_DELETE ? 1 : 0;
}

// Element User; its index must be the one the operation names (so an
// operation without index only accepts the first user).
int ParseUser(CMarkupSTL &request, uint16_t optIndex, oqDevSDK_DoorLock_User_S *user) {
    if (!FindRequiredElem(request, "User", true)) {
        return -1;
    }
    int32_t value = 0;
    if (!ReadRequiredInt(request, "Index", value)) {
        return -1;
    }
    user->usIndex = ToSlotIndex(value);
    if (user->usIndex != optIndex) {
        oqdev_debug(kLogError, "User index[%d] is not expected[%d]\n", user->usIndex, optIndex);
        return -1;
    }
    if (!ReadRequiredInt(request, "Type", value)) {
        return -1;
    }
    user->ucType = static_cast<uint8_t>(value);
    std::string text;
    if (!ReadRequiredAttrib(request, "Name", text)) {
        return -1;
    }
    CopyText(user->szName, text.c_str());
    CopyText(user->szRemarkName, request.x_GetAttrib("RemarkName").c_str());
    return 0;
}

int ParseDate(const CMarkupSTL &request, int index, oqDevSDK_DoorLock_UserDate_S *date) {
    std::string text;
    if (!ReadRequiredAttrib(request, "Weekday", text, InSlot(index, false))) {
        return -1;
    }
    date->ucWeekday = 0;
    WeekDay_Str2Data(text.c_str(), &date->ucWeekday);
    if (!ReadRequiredAttrib(request, "Begin", text, InSlot(index))) {
        return -1;
    }
    ScanHourMinute(text, &date->iBeginHour, &date->iBeginMinute);
    if (!ReadRequiredAttrib(request, "End", text, InSlot(index))) {
        return -1;
    }
    ScanHourMinute(text, &date->iEndHour, &date->iEndMinute);
    if (!ReadRequiredInt(request, "Num", date->iNum, InSlot(index))) {
        return -1;
    }
    if (date->iNum == kUnlimited) {
        date->iAvailable = kUnlimited;
        return 0;
    }
    return ReadRequiredInt(request, "Available", date->iAvailable, InSlot(index)) ? 0 : -1;
}

// Inside Expire: the optional DateList, of which only the first slots that
// fit are read.
int ParseDateList(CMarkupSTL &request, oqDevSDK_DoorLock_User_S *user) {
    if (!request.FindElem("DateList", true)) {
        return 0;
    }
    request.IntoElem();
    int ret = 0;
    while (user->usDateNum < OQDEVSDK_DOORLOCK_MAX_USER_DATES && request.FindElem("Date", false)) {
        ret = ParseDate(request, user->usDateNum, &user->astDate[user->usDateNum]);
        if (ret != 0) {
            break;
        }
        ++user->usDateNum;
    }
    request.OutOfElem();
    return ret;
}

int ParseExpire(CMarkupSTL &request, oqDevSDK_DoorLock_User_S *user) {
    if (!FindRequiredElem(request, "Expire", true)) {
        return -1;
    }
    int32_t enable = 0;
    if (!ReadRequiredInt(request, "Enable", enable)) {
        return -1;
    }
    user->ucExpireEnable = static_cast<uint8_t>(enable);
    std::string text;
    if (!ReadRequiredAttrib(request, "Begin", text)) {
        return -1;
    }
    user->uiBeginTime = static_cast<uint32_t>(GetTimeFromDateStr(text.c_str()));
    if (!ReadRequiredAttrib(request, "End", text)) {
        return -1;
    }
    user->uiEndTime = static_cast<uint32_t>(GetTimeFromDateStr(text.c_str()));
    request.IntoElem();
    int ret = ParseDateList(request, user);
    request.OutOfElem();
    return ret;
}

int ParseAuth(CMarkupSTL &request, oqDevSDK_DoorLock_User_S *user) {
    if (!FindRequiredElem(request, "Auth", true)) {
        return -1;
    }
    struct Count {
        const char *pszName;
        uint16_t *pusValue;
    };
    const Count counts[] = {
        {"Pwd", &user->usPwdNum},
        {"Card", &user->usCardNum},
        {"Finger", &user->usFingerNum},
        {"Face", &user->usFaceNum},
    };
    for (const Count &count : counts) {
        int32_t value = 0;
        if (!ReadRequiredInt(request, count.pszName, value, kMissFullStop)) {
            return -1;
        }
        *count.pusValue = static_cast<uint16_t>(value);
    }
    return 0;
}

int ParseContent(const CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    int32_t value = 0;
    if (!ReadRequiredInt(request, "index", value, kMissFullStop)) {
        return -1;
    }
    cfg->usContentIndex = ToSlotIndex(value);
    if (!ReadRequiredInt(request, "type", value, kMissFullStop)) {
        return -1;
    }
    cfg->ucContentType = static_cast<uint8_t>(value);
    if (!ReadRequiredInt(request, "action", value, kMissFullStop)) {
        return -1;
    }
    cfg->ucContentAction = static_cast<uint8_t>(value);
    CopyText(cfg->szContentStr, request.x_GetAttrib("str").c_str());
    return 0;
}

int ParseContents(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    cfg->iContentsAction = OQDEVSDK_DOORLOCK_USER_NO_CONTENTS;
    if (!request.FindElem("Contents", true)) {
        return 0;
    }
    const std::string action = request.x_GetAttrib("action");
    if (!action.empty()) {
        cfg->iContentsAction = static_cast<uint8_t>(ToInt32(action));
        return 0;
    }
    request.IntoElem();
    int ret = 0;
    if (request.FindElem("Content", true)) {
        cfg->iContentsAction = 0;
        ret = ParseContent(request, cfg);
    }
    request.OutOfElem();
    return ret;
}

int ParseUserInfo(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    oqDevSDK_DoorLock_User_S *user = &cfg->stUser;
    if (ParseUser(request, cfg->usOptIndex, user) != 0 || ParseExpire(request, user) != 0 ||
        ParseAuth(request, user) != 0) {
        return -1;
    }
    return ParseContents(request, cfg);
}

int MapDeviceRefusal(int devCode) {
    for (const UserRefusal &refusal : kUserRefusals) {
        if (refusal.iDevCode == devCode) {
            return refusal.iResult;
        }
    }
    return kResultRefused;
}

HeapPtr<oqDevSDK_DoorLock_UserInfo_S> FetchUserTable() {
    return DoorLock_FetchRecord<oqDevSDK_DoorLock_UserInfo_S>("Failed to get user info.\n");
}

// The builders below answer false as soon as the document cannot take an
// element or attribute (its memory ran out): a list with holes is never
// passed off as the lock's users.
bool SetDateAttrib(CMarkupSTL &xml, const char *name, uint32_t seconds) {
    char text[kDateStrLen] = {};
    const auto value = static_cast<int32_t>(seconds);
    GetDateStrFromTime(&value, text, sizeof text);
    return xml.x_SetAttrib(name, text);
}

bool FillDate(CMarkupSTL &xml, const oqDevSDK_DoorLock_UserDate_S &date) {
    char weekday[kDateStrLen] = {};
    WeekDay_Data2Str(date.ucWeekday, weekday, sizeof weekday);
    return xml.x_AddElem("Date") &&
           SetHourMinuteAttrib(xml, "Begin", date.iBeginHour, date.iBeginMinute) &&
           SetHourMinuteAttrib(xml, "End", date.iEndHour, date.iEndMinute) &&
           xml.x_SetAttrib("Weekday", weekday) && xml.x_SetAttrib("Num", date.iNum) &&
           xml.x_SetAttrib("Available", date.iNum == kUnlimited ? kUnlimited : date.iAvailable);
}

// Inside Expire: the DateList, always present, with the slots in use.
bool FillDateList(CMarkupSTL &xml, const oqDevSDK_DoorLock_User_S &user) {
    if (!xml.x_AddElem("DateList") || !xml.IntoElem()) {
        return false;
    }
    const unsigned int dates = user.usDateNum < OQDEVSDK_DOORLOCK_MAX_USER_DATES
                                   ? user.usDateNum
                                   : OQDEVSDK_DOORLOCK_MAX_USER_DATES;
    bool ok = true;
    for (unsigned int i = 0; ok && i < dates; ++i) {
        ok = FillDate(xml, user.astDate[i]);
    }
    return xml.OutOfElem() && ok;
}

bool FillExpire(CMarkupSTL &xml, const oqDevSDK_DoorLock_User_S &user) {
    if (!xml.x_AddElem("Expire") || !xml.x_SetAttrib("Enable", user.ucExpireEnable) ||
        !SetDateAttrib(xml, "Begin", user.uiBeginTime) ||
        !SetDateAttrib(xml, "End", user.uiEndTime) || !xml.IntoElem()) {
        return false;
    }
    const bool ok = FillDateList(xml, user);
    return xml.OutOfElem() && ok;
}

// Every level entered is left again, also on failure, so that the caller can
// still write its result next to the list.
bool FillUser(CMarkupSTL &xml, const oqDevSDK_DoorLock_User_S &user) {
    if (!xml.x_AddElem("UserInfo") || !xml.IntoElem()) {
        return false;
    }
    const bool ok =
        xml.x_AddElem("User") && xml.x_SetAttrib("Index", user.usIndex + 1) &&
        xml.x_SetAttrib("Type", user.ucType) &&
        xml.x_SetAttrib("Name", FieldText(user.szName).c_str()) &&
        xml.x_SetAttrib("RemarkName", FieldText(user.szRemarkName).c_str()) &&
        FillExpire(xml, user) && xml.x_AddElem("Auth") && xml.x_SetAttrib("Pwd", user.usPwdNum) &&
        xml.x_SetAttrib("Card", user.usCardNum) && xml.x_SetAttrib("Finger", user.usFingerNum) &&
        xml.x_SetAttrib("Face", user.usFaceNum);
    return xml.OutOfElem() && ok;
}

}  // namespace

int ParseSetUserInfo(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    const int opt = ParseOpt(request, cfg);
    if (opt != 0) {
        return opt > 0 ? 0 : -1;
    }
    if (!FindRequiredElem(request, "UserInfo", true)) {
        return -1;
    }
    request.IntoElem();
    const int ret = ParseUserInfo(request, cfg);
    request.OutOfElem();
    return ret;
}

bool FillUserInfo(CMarkupSTL &xml, const oqDevSDK_DoorLock_UserInfo_S *info) {
    if (info == nullptr) {
        return true;
    }
    const unsigned int users = info->usUserNum < OQDEVSDK_DOORLOCK_MAX_USERS
                                   ? info->usUserNum
                                   : OQDEVSDK_DOORLOCK_MAX_USERS;
    for (unsigned int i = 0; i < users; ++i) {
        if (!FillUser(xml, info->astUser[i])) {
            oqdev_debug(kLogError, "Failed to fill user info, index=%u.\n", i);
            return false;
        }
    }
    return true;
}

int ReqHnd_SetUserInfo(CMarkupSTL &request, CMarkupSTL &response) {
    int result = kResultOk;
    auto cfg = DoorLock_HeapZalloc<oqDevSDK_DoorLock_SetUserCfg_S>();
    if (!cfg) {
        DoorLock_LogMallocFailed(ToDevice<oqDevSDK_DoorLock_SetUserCfg_S>::kLen);
        result = kResultRefused;
    } else if (ParseSetUserInfo(request, cfg.get()) != 0) {
        oqdev_debug(kLogError, "Failed to ParseSetUserInfo.\n");
        result = kResultBadRequest;
    } else {
        const int answer = DoorLock_BusDev_Send(*cfg);
        if (answer != 0) {
            oqdev_debug(kLogError, "Failed to set user info of door lock.\n");
            result = MapDeviceRefusal(answer);
        }
    }
    FinishResponse(response, result);

    // The platform always gets the list as it is now, whether the set took or
    // not; failing to get it does not change the set's result.
    AddDevSerial(response);
    auto table = FetchUserTable();
    if (table && !FillUserInfo(response, table.get())) {
        // Out of memory half way through the list: the platform must not take
        // what got written for the lock's users.
        return FinishResponse(response, kResultRefused);
    }
    return result;
}

int ReqHnd_QueryUserInfo(CMarkupSTL &request, CMarkupSTL &response) {
    static_cast<void>(request);
    auto table = FetchUserTable();
    // Writing the result moves to Result, so it goes first to keep the users
    // after DevSerial.
    const int result = FinishResponse(response, table ? kResultOk : kResultRefused);
    AddDevSerial(response);
    if (table && !FillUserInfo(response, table.get())) {
        return FinishResponse(response, kResultRefused);
    }
    return result;
}

}  // namespace norla
