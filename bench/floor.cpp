#include "floor.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <pugixml.hpp>

#include "lock_data.h"
#include "oqdev_kernel.h"
#include "vocabulary.h"

namespace bench {
namespace {

const char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
constexpr int kDecimal = 10;
constexpr int kTmYearBase = 1900;
constexpr std::size_t kDateLen = 64;
constexpr std::size_t kClockLen = 16;
constexpr std::size_t kWeekdayLen = 32;
constexpr int kSunday = 7;

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
    rec.iDomainId = norla::kDoorLockDomainId;
    rec.iCmdId = cmd;
    std::strncpy(rec.szVersion, norla::kDoorLockVersion, sizeof rec.szVersion - 1);
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

void DateText(uint32_t seconds, char (&text)[kDateLen]) {
    const time_t value = static_cast<int32_t>(seconds);
    struct tm parts;
    localtime_r(&value, &parts);
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", parts.tm_year + kTmYearBase,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
}

void ClockText(int32_t hour, int32_t minute, char (&text)[kClockLen]) {
    std::snprintf(text, sizeof text, "%02d:%02d", hour, minute);
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
    rec.iSwitchIndex = norla::SwitchIndexOfType(static_cast<int>(type));
    rec.iEnable = static_cast<int32_t>(Attr(node, "Enable"));
    rec.iChannel = static_cast<int32_t>(Attr(node, "Channel"));
    pugi::xml_document rsp;
    Respond(rsp, ToDevice(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH, &rec, sizeof rec) == 0
                     ? norla::kResultOk
                     : norla::kResultRefused);
    Send(rsp, norla::ResponseOf(norla::kCmdSetSwitch), true, seq);
}

void FloorQueryUsers(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    ParseRequest(req, body);
    pugi::xml_document rsp;
    pugi::xml_node root = Respond(rsp, norla::kResultOk);
    root.append_child("DevSerial")
        .text()
        .set(oqdev_sdk_kernel_getdevinfo_bykey(norla::kDevSerialKey));
    auto table = FetchBlock<oqDevSDK_DoorLock_UserInfo_S>(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO);
    AddUsers(root, *table);
    Send(rsp, norla::ResponseOf(norla::kCmdQueryUserInfo), true, seq);
}

void FloorQueryAlarmPlans(const std::string &body, uint32_t seq) {
    pugi::xml_document req;
    ParseRequest(req, body);
    auto list =
        FetchBlock<oqDevSDK_DoorLock_AlarmPlanList_S>(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS);
    pugi::xml_document rsp;
    pugi::xml_node root = Respond(rsp, norla::kResultOk);
    for (unsigned p = 0; p < list->usCount && p < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++p) {
        AddPlan(root, list->astPlan[p]);
    }
    Send(rsp, norla::ResponseOf(norla::kCmdQueryAlarmPlans), true, seq);
}

void FloorUserInfoReport(const oqDevSDK_DoorLock_UserInfo_S &table, uint32_t seq) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("Request");
    root.append_child("DevSerial")
        .text()
        .set(oqdev_sdk_kernel_getdevinfo_bykey(norla::kDevSerialKey));
    root.append_child("Authorization");
    AddUsers(root, table);
    Send(doc, norla::kCmdReportUserInfo, false, seq);
}

}  // namespace bench
