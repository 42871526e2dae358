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
constexpr int kBatchCode = OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS;

// Record i: user "user<i>", type i % 5, a minute after record i-1, starting at
// 2021-03-07 08:05:00 UTC.
std::unique_ptr<oqDevSDK_DoorLock_UnlockEvtRecList_S> MakeBatch(unsigned int count) {
    auto batch = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    std::memset(batch.get(), 0, sizeof *batch);
    batch->usRecNum = static_cast<uint16_t>(count);
    for (unsigned int i = 0; i < count && i < OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS; ++i) {
        oqDevSDK_DoorLock_UnlockEvtRec_S &rec = batch->stRecord[i];
        std::snprintf(rec.szUser, sizeof rec.szUser, "user%u", i);
        rec.ucUnlockType = static_cast<uint8_t>(i % 5);
        rec.lUnlockTime = 1615104300 + static_cast<int32_t>(i) * 60;
    }
    return batch;
}

std::string Expected(unsigned int i) {
    char text[64];
    std::snprintf(text, sizeof text, "user%u|%u|2021-03-07 %02u:%02u:00", i, i % 5,
                  8 + (5 + i) / 60, (5 + i) % 60);
    return text;
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

    void Offer(unsigned int count) { Device().SetRuntime(kBatchCode, *MakeBatch(count)); }
    // Sends the report and returns its Info elements as "User|Type|Date".
    std::vector<std::string> Report(bool sendFails = false) {
        oqsim::clear_sent();
        if (sendFails) {
            oqsim::kernel_fail_send(-5, 1);
        }
        EXPECT_EQ(norla::UnlockEvtRec_Report(0) != 0, sendFails);
        const oqsim::Sent &sent = LastSent();
        EXPECT_EQ(sent.rec.iCmdId, norla::kCmdReportUnlockEvents);
        CMarkupSTL xml;
        xml.SetDoc(sent.body.c_str());
        xml.FindElem("Request");
        xml.IntoElem();
        EXPECT_TRUE(xml.FindElem("DevSerial") && xml.FindElem("Authorization") &&
                    xml.FindElem("Record"))
            << sent.body;
        xml.IntoElem();
        std::vector<std::string> infos;
        while (xml.FindElem("Info")) {
            infos.push_back(xml.x_GetAttrib("User") + "|" + xml.x_GetAttrib("Type") + "|" +
                            xml.x_GetAttrib("Date"));
        }
        return infos;
    }
};

TEST_F(UnlockEventsItemTest, BatchesAreReportedInOrderAndThenForgotten) {
    for (unsigned int count : {0u, 1u, 100u}) {
        SCOPED_TRACE(count);
        Offer(count);
        EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), count == 0 ? 0 : 1);
        const std::vector<std::string> infos = Report();
        ASSERT_EQ(infos.size(), count);
        for (unsigned int i = 0; i < count; ++i) {
            EXPECT_EQ(infos[i], Expected(i));
        }
        EXPECT_TRUE(Report().empty()) << "the cache is emptied by a report";
    }
}

TEST_F(UnlockEventsItemTest, PendingBatchSurvivesEmptyAnswersAndFailuresButNotASend) {
    Offer(2);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 1) << "the same batch again is news";
    Offer(0);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    Offer(4);
    Device().get_result[kBatchCode] = 3;
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to get unlock event records info."));
    Device().get_result.clear();
    dltest::FailAllocations(OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS_LEN);
    EXPECT_EQ(norla::UnlockEvtRec_IsChanged(), 0);
    EXPECT_TRUE(HasLog(kLogError, "Failed to malloc mem, size=7204"));

    EXPECT_EQ(Report(true).size(), 2u);
    EXPECT_TRUE(HasLog(kLogError, "Failed to send unlock event records to platform!!"));
    EXPECT_TRUE(Report().empty()) << "a batch that failed to go is dropped";
}

TEST_F(UnlockEventsItemTest, GarbageBatchStaysWithinTheRecord) {
    auto batch = MakeBatch(OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS);
    batch->usRecNum = 150;
    std::memset(batch->stRecord[0].szUser, 'u', sizeof batch->stRecord[0].szUser);
    batch->stRecord[1].lUnlockTime = 0;
    Device().SetRuntime(kBatchCode, *batch);
    oqsim::set_tz("CST-8");
    ASSERT_EQ(norla::UnlockEvtRec_IsChanged(), 1);
    const std::vector<std::string> infos = Report();
    ASSERT_EQ(infos.size(), static_cast<size_t>(OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS));
    EXPECT_EQ(infos[0], std::string(64, 'u') + "|0|2021-03-07 16:05:00");
    EXPECT_EQ(infos[1], "user1|1|1970-01-01 08:00:00");
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
