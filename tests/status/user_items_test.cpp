#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"
#include "status/items.h"
#include "status/reports.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using statustest::Payload;
constexpr int kBatchCode = OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS;
constexpr int kTableCode = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;
// Allocations of one report of a full user table, with room to spare.
constexpr long kScannedAllocations = 64;

// Record i: user "user<i>", type i % 5, a minute after record i-1, starting at
// 2021-03-07 08:05:00 UTC.
std::unique_ptr<oqDevSDK_DoorLock_UnlockEvtRecList_S> MakeBatch(unsigned int count) {
    auto batch = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    std::memset(batch.get(), 0, sizeof *batch);
    batch->usRecNum = static_cast<uint16_t>(count);
    for (unsigned int i = 0; i < count && i < OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS; ++i) {
        std::snprintf(batch->stRecord[i].szUser, sizeof batch->stRecord[i].szUser, "user%u", i);
        batch->stRecord[i].ucUnlockType = static_cast<uint8_t>(i % 5);
        batch->stRecord[i].lUnlockTime = 1615104300 + static_cast<int32_t>(i) * 60;
    }
    return batch;
}

// The Info elements of records `from` to `count`-1 of MakeBatch at UTC+`zone`.
std::string Infos(unsigned int count, unsigned int from = 0, unsigned int zone = 0) {
    std::string out;
    for (unsigned int i = from; i < count; ++i) {
        char info[96];
        std::snprintf(info, sizeof info,
                      R"(<Info User="user%u" Type="%u" Date="2021-03-07 %02u:%02u:00"/>)", i, i % 5,
                      8 + zone + (5 + i) / 60, (5 + i) % 60);
        out += info;
    }
    return out.empty() ? "<Record/>" : "<Record>" + out + "</Record>";
}

std::unique_ptr<oqDevSDK_DoorLock_UserInfo_S> MakeTable(unsigned int users) {
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    std::memset(table.get(), 0, sizeof *table);
    table->usUserNum = static_cast<uint16_t>(users);
    for (unsigned int i = 0; i < users; ++i) {
        std::snprintf(table->astUser[i].szName, sizeof table->astUser[i].szName, "user%u", i);
    }
    return table;
}

class UserItemsTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
        Device().SetRuntime(kTableCode, *MakeTable(0));
        norla::UnlockEvtRec_Reset();
        norla::UserInfo_Reset();
    }
    void TearDown() override {
        oqsim::set_tz("UTC");
        ModuleTest::TearDown();
    }

    // Sends the unlock event report and returns what it carried.
    std::string UnlockReport(bool sendFails = false) {
        oqsim::kernel_fail_send(sendFails ? -5 : 0, 1);
        EXPECT_EQ(norla::UnlockEvtRec_Report(0) != 0, sendFails);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportUnlockEvents);
        return Payload(LastSent());
    }
    // Sends the user info report and returns the names of its users.
    std::vector<std::string> UserReport() {
        EXPECT_EQ(norla::UserInfo_Report(0), 0);
        EXPECT_EQ(LastSent().rec.iCmdId, norla::kCmdReportUserInfo);
        const std::string payload = Payload(LastSent());
        static const std::regex kName(R"re(<User [^>]* Name="([^"]*)")re");
        std::vector<std::string> names;
        for (std::sregex_iterator it(payload.begin(), payload.end(), kName), end; it != end; ++it) {
            names.push_back((*it)[1]);
        }
        EXPECT_TRUE(!names.empty() || payload.rfind("bad envelope", 0) != 0) << payload;
        return names;
    }
};

TEST_F(UserItemsTest, UnlockBatchesAreReportedInOrderAndThenForgotten) {
    for (unsigned int count : {0u, 1u, 100u}) {
        SCOPED_TRACE(count);
        Device().SetRuntime(kBatchCode, *MakeBatch(count));
        EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), count == 0 ? 0 : 1);
        EXPECT_EQ(UnlockReport(), Infos(count));
        EXPECT_EQ(UnlockReport(), Infos(0)) << "the cache is emptied by a report";
    }
    // A pending batch survives empty answers, but not a report, even one that
    // failed to go.
    Device().SetRuntime(kBatchCode, *MakeBatch(2));
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 1) << "the same batch again is news";
    Device().SetRuntime(kBatchCode, *MakeBatch(0));
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    EXPECT_EQ(UnlockReport(true), Infos(2));
    EXPECT_TRUE(HasLog(1, "Failed to send unlock event records to platform!!"));
    EXPECT_EQ(UnlockReport(), Infos(0));
}

// usRecNum above 100, a user name without terminator, a zero time; in UTC+8.
TEST_F(UserItemsTest, GarbageUnlockBatchStaysWithinTheRecord) {
    auto batch = MakeBatch(OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS);
    batch->usRecNum = 150;
    std::memset(batch->stRecord[0].szUser, 'u', sizeof batch->stRecord[0].szUser);
    batch->stRecord[1].lUnlockTime = 0;
    Device().SetRuntime(kBatchCode, *batch);
    oqsim::set_tz("CST-8");
    ASSERT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    EXPECT_EQ(UnlockReport(), "<Record><Info User=\"" + std::string(64, 'u') +
                                  R"(" Type="0" Date="2021-03-07 16:05:00"/>)"
                                  R"(<Info User="user1" Type="1" Date="1970-01-01 08:00:00"/>)" +
                                  Infos(100, 2, 8).substr(8));
}

// After a reset even an empty table is news, once. Any changed byte is news,
// also past usUserNum; the report sends the cache without fetching.
TEST_F(UserItemsTest, UserTableChangesAreNewsAndTheReportSendsTheCache) {
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_TRUE(UserReport().empty());
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    auto table = MakeTable(2);
    Device().SetRuntime(kTableCode, *table);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    table->astUser[OQDEVSDK_DOORLOCK_MAX_USERS - 1].usFaceNum = 1;
    Device().SetRuntime(kTableCode, *table);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);

    Device().SetRuntime(kTableCode, *MakeTable(5));
    const int fetches = Device().get_calls[kTableCode];
    EXPECT_EQ(UserReport(), (std::vector<std::string>{"user0", "user1"}));
    EXPECT_EQ(Device().get_calls[kTableCode], fetches);
}

// A full table whose XML runs out of memory half way is not reported cut short.
TEST_F(UserItemsTest, FullUserTableIsReportedWholeOrNotAtAll) {
    Device().SetRuntime(kTableCode, *MakeTable(OQDEVSDK_DOORLOCK_MAX_USERS));
    ASSERT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_EQ(UserReport().size(), static_cast<size_t>(OQDEVSDK_DOORLOCK_MAX_USERS));
    int cuts = 0;
    for (long n = 1; n <= kScannedAllocations && cuts == 0; ++n) {
        oqsim::clear_logs();
        oqsim::clear_sent();
        dltest::ArmAllocationFault(n, false);
        const int ret = norla::UserInfo_Report(0);
        dltest::DisarmAllocationFault();
        for (const oqsim::LogLine &line : oqsim::logs()) {
            if (line.text.rfind("Failed to fill user info, index=", 0) == 0) {
                ++cuts;
                EXPECT_EQ(ret, -1);
                EXPECT_TRUE(oqsim::sent().empty());
            }
        }
    }
    EXPECT_EQ(cuts, 1);
}

}  // namespace
