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
constexpr int kEvtTypeCode = OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS;
constexpr int32_t kFirstTime = 1615104300;  // 2021-03-07 08:05:00 UTC

struct Info {
    std::string user;
    std::string type;
    std::string date;
    bool operator==(const Info &o) const {
        return user == o.user && type == o.type && date == o.date;
    }
};

// The Info elements of the last unlock event report; fails when the report
// has no Record element.
std::vector<Info> LastReportInfos() {
    std::vector<Info> infos;
    if (oqsim::sent().empty()) {
        ADD_FAILURE() << "nothing was sent";
        return infos;
    }
    const oqsim::Sent &sent = oqsim::sent().back();
    EXPECT_EQ(sent.rec.iCmdId, norla::kCmdReportUnlockEvents);
    EXPECT_EQ(sent.rec.ucIsResponse, 0);
    CMarkupSTL xml;
    EXPECT_TRUE(xml.SetDoc(sent.body.c_str()));
    xml.FindElem("Request");
    xml.IntoElem();
    EXPECT_TRUE(xml.FindElem("DevSerial", true));
    EXPECT_TRUE(xml.FindElem("Authorization", true));
    if (!xml.FindElem("Record", true)) {
        ADD_FAILURE() << "no Record: " << sent.body;
        return infos;
    }
    xml.IntoElem();
    while (xml.FindElem("Info")) {
        infos.push_back(
            {xml.x_GetAttrib("User"), xml.x_GetAttrib("Type"), xml.x_GetAttrib("Date")});
    }
    return infos;
}

std::unique_ptr<oqDevSDK_DoorLock_UnlockEvtRecList_S> MakeBatch(unsigned int count) {
    auto batch = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    std::memset(batch.get(), 0, sizeof *batch);
    batch->usRecNum = static_cast<uint16_t>(count);
    for (unsigned int i = 0; i < count && i < OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS; ++i) {
        oqDevSDK_DoorLock_UnlockEvtRec_S &rec = batch->stRecord[i];
        std::snprintf(rec.szUser, sizeof rec.szUser, "user%u", i);
        rec.ucUnlockType = static_cast<uint8_t>(i % 5);
        rec.lUnlockTime = kFirstTime + static_cast<int32_t>(i) * 60;
    }
    return batch;
}

Info ExpectedInfo(unsigned int i) {
    char date[32];
    const unsigned int minutes = 5 + i;
    std::snprintf(date, sizeof date, "2021-03-07 %02u:%02u:00", 8 + minutes / 60, minutes % 60);
    return {"user" + std::to_string(i), std::to_string(i % 5), date};
}

class UnlockEventsItemTest : public dltest::ModuleTest {
  protected:
    void SetUp() override {
        ModuleTest::SetUp();
        oqsim::set_tz("UTC");
        InitModule();
        norla::UnlockEvtRec_Reset();
    }
    void TearDown() override {
        oqsim::set_tz("UTC");
        ModuleTest::TearDown();
    }

    void Offer(unsigned int count) { Device().SetRuntime(kEvtTypeCode, *MakeBatch(count)); }
    std::vector<Info> Report(int expectResult = 0) {
        oqsim::clear_sent();
        EXPECT_EQ(norla::UnlockEvtRec_Report(0), expectResult);
        return LastReportInfos();
    }
};

TEST_F(UnlockEventsItemTest, BatchesAreReportedInOrderAndThenForgotten) {
    for (unsigned int count : {0u, 1u, 100u}) {
        SCOPED_TRACE(count);
        Offer(count);
        EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), count == 0 ? 0 : 1);
        const std::vector<Info> infos = Report();
        ASSERT_EQ(infos.size(), count);
        for (unsigned int i = 0; i < count; ++i) {
            EXPECT_EQ(infos[i], ExpectedInfo(i)) << i;
        }
        EXPECT_TRUE(Report().empty()) << "the cache is emptied after a report";
    }
}

TEST_F(UnlockEventsItemTest, EmptyAnswerKeepsAPendingBatchAndRepeatsAreNews) {
    Offer(2);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    Offer(0);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    EXPECT_EQ(Report().size(), 2u);
}

TEST_F(UnlockEventsItemTest, FailedSendDropsTheBatch) {
    Offer(3);
    ASSERT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    oqsim::kernel_fail_send(-5, 1);
    oqsim::clear_sent();
    EXPECT_NE(norla::UnlockEvtRec_Report(0), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to send unlock event records to platform!!"));
    EXPECT_TRUE(Report().empty());
}

TEST_F(UnlockEventsItemTest, FetchFailuresAreNoChange) {
    Offer(1);
    ASSERT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    Offer(4);
    Device().get_result[kEvtTypeCode] = 3;
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to get unlock event records info."));
    Device().get_result.clear();

    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=7204"));
    EXPECT_EQ(Report().size(), 1u);
}

TEST_F(UnlockEventsItemTest, GarbageBatchStaysWithinTheRecord) {
    auto batch = MakeBatch(OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS);
    batch->usRecNum = 150;
    std::memset(batch->stRecord[0].szUser, 'u', sizeof batch->stRecord[0].szUser);
    Device().SetRuntime(kEvtTypeCode, *batch);
    ASSERT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    const std::vector<Info> infos = Report();
    ASSERT_EQ(infos.size(), static_cast<size_t>(OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS));
    EXPECT_EQ(infos[0].user, std::string(OQDEVSDK_DOORLOCK_UNLOCK_USER_LEN, 'u'));
}

TEST_F(UnlockEventsItemTest, DatesAreLocalTime) {
    auto batch = MakeBatch(1);
    batch->stRecord[0].lUnlockTime = 0;
    Device().SetRuntime(kEvtTypeCode, *batch);
    oqsim::set_tz("CST-8");
    ASSERT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    const std::vector<Info> infos = Report();
    ASSERT_EQ(infos.size(), 1u);
    EXPECT_EQ(infos[0].date, "1970-01-01 08:00:00");
}

TEST_F(UnlockEventsItemTest, PollDrainsTheDevice) {
    Offer(2);
    oqsim::clear_sent();
    oqsim::poll();
    int reports = 0;
    for (const oqsim::Sent &sent : oqsim::sent()) {
        reports += sent.rec.iCmdId == norla::kCmdReportUnlockEvents ? 1 : 0;
    }
    EXPECT_EQ(reports, 1);
}

}  // namespace
