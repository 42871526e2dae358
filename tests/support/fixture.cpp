#include "support/fixture.h"

#include <atomic>
#include <cstdlib>

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
    if (ShouldFail(size)) {
        return nullptr;
    }
    void *p = std::malloc(size);
    if (p != nullptr) {
        g_live.fetch_add(1);
    }
    return p;
}

void CountingFree(void *p) {
    if (p != nullptr) {
        g_live.fetch_sub(1);
    }
    std::free(p);
}

}  // namespace

long LiveAllocations() { return g_live.load(); }
long AllocationCount() { return g_count.load(); }

void FailAllocations(size_t size, int count, int skip) {
    g_failSize = size;
    g_failSkip = skip;
    g_failCount = count;
}

void ClearAllocationFaults() { g_failCount = 0; }

void ModuleTest::SetUp() {
    norla::DoorLock_Module_Fini();
    oqsim::reset();
    FakeDevice::Get().Reset();
    ClearAllocationFaults();
    g_live = 0;
    g_count = 0;
    norla::DoorLock_SetAllocHooks({&CountingAlloc, &CountingFree});
}

void ModuleTest::TearDown() {
    ClearAllocationFaults();
    norla::DoorLock_Module_Fini();
    norla::DoorLock_SetAllocHooks({nullptr, nullptr});
    EXPECT_EQ(LiveAllocations(), 0) << "the module leaked heap blocks";
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
