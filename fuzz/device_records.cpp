// Device records: the input becomes every runtime record the module fetches
// (and, when asked, what the device writes back into the records it is
// handed) while one status item or one request that reads records runs.
// Byte 0 picks the operation, byte 1 how the device behaves, the rest is the
// record bytes, handed out front to back across the device calls. The long
// lists (users, unlock events, the users of each alarm plan) hold at most
// about one entry per eight input bytes, so that documents grow with the
// input: at their largest for every input, they left the fuzzer a few
// inputs a second.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "device_records.h"
#include "harness.h"
#include "oqdev_sim.h"
#include "vocabulary.h"

namespace {

constexpr uint32_t kSeq = 77;

// Status items by id; the order is the inputs' numbering.
constexpr int kItems[] = {norla::kStatusSwitches,   norla::kStatusFingerStore,
                          norla::kStatusBellTone,   norla::kStatusPromptTone,
                          norla::kStatusFaceUnlock, norla::kStatusLockStatus,
                          norla::kStatusPower,      norla::kStatusUnlockEvents,
                          norla::kStatusUserInfo,   norla::kStatusAutoFacePlan};
constexpr size_t kItemCount = sizeof kItems / sizeof kItems[0];

// Requests whose answers are built from records the device hands back.
struct Request {
    int cmd;
    const char *body;
};
constexpr Request kRequests[] = {
    {norla::kCmdQueryUserInfo, "<Request/>"},
    {norla::kCmdQuerySnapPwds, "<Request/>"},
    {norla::kCmdQueryAlarmPlans, "<Request/>"},
    {norla::kCmdSetUserInfo,
     R"(<Request><OptType Type="1" Index="1"/><UserInfo><User Index="1" Type="1" )"
     R"(Name="alice" RemarkName="owner"/><Expire Enable="1" Begin="2023-11-01 00:00:00" )"
     R"(End="2024-11-01 00:00:00"><DateList><Date Weekday="1,2" Begin="07:00" )"
     R"(End="22:00" Num="-1"/></DateList></Expire><Auth Pwd="1" Card="0" Finger="2" )"
     R"(Face="1"/></UserInfo></Request>)"},
    {norla::kCmdSetSnapPwd,
     R"(<Request><OptType Type="0"/><Info><User Name="courier"/><Expire )"
     R"(Begin="2023-11-14 00:00:00" End="2023-11-16 00:00:00"/><Limit Num="2"/></Info></Request>)"},
    {norla::kCmdSetAlarmPlan,
     R"(<Request><OptType Type="0"/><Plan Enable="1" Weekday="1,5"><DateList><Date )"
     R"(Begin="17:00" End="19:30"/></DateList><UserList><User Index="1" )"
     R"(Name="alice"/></UserList></Plan></Request>)"},
    {norla::kCmdTriggerUserVerify,
     "<Request><UserID>alice</UserID><Timeout>30</Timeout></Request>"},
    {norla::kCmdSetDevPlan, R"(<Request><Enable>1</Enable><Actor Channel="1" PlanType="19"/><Date )"
                            R"(Weekday="1"><Plan B="07:30" E="08:30"/></Date></Request>)"},
};
constexpr size_t kRequestCount = sizeof kRequests / sizeof kRequests[0];

constexpr uint8_t kTileFlag = 0x01;       // repeat the bytes to fill whole records
constexpr uint8_t kWriteBackFlag = 0x02;  // overwrite records handed to the device
constexpr int kResultShift = 2;
constexpr uint8_t kResultMask = 0x07;
// Mostly success; the failures include one whose low 12 bits are 4.
constexpr int kResults[] = {
    0, 0, 0, 0, -1, norla::kResultRefused, 0x1004, OQDEVSDK_DOORLOCK_DEV_ERR_SNAP_PWD_FULL};

constexpr size_t kBytesPerEntry = 8;
constexpr size_t kMinEntries = 2;

struct Device {
    const uint8_t *bytes;
    size_t size, pos;
    bool tile, writeBack;
    int result;
    size_t maxEntries;  // what a long list may claim, beyond its capacity for long inputs
} g_device;

// Hands out the next bytes of the input; without tiling what is left of the
// record keeps the content the module gave it.
void Fill(void *buf, uint32_t len) {
    auto *out = static_cast<uint8_t *>(buf);
    for (size_t done = 0; done < len && g_device.size != 0;) {
        if (g_device.pos == g_device.size && !g_device.tile) {
            return;
        }
        g_device.pos %= g_device.size;
        const size_t n = std::min<size_t>(len - done, g_device.size - g_device.pos);
        std::memcpy(out + done, g_device.bytes + g_device.pos, n);
        done += n;
        g_device.pos += n;
    }
}

// The module hands every record with the type code and length of the
// contract's table.
void CheckRecord(norla::DevDir dir, const oqDevSDK_DoorLock_Msg_S &msg) {
    const norla::DeviceRecordInfo *info = norla::FindDeviceRecord(dir, msg.iType);
    if (info == nullptr || info->uiLen != msg.uiLen) {
        std::fprintf(stderr, "type %d handed with %u bytes\n", msg.iType, msg.uiLen);
        std::abort();
    }
}

int RecvMsg(oqDevSDK_DoorLock_Msg_S *msg) {
    CheckRecord(norla::DevDir::kToDevice, *msg);
    if (g_device.writeBack) {
        Fill(msg->pData, msg->uiLen);
    }
    return g_device.result;
}

void SizeList(uint16_t &count) {
    count = static_cast<uint16_t>(count % (g_device.maxEntries + 1));
}

// The record `msg` carries, when it is long enough for a T.
template <typename T>
T *Record(const oqDevSDK_DoorLock_Msg_S &msg) {
    return msg.uiLen >= sizeof(T) ? static_cast<T *>(msg.pData) : nullptr;
}

void SizeLists(const oqDevSDK_DoorLock_Msg_S &msg) {
    if (msg.iType == OQDEVSDK_DOORLOCK_FROM_DEV_USER_INFO) {
        if (auto *users = Record<oqDevSDK_DoorLock_UserInfo_S>(msg)) {
            SizeList(users->usUserNum);
        }
    } else if (msg.iType == OQDEVSDK_DOORLOCK_FROM_DEV_UNLOCK_EVTS) {
        if (auto *events = Record<oqDevSDK_DoorLock_UnlockEvtRecList_S>(msg)) {
            SizeList(events->usRecNum);
        }
    } else if (msg.iType == OQDEVSDK_DOORLOCK_FROM_DEV_ALARM_PLANS) {
        if (auto *plans = Record<oqDevSDK_DoorLock_AlarmPlanList_S>(msg)) {
            for (auto &plan : plans->astPlan) {
                SizeList(plan.usUserNum);
            }
        }
    }
}

int GetRuntimeInfo(oqDevSDK_DoorLock_Msg_S *msg) {
    CheckRecord(norla::DevDir::kFromDevice, *msg);
    Fill(msg->pData, msg->uiLen);
    SizeLists(*msg);
    return g_device.result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::Input in(data, size);
    const size_t op = in.Byte() % (kItemCount + kRequestCount);
    const uint8_t behaviour = in.Byte();
    g_device = {in.Rest(),
                in.RestSize(),
                0,
                (behaviour & kTileFlag) != 0,
                (behaviour & kWriteBackFlag) != 0,
                kResults[(behaviour >> kResultShift) & kResultMask],
                kMinEntries + in.RestSize() / kBytesPerEntry};

    fuzz::StartModule({&RecvMsg, &GetRuntimeInfo});
    if (op < kItemCount) {
        for (const oqsim::StatusItem &item : oqsim::status_items()) {
            if (item.reg.iStatusId == kItems[op] && item.reg.pfnIsChanged() == 1) {
                (void)item.reg.pfnReport(0);
            }
        }
        fuzz::CheckSent(0, 0);
    } else {
        const Request &req = kRequests[op - kItemCount];
        oqsim::deliver(req.cmd, kSeq, req.body);
        fuzz::CheckSent(norla::ResponseOf(req.cmd), kSeq);
    }
    fuzz::StopModule();
    return 0;
}
