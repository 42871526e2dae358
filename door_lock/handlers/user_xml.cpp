#include "handlers/user_xml.h"

#include <cstdint>
#include <string>

#include "frame/text_field.h"
#include "handlers/codecs.h"
#include "handlers/xml_fields.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

constexpr int kOptNoIndex = 0;
constexpr int32_t kUnlimited = OQDEVSDK_DOORLOCK_USER_UNLIMITED;

// OptType: the operation and, for every operation but 0, the user's index.
bool ParseOpt(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    if (!FindRequiredElem(request, "OptType", true)) {
        return false;
    }
    int32_t value = 0;
    if (!ReadRequiredInt(request, "Type", value)) {
        return false;
    }
    cfg->ucOptType = static_cast<uint8_t>(value);
    if (cfg->ucOptType == kOptNoIndex) {
        cfg->usOptIndex = 0;
        return true;
    }
    if (!ReadRequiredInt(request, "Index", value)) {
        return false;
    }
    cfg->usOptIndex = ToSlotIndex(value);
    return true;
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

DoorLock_XmlWriter &SetDateAttrib(DoorLock_XmlWriter &xml, const char *name, uint32_t seconds) {
    char text[kDateStrLen] = {};
    const auto value = static_cast<int32_t>(seconds);
    GetDateStrFromTime(&value, text, sizeof text);
    return xml.Attr(name, text);
}

void FillDate(DoorLock_XmlWriter &xml, const oqDevSDK_DoorLock_UserDate_S &date) {
    char weekday[kDateStrLen] = {};
    WeekDay_Data2Str(date.ucWeekday, weekday, sizeof weekday);
    xml.Elem("Date");
    SetHourMinuteAttrib(xml, "Begin", date.iBeginHour, date.iBeginMinute);
    SetHourMinuteAttrib(xml, "End", date.iEndHour, date.iEndMinute)
        .Attr("Weekday", weekday)
        .Attr("Num", date.iNum)
        .Attr("Available", date.iNum == kUnlimited ? kUnlimited : date.iAvailable);
}

// Inside Expire: the DateList, always present, with the slots in use.
void FillDateList(DoorLock_XmlWriter &xml, const oqDevSDK_DoorLock_User_S &user) {
    const unsigned int dates = user.usDateNum < OQDEVSDK_DOORLOCK_MAX_USER_DATES
                                   ? user.usDateNum
                                   : OQDEVSDK_DOORLOCK_MAX_USER_DATES;
    xml.Elem("DateList").Into();
    for (unsigned int i = 0; i < dates; ++i) {
        FillDate(xml, user.astDate[i]);
    }
    xml.Out();
}

void FillExpire(DoorLock_XmlWriter &xml, const oqDevSDK_DoorLock_User_S &user) {
    xml.Elem("Expire").Attr("Enable", user.ucExpireEnable);
    SetDateAttrib(xml, "Begin", user.uiBeginTime);
    SetDateAttrib(xml, "End", user.uiEndTime).Into();
    FillDateList(xml, user);
    xml.Out();
}

void FillUser(DoorLock_XmlWriter &xml, const oqDevSDK_DoorLock_User_S &user) {
    xml.Elem("UserInfo")
        .Into()
        .Elem("User")
        .Attr("Index", user.usIndex + 1)
        .Attr("Type", user.ucType)
        .Attr("Name", FieldText(user.szName).c_str())
        .Attr("RemarkName", FieldText(user.szRemarkName).c_str());
    FillExpire(xml, user);
    xml.Elem("Auth")
        .Attr("Pwd", user.usPwdNum)
        .Attr("Card", user.usCardNum)
        .Attr("Finger", user.usFingerNum)
        .Attr("Face", user.usFaceNum)
        .Out();
}

}  // namespace

int ParseSetUserInfo(CMarkupSTL &request, oqDevSDK_DoorLock_SetUserCfg_S *cfg) {
    if (!ParseOpt(request, cfg)) {
        return -1;
    }
    // A delete carries only the index.
    if (cfg->ucOptType == OQDEVSDK_DOORLOCK_USER_OPT_DELETE) {
        return 0;
    }
    if (!FindRequiredElem(request, "UserInfo", true)) {
        return -1;
    }
    request.IntoElem();
    const int ret = ParseUserInfo(request, cfg);
    request.OutOfElem();
    return ret;
}

bool FillUserInfo(DoorLock_XmlWriter &xml, const oqDevSDK_DoorLock_UserInfo_S &info) {
    const unsigned int users = info.usUserNum < OQDEVSDK_DOORLOCK_MAX_USERS
                                   ? info.usUserNum
                                   : OQDEVSDK_DOORLOCK_MAX_USERS;
    // Checked per user only to name the one that did not fit.
    for (unsigned int i = 0; i < users && xml.Ok(); ++i) {
        FillUser(xml, info.astUser[i]);
        if (!xml.Ok()) {
            oqdev_debug(kLogError, "Failed to fill user info, index=%u.\n", i);
        }
    }
    return xml.Ok();
}

}  // namespace norla
