// The simulated lock as the module sees it through its two callbacks.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "lock.h"

namespace {

using dlsim::Lock;

class LockTest : public ::testing::Test {
  protected:
    template <typename T>
    int Recv(int type, T &rec) {
        oqDevSDK_DoorLock_Msg_S msg{type, &rec, sizeof rec};
        return Lock::Callbacks().Recv_Msg(&msg);
    }
    template <typename T>
    int Get(int type, T &rec) {
        oqDevSDK_DoorLock_Msg_S msg{type, &rec, sizeof rec};
        return Lock::Callbacks().Get_Runtime_Info(&msg);
    }

    int SnapCreate(const char *name, int limit, uint16_t *slot, std::string *pwd) {
        oqDevSDK_DoorLock_SetSnapPwd_S rec{};
        std::snprintf(rec.szName, sizeof rec.szName, "%s", name);
        rec.iLimitNum = limit;
        const int ret = Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, rec);
        *slot = rec.usIndex;
        *pwd = rec.szPwd;
        return ret;
    }
    int SnapDelete(uint16_t slot) {
        oqDevSDK_DoorLock_SetSnapPwd_S rec{};
        rec.ucOptType = OQDEVSDK_DOORLOCK_OPT_DELETE;
        rec.usIndex = slot;
        return Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_SNAP_PWD, rec);
    }
    int SetUser(uint8_t op, uint16_t index, const char *name) {
        auto rec = std::make_unique<oqDevSDK_DoorLock_SetUserCfg_S>();
        rec->ucOptType = op;
        rec->usOptIndex = index;
        rec->stUser.usIndex = index;
        std::snprintf(rec->stUser.szName, sizeof rec->stUser.szName, "%s", name);
        return Recv(OQDEVSDK_DOORLOCK_TO_DEV_SET_USER, *rec);
    }
    std::vector<std::string> Users() {
        auto table = std::make_unique<oqDevSDK_DoorLock_UserInfo_S>();
        EXPECT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO, *table), 0);
        std::vector<std::string> users;
        for (size_t i = 0; i < table->usUserNum; ++i) {
            users.push_back(std::to_string(table->astUser[i].usIndex) + ":" +
                            table->astUser[i].szName);
        }
        return users;
    }

    Lock lock;
};

TEST_F(LockTest, SnapPasswordsTakeTheLowestFreeSlotAndRefuseWhenFull) {
    uint16_t slot = 99;
    std::string pwd, first;
    for (uint16_t want = 0; want < OQDEVSDK_DOORLOCK_MAX_SNAP_PWDS; ++want) {
        ASSERT_EQ(SnapCreate("guest", 2, &slot, &pwd), 0);
        EXPECT_EQ(slot, want);
        EXPECT_EQ(pwd.size(), 6u);
        EXPECT_NE(pwd, first);
        first = pwd;
    }
    EXPECT_EQ(SnapCreate("one too many", 1, &slot, &pwd), dlsim::kLockErrSnapFull);
    ASSERT_EQ(SnapDelete(1), 0);
    EXPECT_EQ(SnapDelete(1), dlsim::kLockErrSnapUnknown);
    ASSERT_EQ(SnapCreate("again", -1, &slot, &pwd), 0);
    EXPECT_EQ(slot, 1);

    oqDevSDK_DoorLock_SnapPwdList_S list{};
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_SNAP_PWDS, list), 0);
    ASSERT_EQ(list.usCount, 3);
    EXPECT_EQ(list.astEntry[1].usIndex, 1);
    EXPECT_STREQ(list.astEntry[1].szName, "again");
    EXPECT_EQ(list.astEntry[1].iLimitNum, -1);
}

TEST_F(LockTest, SnapPasswordUseLimitMustBeUnlimitedOrPositive) {
    uint16_t slot = 0;
    std::string pwd;
    EXPECT_EQ(SnapCreate("zero", 0, &slot, &pwd), dlsim::kLockErrSnapLimit);
    EXPECT_EQ(SnapCreate("negative", -2, &slot, &pwd), dlsim::kLockErrSnapLimit);
    EXPECT_EQ(pwd, "");
}

TEST_F(LockTest, UsersAreKeptSortedChangedInPlaceAndDeleted) {
    ASSERT_EQ(SetUser(1, 5, "eve"), 0);
    ASSERT_EQ(SetUser(1, 2, "bob"), 0);
    ASSERT_EQ(SetUser(0, 0, "alice"), 0);
    ASSERT_EQ(SetUser(1, 5, "eve2"), 0);
    EXPECT_EQ(Users(), (std::vector<std::string>{"0:alice", "2:bob", "5:eve2"}));
    ASSERT_EQ(SetUser(OQDEVSDK_DOORLOCK_USER_OPT_DELETE, 2, ""), 0);
    EXPECT_EQ(SetUser(OQDEVSDK_DOORLOCK_USER_OPT_DELETE, 2, ""), dlsim::kLockErrUserUnknown);
    EXPECT_EQ(Users(), (std::vector<std::string>{"0:alice", "5:eve2"}));
}

TEST_F(LockTest, UserTableRefusesTheFiveHundredAndFirst) {
    for (uint16_t i = 0; i < OQDEVSDK_DOORLOCK_MAX_USERS; ++i) {
        ASSERT_EQ(SetUser(1, i, "u"), 0);
    }
    EXPECT_EQ(SetUser(1, OQDEVSDK_DOORLOCK_MAX_USERS, "late"), dlsim::kLockErrUsersFull);
    EXPECT_EQ(SetUser(1, 7, "changed"), 0);  // a change still fits
}

TEST_F(LockTest, UnlockEventsAreHandedOutOnceAndUnlockTheBolt) {
    lock.Unlock("alice", static_cast<uint8_t>(dlsim::UnlockHow::Finger), 100);
    lock.Unlock("bob", static_cast<uint8_t>(dlsim::UnlockHow::Card), 200);
    auto events = std::make_unique<oqDevSDK_DoorLock_UnlockEvtRecList_S>();
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, *events), 0);
    ASSERT_EQ(events->usRecNum, 2);
    EXPECT_STREQ(events->stRecord[1].szUser, "bob");
    EXPECT_EQ(events->stRecord[1].lUnlockTime, 200);
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS, *events), 0);
    EXPECT_EQ(events->usRecNum, 0);

    oqDevSDK_DoorLock_LockStatus_S status{};
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_LOCK_STATUS, status), 0);
    EXPECT_EQ(status.ucLockState, dlsim::kBoltUnlocked);
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

TEST_F(LockTest, SwitchesAreAnsweredByTheIndexTheModuleAsksFor) {
    oqDevSDK_DoorLock_SwitchCfg_S set{4, 1, 3};
    ASSERT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH, set), 0);
    oqDevSDK_DoorLock_SwitchCfg_S asked{4, 0, 0};
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, asked), 0);
    EXPECT_EQ(asked.iEnable, 1);
    EXPECT_EQ(asked.iChannel, 3);
    for (int32_t bad : {-1, OQDEVSDK_DOORLOCK_SWITCH_NUM}) {
        oqDevSDK_DoorLock_SwitchCfg_S rec{bad, 1, 1};
        EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_SWITCH, rec), dlsim::kLockErrBadRecord);
        EXPECT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, rec), dlsim::kLockErrBadRecord);
    }
}

TEST_F(LockTest, BatteriesBelowThePlatformThresholdAreLow) {
    ASSERT_TRUE(lock.SetBattery(1, 25));
    oqDevSDK_DoorLock_PowerStatus_S power{};
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, power), 0);
    EXPECT_EQ(power.stPower[1].ucStatus, 0);  // threshold 20 out of the box
    oqDevSDK_DoorLock_DLPower_S threshold{30, {0, 0, 0}};
    ASSERT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_DL_POWER, threshold), 0);
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_POWER_STATUS, power), 0);
    EXPECT_EQ(power.stPower[0].ucStatus, 0);
    EXPECT_EQ(power.stPower[1].ucStatus, 1);
    EXPECT_FALSE(lock.SetBattery(OQDEVSDK_DOORLOCK_POWER_MAX, 50));
}

TEST_F(LockTest, FaultsAnswerTheirCodeCountTimesAndChangeNothing) {
    lock.FailRecv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, 0x77, 2);
    int32_t tone = 9;
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, tone), 0x77);
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, tone), 0x77);
    int32_t read = 0;
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, read), 0);
    EXPECT_EQ(read, 1);  // unchanged by the refused sets
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_BELL_TONE, tone), 0);

    lock.FailGet(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, 5, -1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, read), 5);
    }
    lock.ClearGetFault(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE);
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_BELL_TONE, read), 0);
    EXPECT_EQ(read, 9);
}

TEST_F(LockTest, PokesChangeRuntimeRecordsAndRepliesPatchTheNextRecordOnly) {
    std::string why;
    ASSERT_TRUE(lock.Poke(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, 12 * 7 + 4, {0x05, 0, 0, 0}, &why));
    oqDevSDK_DoorLock_SwitchCfg_S asked{7, 0, 0};
    ASSERT_EQ(Get(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, asked), 0);
    EXPECT_EQ(asked.iEnable, 5);
    EXPECT_FALSE(lock.Poke(OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH, 96, {0x00}, &why));

    ASSERT_TRUE(lock.Reply(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, 36, {0x02, 0, 0, 0}, &why));
    oqDevSDK_DoorLock_UserVerify_S verify{};
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, verify), 0);
    EXPECT_EQ(verify.uiVerifyResult, 2u);
    EXPECT_EQ(Recv(OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY, verify), 0);
    EXPECT_EQ(verify.uiVerifyResult, OQDEVSDK_DOORLOCK_VERIFY_FAILED);  // no such user
}

}  // namespace
