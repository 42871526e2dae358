#include <cstdint>

#include "frame/bus_dev.h"
#include "support/fixture.h"

namespace {

using dltest::ModuleTest;

using BridgeTest = ModuleTest;

TEST_F(BridgeTest, WithoutCallbacksBothDirectionsRefuse) {
    uint32_t word = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(2, &word, sizeof word), -1);
    EXPECT_TRUE(HasLog(1, "Recv_Msg function of door_lock domain, is null."));
    EXPECT_EQ(norla::DoorLock_BusDev_GetRuntimeInfo(2, &word, sizeof word), -1);
    EXPECT_TRUE(HasLog(1, "Get_Runtime_Info function of door_lock domain, is null."));
}

TEST_F(BridgeTest, PassesRecordAndResultUnchanged) {
    InitModule();
    uint32_t word = 0x11223344u;
    Device().recv_result[1] = 0x1004;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(1, &word, sizeof word), 0x1004);
    ASSERT_EQ(Device().received.size(), 1u);
    EXPECT_EQ(Device().received[0].type, 1);
    EXPECT_EQ(Device().received[0].len, sizeof word);
    EXPECT_EQ(Device().LastReceived<uint32_t>(1), word);

    Device().SetRuntime<uint32_t>(4, 0xCAFEu);
    uint32_t out = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_GetRuntimeInfo(4, &out, sizeof out), 0);
    EXPECT_EQ(out, 0xCAFEu);
    Device().get_result[4] = -9;
    EXPECT_EQ(norla::DoorLock_BusDev_GetRuntimeInfo(4, &out, sizeof out), -9);
}

TEST_F(BridgeTest, CallbackMayCallBackIntoTheModule) {
    InitModule();
    int inner = 1;
    Device().on_recv = [&inner](oqDevSDK_DoorLock_Msg_S *) {
        uint32_t word = 0;
        inner = norla::DoorLock_BusDev_GetRuntimeInfo(2, &word, sizeof word);
        return 0;
    };
    uint32_t word = 0;
    EXPECT_EQ(norla::DoorLock_BusDev_Msg2Dev(2, &word, sizeof word), 0);
    EXPECT_EQ(inner, 0);
}

}  // namespace
