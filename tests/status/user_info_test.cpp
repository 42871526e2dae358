#include <cstdint>
#include <string>
#include <vector>

#include "handlers/user_records.h"
#include "oqDevSDK_door_lock.h"
#include "status/items.h"
#include "support/fixture.h"

namespace {

constexpr int kLogError = 1;
constexpr int kTableCode = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;
// Allocations of one report of a full table, with room to spare.
constexpr long kScannedAllocations = 64;

class UserInfoItemTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
        Offer(0);
        norla::UserInfo_Reset();
    }

    void Offer(unsigned int users) { Device().SetRuntime(kTableCode, *usertest::MakeTable(users)); }
    // Sends the report and returns the names of the users it carried.
    std::vector<std::string> Report() {
        oqsim::clear_sent();
        EXPECT_EQ(norla::UserInfo_Report(0), 0);
        const oqsim::Sent &sent = LastSent();
        EXPECT_EQ(sent.rec.iCmdId, norla::kCmdReportUserInfo);
        EXPECT_EQ(sent.rec.ucIsResponse, 0);
        EXPECT_EQ(sent.version, "v1.0.0");
        const usertest::XmlMessage msg = usertest::ReadMessage(sent.body);
        EXPECT_EQ(msg.texts, (std::map<std::string, std::string>{{"DevSerial", "SIMLOCK0001"},
                                                                 {"Authorization", ""}}));
        std::vector<std::string> names;
        for (const usertest::XmlUser &u : msg.users) {
            names.push_back(u.user.at("Name"));
        }
        return names;
    }
};

TEST_F(UserInfoItemTest, ResetMakesEvenAnEmptyTableNewsOnce) {
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_TRUE(Report().empty());
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
}

TEST_F(UserInfoItemTest, AnyChangedByteIsNewsAndTheReportSendsTheCache) {
    auto table = usertest::MakeTable(2);
    Device().SetRuntime(kTableCode, *table);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    // Slots past usUserNum are compared too, though never reported.
    table->astUser[OQDEVSDK_DOORLOCK_MAX_USERS - 1].usFaceNum = 1;
    Device().SetRuntime(kTableCode, *table);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);

    Offer(5);
    const int fetches = Device().get_calls[kTableCode];
    EXPECT_EQ(Report(), (std::vector<std::string>{"user0", "user1"}));
    EXPECT_EQ(Device().get_calls[kTableCode], fetches);
}

TEST_F(UserInfoItemTest, FailuresKeepTheCacheUntilAFetchSucceeds) {
    ASSERT_EQ(norla::UserInfo_IsChanged(), 1);
    Offer(1);
    Device().get_result[kTableCode] = 7;
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to get user info."));
    Device().get_result.clear();

    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=132004."));

    EXPECT_TRUE(Report().empty());
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_EQ(Report().size(), 1u);

    oqsim::kernel_fail_send(-5, 1);
    EXPECT_NE(norla::UserInfo_Report(0), 0);
}

// A table whose XML runs out of memory half way is not reported cut short.
TEST_F(UserInfoItemTest, ReportCutShortByMemoryIsNotSent) {
    Offer(OQDEVSDK_DOORLOCK_MAX_USERS);
    ASSERT_EQ(norla::UserInfo_IsChanged(), 1);
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

TEST_F(UserInfoItemTest, PollReportsAFullTableOnce) {
    norla::UserInfo_IsChanged();
    Offer(OQDEVSDK_DOORLOCK_MAX_USERS);
    oqsim::clear_sent();
    oqsim::poll();
    oqsim::poll();
    std::vector<size_t> reported;
    for (const oqsim::Sent &sent : oqsim::sent()) {
        if (sent.rec.iCmdId == norla::kCmdReportUserInfo) {
            reported.push_back(usertest::ReadMessage(sent.body).users.size());
        }
    }
    EXPECT_EQ(reported, std::vector<size_t>{OQDEVSDK_DOORLOCK_MAX_USERS});
}

}  // namespace
