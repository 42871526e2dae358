#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "CMarkupSTL.h"
#include "oqDevSDK_door_lock.h"
#include "status/items.h"
#include "support/fixture.h"

namespace {

constexpr int kLogError = 1;
constexpr int kUserTypeCode = OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO;

struct UserReport {
    int cmd = 0;
    int flag = -1;
    std::string version;
    bool hasDevSerial = false;
    bool hasAuthorization = false;
    std::vector<std::string> names;
    std::vector<size_t> dateCounts;
};

UserReport ParseReport(const oqsim::Sent &sent) {
    UserReport report;
    report.cmd = sent.rec.iCmdId;
    report.flag = sent.rec.ucIsResponse;
    report.version = sent.version;
    CMarkupSTL xml;
    if (!xml.SetDoc(sent.body.c_str()) || !xml.FindElem("Request") || !xml.IntoElem()) {
        ADD_FAILURE() << "not a request: " << sent.body;
        return report;
    }
    report.hasDevSerial = xml.FindElem("DevSerial", true) && xml.x_GetData() == "SIMLOCK0001";
    report.hasAuthorization = xml.FindElem("Authorization", true) && xml.x_GetData().empty();
    xml.ResetPos();
    xml.FindElem("Request");
    xml.IntoElem();
    while (xml.FindElem("UserInfo")) {
        xml.IntoElem();
        xml.FindElem("User", true);
        report.names.push_back(xml.x_GetAttrib("Name"));
        xml.FindElem("Expire", true);
        xml.IntoElem();
        xml.FindElem("DateList", true);
        xml.IntoElem();
        size_t dates = 0;
        while (xml.FindElem("Date")) {
            ++dates;
        }
        report.dateCounts.push_back(dates);
        xml.OutOfElem();
        xml.OutOfElem();
        xml.OutOfElem();
    }
    return report;
}

std::unique_ptr<oqDevSDK_DoorLock_UserInfo_S> MakeTable(unsigned int users) {
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    std::memset(table.get(), 0, sizeof *table);
    table->usUserNum = static_cast<uint16_t>(users);
    for (unsigned int i = 0; i < users; ++i) {
        oqDevSDK_DoorLock_User_S &u = table->astUser[i];
        u.usIndex = static_cast<uint16_t>(i);
        std::snprintf(u.szName, sizeof u.szName, "user%u", i);
        u.usDateNum = OQDEVSDK_DOORLOCK_MAX_USER_DATES;
    }
    return table;
}

class UserInfoItemTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        InitModule();
        Device().SetRuntime(kUserTypeCode, *MakeTable(0));
        norla::UserInfo_Reset();
    }

    UserReport Report() {
        oqsim::clear_sent();
        EXPECT_EQ(norla::UserInfo_Report(0), 0);
        EXPECT_EQ(oqsim::sent().size(), 1u);
        return oqsim::sent().empty() ? UserReport{} : ParseReport(oqsim::sent().back());
    }
};

TEST_F(UserInfoItemTest, ResetMakesEvenAnEmptyTableNews) {
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    const UserReport report = Report();
    EXPECT_EQ(report.cmd, norla::kCmdReportUserInfo);
    EXPECT_EQ(report.flag, 0);
    EXPECT_EQ(report.version, "v1.0.0");
    EXPECT_TRUE(report.hasDevSerial);
    EXPECT_TRUE(report.hasAuthorization);
    EXPECT_TRUE(report.names.empty());
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
}

TEST_F(UserInfoItemTest, AnyChangedByteOfTheTableIsNews) {
    auto table = MakeTable(2);
    Device().SetRuntime(kUserTypeCode, *table);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);

    // A slot past usUserNum is compared too, though never reported.
    table->astUser[OQDEVSDK_DOORLOCK_MAX_USERS - 1].usFaceNum = 1;
    Device().SetRuntime(kUserTypeCode, *table);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    const UserReport report = Report();
    EXPECT_EQ(report.names, (std::vector<std::string>{"user0", "user1"}));
    EXPECT_EQ(report.dateCounts, (std::vector<size_t>{4, 4}));
}

TEST_F(UserInfoItemTest, ReportSendsTheCacheNotAFreshTable) {
    Device().SetRuntime(kUserTypeCode, *MakeTable(3));
    ASSERT_EQ(norla::UserInfo_IsChanged(), 1);
    Device().SetRuntime(kUserTypeCode, *MakeTable(1));
    const int fetches = Device().get_calls[kUserTypeCode];
    EXPECT_EQ(Report().names.size(), 3u);
    EXPECT_EQ(Device().get_calls[kUserTypeCode], fetches);
}

TEST_F(UserInfoItemTest, FailuresKeepTheCacheUntilAFetchSucceeds) {
    ASSERT_EQ(norla::UserInfo_IsChanged(), 1);
    Device().SetRuntime(kUserTypeCode, *MakeTable(1));

    Device().get_result[kUserTypeCode] = 7;
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to get user info."));
    Device().get_result.clear();

    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO_LEN);
    EXPECT_EQ(norla::UserInfo_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=132004."));

    EXPECT_TRUE(Report().names.empty());
    EXPECT_EQ(norla::UserInfo_IsChanged(), 1);
    EXPECT_EQ(Report().names.size(), 1u);
}

TEST_F(UserInfoItemTest, FailedSendIsReturned) {
    ASSERT_EQ(norla::UserInfo_IsChanged(), 1);
    oqsim::kernel_fail_send(-5, 1);
    EXPECT_NE(norla::UserInfo_Report(0), 0);
}

TEST_F(UserInfoItemTest, PolledReportsOncePerChange) {
    norla::UserInfo_IsChanged();
    Device().SetRuntime(kUserTypeCode, *MakeTable(OQDEVSDK_DOORLOCK_MAX_USERS));
    auto reportsOfUsers = [] {
        int n = 0;
        for (const oqsim::Sent &sent : oqsim::sent()) {
            n += sent.rec.iCmdId == norla::kCmdReportUserInfo ? 1 : 0;
        }
        return n;
    };
    oqsim::clear_sent();
    oqsim::poll();
    oqsim::poll();
    ASSERT_EQ(reportsOfUsers(), 1);
    for (const oqsim::Sent &sent : oqsim::sent()) {
        if (sent.rec.iCmdId == norla::kCmdReportUserInfo) {
            EXPECT_EQ(ParseReport(sent).names.size(),
                      static_cast<size_t>(OQDEVSDK_DOORLOCK_MAX_USERS));
        }
    }
}

}  // namespace
