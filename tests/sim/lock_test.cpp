// The simulated lock as the module sees it through its two callbacks: the
// limits and the scripted answers the scenarios do not reach.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "lock.h"

namespace {

using dlsim::Lock;
constexpr uint8_t kCreate = OQDEVSDK_DOORLOCK_OPT_CREATE;
constexpr uint8_t kDelete = OQDEVSDK_DOORLOCK_OPT_DELETE;

class LockTest : public ::testing::Test {
  protected:
    // The record of a to-device type handed to the lock, or of a from-device type filled by it.
    template <typename T>
    static int Recv(int type, T &rec, bool get = false) {
        oqDevSDK_DoorLock_Msg_S msg{type, &rec, sizeof rec};
        return get ? Lock::Callbacks().Get_Runtime_Info(&msg) : Lock::Callbacks().Recv_Msg(&msg);
    }
    template <typename T>
    static int Get(int type, T &rec) {
        return Recv(type, rec, true);
    }
    // A snap password operation on `slot`; the slot a create took, or the lock's error.
    static int Snap(uint8_t op, int limit, uint16_t slot = 0) {
        oqDevSDK_DoorLock_SetSnapPwd_S rec{};
        rec.ucOptType = op;
        rec.usIndex = slot;
        rec.iLimitNum = limit;
        const int ret = Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, rec);
        EXPECT_EQ(std::string(rec.szPwd).size(), ret == 0 && op == kCreate ? 6u : 0u);
        return ret != 0 ? ret : rec.usIndex;
    }
    static int SetUser(uint8_t op, uint16_t index) {
        auto rec = std::make_unique<oqDevSDK_DoorLock_SetUserCfg_S>();
        rec->ucOptType = op;
        rec->usOptIndex = rec->stUser.usIndex = index;
        std::snprintf(rec->stUser.szName, sizeof rec->stUser.szName, "u%d", index);
        return Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_USER, *rec);
    }

    Lock lock;
};

TEST_F(LockTest, SnapPasswordsTakeTheLowestFreeSlotAndRefuseBadLimitsAndAFullTable) {
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++slot) {
        ASSERT_EQ(Snap(kCreate, 2), slot);
    }
    EXPECT_EQ(Snap(kCreate, 1), dlsim::kLockErrSnapFull);
    ASSERT_EQ(Snap(kDelete, 0, 1), 1);
    EXPECT_EQ(Snap(kDelete, 0, 1), dlsim::kLockErrSnapUnknown);
    EXPECT_EQ(Snap(kCreate, 0), dlsim::kLockErrSnapLimit);
    EXPECT_EQ(Snap(kCreate, -2), dlsim::kLockErrSnapLimit);
    EXPECT_EQ(Snap(kCreate, -1), 1) << "unlimited";
}

TEST_F(LockTest, UsersAreKeptSortedUpToFiveHundred) {
    for (uint16_t i = OQDEVSDK_DOORLOCK_MAX_USERS; i-- > 0;) {
        ASSERT_EQ(SetUser(1, i), 0);
    }
    EXPECT_EQ(SetUser(1, OQDEVSDK_DOORLOCK_MAX_USERS), dlsim::kLockErrUsersFull);
    EXPECT_EQ(SetUser(1, 7), 0) << "a change still fits";
    ASSERT_EQ(SetUser(OQDEVSDK_DOORLOCK_USER_OPT_DELETE, 2), 0);
    EXPECT_EQ(SetUser(OQDEVSDK_DOORLOCK_USER_OPT_DELETE, 2), dlsim::kLockErrUserUnknown);
    auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO, *table), 0);
    ASSERT_EQ(table->usUserNum, OQDEVSDK_DOORLOCK_MAX_USERS - 1);
    EXPECT_EQ(table->astUser[2].usIndex, 3);
    EXPECT_STREQ(table->astUser[6].szName, "u7");
}

TEST_F(LockTest, FullEventQueueDropsTheOldest) {
    for (int i = 0; i <= OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS; ++i) {
        lock.Unlock("u" + std::to_string(i), 1, i);
    }
    auto events = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, *events), 0);
    ASSERT_EQ(events->usRecNum, OQDEVSDK_DOORLOCK_MAX_UNLOCK_EVTS);
    EXPECT_STREQ(events->stRecord[0].szUser, "u1");
}

TEST_F(LockTest, FaultsAnswerTheirCodeCountTimesAndChangeNothing) {
    lock.FailRecv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, 0x77, 2);
    lock.FailGet(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, 5, -1);
    int32_t tone = 9, read = 0;
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, tone), 0x77);
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, tone), 0x77);
    EXPECT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, read), 5);
    EXPECT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, read), 5) << "until cleared";
    lock.ClearGetFault(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE);
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, read), 0);
    EXPECT_EQ(read, 1) << "unchanged by the refused sets";
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, tone), 0);
}

TEST_F(LockTest, RepliesPatchTheNextRecordOnly) {
    std::string why;
    ASSERT_TRUE(lock.Reply(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, 36, {0x02, 0, 0, 0}, &why));
    oqDevSDK_DoorLock_UserVerify_S verify{};
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, verify), 0);
    EXPECT_EQ(verify.uiVerifyResult, 2u);
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, verify), 0);
    EXPECT_EQ(verify.uiVerifyResult, OQDEVSDK_DOORLOCK_VERIFY_FAILED) << "no such user";
}

}  // namespace
