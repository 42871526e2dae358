// Measures what the module takes from a board at run time, for
// docs/resources.md: the peak heap and the deepest stack of every way into
// the module. Each way runs on a thread of its own whose stack is painted
// first, against a lock whose every list is full and every text as long as
// its field allows, so each command builds its largest document.
//
// The figures include what the module calls: the C library, cJSON and the
// emulated host SDK's XML class; a board's own host SDK adds its own instead.
// The emulator's log and send records are left out: this program stands in
// for both calls (see below). scripts/resources runs it under qemu-arm.
#include <malloc.h>
#include <pthread.h>

#include <cstdarg>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "oqdev_kernel.h"
#include "oqdev_log.h"
#include "oqdev_sim.h"

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

namespace {

// Heap in use by the whole process, and its highest mark since the last
// reset. Every allocation of the module, cJSON and the emulator goes through
// the four functions below.
std::atomic<long> g_heapNow{0};
std::atomic<long> g_heapPeak{0};

void Took(void *block) {
    if (block != nullptr) {
        const long now = g_heapNow += static_cast<long>(malloc_usable_size(block));
        long peak = g_heapPeak.load();
        while (now > peak && !g_heapPeak.compare_exchange_weak(peak, now)) {
        }
    }
}

void Gave(void *block) {
    if (block != nullptr) {
        g_heapNow -= static_cast<long>(malloc_usable_size(block));
    }
}

}  // namespace

extern "C" {
void *malloc(size_t size) {
    void *block = __libc_malloc(size);
    Took(block);
    return block;
}
void *calloc(size_t count, size_t size) {
    void *block = __libc_calloc(count, size);
    Took(block);
    return block;
}
void *realloc(void *block, size_t size) {
    Gave(block);
    void *moved = __libc_realloc(block, size);
    Took(moved != nullptr ? moved : (size == 0 ? nullptr : block));
    return moved;
}
void free(void *block) {
    Gave(block);
    __libc_free(block);
}
}

// The host's log and send as a board's SDK would do them at the least:
// format the line into a buffer of its own, take the message without keeping
// a copy. These take the place of the emulator's, which record every line and
// every document for the tests and so would count their records as the
// module's heap.
extern "C" void oqdev_debug(int iLevel, const char *pszFmt, ...) {
    char line[512];
    va_list args;
    va_start(args, pszFmt);
    std::vsnprintf(line, sizeof line, pszFmt, args);
    va_end(args);
    (void)iLevel;
}

extern "C" int oqdev_sdk_kernel_send(oqdev_kernel_send_s *pstSend) {
    return pstSend != nullptr && pstSend->pBody != nullptr ? 0 : -1;
}

namespace {

// ----- the lock: every list full, every text at its longest -----

void FillText(char *field, size_t size, char letter) {
    std::memset(field, letter, size - 1);
    field[size - 1] = '\0';
}

void FillUsers(oqDevSDK_DoorLock_UserInfo_S *table) {
    table->usUserNum = OQDEVSDK_DOORLOCK_MAX_USERS;
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_USERS; ++i) {
        oqDevSDK_DoorLock_User_S &user = table->astUser[i];
        user.usIndex = i;
        user.ucType = 1;
        user.ucExpireEnable = 1;
        FillText(user.szName, sizeof user.szName, 'n');
        FillText(user.szRemarkName, sizeof user.szRemarkName, 'r');
        user.uiBeginTime = 1700000000u;
        user.uiEndTime = 1800000000u;
        user.usDateNum = OQDEVSDK_DOORLOCK_MAX_USER_DATES;
        for (oqDevSDK_DoorLock_UserDate_S &date : user.astDate) {
            date.iBeginHour = 7;
            date.iBeginMinute = 30;
            date.iEndHour = 22;
            date.iEndMinute = 45;
            date.ucWeekday = 0x7F;
            date.iNum = 1000;
            date.iAvailable = 999;
        }
        user.usPwdNum = 10;
        user.usCardNum = 10;
        user.usFingerNum = 10;
        user.usFaceNum = 10;
    }
}

void FillAlarmPlans(oqDevSDK_DoorLock_AlarmPlanList_S *list) {
    list->usCount = OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS;
    for (uint16_t p = 0; p < OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS; ++p) {
        oqDevSDK_DoorLock_AlarmPlanInfo_S &plan = list->astPlan[p];
        plan.usIndex = p;
        plan.ucEnable = 1;
        plan.ucWeekday = 0x7F;
        plan.usDateNum = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
        plan.usUserNum = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
        for (oqDevSDK_DoorLock_AlarmPeriod_S &period : plan.astDate) {
            period = {17, 0, 19, 30};
        }
        for (uint16_t u = 0; u < OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS; ++u) {
            plan.astUser[u].usIndex = u;
            FillText(plan.astUser[u].szName, sizeof plan.astUser[u].szName, 'a');
        }
    }
}

int Fill(oqDevSDK_DoorLock_Msg_S *msg) {
    void *data = msg->pData;
    switch (msg->iType) {
    case OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH:
        static_cast<oqDevSDK_DoorLock_SwitchCfg_S *>(data)->iEnable = 1;
        static_cast<oqDevSDK_DoorLock_SwitchCfg_S *>(data)->iChannel = 1;
        return 0;
    case OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE:
    case OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE:
    case OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE:
        *static_cast<int32_t *>(data) = 2147483647;
        return 0;
    case OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS:
        *static_cast<oqDevSDK_DoorLock_LockStatus_S *>(data) = {1, 1, 80, 0};
        return 0;
    case OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS: {
        auto *list = static_cast<oqDevSDK_DoorLock_UnlockEvtRecList_S *>(data);
        list->usRecNum = OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS;
        for (oqDevSDK_DoorLock_UnlockEvtRec_S &rec : list->stRecord) {
            FillText(rec.szUser, sizeof rec.szUser, 'u');
            rec.ucUnlockType = 255;
            rec.lUnlockTime = 1700000000;
        }
        return 0;
    }
    case OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO:
        FillUsers(static_cast<oqDevSDK_DoorLock_UserInfo_S *>(data));
        return 0;
    case OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS:
        FillAlarmPlans(static_cast<oqDevSDK_DoorLock_AlarmPlanList_S *>(data));
        return 0;
    case OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS: {
        auto *list = static_cast<oqDevSDK_DoorLock_SnapPwdList_S *>(data);
        list->usCount = OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS;
        for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++i) {
            list->astEntry[i].usIndex = i;
            FillText(list->astEntry[i].szName, sizeof list->astEntry[i].szName, 's');
            list->astEntry[i].uiBeginTime = 1700000000u;
            list->astEntry[i].uiEndTime = 1800000000u;
            list->astEntry[i].iLimitNum = 1000;
            list->astEntry[i].iAvailableCount = 999;
        }
        return 0;
    }
    case OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS: {
        auto *power = static_cast<oqDevSDK_DoorLock_PowerStatus_S *>(data);
        power->usPowerNum = OQDEVSDK_DOORLOCK_POWER_MAX;
        for (oqDevSDK_DoorLock_PowerInfo_S &info : power->stPower) {
            info = {255, 100, 2, 255, 65535, 65535, {}, {}};
            FillText(info.szSubSerial, sizeof info.szSubSerial, 'x');
            FillText(info.szDes, sizeof info.szDes, 'd');
        }
        return 0;
    }
    case OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK:
        *static_cast<oqDevSDK_DoorLock_FaceUnlock_S *>(data) = {2147483647, 2147483647};
        return 0;
    case OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN: {
        auto *plan = static_cast<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S *>(data);
        plan->iEnable = 1;
        for (auto &day : plan->astDay) {
            for (oqDevSDK_DoorLock_FacePlanSlot_S &slot : day) {
                slot = {23 * 60 + 58, 23 * 60 + 59};
            }
        }
        return 0;
    }
    default:
        return -1;
    }
}

int Receive(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD) {
        auto *rec = static_cast<oqDevSDK_DoorLock_SetSnapPwd_S *>(msg->pData);
        FillText(rec->szPwd, sizeof rec->szPwd, '9');
    }
    return 0;
}

// ----- one measured run -----

constexpr size_t kStackBytes = 1u << 20;
constexpr unsigned char kPaint = 0xA5;
alignas(65536) unsigned char g_stack[kStackBytes];

struct Figures {
    long stack;
    long heap;
};

void *RunBody(void *arg) {
    (*static_cast<std::function<void()> *>(arg))();
    return nullptr;
}

// Runs `body` on a thread with a freshly painted stack; the stack figure is
// the bytes below the top that were written, the heap figure the highest
// mark above what was in use before.
Figures Measure(std::function<void()> body) {
    std::memset(g_stack, kPaint, sizeof g_stack);
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstack(&attr, g_stack, sizeof g_stack);
    const long before = g_heapNow.load();
    g_heapPeak = before;
    pthread_t thread;
    if (pthread_create(&thread, &attr, RunBody, &body) != 0) {
        std::fprintf(stderr, "measure: cannot start a thread\n");
        std::exit(1);
    }
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
    size_t untouched = 0;
    while (untouched < sizeof g_stack && g_stack[untouched] == kPaint) {
        ++untouched;
    }
    return {static_cast<long>(sizeof g_stack - untouched), g_heapPeak.load() - before};
}

std::string Repeat(int count, const std::function<std::string(int)> &item) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += item(i);
    }
    return text;
}

std::string Long(size_t length, char letter) {
    return std::string(length, letter);
}

struct Request {
    const char *name;
    int cmd;
    std::string body;
};

std::vector<Request> Requests() {
    const std::string name = Long(70, 'n');
    const std::string dates = Repeat(4, [](int) {
        return std::string(
            "<Date Weekday=\"1,2,3,4,5,6,7\" Begin=\"07:30\" End=\"22:45\" Num=\"1000\" "
            "Available=\"999\"/>");
    });
    const std::string user =
        "<Request><OptType Type=\"1\" Index=\"500\"/><UserInfo><User Index=\"500\" Type=\"1\" "
        "Name=\"" + name + "\" RemarkName=\"" + name + "\"/><Expire Enable=\"1\" "
        "Begin=\"2023-11-01 00:00:00\" End=\"2037-11-01 00:00:00\"><DateList>" + dates +
        "</DateList></Expire><Auth Pwd=\"10\" Card=\"10\" Finger=\"10\" Face=\"10\"/>"
        "<Contents><Content index=\"1\" type=\"1\" action=\"1\" str=\"" + name +
        "\"/></Contents></UserInfo></Request>";
    const std::string planUsers = Repeat(OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS, [&](int i) {
        return "<User Index=\"" + std::to_string(i + 1) + "\" Name=\"" + name + "\"/>";
    });
    const std::string alarmPlan =
        "<Request><OptType Type=\"1\" Index=\"8\"/><Plan Enable=\"1\" "
        "Weekday=\"1,2,3,4,5,6,7\"><DateList>" +
        Repeat(4, [](int) { return std::string("<Date Begin=\"17:00\" End=\"19:30\"/>"); }) +
        "</DateList><UserList>" + planUsers + "</UserList></Plan></Request>";
    const std::string facePlan =
        "<Request><Enable>1</Enable><Actor Channel=\"1\" PlanType=\"19\"/>" +
        Repeat(7, [](int day) {
            return "<Date Weekday=\"" + std::to_string(day) + "\">" +
                   Repeat(4, [](int) { return std::string("<Plan B=\"23:58\" E=\"23:59\"/>"); }) +
                   "</Date>";
        }) +
        "</Request>";
    return {
        {"set switch (18699)", 18699,
         "<Request><Switch Type=\"457\" Enable=\"1\" Channel=\"1\"/></Request>"},
        {"set key value (18829)", 18829,
         "<Request><Type>doorFaceUnlock</Type><Value>{\"unlock_type\":2147483647,"
         "\"unlock_sensitivity\":2147483647}</Value></Request>"},
        {"set user (18857)", 18857, user},
        {"query users (20160)", 20160, "<Request/>"},
        {"set snap password (18859)", 18859,
         "<Request><OptType Type=\"0\"/><Info><User Name=\"" + name +
             "\"/><Expire Begin=\"2023-11-14 00:00:00\" End=\"2037-11-16 00:00:00\"/>"
             "<Limit Num=\"1000\"/></Info></Request>"},
        {"query snap passwords (18861)", 18861, "<Request/>"},
        {"set alarm plan (18855)", 18855, alarmPlan},
        {"query alarm plans (18853)", 18853, "<Request/>"},
        {"user verification (18849)", 18849,
         "<Request><UserID>" + Long(40, 'i') + "</UserID><Timeout>0</Timeout></Request>"},
        {"set device plan (18731)", 18731, facePlan},
        {"system configuration answer (10376)", 10376,
         "<?xml version=\"1.0\" encoding=\"utf-8\"?><Response><Result>0</Result>"
         "<Type name=\"DLPower\" value='{\"low_percent\":30}'/></Response>"},
    };
}

const char *ItemName(int id) {
    switch (id) {
    case 66: return "switches (66)";
    case 67: return "finger store (67)";
    case 68: return "bell tone (68)";
    case 69: return "prompt tone (69)";
    case 70: return "lock status (70)";
    case 71: return "unlock events (71)";
    case 72: return "users (72)";
    case 73: return "power (73)";
    case 97: return "face unlock (97)";
    case 121: return "auto face unlock plan (121)";
    default: return "?";
    }
}

void Row(const char *thread, const std::string &what, const Figures &f, long baseline) {
    std::printf("| %s | %s | %ld | %ld |\n", thread, what.c_str(), f.stack - baseline, f.heap);
}

}  // namespace

int main() {
    oqsim::reset();
    oqsim::set_devinfo("dev_subserial", Long(63, 'S'));
    oqsim::clock_set(1700000000);

    // What a thread that does nothing leaves written on its stack (the
    // thread's own start-up); taken off every figure below.
    const long baseline = Measure([] {}).stack;

    std::printf("| Thread | Entry point or callback path | Stack bytes | Peak heap bytes |\n");
    std::printf("|---|---|---:|---:|\n");
    oqDevSDK_DoorLock_InitInfo_S info = {{Receive, Fill}};
    int ret = 0;
    Row("application", "`oqDevSDK_DoorLock_Init`",
        Measure([&] { ret = oqDevSDK_DoorLock_Init(&info); }), baseline);
    if (ret != OQDEVSDK_DOORLOCK_OK) {
        std::fprintf(stderr, "measure: Init answered %d\n", ret);
        return 1;
    }
    oqDevSDK_DoorLock_SrvMsg_S msg = {0};
    Row("application", "`oqDevSDK_DoorLock_Send2Srv_Msg`",
        Measure([&] { oqDevSDK_DoorLock_Send2Srv_Msg(&msg); }), baseline);
    Row("application", "`oqDevSDK_DoorLock_Fini`", Measure([] { oqDevSDK_DoorLock_Fini(); }),
        baseline);

    Row("routing", "kernel event", Measure([] { oqsim::event(0); }), baseline);
    uint32_t seq = 1;
    for (const Request &req : Requests()) {
        Row("routing", req.name, Measure([&] { oqsim::deliver(req.cmd, seq++, req.body); }),
            baseline);
    }

    for (int id : oqsim::status_ids()) {
        const oqdev_status_reg_s *reg = nullptr;
        for (const oqsim::StatusItem &item : oqsim::status_items()) {
            if (item.reg.iStatusId == id) {
                reg = &item.reg;
            }
        }
        oqsim::reset_item(id);
        Row("status-report", std::string(ItemName(id)) + ": change check and report",
            Measure([&] {
                if (reg->pfnIsChanged() == 1) {
                    reg->pfnReport(0);
                }
            }),
            baseline);
    }

    oqsim::clock_set(1800000000);
    Row("timer", "system-configuration job", Measure([] { oqsim::tick(); }), baseline);
    return 0;
}
