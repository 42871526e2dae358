// The base fixture of every module test: a fresh emulator and device, the
// module torn down, the module's heap accounted so that every test checks it
// leaked nothing.
#ifndef TESTS_SUPPORT_FIXTURE_H
#define TESTS_SUPPORT_FIXTURE_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "oqdev_sim.h"
#include "support/fake_device.h"

namespace dltest {

long LiveAllocations();  // module allocations still held
// Makes the module's allocations fail: those of exactly `size` bytes (any size
// when 0), starting with the `skip`+1-th matching one, `count` times (every
// time when negative).
void FailAllocations(size_t size, int count = 1, int skip = 0);
void ClearAllocationFaults();

// Every allocation made on the module's behalf is counted by where it comes
// from: the module's own heap, cJSON and the XML class. The fixture checks
// that none of them is left over at the end of a test.
enum class AllocSource { kModule, kJson, kXml };
long LiveAllocationsOf(AllocSource source);

// Allocation fault of the out-of-memory loops, over all sources together:
// counting starts when armed; the n-th (1-based) allocation fails, and with
// `sticky` every later one too.
void ArmAllocationFault(long n, bool sticky);
void DisarmAllocationFault();
// Allocations counted since arming, and how many of them were failed.
long ArmedAllocations();
long InjectedAllocationFailures();
// Distinct call stacks that met an injected failure since the last clear
// (0 where the platform cannot walk its stack).
long DistinctFailureStacks();
void ClearFailureStacks();

class ModuleTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    FakeDevice &Device() { return FakeDevice::Get(); }
    // oqDevSDK_DoorLock_Init with the fake device's callbacks; expects 0.
    void InitModule();
    // Delivers a platform request and returns the body of the response the
    // module sent for it (the last send), or "" when nothing was sent.
    std::string Request(int cmd, uint32_t seq, const std::string &body);
    // The last message sent to the kernel; fails the test when none.
    const oqsim::Sent &LastSent();
    static int ResultOf(const std::string &body);  // its Result, -1000 when none
    bool HasLog(int level, const std::string &textWithoutNewline);
};

}  // namespace dltest

#endif
