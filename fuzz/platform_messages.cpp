// Platform messages through the domain's data-route callback. The first byte
// picks the command, the second how the device answers, the rest is the body.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "harness.h"
#include "oqdev_sim.h"
#include "vocabulary.h"

namespace {

constexpr uint32_t kSeq = 4242;
constexpr int kUnknownCmd = 12345;

// Every routed command plus one the module does not know.
constexpr int kCommands[] = {
    norla::kCmdSetSwitch,         norla::kCmdSetDevPlan,      norla::kCmdSetKeyValue,
    norla::kCmdTriggerUserVerify, norla::kCmdQueryAlarmPlans, norla::kCmdSetAlarmPlan,
    norla::kCmdSetUserInfo,       norla::kCmdSetSnapPwd,      norla::kCmdQuerySnapPwds,
    norla::kCmdQueryUserInfo,     norla::kCmdSystemConfigRsp, kUnknownCmd};
constexpr size_t kCommandCount = sizeof kCommands / sizeof kCommands[0];

// Device refusals, including the ones some commands pass on with a code of
// their own and one whose low 12 bits are 4.
constexpr int kRecvResults[] = {0,
                                -1,
                                norla::kResultRefused,
                                0x1004,
                                OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL,
                                OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_LIMIT,
                                OQDEVSDK_DOORLOCK_DEV_ERR_USERS_FULL,
                                OQDEVSDK_DOORLOCK_DEV_ERR_USER_UNKNOWN};
constexpr int kGetResults[] = {0, 0, -1, 0x1004};
constexpr uint8_t kRecvMask = 0x07;
constexpr int kGetShift = 3;
constexpr uint8_t kGetMask = 0x03;
constexpr int kVerifyShift = 5;
constexpr uint8_t kVerifyMask = 0x03;
constexpr uint8_t kPollFlag = 0x80;

int g_recvResult = 0;
int g_getResult = 0;
uint32_t g_verifyResult = 0;

int RecvMsg(oqDevSDK_DoorLock_Msg_S *msg) {
    if (msg->iType == OQDEVSDK_DOORLOCK_TO_DEV_USER_VERIFY &&
        msg->uiLen >= sizeof(oqDevSDK_DoorLock_UserVerify_S)) {
        static_cast<oqDevSDK_DoorLock_UserVerify_S *>(msg->pData)->uiVerifyResult = g_verifyResult;
    }
    return g_recvResult;
}

int GetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg) {
    if (g_getResult != 0) {
        return g_getResult;
    }
    std::memset(msg->pData, 0, msg->uiLen);
    return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::Input in(data, size);
    const int cmd = kCommands[in.Byte() % kCommandCount];
    const uint8_t behaviour = in.Byte();
    g_recvResult = kRecvResults[behaviour & kRecvMask];
    g_getResult = kGetResults[(behaviour >> kGetShift) & kGetMask];
    g_verifyResult = (behaviour >> kVerifyShift) & kVerifyMask;

    fuzz::StartModule({&RecvMsg, &GetRuntimeInfo});
    oqsim::deliver(cmd, kSeq, in.RestText());
    if ((behaviour & kPollFlag) != 0) {
        oqsim::poll();
    }
    // Every routed request is answered under its id plus one; the answer to
    // the module's own request and unknown ids are not.
    const bool answered = cmd != norla::kCmdSystemConfigRsp && cmd != kUnknownCmd;
    fuzz::CheckSent(answered ? norla::ResponseOf(cmd) : 0, kSeq);
    fuzz::StopModule();
    return 0;
}
