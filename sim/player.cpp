#include "player.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>

#include "lock.h"
#include "oqdev_sim.h"
#include "records.h"
#include "transcript.h"

namespace dlsim {

// The words of one scenario line, taken from the left.
class Args {
  public:
    explicit Args(std::string text) : m_text(std::move(text)) {}

    bool Next(std::string *word) {
        SkipBlanks();
        if (m_pos >= m_text.size()) {
            return false;
        }
        const size_t start = m_pos;
        while (m_pos < m_text.size() && !IsBlank(m_text[m_pos])) {
            ++m_pos;
        }
        *word = m_text.substr(start, m_pos - start);
        return true;
    }
    // Everything after the one blank that follows the last word, verbatim.
    std::string Rest() {
        size_t from = m_pos;
        if (from < m_text.size() && IsBlank(m_text[from])) {
            ++from;
        }
        m_pos = m_text.size();
        return m_text.substr(from);
    }
    bool AtEnd() {
        SkipBlanks();
        return m_pos >= m_text.size();
    }

  private:
    static bool IsBlank(char c) { return c == ' ' || c == '\t'; }
    void SkipBlanks() {
        while (m_pos < m_text.size() && IsBlank(m_text[m_pos])) {
            ++m_pos;
        }
    }

    std::string m_text;
    size_t m_pos = 0;
};

namespace {

constexpr long long kIntMin = std::numeric_limits<int32_t>::min();
constexpr long long kIntMax = std::numeric_limits<int32_t>::max();
constexpr long long kSeqMax = std::numeric_limits<uint32_t>::max();
constexpr long long kMaxRecordOffset = 1 << 20;

// Reads the next word as an integer within limits, or explains why not.
bool TakeInt(Args &a, const char *what, long long min, long long max, long long *value,
             std::string *why) {
    std::string word;
    if (!a.Next(&word)) {
        *why = std::string("missing ") + what;
        return false;
    }
    if (!ParseInt(word, min, max, value)) {
        *why = std::string("bad ") + what + " '" + word + "'";
        return false;
    }
    return true;
}

bool TakeWord(Args &a, const char *what, std::string *word, std::string *why) {
    if (a.Next(word)) {
        return true;
    }
    *why = std::string("missing ") + what;
    return false;
}

bool ReadFile(const std::string &path, std::string *text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    std::ostringstream content;
    content << in.rdbuf();
    *text = content.str();
    // The file's last line ending belongs to the editor, not to the body.
    if (!text->empty() && text->back() == '\n') {
        text->pop_back();
        if (!text->empty() && text->back() == '\r') {
            text->pop_back();
        }
    }
    return true;
}

struct NamedValue {
    const char *name;
    long long value;
};

// A word from a small vocabulary, or a number.
bool TakeNamed(Args &a, const char *what, const NamedValue *names, size_t count, long long max,
               long long *value, std::string *why) {
    std::string word;
    if (!TakeWord(a, what, &word, why)) {
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        if (word == names[i].name) {
            *value = names[i].value;
            return true;
        }
    }
    if (ParseInt(word, 0, max, value)) {
        return true;
    }
    *why = std::string("bad ") + what + " '" + word + "'";
    return false;
}

}  // namespace

bool ParseInt(const std::string &text, long long min, long long max, long long *value) {
    size_t pos = 0;
    bool negative = false;
    if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) {
        negative = text[pos] == '-';
        ++pos;
    }
    int base = 10;
    if (text.compare(pos, 2, "0x") == 0 || text.compare(pos, 2, "0X") == 0) {
        base = 16;
        pos += 2;
    }
    if (pos >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[pos]))) {
        return false;
    }
    errno = 0;
    char *end = nullptr;
    const unsigned long long magnitude = std::strtoull(text.c_str() + pos, &end, base);
    if (errno != 0 || *end != '\0' ||
        magnitude > static_cast<unsigned long long>(std::numeric_limits<long long>::max())) {
        return false;
    }
    const long long result =
        negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude);
    if (result < min || result > max) {
        return false;
    }
    *value = result;
    return true;
}

bool ParseHex(const std::string &text, std::vector<uint8_t> *bytes) {
    if (text.empty() || text.size() % 2 != 0) {
        return false;
    }
    std::vector<uint8_t> out;
    for (size_t i = 0; i < text.size(); i += 2) {
        if (!std::isxdigit(static_cast<unsigned char>(text[i])) ||
            !std::isxdigit(static_cast<unsigned char>(text[i + 1]))) {
            return false;
        }
        out.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    *bytes = std::move(out);
    return true;
}

const Player::Command Player::kCommands[] = {
    {"init", &Player::Init},       {"fini", &Player::Fini},     {"send2srv", &Player::Send2Srv},
    {"event", &Player::Event},     {"sleep", &Player::Sleep},   {"devinfo", &Player::DevInfo},
    {"request", &Player::Request}, {"poll", &Player::Poll},     {"reset", &Player::Reset},
    {"tick", &Player::Tick},       {"clock", &Player::Clock},   {"advance", &Player::Advance},
    {"tz", &Player::Tz},           {"kernel", &Player::Kernel}, {"timer", &Player::Timer},
    {"device", &Player::Device},   {"unlock", &Player::Unlock}, {"door", &Player::Door},
    {"bolt", &Player::Bolt},       {"signal", &Player::Signal}, {"battery", &Player::Battery},
    {"note", &Player::Note},
};

Player::Player(const ModuleApi &api, Lock &lock, Transcript &out)
    : m_api(api), m_lock(lock), m_out(out), m_event(&Lock::DeviceEvent) {
    // The same start whatever the machine: emulator state, time zone, clock.
    oqsim::reset();
    oqsim::set_tz("UTC");
    oqsim::clock_set(kStartClock);
    oqsim::set_observer([this](const std::string &json) { m_out.Host(json); });
    m_lock.SetTranscript(&m_out);
}

Player::~Player() {
    oqsim::set_observer(nullptr);
    m_lock.SetTranscript(nullptr);
}

void Player::UseDeviceLibrary(oqDevSDK_DoorLock_DeviceEvent_F event) {
    m_event = event;
    m_deviceLibrary = true;
}

int Player::Play(std::istream &in, const std::string &name, const std::string &dir, FILE *err) {
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') {
            continue;
        }
        // A note is its own heading.
        if (line.compare(first, 5, "note ") != 0) {
            m_out.Step(name + ":" + std::to_string(number), line.substr(first));
        }
        std::string why;
        if (!Execute(line, dir, &why)) {
            m_out.Finish();
            std::fprintf(err, "%s:%d: %s\n", name.c_str(), number, why.c_str());
            return kExitBadLine;
        }
    }
    m_out.Finish();
    return 0;
}

bool Player::Execute(const std::string &line, const std::string &dir, std::string *why) {
    Args a(line);
    std::string name;
    if (!a.Next(&name)) {
        return true;
    }
    m_dir = dir;
    m_why.clear();
    for (const Command &c : kCommands) {
        if (name == c.name) {
            if ((this->*c.run)(a)) {
                return true;
            }
            *why = m_why;
            return false;
        }
    }
    *why = "unknown command '" + name + "'";
    return false;
}

bool Player::Fail(const std::string &why) {
    m_why = why;
    return false;
}

bool Player::Init(Args &a) {
    std::string word;
    int ret = 0;
    if (!a.Next(&word)) {
        oqDevSDK_DoorLock_InitInfo_S info{};
        info.stCallback = Lock::Callbacks();
        ret = m_api.init(&info);
    } else if (word == "null" && a.AtEnd()) {
        ret = m_api.init(nullptr);
    } else {
        return Fail("init takes nothing or 'null'");
    }
    m_out.Call("Init", &ret);
    return true;
}

bool Player::Fini(Args &a) {
    if (!a.AtEnd()) {
        return Fail("fini takes nothing");
    }
    m_api.fini();
    m_out.Call("Fini", nullptr);
    return true;
}

bool Player::Send2Srv(Args &a) {
    std::string word;
    if (!TakeWord(a, "TYPE or 'null'", &word, &m_why)) {
        return false;
    }
    int ret = 0;
    long long type = 0;
    if (word == "null") {
        ret = m_api.send2srv(nullptr);
    } else if (ParseInt(word, kIntMin, kIntMax, &type)) {
        oqDevSDK_DoorLock_SrvMsg_S msg{};
        msg.iType = static_cast<int32_t>(type);
        ret = m_api.send2srv(&msg);
    } else {
        return Fail("bad TYPE '" + word + "'");
    }
    if (!a.AtEnd()) {
        return Fail("send2srv takes one TYPE");
    }
    m_out.Call("Send2Srv", &ret);
    return true;
}

bool Player::Event(Args &a) {
    long long type = 0;
    if (!TakeInt(a, "event TYPE", kIntMin, kIntMax, &type, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("event takes one TYPE");
    }
    oqsim::event(static_cast<int>(type));
    return true;
}

bool Player::Sleep(Args &a) {
    std::string word;
    if (!a.Next(&word) || (word != "on" && word != "off") || !a.AtEnd()) {
        return Fail("sleep takes 'on' or 'off'");
    }
    oqsim::set_sleep(word == "on");
    return true;
}

bool Player::DevInfo(Args &a) {
    std::string key;
    if (!TakeWord(a, "devinfo KEY", &key, &m_why)) {
        return false;
    }
    oqsim::set_devinfo(key, a.Rest());
    return true;
}

bool Player::Request(Args &a) {
    long long cmd = 0;
    long long seq = 0;
    if (!TakeInt(a, "request CMD", kIntMin, kIntMax, &cmd, &m_why) ||
        !TakeInt(a, "request SEQ", 0, kSeqMax, &seq, &m_why)) {
        return false;
    }
    std::string body = a.Rest();
    if (!body.empty() && body[0] == '@') {
        std::string path = body.substr(1);
        if (!path.empty() && path[0] != '/') {
            path = m_dir + "/" + path;
        }
        if (!ReadFile(path, &body)) {
            return Fail("cannot read request body from " + path);
        }
    }
    m_out.Request(static_cast<int>(cmd), static_cast<uint32_t>(seq), body);
    const int ret = oqsim::deliver(static_cast<int>(cmd), static_cast<uint32_t>(seq), body);
    m_out.Delivered(ret);
    return true;
}

bool Player::Poll(Args &a) {
    if (!a.AtEnd()) {
        return Fail("poll takes nothing");
    }
    m_out.PollBegin();
    oqsim::poll();
    m_out.PollEnd();
    return true;
}

bool Player::Reset(Args &a) {
    std::string word;
    long long id = 0;
    if (!TakeWord(a, "reset ID or 'all'", &word, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("reset takes one ID or 'all'");
    }
    if (word == "all") {
        oqsim::reset_all_items();
    } else if (ParseInt(word, kIntMin, kIntMax, &id)) {
        oqsim::reset_item(static_cast<int>(id));
    } else {
        return Fail("bad status ID '" + word + "'");
    }
    return true;
}

bool Player::Tick(Args &a) {
    if (!a.AtEnd()) {
        return Fail("tick takes nothing");
    }
    oqsim::tick();
    return true;
}

bool Player::Clock(Args &a) {
    long long seconds = 0;
    if (!TakeInt(a, "clock SECONDS", kIntMin, kIntMax, &seconds, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("clock takes one SECONDS");
    }
    m_now = seconds;
    oqsim::clock_set(m_now);
    return true;
}

bool Player::Advance(Args &a) {
    long long seconds = 0;
    if (!TakeInt(a, "advance SECONDS", kIntMin, kIntMax, &seconds, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("advance takes one SECONDS");
    }
    m_now += seconds;
    oqsim::clock_set(m_now);
    return true;
}

bool Player::Tz(Args &a) {
    std::string zone;
    if (!TakeWord(a, "tz ZONE", &zone, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("tz takes one ZONE");
    }
    oqsim::set_tz(zone.c_str());
    return true;
}

bool Player::Kernel(Args &a) {
    std::string what;
    if (!TakeWord(a, "kernel fault", &what, &m_why)) {
        return false;
    }
    long long code = 0;
    long long count = -1;
    if (what == "send-ok" || what == "load-ok" || what == "redirect-ok") {
        code = 0;
    } else if (what == "send-fail" || what == "load-fail" || what == "redirect-fail") {
        if (!TakeInt(a, "CODE", kIntMin, kIntMax, &code, &m_why)) {
            return false;
        }
        if (code == 0) {
            return Fail("a failure CODE is not 0");
        }
        if (what == "send-fail" && !a.AtEnd() && !TakeInt(a, "COUNT", 1, kIntMax, &count, &m_why)) {
            return false;
        }
    } else {
        return Fail("unknown kernel fault '" + what + "'");
    }
    if (!a.AtEnd()) {
        return Fail("too many words for kernel " + what);
    }
    const int c = static_cast<int>(code);
    if (what.compare(0, 4, "send") == 0) {
        oqsim::kernel_fail_send(c, static_cast<int>(count));
    } else if (what.compare(0, 4, "load") == 0) {
        oqsim::kernel_fail_load(c);
    } else {
        oqsim::kernel_fail_redirect(c);
    }
    return true;
}

bool Player::Timer(Args &a) {
    std::string what;
    if (!a.Next(&what) || (what != "add-fail" && what != "add-ok") || !a.AtEnd()) {
        return Fail("timer takes 'add-fail' or 'add-ok'");
    }
    oqsim::timer_fail_add(what == "add-fail");
    return true;
}

bool Player::Device(Args &a) {
    std::string what;
    if (!TakeWord(a, "device action", &what, &m_why)) {
        return false;
    }
    std::string direction;
    if (what == "fail" || what == "ok") {
        if (!a.Next(&direction) || (direction != "recv" && direction != "get")) {
            return Fail("device " + what + " takes 'recv' or 'get'");
        }
        return what == "fail" ? DeviceFail(a, direction == "recv")
                              : DeviceOk(a, direction == "recv");
    }
    if (what == "poke" || what == "reply") {
        return DevicePatch(a, what == "poke");
    }
    return Fail("unknown device action '" + what + "'");
}

bool Player::DeviceFail(Args &a, bool recv) {
    long long type = 0;
    long long code = 0;
    long long count = -1;
    if (!TakeInt(a, "TYPE", kIntMin, kIntMax, &type, &m_why) ||
        !TakeInt(a, "CODE", kIntMin, kIntMax, &code, &m_why)) {
        return false;
    }
    if (code == 0) {
        return Fail("a failure CODE is not 0");
    }
    if (!a.AtEnd() && !TakeInt(a, "COUNT", 1, kIntMax, &count, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("too many words for device fail");
    }
    const int t = static_cast<int>(type);
    if (recv) {
        m_lock.FailRecv(t, static_cast<int>(code), static_cast<int>(count));
    } else {
        m_lock.FailGet(t, static_cast<int>(code), static_cast<int>(count));
    }
    return true;
}

bool Player::DeviceOk(Args &a, bool recv) {
    long long type = 0;
    if (!TakeInt(a, "TYPE", kIntMin, kIntMax, &type, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("too many words for device ok");
    }
    if (recv) {
        m_lock.ClearRecvFault(static_cast<int>(type));
    } else {
        m_lock.ClearGetFault(static_cast<int>(type));
    }
    return true;
}

bool Player::DevicePatch(Args &a, bool poke) {
    long long type = 0;
    long long offset = 0;
    std::string hex;
    std::vector<uint8_t> bytes;
    if (!TakeInt(a, "TYPE", kIntMin, kIntMax, &type, &m_why) ||
        !TakeInt(a, "OFFSET", 0, kMaxRecordOffset, &offset, &m_why) ||
        !TakeWord(a, "HEX", &hex, &m_why)) {
        return false;
    }
    if (!ParseHex(hex, &bytes)) {
        return Fail("bad HEX '" + hex + "' (pairs of hex digits)");
    }
    if (!a.AtEnd()) {
        return Fail("too many words for device patch");
    }
    const int t = static_cast<int>(type);
    const auto at = static_cast<size_t>(offset);
    return poke ? m_lock.Poke(t, at, bytes, &m_why) : m_lock.Reply(t, at, bytes, &m_why);
}

bool Player::Unlock(Args &a) {
    static const NamedValue kHow[] = {
        {"finger", static_cast<long long>(UnlockHow::Finger)},
        {"password", static_cast<long long>(UnlockHow::Password)},
        {"card", static_cast<long long>(UnlockHow::Card)},
        {"face", static_cast<long long>(UnlockHow::Face)},
        {"key", static_cast<long long>(UnlockHow::Key)},
        {"remote", static_cast<long long>(UnlockHow::Remote)},
    };
    std::string user;
    long long how = 0;
    if (!TakeWord(a, "unlock USER", &user, &m_why) ||
        !TakeNamed(a, "unlock HOW", kHow, sizeof kHow / sizeof kHow[0], 255, &how, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("unlock takes USER and HOW");
    }
    return RaiseEvent("unlock", OQDEVSDK_DOORLOCK_DEVICE_EVT_UNLOCK, 0, static_cast<int32_t>(how),
                      user);
}

bool Player::Door(Args &a) {
    static const NamedValue kStates[] = {{"closed", kDoorClosed}, {"open", kDoorOpen}};
    long long state = 0;
    if (!TakeNamed(a, "door state", kStates, 2, 255, &state, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("door takes one state");
    }
    return RaiseEvent("door", OQDEVSDK_DOORLOCK_DEVICE_EVT_DOOR, 0, static_cast<int32_t>(state),
                      "");
}

bool Player::Bolt(Args &a) {
    static const NamedValue kStates[] = {{"unlocked", kBoltUnlocked}, {"locked", kBoltLocked}};
    long long state = 0;
    if (!TakeNamed(a, "bolt state", kStates, 2, 255, &state, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("bolt takes one state");
    }
    if (!SimulatedLockOnly("bolt")) {
        return false;
    }
    m_lock.SetBolt(static_cast<uint8_t>(state));
    return true;
}

bool Player::Signal(Args &a) {
    long long signal = 0;
    if (!TakeInt(a, "signal LEVEL", 0, 255, &signal, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("signal takes one LEVEL");
    }
    if (!SimulatedLockOnly("signal")) {
        return false;
    }
    m_lock.SetSignal(static_cast<uint8_t>(signal));
    return true;
}

bool Player::Battery(Args &a) {
    static const NamedValue kSources[] = {{"door", OQDEVSDK_DOORLOCK_POWER_NAME_DOOR},
                                          {"cateye", OQDEVSDK_DOORLOCK_POWER_NAME_CAT_EYE}};
    long long source = 0;
    long long percent = 0;
    if (!TakeNamed(a, "battery SOURCE", kSources, 2, 255, &source, &m_why) ||
        !TakeInt(a, "battery PERCENT", 0, 100, &percent, &m_why)) {
        return false;
    }
    if (!a.AtEnd()) {
        return Fail("battery takes SOURCE and PERCENT");
    }
    return RaiseEvent("battery", OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY,
                      static_cast<int32_t>(source), static_cast<int32_t>(percent), "");
}

bool Player::RaiseEvent(const char *what, int32_t event, int32_t index, int32_t value,
                        const std::string &user) {
    if (m_event == nullptr) {
        return Fail(std::string(what) + " needs a device library that exports " +
                    OQDEVSDK_DOORLOCK_DEVICE_EVENT_SYMBOL);
    }
    oqDevSDK_DoorLock_DeviceEvent_S ev{};
    ev.iEvent = event;
    ev.iIndex = index;
    ev.iValue = value;
    std::snprintf(ev.szUser, sizeof ev.szUser, "%s", user.c_str());
    m_lock.SetClock(static_cast<int32_t>(m_now));
    const int ret = m_event(&ev);
    if (ret != 0) {
        if (event == OQDEVSDK_DOORLOCK_DEVICE_EVT_BATTERY) {
            return Fail("the lock has no power source " + std::to_string(index) + " (result " +
                        std::to_string(ret) + ")");
        }
        return Fail(std::string("the lock refused the ") + what + " event (result " +
                    std::to_string(ret) + ")");
    }
    return true;
}

bool Player::SimulatedLockOnly(const char *what) {
    if (m_deviceLibrary) {
        return Fail(std::string(what) + " acts on the simulated lock only; a device library " +
                    "has no such event");
    }
    return true;
}

bool Player::Note(Args &a) {
    m_out.Note(a.Rest());
    return true;
}

}  // namespace dlsim
