#include "floor.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <pugixml.hpp>

#include "lock_data.h"
#include "oqdev_kernel.h"
#include "oqdev_status_report.h"
#include "oqdev_time.h"

namespace bench {
namespace {

const char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const char kVersion[] = "v1.0.0";
constexpr int kDomainId = 4400;
constexpr int kDecimal = 10;
constexpr int kTmYearBase = 1900;
constexpr std::size_t kDateLen = 64;
constexpr std::size_t kClockLen = 16;
constexpr std::size_t kWeekdayLen = 32;
constexpr int kSunday = 7;
constexpr int kStatusBellTone = 68;
constexpr int kStatusFaceUnlock = 97;
constexpr int kStatusAutoFacePlan = 121;

struct TextWriter final : pugi::xml_writer {
    explicit TextWriter(std::string &text) : out(text) {}
    void write(const void *data, size_t size) override {
        out.append(static_cast<const char *>(data), size);
    }
    std::string &out;
};

struct FreeDeleter {
    void operator()(void *ptr) const { std::free(ptr); }
};
template <typename T>
using Block = std::unique_ptr<T, FreeDeleter>;

void Send(const pugi::xml_document &doc, int cmd, bool response, uint32_t seq) {
    std::string text(kDeclaration);
    TextWriter writer(text);
    doc.save(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    oqdev_kernel_send_s rec;
    std::memset(&rec, 0, sizeof rec);
    rec.ucIsResponse = response ? 1 : 0;
    rec.uiMsgSeq = seq;
    rec.pBody = text.c_str();
    rec.uiBodyLen = static_cast<uint32_t>(text.size());
    rec.iDomainId = kDomainId;
    rec.iCmdId = cmd;
    std::memcpy(rec.szVersion, kVersion, sizeof kVersion);
    oqdev_sdk_kernel_send(&rec);
}

pugi::xml_node Respond(pugi::xml_document &doc, int result) {
    pugi::xml_node root = doc.append_child("Response");
    root.append_child("Result").text().set(result);
    return root;
}

pugi::xml_node ParseRequest(pugi::xml_document &doc, const std::string &body) {
    doc.load_buffer(body.data(), body.size());
    return doc.child("Request");
}

long Number(const char *text) {
    return std::strtol(text, nullptr, kDecimal);
}
long Attr(const pugi::xml_node &node, const char *name) {
    return Number(node.attribute(name).value());
}

void AddAttr(pugi::xml_node &node, const char *name, int value) {
    node.append_attribute(name).set_value(value);
}
void AddAttr(pugi::xml_node &node, const char *name, const char *value) {
    node.append_attribute(name).set_value(value);
}

// A device text field that may fill its whole width.
template <std::size_t N>
const char *Bounded(const char (&field)[N], char (&spare)[N + 1]) {
    if (strnlen(field, N) < N) {
        return field;
    }
    std::memcpy(spare, field, N);
    spare[N] = '\0';
    return spare;
}

template <std::size_t N>
void CopyText(char (&field)[N], const char *text) {
    std::snprintf(field, N, "%s", text);
}

void DateText(uint32_t seconds, char (&text)[kDateLen]) {
    const time_t value = static_cast<int32_t>(seconds);
    struct tm parts;
    localtime_r(&value, &parts);
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", parts.tm_year + kTmYearBase,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
}

uint32_t ParseDate(const char *text) {
    struct tm parts;
    std::memset(&parts, 0, sizeof parts);
    int year = 0;
    int month = 0;
    std::sscanf(text, "%d-%d-%d %d:%d:%d", &year, &month, &parts.tm_mday, &parts.tm_hour,
                &parts.tm_min, &parts.tm_sec);
    parts.tm_year = year - kTmYearBase;
    parts.tm_mon = month - 1;
    return static_cast<uint32_t>(mktime(&parts));
}

void ClockText(int32_t hour, int32_t minute, char (&text)[kClockLen]) {
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
}

void ParseClock(const char *text, int32_t *hour, int32_t *minute) {
    std::sscanf(text, "%02d:%02d", hour, minute);
}

void WeekdayText(uint8_t mask, char (&text)[kWeekdayLen]) {
    std::size_t used = 0;
    text[0] = '\0';
    for (int day = 1; day < kSunday; ++day) {
        if ((mask & (1u << day)) != 0) {
            used += static_cast<std::size_t>(
                std::snprintf(text + used, sizeof text - used, used == 0 ? "%d" : ",%d", day));
        }
    }
    if ((mask & 1u) != 0) {
        std::snprintf(text + used, sizeof text - used, used == 0 ? "%d" : ",%d", kSunday);
    }
}

uint8_t ParseWeekdays(const char *text) {
    uint8_t mask = 0;
    for (const char *p = text; *p != '\0';) {
        char *end = nullptr;
        const long day = std::strtol(p, &end, kDecimal);
        if (end == p) {
            break;
        }
        mask = static_cast<uint8_t>(mask | (day == kSunday ? 1u : 1u << day));
        p = *end == ',' ? end + 1 : end;
    }
    return mask;
}

int ToDevice(int type, void *rec, uint32_t len) {
    oqDevSDK_DoorLock_Msg_S msg{type, rec, len};
    return DeviceRecv(&msg);
}

template <typename T>
Block<T> FetchBlock(int type) {
    Block<T> rec(static_cast<T *>(std::malloc(sizeof(T))));
    FetchRecord(type, rec.get(), sizeof(T));
    return rec;
}

void AddUsers(pugi::xml_node &parent, const oqDevSDK_DoorLock_UserInfo_S &table) {
    char spare[OQDEVSDK_DOORLOCK_USER_NAME_LEN + 1];
    char date[kDateLen];
    char clock[kClockLen];
    char weekday[kWeekdayLen];
    const unsigned users = table.usUserNum < OQDEVSDK_DOORLOCK_MAX_USERS
                               ? table.usUserNum
                               : OQDEVSDK_DOORLOCK_MAX_USERS;
    for (unsigned i = 0; i < users; ++i) {
        const oqDevSDK_DoorLock_User_S &user = table.astUser[i];
        pugi::xml_node info = parent.append_child("UserInfo");
        pugi::xml_node node = info.append_child("User");
        AddAttr(node, "Index", user.usIndex + 1);
        AddAttr(node, "Type", user.ucType);
        AddAttr(node, "Name", Bounded(user.szName, spare));
        AddAttr(node, "RemarkName", Bounded(user.szRemarkName, spare));
        pugi::xml_node expire = info.append_child("Expire");
        AddAttr(expire, "Enable", user.ucExpireEnable);
        DateText(user.uiBeginTime, date);
        AddAttr(expire, "Begin", date);
        DateText(user.uiEndTime, date);
        AddAttr(expire, "End", date);
        pugi::xml_node list = expire.append_child("DateList");
        const unsigned slots = user.usDateNum < OQDEVSDK_DOORLOCK_MAX_USER_DATES
                                   ? user.usDateNum
                                   : OQDEVSDK_DOORLOCK_MAX_USER_DATES;
        for (unsigned s = 0; s < slots; ++s) {
            const oqDevSDK_DoorLock_UserDate_S &slot = user.astDate[s];
            pugi::xml_node item = list.append_child("Date");
            ClockText(slot.iBeginHour, slot.iBeginMinute, clock);
            AddAttr(item, "Begin", clock);
            ClockText(slot.iEndHour, slot.iEndMinute, clock);
            AddAttr(item, "End", clock);
            WeekdayText(slot.ucWeekday, weekday);
            AddAttr(item, "Weekday", weekday);
            AddAttr(item, "Num", slot.iNum);
            AddAttr(item, "Available", slot.iNum == -1 ? -1 : slot.iAvailable);
        }
        pugi::xml_node auth = info.append_child("Auth");
        AddAttr(auth, "Pwd", user.usPwdNum);
        AddAttr(auth, "Card", user.usCardNum);
        AddAttr(auth, "Finger", user.usFingerNum);
        AddAttr(auth, "Face", user.usFaceNum);
    }
}

void ParseUserSlot(const pugi::xml_node &node, oqDevSDK_DoorLock_UserDate_S &slot) {
    slot.ucWeekday = ParseWeekdays(node.attribute("Weekday").value());
    ParseClock(node.attribute("Begin").value(), &slot.iBeginHour, &slot.iBeginMinute);
    ParseClock(node.attribute("End").value(), &slot.iEndHour, &slot.iEndMinute);
    slot.iNum = static_cast<int32_t>(Attr(node, "Num"));
    slot.iAvailable = slot.iNum == -1 ? -1 : static_cast<int32_t>(Attr(node, "Available"));
}

void ParseUser(const pugi::xml_node &root, oqDevSDK_DoorLock_SetUserCfg_S &cfg) {
    pugi::xml_node opt = root.child("OptType");
    cfg.ucOptType = static_cast<uint8_t>(Attr(opt, "Type"));
    cfg.usOptIndex = static_cast<uint16_t>(Attr(opt, "Index") - 1);
    pugi::xml_node info = root.child("UserInfo");
    pugi::xml_node node = info.child("User");
    oqDevSDK_DoorLock_User_S &user = cfg.stUser;
    user.usIndex = static_cast<uint16_t>(Attr(node, "Index") - 1);
    user.ucType = static_cast<uint8_t>(Attr(node, "Type"));
    CopyText(user.szName, node.attribute("Name").value());
    CopyText(user.szRemarkName, node.attribute("RemarkName").value());
    pugi::xml_node expire = info.child("Expire");
    user.ucExpireEnable = static_cast<uint8_t>(Attr(expire, "Enable"));
    user.uiBeginTime = ParseDate(expire.attribute("Begin").value());
    user.uiEndTime = ParseDate(expire.attribute("End").value());
    for (pugi::xml_node date = expire.child("DateList").child("Date");
         date && user.usDateNum < OQDEVSDK_DOORLOCK_MAX_USER_DATES;
         date = date.next_sibling("Date")) {
        ParseUserSlot(date, user.astDate[user.usDateNum++]);
    }
    pugi::xml_node auth = info.child("Auth");
    user.usPwdNum = static_cast<uint16_t>(Attr(auth, "Pwd"));
    user.usCardNum = static_cast<uint16_t>(Attr(auth, "Card"));
    user.usFingerNum = static_cast<uint16_t>(Attr(auth, "Finger"));
    user.usFaceNum = static_cast<uint16_t>(Attr(auth, "Face"));
    pugi::xml_node content = info.child("Contents").child("Content");
    cfg.usContentIndex = static_cast<uint16_t>(Attr(content, "index") - 1);
    cfg.ucContentType = static_cast<uint8_t>(Attr(content, "type"));
    cfg.ucContentAction = static_cast<uint8_t>(Attr(content, "action"));
    CopyText(cfg.szContentStr, content.attribute("str").value());
}

void AddPlan(pugi::xml_node &parent, const oqDevSDK_DoorLock_AlarmPlanInfo_S &plan) {
    char clock[kClockLen];
    char weekday[kWeekdayLen];
    char spare[OQDEVSDK_DOORLOCK_ALARM_USER_NAME_LEN + 1];
    pugi::xml_node node = parent.append_child("Plan");
    AddAttr(node, "Index", plan.usIndex + 1);
    AddAttr(node, "Enable", plan.ucEnable);
    WeekdayText(plan.ucWeekday, weekday);
    AddAttr(node, "Weekday", weekday);
    pugi::xml_node dates = node.append_child("DateList");
    for (unsigned d = 0; d < plan.usDateNum && d < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES; ++d) {
        const oqDevSDK_DoorLock_AlarmPeriod_S &period = plan.astDate[d];
        pugi::xml_node date = dates.append_child("Date");
        ClockText(period.iBeginHour, period.iBeginMinute, clock);
        AddAttr(date, "Begin", clock);
        ClockText(period.iEndHour, period.iEndMinute, clock);
        AddAttr(date, "End", clock);
    }
    pugi::xml_node users = node.append_child("UserList");
    for (unsigned u = 0; u < plan.usUserNum && u < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS; ++u) {
        pugi::xml_node user = users.append_child("User");
        AddAttr(user, "Index", plan.astUser[u].usIndex + 1);
        AddAttr(user, "Name", Bounded(plan.astUser[u].szName, spare));
    }
}

}  // namespace

void FloorSetSwitch(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node node = ParseRequest(req, body).child("Switch");
    const long type = Attr(node, "Type");
    oqDevSDK_DoorLock_SwitchCfg_S rec;
    std::memset(&rec, 0, sizeof rec);
    rec.iSwitchIndex = type == 452 ? 2 : 0;
    rec.iEnable = static_cast<int32_t>(Attr(node, "Enable"));
    rec.iChannel = static_cast<int32_t>(Attr(node, "Channel"));
    pugi::xml_document rsp;
    Respond(rsp, ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH, &rec, sizeof rec) == 0 ? 0 : 4);
    Send(rsp, 18700, true, seq);
}

void FloorSetKeyValue(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node root = ParseRequest(req, body);
    const char *key = root.child_value("Type");
    const char *value = root.child_value("Value");
    int ret = 0;
    int status = kStatusBellTone;
    if (std::strcmp(key, "doorFaceUnlock") == 0) {
        status = kStatusFaceUnlock;
        cJSON *json = cJSON_Parse(value);
        oqDevSDK_DoorLock_FaceUnlock_S rec;
        rec.iUnlockType = cJSON_GetObjectItem(json, "unlock_type")->valueint;
        rec.iUnlockSensitivity = cJSON_GetObjectItem(json, "unlock_sensitivity")->valueint;
        cJSON_Delete(json);
        ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK, &rec, sizeof rec);
    } else {
        int32_t number = static_cast<int32_t>(Number(value));
        ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, &number, sizeof number);
    }
    oqDevSDK_report_set_force_report(status);
    pugi::xml_document rsp;
    Respond(rsp, ret == 0 ? 0 : 4);
    Send(rsp, 18830, true, seq);
}

void FloorSetUser(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node root = ParseRequest(req, body);
    oqDevSDK_DoorLock_SetUserCfg_S cfg;
    std::memset(&cfg, 0, sizeof cfg);
    ParseUser(root, cfg);
    const int ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_SET_USER, &cfg, sizeof cfg);
    pugi::xml_document rsp;
    pugi::xml_node out = Respond(rsp, ret == 0 ? 0 : 4);
    out.append_child("DevSerial").text().set(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"));
    auto table = FetchBlock<oqDevSDK_DoorLock_UserInfo_S>(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO);
    AddUsers(out, *table);
    Send(rsp, 18858, true, seq);
}

void FloorQueryUsers(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    ParseRequest(req, body);
    pugi::xml_document rsp;
    pugi::xml_node root = Respond(rsp, 0);
    root.append_child("DevSerial").text().set(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"));
    auto table = FetchBlock<oqDevSDK_DoorLock_UserInfo_S>(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO);
    AddUsers(root, *table);
    Send(rsp, 20161, true, seq);
}

void FloorSetSnapPwd(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node root = ParseRequest(req, body);
    oqDevSDK_DoorLock_SetSnapPwd_S rec;
    std::memset(&rec, 0, sizeof rec);
    rec.ucOptType = static_cast<uint8_t>(Attr(root.child("OptType"), "Type"));
    pugi::xml_node info = root.child("Info");
    CopyText(rec.szName, info.child("User").attribute("Name").value());
    pugi::xml_node expire = info.child("Expire");
    rec.uiBeginTime = ParseDate(expire.attribute("Begin").value());
    rec.uiEndTime = ParseDate(expire.attribute("End").value());
    rec.iLimitNum = static_cast<int32_t>(Attr(info.child("Limit"), "Num"));
    rec.iAvailableCount = rec.iLimitNum;
    const int ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, &rec, sizeof rec);
    pugi::xml_document rsp;
    pugi::xml_node out = Respond(rsp, ret == 0 ? 0 : 4);
    out.append_child("Index").text().set(rec.usIndex + 1);
    char spare[OQDEVSDK_DOORLOCK_SNAP_PWD_LEN + 1];
    out.append_child("Pwd").text().set(Bounded(rec.szPwd, spare));
    Send(rsp, 18860, true, seq);
}

void FloorQuerySnapPwds(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    ParseRequest(req, body);
    oqDevSDK_DoorLock_SnapPwdList_S list;
    FetchRecord(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, &list, sizeof list);
    pugi::xml_document rsp;
    pugi::xml_node root = Respond(rsp, 0);
    char date[kDateLen];
    char spare[OQDEVSDK_DOORLOCK_SNAP_NAME_LEN + 1];
    for (unsigned i = 0; i < list.usCount && i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
        const oqDevSDK_DoorLock_SnapPwdInfo_S &entry = list.astEntry[i];
        pugi::xml_node info = root.append_child("Info");
        AddAttr(info, "Index", entry.usIndex + 1);
        pugi::xml_node user = info.append_child("User");
        AddAttr(user, "Name", Bounded(entry.szName, spare));
        pugi::xml_node expire = info.append_child("Expire");
        DateText(entry.uiBeginTime, date);
        AddAttr(expire, "Begin", date);
        DateText(entry.uiEndTime, date);
        AddAttr(expire, "End", date);
        pugi::xml_node limit = info.append_child("Limit");
        AddAttr(limit, "Num", entry.iLimitNum);
        AddAttr(limit, "AvailableCount", entry.iLimitNum == -1 ? -1 : entry.iAvailableCount);
    }
    Send(rsp, 18862, true, seq);
}

void FloorSetAlarmPlan(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node root = ParseRequest(req, body);
    auto rec =
        Block<oqDevSDK_DoorLock_SetAlarmPlan_S>(static_cast<oqDevSDK_DoorLock_SetAlarmPlan_S *>(
            std::calloc(1, sizeof(oqDevSDK_DoorLock_SetAlarmPlan_S))));
    pugi::xml_node opt = root.child("OptType");
    rec->ucOptType = static_cast<uint8_t>(Attr(opt, "Type"));
    rec->usIndex = static_cast<uint16_t>(Attr(opt, "Index") - 1);
    pugi::xml_node plan = root.child("Plan");
    rec->ucEnable = static_cast<uint8_t>(Attr(plan, "Enable"));
    rec->ucWeekday = ParseWeekdays(plan.attribute("Weekday").value());
    for (pugi::xml_node date = plan.child("DateList").child("Date");
         date && rec->usDateNum < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
         date = date.next_sibling("Date")) {
        oqDevSDK_DoorLock_AlarmPeriod_S &period = rec->astDate[rec->usDateNum++];
        ParseClock(date.attribute("Begin").value(), &period.iBeginHour, &period.iBeginMinute);
        ParseClock(date.attribute("End").value(), &period.iEndHour, &period.iEndMinute);
    }
    for (pugi::xml_node user = plan.child("UserList").child("User");
         user && rec->usUserNum < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
         user = user.next_sibling("User")) {
        oqDevSDK_DoorLock_AlarmUser_S &entry = rec->astUser[rec->usUserNum++];
        entry.usIndex = static_cast<uint16_t>(Attr(user, "Index") - 1);
        CopyText(entry.szName, user.attribute("Name").value());
    }
    const int ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN, rec.get(), sizeof *rec);
    pugi::xml_document rsp;
    pugi::xml_node out = Respond(rsp, ret == 0 ? 0 : 4);
    out.append_child("Index").text().set(rec->usIndex + 1);
    Send(rsp, 18856, true, seq);
}

void FloorQueryAlarmPlans(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    ParseRequest(req, body);
    auto list =
        FetchBlock<oqDevSDK_DoorLock_AlarmPlanList_S>(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS);
    pugi::xml_document rsp;
    pugi::xml_node root = Respond(rsp, 0);
    for (unsigned p = 0; p < list->usCount && p < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++p) {
        AddPlan(root, list->astPlan[p]);
    }
    Send(rsp, 18854, true, seq);
}

void FloorTriggerVerify(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node root = ParseRequest(req, body);
    oqDevSDK_DoorLock_UserVerify_S rec;
    std::memset(&rec, 0, sizeof rec);
    CopyText(rec.szUserId, root.child_value("UserID"));
    rec.uiTimeout = static_cast<uint32_t>(Number(root.child_value("Timeout")));
    const int ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, &rec, sizeof rec);
    pugi::xml_document rsp;
    Respond(rsp, ret != 0 ? 4 : static_cast<int>(rec.uiVerifyResult));
    Send(rsp, 18850, true, seq);
}

void FloorSetDevPlan(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    pugi::xml_node root = ParseRequest(req, body);
    oqDevSDK_DoorLock_AutoFaceUnlockPlan_S plan;
    FetchRecord(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, &plan, sizeof plan);
    plan.iEnable = Number(root.child_value("Enable")) != 0 ? 1 : 0;
    plan.uiChannel = static_cast<uint32_t>(Attr(root.child("Actor"), "Channel"));
    std::memset(plan.astDay, 0, sizeof plan.astDay);
    for (pugi::xml_node date = root.child("Date"); date; date = date.next_sibling("Date")) {
        const int day = date.attribute("Weekday").value()[0] - '0';
        int slot = 0;
        for (pugi::xml_node item = date.child("Plan");
             item && slot < OQDEVSDK_DOORLOCK_FACE_PLAN_SLOTS; item = item.next_sibling("Plan")) {
            plan.astDay[day][slot].uiBegin = oqdev_ParseTimeHHMM(item.attribute("B").value());
            plan.astDay[day][slot].uiEnd = oqdev_ParseTimeHHMM(item.attribute("E").value());
            ++slot;
        }
    }
    const int ret = ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN, &plan, sizeof plan);
    oqDevSDK_report_set_force_report(kStatusAutoFacePlan);
    pugi::xml_document rsp;
    Respond(rsp, ret == 0 ? 0 : 4);
    Send(rsp, 18732, true, seq);
}

void FloorSystemConfig(const std::string &body, uint32_t seq) {
    static_cast<void>(seq);
    pugi::xml_document doc;
    doc.load_buffer(body.data(), body.size());
    pugi::xml_node root = doc.child("Response");
    if (Number(root.child_value("Result")) != 0) {
        return;
    }
    cJSON *json = cJSON_Parse(root.child("Type").attribute("value").value());
    oqDevSDK_DoorLock_DLPower_S rec;
    std::memset(&rec, 0, sizeof rec);
    rec.ucLowPercent = static_cast<uint8_t>(cJSON_GetObjectItem(json, "low_percent")->valueint);
    cJSON_Delete(json);
    ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER, &rec, sizeof rec);
}

void FloorUserInfoReport(const oqDevSDK_DoorLock_UserInfo_S &table, uint32_t seq) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("Request");
    root.append_child("DevSerial").text().set(oqdev_sdk_kernel_getdevinfo_bykey("dev_subserial"));
    root.append_child("Authorization");
    AddUsers(root, table);
    Send(doc, 14740, false, seq);
}

namespace {

// The floor's own caches, one per record fetched (the switches one each).
struct PollCaches {
    PollCaches() {
        int count = 0;
        const StatusFetch *fetches = StatusFetches(&count);
        std::size_t total = 0;
        for (int i = 0; i < count; ++i) {
            total += fetches[i].len * static_cast<std::size_t>(fetches[i].count);
            largest = fetches[i].len > largest ? fetches[i].len : largest;
        }
        cache.reset(static_cast<unsigned char *>(std::calloc(1, total)));
        buffer.reset(static_cast<unsigned char *>(std::calloc(1, largest)));
    }
    Block<unsigned char> cache;
    Block<unsigned char> buffer;
    uint32_t largest = 0;
};

volatile int g_sink = 0;

}  // namespace

void FloorPollCycle(bool copy) {
    static PollCaches caches;
    int count = 0;
    const StatusFetch *fetches = StatusFetches(&count);
    unsigned char *cache = caches.cache.get();
    unsigned char *buf = caches.buffer.get();
    int changed = 0;
    for (int i = 0; i < count; ++i) {
        for (int n = 0; n < fetches[i].count; ++n, cache += fetches[i].len) {
            if (fetches[i].type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
                std::memcpy(buf, &n, sizeof n);
            }
            FetchRecord(fetches[i].type, buf, fetches[i].len);
            if (std::memcmp(buf, cache, fetches[i].len) != 0) {
                ++changed;
                if (copy) {
                    std::memcpy(cache, buf, fetches[i].len);
                }
            }
        }
    }
    g_sink = changed;
}

}  // namespace bench
