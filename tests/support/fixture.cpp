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

std::atomic<long> g_live{0};
std::atomic<long> g_count{0};
std::atomic<size_t> g_failSize{0};
std::atomic<int> g_failSkip{0};
std::atomic<int> g_failCount{0};

constexpr int kSourceCount = 3;
std::atomic<long> g_liveOf[kSourceCount];

std::atomic<bool> g_armed{false};
std::atomic<bool> g_sticky{false};
std::atomic<long> g_failAt{0};
std::atomic<long> g_armedCount{0};
std::atomic<long> g_injected{0};

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
    if (!g_armed.load()) {
        return false;
    }
    const long n = g_armedCount.fetch_add(1) + 1;
    const long at = g_failAt.load();
    if (n != at && !(g_sticky.load() && n > at)) {
        return false;
    }
    g_injected.fetch_add(1);
    RecordFailureStack();
    return true;
}

std::atomic<long> &LiveOf(AllocSource source) {
    return g_liveOf[static_cast<int>(source)];
}

void *SourceAlloc(AllocSource source, size_t size) {
    if (ArmedFaultHits()) {
        return nullptr;
    }
    void *p = std::malloc(size);
    if (p != nullptr) {
        LiveOf(source).fetch_add(1);
    }
    return p;
}

void SourceFree(AllocSource source, void *p) {
    if (p != nullptr) {
        LiveOf(source).fetch_sub(1);
    }
    std::free(p);
}

void *JsonAlloc(size_t size) {
    return SourceAlloc(AllocSource::kJson, size);
}
void JsonFree(void *p) {
    SourceFree(AllocSource::kJson, p);
}
void *XmlAlloc(size_t size) {
    return SourceAlloc(AllocSource::kXml, size);
}
void XmlFree(void *p) {
    SourceFree(AllocSource::kXml, p);
}

void InstallLibraryHooks() {
    cJSON_Hooks hooks{&JsonAlloc, &JsonFree};
    cJSON_InitHooks(&hooks);
    oqsim::xml_set_alloc_hooks(&XmlAlloc, &XmlFree);
}

void RemoveLibraryHooks() {
    cJSON_InitHooks(nullptr);
    oqsim::xml_set_alloc_hooks(nullptr, nullptr);
}

bool ShouldFail(size_t size) {
    if (g_failCount.load() == 0) {
        return false;
    }
    size_t want = g_failSize.load();
    if (want != 0 && want != size) {
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

void *CountingAlloc(size_t size) {
    g_count.fetch_add(1);
    if (ArmedFaultHits() || ShouldFail(size)) {
        return nullptr;
    }
    void *p = std::malloc(size);
    if (p != nullptr) {
        g_live.fetch_add(1);
        LiveOf(AllocSource::kModule).fetch_add(1);
    }
    return p;
}

void CountingFree(void *p) {
    if (p != nullptr) {
        g_live.fetch_sub(1);
        LiveOf(AllocSource::kModule).fetch_sub(1);
    }
    std::free(p);
}

}  // namespace

long LiveAllocations() {
    return g_live.load();
}
long AllocationCount() {
    return g_count.load();
}

void FailAllocations(size_t size, int count, int skip) {
    g_failSize = size;
    g_failSkip = skip;
    g_failCount = count;
}

void ClearAllocationFaults() {
    g_failCount = 0;
}

long LiveAllocationsOf(AllocSource source) {
    return LiveOf(source).load();
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

void ModuleTest::SetUp() {
    norla::DoorLock_Module_Fini();
    oqsim::reset();
    FakeDevice::Get().Reset();
    ClearAllocationFaults();
    DisarmAllocationFault();
    g_live = 0;
    g_count = 0;
    for (auto &live : g_liveOf) {
        live = 0;
    }
    norla::DoorLock_SetAllocHooks({&CountingAlloc, &CountingFree});
    InstallLibraryHooks();
}

void ModuleTest::TearDown() {
    ClearAllocationFaults();
    DisarmAllocationFault();
    norla::DoorLock_Module_Fini();
    norla::DoorLock_SetAllocHooks({nullptr, nullptr});
    RemoveLibraryHooks();
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
    size_t before = oqsim::sent().size();
    oqsim::deliver(cmd, seq, body);
    if (oqsim::sent().size() == before) {
        return "";
    }
    return oqsim::sent().back().body;
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
