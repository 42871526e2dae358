#include "conformance.h"

#include <algorithm>
#include <cinttypes>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "device_library.h"
#include "lock.h"
#include "records.h"

namespace dlsim {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Bytes after each record that the device must leave alone.
constexpr size_t kGuardBytes = 64;
constexpr uint8_t kGuardByte = 0xCD;
// Fill of the second poll of records the module does not zero before a
// fetch: a field the device leaves unwritten then shows up as a change.
constexpr uint8_t kStaleByte = 0xA5;
// Signal changes the module's lock status item lets pass as no change.
constexpr int kSignalDrift = 10;
// Add or change the user at usOptIndex, as the platform asks for it.
constexpr uint8_t kUserOptSet = 1;
constexpr uint8_t kUserTypeCheck = 1;
constexpr uint8_t kAllWeekdays = 0x7f;
constexpr int32_t kPlanBeginHour = 22;
constexpr int32_t kPlanEndHour = 23;
constexpr int64_t kSecondsPerDay = 86400;
constexpr char kCheckName[] = "conformance";
// A call still running after this many times its bound is taken as hung.
constexpr int kHangFactor = 50;

constexpr int kToDeviceTypes = OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN + 1;
constexpr int kFromDeviceTypes = OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN + 1;

enum class Dir { To, From };

template <size_t N>
bool Terminated(const char (&text)[N]) {
    return std::memchr(text, '\0', N) != nullptr;
}

template <size_t N>
std::string BoundedText(const char (&text)[N]) {
    return std::string(text, strnlen(text, N));
}

template <size_t N>
void CopyText(char (&dst)[N], const char *src) {
    std::snprintf(dst, N, "%s", src);
}

std::string Code(int ret) {
    char text[40];
    std::snprintf(text, sizeof text, "%d (%#x)", ret, static_cast<unsigned>(ret));
    return text;
}

std::string Beyond(const std::string &field, size_t count, size_t max) {
    return field + " " + std::to_string(count) + " is beyond its array of " + std::to_string(max);
}

std::string NoTerminator(const std::string &field) {
    return field + " has no terminator";
}

std::string Item(const char *array, size_t i, const char *field) {
    return std::string(array) + "[" + std::to_string(i) + "]." + field;
}

// Offset of the first byte in which two records differ.
size_t FirstDifference(const void *a, const void *b, size_t len) {
    const auto *x = static_cast<const uint8_t *>(a);
    const auto *y = static_cast<const uint8_t *>(b);
    return static_cast<size_t>(std::mismatch(x, x + len, y).first - x);
}

std::string Changed(size_t offset) {
    return "changed between two polls with nothing happening (first at byte " +
           std::to_string(offset) + ")";
}

// Watches the calls into the device from a thread of its own and calls
// `onHang` when one outlives its limit.
class Watchdog {
  public:
    using OnHang = std::function<void(Dir, int, milliseconds)>;
    explicit Watchdog(OnHang onHang) : m_onHang(std::move(onHang)), m_thread([this] { Loop(); }) {}
    ~Watchdog() {
        {
            std::lock_guard<std::mutex> guard(m_mutex);
            m_stop = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

    void Enter(Dir dir, int type, milliseconds limit) {
        {
            std::lock_guard<std::mutex> guard(m_mutex);
            m_inCall = true;
            m_dir = dir;
            m_type = type;
            m_limit = limit;
            m_deadline = Clock::now() + limit;
        }
        m_wake.notify_one();
    }
    void Leave() {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_inCall = false;
    }

  private:
    void Loop() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_stop) {
            if (!m_inCall) {
                m_wake.wait(lock);
            } else if (m_wake.wait_until(lock, m_deadline) == std::cv_status::timeout && m_inCall &&
                       Clock::now() >= m_deadline) {
                m_onHang(m_dir, m_type, m_limit);
                m_inCall = false;
            }
        }
    }

    OnHang m_onHang;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_stop = false;
    bool m_inCall = false;
    Dir m_dir = Dir::To;
    int m_type = 0;
    milliseconds m_limit{0};
    Clock::time_point m_deadline;
    std::thread m_thread;
};

class Checker {
  public:
    Checker(const oqDevSDK_DoorLock_Callback_S &device, milliseconds bound, const std::string &name,
            FILE *out)
        : m_device(device), m_bound(bound), m_name(name), m_out(out) {}

    void Run();
    int Report() const;

  private:
    int Call(Dir dir, int type, void *rec, uint32_t len, milliseconds bound);
    template <typename T>
    int Get(int type, T *rec) {
        return Call(Dir::From, type, rec, static_cast<uint32_t>(sizeof *rec), m_bound);
    }
    template <typename T>
    int Recv(int type, T *rec, milliseconds extra = milliseconds{0}) {
        return Call(Dir::To, type, rec, static_cast<uint32_t>(sizeof *rec), m_bound + extra);
    }
    void Note(Dir dir, int type, const std::string &text);
    // Notes the first finding that `check` returns for entries 0..n-1.
    template <typename Check>
    void First(Dir dir, int type, size_t n, Check check) {
        for (size_t i = 0; i < n; ++i) {
            const std::string finding = check(i);
            if (!finding.empty()) {
                Note(dir, type, finding);
                return;
            }
        }
    }

    // Polls: every runtime record twice, nothing happening in between.
    void PollSwitches();
    template <typename T>
    bool PollTwice(int type, T *first, bool stale);
    void PollLockStatus();
    void PollUnlockEvents();
    template <typename T>
    void Validate(int, const T &) {}
    void Validate(int type, const oqDevSDK_DoorLock_UnlockEvtRecList_S &l);
    void Validate(int type, const oqDevSDK_DoorLock_UserInfo_S &t);
    void Validate(int type, const oqDevSDK_DoorLock_AlarmPlanList_S &l);
    void Validate(int type, const oqDevSDK_DoorLock_SnapPwdList_S &l);
    void Validate(int type, const oqDevSDK_DoorLock_PowerStatus_S &p);

    // Messages: each setting sent and read back, each list entry added and
    // deleted again.
    void SetSwitches();
    template <typename T>
    void SetSame(int toType, int fromType, const T &value);
    void AddDeleteUser();
    void AddDeleteSnapPwd();
    void AddDeleteAlarmPlan();

    // A hung device never gives the thread back: report what was found
    // with the hung call and end the process.
    [[noreturn]] void Hung(Dir dir, int type, milliseconds limit);

    oqDevSDK_DoorLock_Callback_S m_device;
    milliseconds m_bound;
    std::string m_name;
    FILE *m_out;
    Watchdog m_watchdog{[this](Dir dir, int type, milliseconds limit) { Hung(dir, type, limit); }};
    std::map<std::pair<Dir, int>, std::vector<std::string>> m_findings;
    std::set<std::pair<Dir, int>> m_called;

    bool m_haveSwitch[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {};
    oqDevSDK_DoorLock_SwitchCfg_S m_switch[OQDEVSDK_DOORLOCK_SWITCH_NUM] = {};
};

int Checker::Call(Dir dir, int type, void *rec, uint32_t len, milliseconds bound) {
    std::vector<uint8_t> buffer(len + kGuardBytes, kGuardByte);
    std::memcpy(buffer.data(), rec, len);
    oqDevSDK_DoorLock_Msg_S msg{type, buffer.data(), len};
    auto *entry = dir == Dir::To ? m_device.Recv_Msg : m_device.Get_Runtime_Info;
    m_called.insert({dir, type});
    const Clock::time_point start = Clock::now();
    m_watchdog.Enter(dir, type, bound * kHangFactor);
    const int ret = entry(&msg);
    m_watchdog.Leave();
    const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
    std::memcpy(rec, buffer.data(), len);
    if (ret != 0) {
        Note(dir, type, "answered " + Code(ret) + " where 0 was expected");
    }
    if (std::any_of(buffer.begin() + len, buffer.end(),
                    [](uint8_t b) { return b != kGuardByte; })) {
        Note(dir, type, "wrote past the end of its " + std::to_string(len) + "-byte record");
    }
    if (took > bound) {
        Note(dir, type, "blocked longer than " + std::to_string(bound.count()) + " ms");
    }
    return ret;
}

void Checker::Note(Dir dir, int type, const std::string &text) {
    std::vector<std::string> &list = m_findings[{dir, type}];
    if (std::find(list.begin(), list.end(), text) == list.end()) {
        list.push_back(text);
    }
}

void Checker::Run() {
    PollSwitches();
    int32_t finger = 0;
    int32_t bell = 0;
    int32_t prompt = 0;
    oqDevSDK_DoorLock_FaceUnlock_S face{};
    auto plan = std::make_unique<oqDevSDK_DoorLock_AutoFaceUnlockPlan_S>();
    const bool haveFinger = PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE, &finger, false);
    const bool haveBell = PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, &bell, false);
    const bool havePrompt = PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE, &prompt, false);
    const bool haveFace = PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK, &face, true);
    const bool havePlan = PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN, plan.get(), false);
    PollLockStatus();
    PollUnlockEvents();
    PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO,
              std::make_unique<oqDevSDK_DoorLock_UserInfo_S>().get(), false);
    PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS,
              std::make_unique<oqDevSDK_DoorLock_AlarmPlanList_S>().get(), false);
    PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS,
              std::make_unique<oqDevSDK_DoorLock_SnapPwdList_S>().get(), false);
    PollTwice(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS,
              std::make_unique<oqDevSDK_DoorLock_PowerStatus_S>().get(), false);

    SetSwitches();
    if (haveFinger) {
        SetSame(OQDEVSDK_DOORLOCK_TO_DEV_FINGER_STORE, OQDEVSDK_DOORLOCK_FROM_DEV_FINGER_STORE,
                finger);
    }
    if (haveBell) {
        SetSame(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, bell);
    }
    if (havePrompt) {
        SetSame(OQDEVSDK_DOORLOCK_TO_DEV_PROMPT_TONE, OQDEVSDK_DOORLOCK_FROM_DEV_PROMPT_TONE,
                prompt);
    }
    if (haveFace) {
        SetSame(OQDEVSDK_DOORLOCK_TO_DEV_FACE_UNLOCK, OQDEVSDK_DOORLOCK_FROM_DEV_FACE_UNLOCK, face);
    }
    if (havePlan) {
        SetSame(OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN, OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN,
                *plan);
    }
    oqDevSDK_DoorLock_DLPower_S power{};
    power.ucLowPercent = kCheckLowPercent;
    Recv(OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER, &power);

    oqDevSDK_DoorLock_UserVerify_S verify{};
    CopyText(verify.szUserId, kCheckName);
    verify.uiTimeout = kVerifyTimeoutSeconds;
    Recv(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, &verify,
         std::chrono::seconds{kVerifyTimeoutSeconds});

    AddDeleteUser();
    AddDeleteSnapPwd();
    AddDeleteAlarmPlan();
}

void Checker::PollSwitches() {
    const int type = OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH;
    for (int32_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        oqDevSDK_DoorLock_SwitchCfg_S first{};
        first.iSwitchIndex = n;
        if (Get(type, &first) != 0) {
            continue;
        }
        oqDevSDK_DoorLock_SwitchCfg_S second;
        std::memset(&second, kStaleByte, sizeof second);
        second.iSwitchIndex = n;
        if (Get(type, &second) != 0) {
            continue;
        }
        const std::string which = "switch " + std::to_string(n);
        if (first.iSwitchIndex != n || second.iSwitchIndex != n) {
            Note(Dir::From, type,
                 which + " answered as switch " +
                     std::to_string(first.iSwitchIndex != n ? first.iSwitchIndex
                                                            : second.iSwitchIndex));
            continue;
        }
        if (std::memcmp(&first, &second, sizeof first) != 0) {
            Note(Dir::From, type,
                 which + " " + Changed(FirstDifference(&first, &second, sizeof first)));
            continue;
        }
        m_haveSwitch[n] = true;
        m_switch[n] = first;
    }
}

// Fetches the record twice into zeroed buffers (the second one filled with
// kStaleByte when `stale`), validates both and compares them. `first` holds
// the first fetch; false when either fetch failed.
template <typename T>
bool Checker::PollTwice(int type, T *first, bool stale) {
    std::memset(static_cast<void *>(first), 0, sizeof *first);
    if (Get(type, first) != 0) {
        return false;
    }
    Validate(type, *first);
    auto second = std::make_unique<T>();
    if (stale) {
        std::memset(static_cast<void *>(second.get()), kStaleByte, sizeof *second);
    }
    if (Get(type, second.get()) != 0) {
        return false;
    }
    Validate(type, *second);
    if (std::memcmp(first, second.get(), sizeof *first) != 0) {
        Note(Dir::From, type, Changed(FirstDifference(first, second.get(), sizeof *first)));
    }
    return true;
}

void Checker::PollLockStatus() {
    const int type = OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS;
    oqDevSDK_DoorLock_LockStatus_S first{};
    oqDevSDK_DoorLock_LockStatus_S second{};
    if (Get(type, &first) != 0 || Get(type, &second) != 0) {
        return;
    }
    const int drift = first.ucSignal - second.ucSignal;
    if (first.ucDoorState != second.ucDoorState || first.ucLockState != second.ucLockState ||
        drift < -kSignalDrift || drift > kSignalDrift) {
        Note(Dir::From, type,
             Changed(FirstDifference(&first, &second, sizeof first)) +
                 "; only the signal may drift, by up to " + std::to_string(kSignalDrift));
    }
}

// Each unlock event is handed once: right after a poll the next one is empty.
void Checker::PollUnlockEvents() {
    const int type = OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS;
    auto events = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    if (Get(type, events.get()) != 0) {
        return;
    }
    Validate(type, *events);
    std::memset(events.get(), 0, sizeof *events);
    if (Get(type, events.get()) != 0) {
        return;
    }
    Validate(type, *events);
    if (events->usRecNum != 0) {
        Note(Dir::From, type,
             "handed events again in the next poll with nothing happening (usRecNum " +
                 std::to_string(events->usRecNum) + "); each event is handed once");
    }
}

void Checker::Validate(int type, const oqDevSDK_DoorLock_UnlockEvtRecList_S &l) {
    constexpr size_t kMax = OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS;
    if (l.usRecNum > kMax) {
        Note(Dir::From, type, Beyond("usRecNum", l.usRecNum, kMax));
    }
    First(Dir::From, type, std::min<size_t>(l.usRecNum, kMax), [&](size_t i) {
        return Terminated(l.stRecord[i].szUser) ? "" : NoTerminator(Item("stRecord", i, "szUser"));
    });
}

void Checker::Validate(int type, const oqDevSDK_DoorLock_UserInfo_S &t) {
    constexpr size_t kMax = OQDEVSDK_DOORLOCK_MAX_USERS;
    constexpr size_t kDates = OQDEVSDK_DOORLOCK_MAX_USER_DATES;
    if (t.usUserNum > kMax) {
        Note(Dir::From, type, Beyond("usUserNum", t.usUserNum, kMax));
    }
    const size_t n = std::min<size_t>(t.usUserNum, kMax);
    First(Dir::From, type, n, [&](size_t i) {
        return Terminated(t.astUser[i].szName) ? "" : NoTerminator(Item("astUser", i, "szName"));
    });
    First(Dir::From, type, n, [&](size_t i) {
        return Terminated(t.astUser[i].szRemarkName)
                   ? ""
                   : NoTerminator(Item("astUser", i, "szRemarkName"));
    });
    First(Dir::From, type, n, [&](size_t i) {
        const size_t dates = t.astUser[i].usDateNum;
        return dates <= kDates ? "" : Beyond(Item("astUser", i, "usDateNum"), dates, kDates);
    });
    First(Dir::From, type, n, [&](size_t i) -> std::string {
        const oqDevSDK_DoorLock_User_S &u = t.astUser[i];
        for (size_t d = 0; d < std::min<size_t>(u.usDateNum, kDates); ++d) {
            if (u.astDate[d].iNum == OQDEVSDK_DOORLOCK_USER_UNLIMITED &&
                u.astDate[d].iAvailable != OQDEVSDK_DOORLOCK_USER_UNLIMITED) {
                return Item("astUser", i, "astDate[") + std::to_string(d) +
                       "]: iAvailable is not -1 with iNum -1";
            }
        }
        return "";
    });
}

void Checker::Validate(int type, const oqDevSDK_DoorLock_AlarmPlanList_S &l) {
    constexpr size_t kMax = OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS;
    constexpr size_t kDates = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_DATES;
    constexpr size_t kUsers = OQDEVSDK_DOORLOCK_MAX_ALARM_PLAN_USERS;
    if (l.usCount > kMax) {
        Note(Dir::From, type, Beyond("usCount", l.usCount, kMax));
    }
    const size_t n = std::min<size_t>(l.usCount, kMax);
    First(Dir::From, type, n, [&](size_t i) {
        const size_t dates = l.astPlan[i].usDateNum;
        return dates <= kDates ? "" : Beyond(Item("astPlan", i, "usDateNum"), dates, kDates);
    });
    First(Dir::From, type, n, [&](size_t i) {
        const size_t users = l.astPlan[i].usUserNum;
        return users <= kUsers ? "" : Beyond(Item("astPlan", i, "usUserNum"), users, kUsers);
    });
    First(Dir::From, type, n, [&](size_t i) -> std::string {
        const oqDevSDK_DoorLock_AlarmPlanInfo_S &p = l.astPlan[i];
        for (size_t u = 0; u < std::min<size_t>(p.usUserNum, kUsers); ++u) {
            if (!Terminated(p.astUser[u].szName)) {
                return NoTerminator(Item("astPlan", i, "astUser[") + std::to_string(u) +
                                    "].szName");
            }
        }
        return "";
    });
}

void Checker::Validate(int type, const oqDevSDK_DoorLock_SnapPwdList_S &l) {
    constexpr size_t kMax = OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS;
    if (l.usCount > kMax) {
        Note(Dir::From, type, Beyond("usCount", l.usCount, kMax));
    }
    First(Dir::From, type, std::min<size_t>(l.usCount, kMax), [&](size_t i) {
        return Terminated(l.astEntry[i].szName) ? "" : NoTerminator(Item("astEntry", i, "szName"));
    });
}

void Checker::Validate(int type, const oqDevSDK_DoorLock_PowerStatus_S &p) {
    constexpr size_t kMax = OQDEVSDK_DOORLOCK_POWER_MAX;
    if (p.usPowerNum > kMax) {
        Note(Dir::From, type, Beyond("usPowerNum", p.usPowerNum, kMax));
    }
    const size_t n = std::min<size_t>(p.usPowerNum, kMax);
    First(Dir::From, type, n, [&](size_t i) {
        return Terminated(p.stPower[i].szSubSerial)
                   ? ""
                   : NoTerminator(Item("stPower", i, "szSubSerial"));
    });
    First(Dir::From, type, n, [&](size_t i) {
        return Terminated(p.stPower[i].szDes) ? "" : NoTerminator(Item("stPower", i, "szDes"));
    });
}

// Turns each switch over, reads it back and turns it back.
void Checker::SetSwitches() {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SWITCH;
    for (int32_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
        if (!m_haveSwitch[n]) {
            continue;
        }
        oqDevSDK_DoorLock_SwitchCfg_S set = m_switch[n];
        set.iEnable = m_switch[n].iEnable == 0 ? 1 : 0;
        if (Recv(to, &set) != 0) {
            continue;
        }
        oqDevSDK_DoorLock_SwitchCfg_S back{};
        back.iSwitchIndex = n;
        if (Get(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, &back) == 0 && back.iEnable != set.iEnable) {
            Note(Dir::To, to,
                 "switch " + std::to_string(n) + " reads back iEnable " +
                     std::to_string(back.iEnable) + " after it was set to " +
                     std::to_string(set.iEnable));
        }
        oqDevSDK_DoorLock_SwitchCfg_S restore = m_switch[n];
        Recv(to, &restore);
    }
}

// Hands the device the value it reported; it must take it and report it
// unchanged.
template <typename T>
void Checker::SetSame(int toType, int fromType, const T &value) {
    auto sent = std::make_unique<T>(value);
    if (Recv(toType, sent.get()) != 0) {
        return;
    }
    auto back = std::make_unique<T>();
    if (Get(fromType, back.get()) == 0 && std::memcmp(back.get(), &value, sizeof value) != 0) {
        Note(Dir::To, toType,
             "reads back differently after it was set to what it reported (first at byte " +
                 std::to_string(FirstDifference(back.get(), &value, sizeof value)) + ")");
    }
}

void Checker::AddDeleteUser() {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_USER;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    if (Get(from, table.get()) != 0 || table->usUserNum >= OQDEVSDK_DOORLOCK_MAX_USERS) {
        return;
    }
    auto has = [&](uint16_t index) {
        std::memset(table.get(), 0, sizeof *table);
        if (Get(from, table.get()) != 0) {
            return false;
        }
        const size_t n = std::min<size_t>(table->usUserNum, OQDEVSDK_DOORLOCK_MAX_USERS);
        return std::any_of(table->astUser, table->astUser + n,
                           [&](const oqDevSDK_DoorLock_User_S &u) { return u.usIndex == index; });
    };
    uint16_t index = 0;
    while (index < OQDEVSDK_DOORLOCK_MAX_USERS &&
           std::any_of(table->astUser, table->astUser + table->usUserNum,
                       [&](const oqDevSDK_DoorLock_User_S &u) { return u.usIndex == index; })) {
        ++index;
    }
    auto set = std::make_unique<oqDevSDK_DoorLock_SetUserCfg_S>();
    set->ucOptType = kUserOptSet;
    set->usOptIndex = index;
    set->stUser.usIndex = index;
    set->stUser.ucType = kUserTypeCheck;
    CopyText(set->stUser.szName, kCheckName);
    set->iContentsAction = OQDEVSDK_DOORLOCK_USER_NO_CONTENTS;
    if (Recv(to, set.get()) != 0) {
        return;
    }
    const std::string which = "user " + std::to_string(index);
    if (!has(index)) {
        Note(Dir::To, to, which + " added with operation 1 is not in the user table");
        return;
    }
    auto del = std::make_unique<oqDevSDK_DoorLock_SetUserCfg_S>();
    del->ucOptType = OQDEVSDK_DOORLOCK_USER_OPT_DELETE;
    del->usOptIndex = index;
    if (Recv(to, del.get()) == 0 && has(index)) {
        Note(Dir::To, to, which + " is still in the user table after its delete");
    }
}

void Checker::AddDeleteSnapPwd() {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS;
    oqDevSDK_DoorLock_SnapPwdList_S list{};
    if (Get(from, &list) != 0 || list.usCount >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) {
        return;
    }
    auto has = [&](uint16_t index) {
        list = oqDevSDK_DoorLock_SnapPwdList_S{};
        if (Get(from, &list) != 0) {
            return false;
        }
        const size_t n = std::min<size_t>(list.usCount, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS);
        return std::any_of(list.astEntry, list.astEntry + n,
                           [&](const oqDevSDK_DoorLock_SnapPwdInfo_S &e) {
                               return e.usIndex == index && BoundedText(e.szName) == kCheckName;
                           });
    };
    oqDevSDK_DoorLock_SetSnapPwd_S set{};
    set.ucOptType = OQDEVSDK_DOORLOCK_OPT_CREATE;
    CopyText(set.szName, kCheckName);
    const int64_t now = static_cast<int64_t>(std::time(nullptr));
    set.uiBeginTime = static_cast<uint32_t>(now);
    set.uiEndTime = static_cast<uint32_t>(now + kSecondsPerDay);
    set.iLimitNum = 1;
    set.iAvailableCount = 1;
    if (Recv(to, &set) != 0) {
        return;
    }
    if (!Terminated(set.szPwd)) {
        Note(Dir::To, to, NoTerminator("szPwd"));
    } else if (set.szPwd[0] == '\0') {
        Note(Dir::To, to, "wrote no password into szPwd");
    }
    if (set.usIndex >= OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS) {
        Note(Dir::To, to, Beyond("usIndex", set.usIndex, OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS));
        return;
    }
    const std::string which = "snap password " + std::to_string(set.usIndex);
    if (!has(set.usIndex)) {
        Note(Dir::To, to, which + " it created is not in the list under that slot");
        return;
    }
    oqDevSDK_DoorLock_SetSnapPwd_S del{};
    del.ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
    del.usIndex = set.usIndex;
    if (Recv(to, &del) == 0 && has(set.usIndex)) {
        Note(Dir::To, to, which + " is still in the list after its delete");
    }
}

void Checker::AddDeleteAlarmPlan() {
    const int to = OQDEVSDK_DOORLOCK_TO_DEV_SET_ALARM_PLAN;
    const int from = OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS;
    auto list = std::make_unique<oqDevSDK_DoorLock_AlarmPlanList_S>();
    auto indexes = [&](std::vector<uint16_t> *out) {
        std::memset(list.get(), 0, sizeof *list);
        if (Get(from, list.get()) != 0) {
            return false;
        }
        out->clear();
        for (size_t i = 0; i < std::min<size_t>(list->usCount, OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS);
             ++i) {
            out->push_back(list->astPlan[i].usIndex);
        }
        return true;
    };
    std::vector<uint16_t> before;
    if (!indexes(&before) || before.size() >= OQDEVSDK_DOORLOCK_MAX_ALARM_PLANS) {
        return;
    }
    auto set = std::make_unique<oqDevSDK_DoorLock_SetAlarmPlan_S>();
    set->ucOptType = OQDEVSDK_DOORLOCK_OPT_CREATE;
    set->ucEnable = 1;
    set->ucWeekday = kAllWeekdays;
    set->usDateNum = 1;
    set->astDate[0].iBeginHour = kPlanBeginHour;
    set->astDate[0].iEndHour = kPlanEndHour;
    if (Recv(to, set.get()) != 0) {
        return;
    }
    std::vector<uint16_t> after;
    if (!indexes(&after)) {
        return;
    }
    std::vector<uint16_t> added;
    for (uint16_t index : after) {
        if (std::find(before.begin(), before.end(), index) == before.end()) {
            added.push_back(index);
        }
    }
    if (added.size() != 1) {
        Note(
            Dir::To, to,
            "a create added " + std::to_string(added.size()) + " plans to the list instead of one");
        return;
    }
    auto del = std::make_unique<oqDevSDK_DoorLock_SetAlarmPlan_S>();
    del->ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
    del->usIndex = added[0];
    if (Recv(to, del.get()) == 0 && indexes(&after) &&
        std::find(after.begin(), after.end(), added[0]) != after.end()) {
        Note(Dir::To, to,
             "plan " + std::to_string(added[0]) + " is still in the list after its delete");
    }
}

void Checker::Hung(Dir dir, int type, milliseconds limit) {
    Note(dir, type,
         "did not return within " + std::to_string(limit.count()) + " ms; the check ends here");
    Report();
    std::fflush(m_out);
    std::_Exit(kExitNonConforming);
}

int Checker::Report() const {
    FILE *out = m_out;
    std::fprintf(out, "conformance of %s (each call bounded by %lld ms)\n", m_name.c_str(),
                 static_cast<long long>(m_bound.count()));
    int failing = 0;
    int passed = 0;
    auto line = [&](Dir dir, int type) {
        const auto it = m_findings.find({dir, type});
        const bool ok = it == m_findings.end();
        // A type the check never got to (its list was full, an earlier
        // step failed or hung) is neither ok nor failed.
        const char *verdict = !ok                                ? "FAIL"
                              : m_called.count({dir, type}) != 0 ? "ok"
                                                                 : "not checked";
        const std::string what = dir == Dir::To ? ToDeviceName(type) : FromDeviceName(type);
        std::fprintf(out, "%-11s %2d  %-24s %s\n", dir == Dir::To ? "to device" : "from device",
                     type, what.c_str(), verdict);
        if (ok) {
            passed += m_called.count({dir, type}) != 0 ? 1 : 0;
            return;
        }
        ++failing;
        for (const std::string &finding : it->second) {
            std::fprintf(out, "    %s\n", finding.c_str());
        }
    };
    for (int type = 0; type < kToDeviceTypes; ++type) {
        line(Dir::To, type);
    }
    for (int type = 0; type < kFromDeviceTypes; ++type) {
        line(Dir::From, type);
    }
    const int total = kToDeviceTypes + kFromDeviceTypes;
    const int unchecked = total - failing - passed;
    if (failing != 0) {
        std::fprintf(out, "%d of %d type codes do not conform\n", failing, total);
    } else if (unchecked != 0) {
        std::fprintf(out, "%d of %d type codes conform, %d not checked\n", passed, total,
                     unchecked);
    } else {
        std::fprintf(out, "all %d type codes conform\n", total);
    }
    return failing;
}

}  // namespace

int RunConformance(const oqDevSDK_DoorLock_Callback_S &device, const std::string &name,
                   std::chrono::milliseconds bound, FILE *out) {
    Checker checker(device, bound, name, out);
    checker.Run();
    return checker.Report();
}

int ConformanceMain(const std::string &devicePath, FILE *out, FILE *err) {
    if (devicePath.empty()) {
        Lock lock;
        return RunConformance(Lock::Callbacks(), "the simulated lock", kCallBound, out) == 0
                   ? 0
                   : kExitNonConforming;
    }
    devlib::DeviceLibrary device;
    std::string why;
    if (!devlib::Load(devicePath, &device, &why)) {
        std::fprintf(err, "doorlock-sim: cannot use %s: %s\n", devicePath.c_str(), why.c_str());
        return kExitNoDevice;
    }
    return RunConformance(device.callbacks, devicePath, kCallBound, out) == 0 ? 0
                                                                             : kExitNonConforming;
}

}  // namespace dlsim
