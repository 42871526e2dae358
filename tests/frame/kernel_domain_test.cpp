#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "frame/kernel_domain.h"
#include "status/registry.h"
#include "support/fixture.h"

namespace {

using KernelDomainTest = dltest::ModuleTest;

// Every line logged since the last clear, as "level:text".
std::vector<std::string> Lines() {
    std::vector<std::string> lines;
    for (const oqsim::LogLine &line : oqsim::logs()) {
        lines.push_back(std::to_string(line.level) + ":" + line.text);
    }
    return lines;
}

constexpr int kRequestIds[] = {18699, 18731, 18829, 18849, 18853,
                               18855, 18857, 18859, 18861, 20160};

const struct {
    int cmd;
    const char *type;
    const char *refusal;
} kRedirects[] = {
    {18699, "30", "DoorLock failed to register type: switch is door open notify."},
    {18699, "450", "DoorLock failed to register type: switch is door open notify."},
    {18699, "452", "DoorLock failed to register type: switch is door open notify."},
    {18699, "453", "DoorLock failed to register type: switch is anti door lock mode."},
    {18699, "454", "DoorLock failed to register type: switch is door open video."},
    {18699, "455", "DoorLock failed to register type: switch is face recognition unlock."},
    {18699, "456", "DoorLock failed to register type: switch is indoor open notify."},
    {18699, "457", "DoorLock failed to register type: switch is indoor open notify."},
    {18829, "doorFingerStore", "DoorLock failed to register type: key is doorFingerStore."},
    {18829, "doorBellTone", "DoorLock failed to register type: key is doorBellTone."},
    {18829, "doorPromptTone", "DoorLock failed to register type: key is doorPromptTone."},
    {18829, "doorFaceUnlock", "DoorLock failed to register type: key is doorFaceUnlock."},
    {18731, "19", "DoorLock register dev plan error"},
};

// Every registration is tried; each refusal names its own.
TEST_F(KernelDomainTest, LoadsTheDomainAndRegistersThirteenRedirects) {
    for (int refusal : {0, -3}) {
        SCOPED_TRACE(refusal);
        oqsim::reset();
        oqsim::kernel_fail_redirect(refusal);
        EXPECT_EQ(norla::DoorLock_extern_init(), 0);
        const oqdev_kernel_extend_s &ext = oqsim::domain();
        ASSERT_TRUE(oqsim::domain_loaded());
        EXPECT_EQ(ext.usDomainId + ext.usReserved + ext.uiReserved, 4400u);
        EXPECT_STREQ(ext.szDomainName, "door_lock");
        EXPECT_STREQ(ext.szDomainVersion, "v1.0.0");
        EXPECT_TRUE(ext.pfnStart != nullptr && ext.pfnStop != nullptr);
        std::vector<std::string> regs, want, lines;
        for (const oqsim::Redirect &r : oqsim::redirects()) {
            regs.push_back(std::to_string(r.cmd) + "/" + std::to_string(r.domain) + "/" + r.type);
        }
        for (const auto &row : kRedirects) {
            want.push_back(std::to_string(row.cmd) + "/4400/" + row.type);
            if (refusal != 0) {
                lines.push_back(std::string("1:") + row.refusal + "\n");
            }
        }
        lines.push_back("3:DoorLock domain registered.\n");
        EXPECT_EQ(regs, want);
        EXPECT_EQ(Lines(), lines);
    }
}

TEST_F(KernelDomainTest, EventsSetTheRegisterStatus) {
    InitModule();
    const int steps[][2] = {{0, 1}, {1, 0}, {2, 1}, {3, 1}, {1, 0}, {-4, 0}, {2, 1}};
    for (const auto &step : steps) {
        oqsim::event(step[0]);
        EXPECT_EQ(norla::DoorLock_GetRegisterStatus(), step[1]) << "event " << step[0];
        EXPECT_TRUE(HasLog(3, "DoorLock_extend_event type " + std::to_string(step[0])));
    }
}

// The round trip answers malformed text itself, so this checks the routing
// of every request id whatever its handler does.
TEST_F(KernelDomainTest, RequestsAreAnsweredUnderTheNextIdUnlessTheDeviceSleeps) {
    InitModule();
    uint32_t seq = 700;
    for (int cmd : kRequestIds) {
        SCOPED_TRACE(cmd);
        EXPECT_EQ(ResultOf(Request(cmd, ++seq, "not xml")), 3);
        const oqsim::Sent &rsp = LastSent();
        EXPECT_EQ(rsp.rec.iCmdId, cmd + 1);
        EXPECT_EQ(rsp.rec.uiMsgSeq, seq);
        EXPECT_EQ(rsp.rec.ucIsResponse, 1);
        EXPECT_EQ(rsp.version, "v1.0.0");
    }
    EXPECT_EQ(oqsim::sent().size(), std::size(kRequestIds));

    // Asleep, nothing is routed: no answer, no record to the device, no
    // system configuration taken in.
    oqsim::clear_sent();
    oqsim::set_sleep(true);
    std::vector<int> ids(std::begin(kRequestIds), std::end(kRequestIds));
    ids.push_back(10376);
    for (int cmd : ids) {
        oqsim::deliver(cmd, 9,
                       "<Response><Result>0</Result><Type name=\"DLPower\" "
                       "value='{\"low_percent\":20}'/></Response>");
    }
    EXPECT_EQ(oqsim::count_log("alarm: device sleep!\n"), static_cast<int>(ids.size()));
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(Device().received.empty());
    EXPECT_EQ(norla::g_stInnerCtrl.tLastSysCfg.load(), 0);
}

TEST_F(KernelDomainTest, UnknownIdsOnlyLogTheirArrival) {
    InitModule();
    for (int cmd : {18700, 10375, 12355, 0, -1, 99999}) {
        oqsim::clear_logs();
        oqsim::deliver(cmd, 5, "<Request><Type/></Request>");
        char hex[16];
        std::snprintf(hex, sizeof hex, "%#x", static_cast<unsigned int>(cmd));
        EXPECT_EQ(Lines(), (std::vector<std::string>{"1:Recv:" + std::string(hex) + "\n",
                                                     "4:Content:<Request><Type/></Request>\n"}));
    }
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(Device().received.empty());
    EXPECT_EQ(oqsim::deliver(10376, 1, "garbage"), -1);
    EXPECT_TRUE(HasLog(1, "Result is -1, by Cmdid[0x2888]."));
    oqsim::deliver_null();
    EXPECT_TRUE(HasLog(1, "NULL input param!"));
}

TEST_F(KernelDomainTest, StartStopAndNullEventOnlyLog) {
    EXPECT_EQ(norla::DoorLock_extend_start_cb(nullptr), 0);
    EXPECT_EQ(norla::DoorLock_extend_stop_cb(nullptr), 0);
    EXPECT_EQ(norla::DoorLock_extend_event_cb(nullptr, nullptr), -1);
    EXPECT_TRUE(HasLog(3, "DoorLock_extend_start_cb"));
    EXPECT_TRUE(HasLog(3, "DoorLock_extend_stop_cb"));
    EXPECT_TRUE(HasLog(1, "NULL input param!"));
    EXPECT_EQ(norla::DoorLock_GetRegisterStatus(), 0);
}

}  // namespace
