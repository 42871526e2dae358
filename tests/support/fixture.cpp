#include "support/fixture.h"

#include <cjson/cJSON.h>
#include <execinfo.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <set>

#include "CMarkupSTL.h"
#include "frame/memory.h"
#include "frame/module.h"
#include "oqDevSDK_door_lock.h"

namespace dltest {
namespace {

constexpr int kSourceCount = 3;
std::atomic<long> g_liveOf[kSourceCount];

// Faults of FailAllocations (module allocations only, by size) and of
// ArmAllocationFault (every source, by position).
std::atomic<size_t> g_failSize{0};
std::atomic<int> g_failSkip{0}, g_failCount{0};
std::atomic<bool> g_armed{false}, g_sticky{false};
std::atomic<long> g_failAt{0}, g_armedCount{0}, g_injected{0};

// Deep enough to tell the module's call paths apart above the allocator.
constexpr int kStackDepth = 12;
std::mutex g_stackMutex;
std::set<uintptr_t> g_failureStacks;

void RecordFailureStack() {
    void *frames[kStackDepth];
    const int depth = backtrace(frames, kStackDepth);
    uintptr_t hash = 0;
    for (int i = 0; i < depth; ++i) {
        hash = hash * 1000003u + reinterpret_cast<uintptr_t>(frames[i]);
    }
    std::lock_guard<std::mutex> lock(g_stackMutex);
    g_failureStacks.insert(hash);
}

bool ArmedFaultHits() {
    const long n = g_armed.load() ? g_armedCount.fetch_add(1) + 1 : 0;
    const long at = g_failAt.load();
    if (n == 0 || (n != at && !(g_sticky.load() && n > at))) {
        return false;
    }
    g_injected.fetch_add(1);
    RecordFailureStack();
    return true;
}

bool SizedFaultHits(size_t size) {
    const size_t want = g_failSize.load();
    if (g_failCount.load() == 0 || (want != 0 && want != size)) {
        return false;
    }
    if (g_failSkip.load() > 0) {
        g_failSkip.fetch_sub(1);
        return false;
    }
    if (g_failCount.load() > 0) {
        g_failCount.fetch_sub(1);
    }
    return true;
}

std::atomic<long> &LiveOf(AllocSource source) {
    return g_liveOf[static_cast<int>(source)];
}

// The allocation functions handed to the module, cJSON and the XML class.
template <AllocSource kSource>
struct Counted {
    static void *Alloc(size_t size) {
        if (ArmedFaultHits() || (kSource == AllocSource::kModule && SizedFaultHits(size))) {
            return nullptr;
        }
        void *p = std::malloc(size);
        LiveOf(kSource).fetch_add(p != nullptr ? 1 : 0);
        return p;
    }
    static void Free(void *p) {
        LiveOf(kSource).fetch_sub(p != nullptr ? 1 : 0);
        std::free(p);
    }
};

void InstallHooks(bool install) {
    using Module = Counted<AllocSource::kModule>;
    using Json = Counted<AllocSource::kJson>;
    using Xml = Counted<AllocSource::kXml>;
    cJSON_Hooks hooks{&Json::Alloc, &Json::Free};
    norla::DoorLock_SetAllocHooks(install
                                      ? norla::DoorLock_AllocHooks_S{&Module::Alloc, &Module::Free}
                                      : norla::DoorLock_AllocHooks_S{nullptr, nullptr});
    cJSON_InitHooks(install ? &hooks : nullptr);
    oqsim::xml_set_alloc_hooks(install ? &Xml::Alloc : nullptr, install ? &Xml::Free : nullptr);
}

}  // namespace

long LiveAllocations() {
    return LiveOf(AllocSource::kModule).load();
}
long LiveAllocationsOf(AllocSource source) {
    return LiveOf(source).load();
}

void FailAllocations(size_t size, int count, int skip) {
    g_failSize = size;
    g_failSkip = skip;
    g_failCount = count;
}
void ClearAllocationFaults() {
    g_failCount = 0;
}

void ArmAllocationFault(long n, bool sticky) {
    g_failAt = n;
    g_sticky = sticky;
    g_armedCount = 0;
    g_injected = 0;
    g_armed = true;
}
void DisarmAllocationFault() {
    g_armed = false;
}
long ArmedAllocations() {
    return g_armedCount.load();
}
long InjectedAllocationFailures() {
    return g_injected.load();
}

long DistinctFailureStacks() {
    std::lock_guard<std::mutex> lock(g_stackMutex);
    return static_cast<long>(g_failureStacks.size());
}
void ClearFailureStacks() {
    std::lock_guard<std::mutex> lock(g_stackMutex);
    g_failureStacks.clear();
}

namespace {
// Tears the module down with no fault armed.
void FiniModule() {
    ClearAllocationFaults();
    DisarmAllocationFault();
    norla::DoorLock_Module_Fini();
}
}  // namespace

void ModuleTest::SetUp() {
    FiniModule();
    oqsim::reset();
    FakeDevice::Get().Reset();
    for (auto &live : g_liveOf) {
        live = 0;
    }
    InstallHooks(true);
}

void ModuleTest::TearDown() {
    FiniModule();
    InstallHooks(false);
    EXPECT_EQ(LiveAllocations(), 0) << "the module leaked heap blocks";
    EXPECT_EQ(LiveAllocationsOf(AllocSource::kJson), 0) << "cJSON items were not deleted";
    EXPECT_EQ(LiveAllocationsOf(AllocSource::kXml), 0) << "XML documents were not released";
    oqsim::reset();
    FakeDevice::Get().Reset();
}

void ModuleTest::InitModule() {
    oqDevSDK_DoorLock_InitInfo_S info{};
    info.stCallback = FakeDevice::Get().Callbacks();
    ASSERT_EQ(oqDevSDK_DoorLock_Init(&info), 0);
}

std::string ModuleTest::Request(int cmd, uint32_t seq, const std::string &body) {
    const size_t before = oqsim::sent().size();
    oqsim::deliver(cmd, seq, body);
    return oqsim::sent().size() == before ? "" : oqsim::sent().back().body;
}

const oqsim::Sent &ModuleTest::LastSent() {
    static const oqsim::Sent kNone{};
    EXPECT_FALSE(oqsim::sent().empty()) << "nothing was sent";
    return oqsim::sent().empty() ? kNone : oqsim::sent().back();
}

int ModuleTest::ResultOf(const std::string &body) {
    CMarkupSTL xml;
    if (!xml.SetDoc(body.c_str()) || !xml.FindElem("Response") || !xml.IntoElem() ||
        !xml.FindElem("Result")) {
        return -1000;
    }
    return std::atoi(xml.x_GetData().c_str());
}

bool ModuleTest::HasLog(int level, const std::string &textWithoutNewline) {
    return oqsim::has_log(level, textWithoutNewline + "\n");
}

}  // namespace dltest
