#include "harness.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace qualify {
namespace {

constexpr uint8_t kCanary = 0xCD;
constexpr int kSlots = 8;
constexpr int kMaxAttempts = 40;
constexpr int kExitNoCallbacks = 99;
constexpr int kPollMs = 20;

// One call under way, in memory the parent shares with the child.
struct CallSlot {
    std::atomic<int> active;
    int dir;
    int type;
    uintptr_t base;
    uint32_t len;
    int64_t startNs;
    int64_t limitNs;
};

struct Shared {
    CallSlot slots[kSlots];
    std::atomic<int> faultSlot;  // -1: no fault inside a call
    uintptr_t faultAddr;
    int faultSignal;
    // The trap: page [trapLo, trapHi), pages after it up to afterHi.
    std::atomic<uintptr_t> trapLo;
    std::atomic<uintptr_t> trapHi;
    std::atomic<uintptr_t> afterHi;
    std::atomic<int> trapStage;  // kSecondPass: 0 untouched, 1 first pass, 2 gone past it
    std::atomic<int> trapped;
    std::atomic<int> released;
};

Shared *g_shared = nullptr;
thread_local int t_slot = 0;
thread_local int64_t t_tookNs = 0;

int64_t NowNs() {
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

size_t PageSize() {
    static const size_t size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

// A fault in a trapped buffer waits until the trap is released, then the
// faulting access runs again. Any other fault is noted for the parent and
// then kills the child as it would have without the handler.
bool OnTrap(uintptr_t addr) {
    Shared &sh = *g_shared;
    const uintptr_t lo = sh.trapLo.load();
    const uintptr_t hi = sh.trapHi.load();
    const uintptr_t afterHi = sh.afterHi.load();
    if (lo == 0 || addr < lo || addr >= afterHi) {
        return false;
    }
    const int stage = sh.trapStage.load();
    const uintptr_t next = hi + (hi - lo);
    if (addr >= hi && addr < next) {
        // The page right after the trapped one: a store that straddles the
        // two (seen under qemu) is still the same pass.
        mprotect(reinterpret_cast<void *>(hi), next - hi, PROT_READ | PROT_WRITE);
        return true;
    }
    if (addr >= next) {
        // Well past the trapped page: from now on a touch of it is a second
        // pass.
        mprotect(reinterpret_cast<void *>(hi), afterHi - hi, PROT_READ | PROT_WRITE);
        if (stage == 1) {
            mprotect(reinterpret_cast<void *>(lo), hi - lo, PROT_NONE);
            sh.trapStage.store(2);
        }
        return true;
    }
    if (stage == 0) {
        mprotect(reinterpret_cast<void *>(lo), hi - lo, PROT_READ | PROT_WRITE);
        sh.trapStage.store(1);
        return true;
    }
    sh.trapped.store(1);
    const timespec pause{0, 1000000};
    while (sh.released.load() == 0) {
        nanosleep(&pause, nullptr);
    }
    return true;
}

void OnFault(int sig, siginfo_t *info, void *) {
    const auto addr = reinterpret_cast<uintptr_t>(info->si_addr);
    if ((sig == SIGSEGV || sig == SIGBUS) && g_shared != nullptr && OnTrap(addr)) {
        return;
    }
    if (g_shared != nullptr && g_shared->faultSlot.load() < 0) {
        g_shared->faultAddr = addr;
        g_shared->faultSignal = sig;
        g_shared->faultSlot.store(g_shared->slots[t_slot].active.load() != 0 ? t_slot : kSlots);
    }
    struct sigaction dfl {};
    dfl.sa_handler = SIG_DFL;
    sigaction(sig, &dfl, nullptr);
    if (sig == SIGABRT) {
        raise(sig);
    }
}

void InstallFaultHandlers() {
    // A device that overflows its stack still gets its finding.
    static char altStack[64 * 1024];
    stack_t ss{};
    ss.ss_sp = altStack;
    ss.ss_size = sizeof altStack;
    sigaltstack(&ss, nullptr);
    struct sigaction sa {};
    sa.sa_sigaction = &OnFault;
    sa.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    sigemptyset(&sa.sa_mask);
    for (int sig : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
        sigaction(sig, &sa, nullptr);
    }
}

std::string SignalName(int sig) {
    switch (sig) {
        case SIGSEGV:
            return "SIGSEGV";
        case SIGBUS:
            return "SIGBUS";
        case SIGILL:
            return "SIGILL";
        case SIGFPE:
            return "SIGFPE";
        case SIGABRT:
            return "SIGABRT";
        case SIGKILL:
            return "SIGKILL";
        default:
            return "signal " + std::to_string(sig);
    }
}

std::string CallName(Dir dir) {
    return dir == Dir::To ? "Recv_Msg" : "Get_Runtime_Info";
}

// What a fault at `addr` during a call with the record at [base, base+len)
// tells about the device.
std::string CrashText(int sig, uintptr_t addr, uintptr_t base, uint32_t len, Dir dir) {
    const std::string size = std::to_string(len) + "-byte record";
    if ((sig == SIGSEGV || sig == SIGBUS) && addr >= base + len && addr < base + len + PageSize()) {
        return "wrote past the end of its " + size + " (fault at byte " +
               std::to_string(addr - base) + "); the call crashed";
    }
    if ((sig == SIGSEGV || sig == SIGBUS) && addr < base && base - addr <= PageSize()) {
        return "wrote before the start of its " + size + "; the call crashed";
    }
    return "crashed with " + SignalName(sig) + " in " + CallName(dir) + " (its record: " + size +
           ")";
}

std::string Escape(const std::string &text) {
    std::string out = text;
    for (char &c : out) {
        if (c == '\n' || c == '\r') {
            c = ' ';
        }
    }
    return out;
}

}  // namespace

std::string ResultText(int ret) {
    char text[40];
    std::snprintf(text, sizeof text, "%d (%#x)", ret, static_cast<unsigned>(ret));
    return text;
}

GuardedBuffer::GuardedBuffer(uint32_t len) : m_len(len) {
    const size_t page = PageSize();
    const size_t body = (len + page - 1) / page * page + page;  // slack page before the record
    m_mapLen = body + 2 * page;
    void *map = mmap(nullptr, m_mapLen, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) {
        std::perror("doorlock-qualify: mmap");
        std::_Exit(kExitUsage);
    }
    m_map = static_cast<uint8_t *>(map);
    mprotect(m_map, page, PROT_NONE);
    mprotect(m_map + page + body, page, PROT_NONE);
    m_record = m_map + page + body - len;
    std::memset(m_map + page, kCanary, body - len);
    std::memset(m_record, 0, len);
}

GuardedBuffer::~GuardedBuffer() {
    Release();
    munmap(m_map, m_mapLen);
}

bool GuardedBuffer::FrontIntact() const {
    const uint8_t *front = m_map + PageSize();
    for (const uint8_t *p = front; p < m_record; ++p) {
        if (*p != kCanary) {
            return false;
        }
    }
    return true;
}

void GuardedBuffer::Trap(uint32_t offset, TrapMode mode) {
    const uintptr_t page = PageSize();
    const uintptr_t lo = reinterpret_cast<uintptr_t>(m_record + offset) / page * page;
    const uintptr_t end = reinterpret_cast<uintptr_t>(m_record + m_len);  // a page boundary
    Shared &sh = *g_shared;
    sh.released.store(0);
    sh.trapped.store(0);
    sh.trapStage.store(mode == TrapMode::kFirstTouch ? 2 : 0);
    sh.trapHi.store(lo + page);
    sh.afterHi.store(mode == TrapMode::kFirstTouch ? lo + page : end);
    sh.trapLo.store(lo);
    mprotect(reinterpret_cast<void *>(lo), sh.afterHi.load() - lo, PROT_NONE);
    m_trapped = true;
}

void GuardedBuffer::Release() {
    if (!m_trapped) {
        return;
    }
    Shared &sh = *g_shared;
    const uintptr_t lo = sh.trapLo.load();
    mprotect(reinterpret_cast<void *>(lo), sh.afterHi.load() - lo, PROT_READ | PROT_WRITE);
    sh.trapLo.store(0);
    sh.released.store(1);
    m_trapped = false;
}

bool TrapSprung() {
    return g_shared->trapped.load() != 0;
}

Session::Session(const std::string &unit, const oqDevSDK_DoorLock_Callback_S &device,
                 oqDevSDK_DoorLock_DeviceEvent_F eventEntry, const Options &opts,
                 const std::set<std::pair<Dir, int>> &excluded, int channel)
    : m_unit(unit),
      m_device(device),
      m_event(eventEntry),
      m_options(opts),
      m_excluded(excluded),
      m_channel(channel) {}

int Session::Call(Dir dir, int type, uint8_t *data, uint32_t len, int slot, milliseconds extra) {
    if (m_excluded.count({dir, type}) != 0) {
        throw Excluded{};
    }
    CallSlot &s = g_shared->slots[slot];
    s.dir = static_cast<int>(dir);
    s.type = type;
    s.base = reinterpret_cast<uintptr_t>(data);
    s.len = len;
    s.limitNs = static_cast<int64_t>((m_options.hang + extra).count()) * 1000000;
    s.startNs = NowNs();
    t_slot = slot;
    s.active.store(1);
    oqDevSDK_DoorLock_Msg_S msg{type, data, len};
    const int ret = dir == Dir::To ? m_device.Recv_Msg(&msg) : m_device.Get_Runtime_Info(&msg);
    s.active.store(0);
    t_tookNs = NowNs() - s.startNs;
    return ret;
}

int Session::CallInPlace(Dir dir, int type, GuardedBuffer &buffer, int slot, milliseconds extra) {
    return Call(dir, type, buffer.data(), buffer.size(), slot, extra);
}

int Session::Get(int type, void *rec, uint32_t len) {
    GuardedBuffer buffer(len);
    std::memcpy(buffer.data(), rec, len);
    const int ret = Call(Dir::From, type, buffer.data(), len, 0, milliseconds{0});
    if (!buffer.FrontIntact()) {
        Fail(Dir::From, type,
             "wrote before the start of its " + std::to_string(len) + "-byte record");
    }
    std::memcpy(rec, buffer.data(), len);
    return ret;
}

int Session::Recv(int type, void *rec, uint32_t len, milliseconds extra) {
    GuardedBuffer buffer(len);
    std::memcpy(buffer.data(), rec, len);
    const int ret = Call(Dir::To, type, buffer.data(), len, 0, extra);
    if (!buffer.FrontIntact()) {
        Fail(Dir::To, type,
             "wrote before the start of its " + std::to_string(len) + "-byte record");
    }
    std::memcpy(rec, buffer.data(), len);
    return ret;
}

std::chrono::microseconds Session::LastTook() const {
    return std::chrono::microseconds{t_tookNs / 1000};
}

void Session::Step(const std::function<void()> &step) {
    try {
        step();
    } catch (const Excluded &) {
    }
}

void Session::Send(char kind, Dir dir, int type, const std::string &text) {
    std::ostringstream line;
    line << kind << ' ' << (dir == Dir::To ? 't' : 'f') << ' ' << type << ' ' << Escape(text)
         << '\n';
    const std::string out = line.str();
    // One write a line: the parent reads whole lines even from several threads.
    ssize_t done = 0;
    while (done < static_cast<ssize_t>(out.size())) {
        const ssize_t n = write(m_channel, out.data() + done, out.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return;
        }
        done += n;
    }
}

void Session::Fail(Dir dir, int type, const std::string &text) {
    Send('F', dir, type, text);
}

void Session::Checked(Dir dir, int type) {
    Send('C', dir, type, "");
}

void Session::Declined(Dir dir, int type, int ret) {
    Send('D', dir, type, "answered " + ResultText(ret) + "; what needs this record is not checked");
}

void Session::NotChecked(const std::string &why) {
    Send('N', Dir::To, 0, why);
}

namespace {

struct Attempt {
    bool finished = false;  // the unit ran to its end
    bool retry = false;     // a call crashed or hung: run again without its type code
    std::pair<Dir, int> culprit{Dir::To, 0};
};

void ReadLine(const std::string &line, const std::string &unit, Findings *findings) {
    if (line.size() < 5) {
        return;
    }
    std::istringstream in(line);
    char kind = 0;
    char dir = 0;
    int type = 0;
    in >> kind >> dir >> type;
    std::string text;
    std::getline(in, text);
    if (!text.empty() && text[0] == ' ') {
        text.erase(0, 1);
    }
    const Dir d = dir == 't' ? Dir::To : Dir::From;
    switch (kind) {
        case 'F':
            findings->Fail(d, type, unit, text);
            break;
        case 'C':
            findings->Checked(d, type);
            break;
        case 'D':
            findings->Declined(d, type, unit, text);
            break;
        case 'N':
            findings->UnitNotChecked(unit, text);
            break;
        default:
            break;
    }
}

Attempt RunOnce(const Unit &unit, const devlib::DeviceLibrary &library, const Options &options,
                const std::set<std::pair<Dir, int>> &excluded, Findings *findings) {
    Attempt attempt;
    for (CallSlot &s : g_shared->slots) {
        s.active.store(0);
    }
    g_shared->faultSlot.store(-1);
    g_shared->trapLo.store(0);
    int fds[2];
    if (pipe(fds) != 0) {
        std::perror("doorlock-qualify: pipe");
        std::exit(kExitUsage);
    }
    std::fflush(nullptr);
    const pid_t pid = fork();
    if (pid < 0) {
        std::perror("doorlock-qualify: fork");
        std::exit(kExitUsage);
    }
    if (pid == 0) {
        close(fds[0]);
        InstallFaultHandlers();
        devlib::DeviceLibrary lib = library;
        std::string why;
        if (!devlib::Start(&lib, &why)) {
            std::fprintf(stderr, "doorlock-qualify: %s\n", why.c_str());
            std::_Exit(kExitNoCallbacks);
        }
        Session session(unit.name, lib.callbacks, lib.event, options, excluded, fds[1]);
        unit.run(session);
        std::fflush(nullptr);
        std::_Exit(0);
    }
    close(fds[1]);
    std::string pending;
    bool hung = false;
    int hungSlot = -1;
    for (;;) {
        pollfd p{fds[0], POLLIN, 0};
        const int ready = poll(&p, 1, kPollMs);
        if (ready > 0) {
            char chunk[4096];
            const ssize_t n = read(fds[0], chunk, sizeof chunk);
            if (n <= 0) {
                break;
            }
            pending.append(chunk, static_cast<size_t>(n));
            size_t nl = 0;
            while ((nl = pending.find('\n')) != std::string::npos) {
                ReadLine(pending.substr(0, nl), unit.name, findings);
                pending.erase(0, nl + 1);
            }
            continue;
        }
        const int64_t now = NowNs();
        for (int i = 0; i < kSlots && !hung; ++i) {
            const CallSlot &s = g_shared->slots[i];
            if (s.active.load() != 0 && now - s.startNs > s.limitNs) {
                hung = true;
                hungSlot = i;
                kill(pid, SIGKILL);
            }
        }
    }
    close(fds[0]);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        attempt.finished = true;
        return attempt;
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == kExitNoCallbacks) {
        findings->UnitNotChecked(unit.name, "the library handed back a null callback");
        return attempt;
    }
    if (hung) {
        const CallSlot &s = g_shared->slots[hungSlot];
        const Dir dir = static_cast<Dir>(s.dir);
        findings->Fail(dir, s.type, unit.name,
                       "did not return within " + std::to_string(s.limitNs / 1000000) +
                           " ms; the call was abandoned");
        attempt.retry = true;
        attempt.culprit = {dir, s.type};
        return attempt;
    }
    int slot = g_shared->faultSlot.load();
    for (int i = 0; i < kSlots && (slot < 0 || slot >= kSlots); ++i) {
        slot = g_shared->slots[i].active.load() != 0 ? i : slot;
    }
    if (slot >= 0 && slot < kSlots) {
        const CallSlot &s = g_shared->slots[slot];
        const Dir dir = static_cast<Dir>(s.dir);
        // A sanitizer in the device code, or an exit() there, ends the
        // process without a fault of ours.
        const std::string text =
            g_shared->faultSlot.load() == slot
                ? CrashText(g_shared->faultSignal, g_shared->faultAddr, s.base, s.len, dir)
            : WIFSIGNALED(status)
                ? "crashed with " + SignalName(WTERMSIG(status)) + " in " + CallName(dir)
                : "ended the process (exit status " + std::to_string(WEXITSTATUS(status)) +
                      ") in " + CallName(dir);
        findings->Fail(dir, s.type, unit.name, text);
        attempt.retry = true;
        attempt.culprit = {dir, s.type};
        return attempt;
    }
    // Outside any call of ours: a thread of the device's own, or the
    // device broke something the check relies on.
    std::string how = WIFSIGNALED(status) ? "was killed by " + SignalName(WTERMSIG(status))
                                          : "exited with " + std::to_string(WEXITSTATUS(status));
    findings->UnitNotChecked(unit.name, "the checking process " + how + " outside a device call");
    return attempt;
}

}  // namespace

void RunUnit(const Unit &unit, const devlib::DeviceLibrary &library, const Options &options,
             Findings *findings) {
    if (g_shared == nullptr) {
        void *map = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) {
            std::perror("doorlock-qualify: mmap");
            std::exit(kExitUsage);
        }
        g_shared = new (map) Shared{};
    }
    std::set<std::pair<Dir, int>> excluded;
    for (int i = 0; i < kMaxAttempts; ++i) {
        const Attempt attempt = RunOnce(unit, library, options, excluded, findings);
        if (attempt.finished) {
            findings->UnitRan(unit.name);
            return;
        }
        if (!attempt.retry || !excluded.insert(attempt.culprit).second) {
            return;
        }
    }
}

}  // namespace qualify
