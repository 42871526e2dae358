#include <cstdio>
#include <iterator>
#include <string>
#include <vector>

#include "frame/kernel_domain.h"
#include "frame/module.h"
#include "support/fixture.h"
#include "vocabulary.h"

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

constexpr int kRequestIds[] = {norla::kCmdSetSwitch,       norla::kCmdSetDevPlan,
                               norla::kCmdSetKeyValue,     norla::kCmdTriggerUserVerify,
                               norla::kCmdQueryAlarmPlans, norla::kCmdSetAlarmPlan,
                               norla::kCmdSetUserInfo,     norla::kCmdSetSnapPwd,
                               norla::kCmdQuerySnapPwds,   norla::kCmdQueryUserInfo};

// Every switch type, every setting key, then the auto face unlock plan; the
// exact refusal texts are pinned by the lifecycle scenario.
std::vector<std::string> ExpectedRedirects() {
    const std::string domain = "/" + std::to_string(norla::kDoorLockDomainId) + "/";
    std::vector<std::string> want;
    for (int type : norla::kSwitchPlatformTypes) {
        want.push_back(std::to_string(norla::kCmdSetSwitch) + domain + std::to_string(type));
    }
    for (const char *key : norla::kSettingKeys) {
        want.push_back(std::to_string(norla::kCmdSetKeyValue) + domain + key);
    }
    want.push_back(std::to_string(norla::kCmdSetDevPlan) + domain +
                   std::to_string(norla::kAutoFacePlanType));
    return want;
}

// Every registration is tried; each refusal logs one error line of its own.
TEST_F(KernelDomainTest, LoadsTheDomainAndRegistersThirteenRedirects) {
    for (int refusal : {0, -3}) {
        SCOPED_TRACE(refusal);
        oqsim::reset();
        oqsim::kernel_fail_redirect(refusal);
        EXPECT_EQ(norla::DoorLock_extern_init(), 0);
        const oqdev_kernel_extend_s &ext = oqsim::domain();
        ASSERT_TRUE(oqsim::domain_loaded());
        EXPECT_EQ(ext.usDomainId, 4400);
        EXPECT_EQ(ext.usReserved, 0);
        EXPECT_EQ(ext.uiReserved, 0u);
        EXPECT_STREQ(ext.szDomainName, "door_lock");
        EXPECT_STREQ(ext.szDomainVersion, "v1.0.0");
        EXPECT_TRUE(ext.pfnStart != nullptr && ext.pfnStop != nullptr);
        std::vector<std::string> regs;
        for (const oqsim::Redirect &r : oqsim::redirects()) {
            regs.push_back(std::to_string(r.cmd) + "/" + std::to_string(r.domain) + "/" + r.type);
        }
        EXPECT_EQ(regs, ExpectedRedirects());
        const std::vector<std::string> lines = Lines();
        ASSERT_EQ(lines.size(), refusal != 0 ? 14u : 1u);
        for (size_t i = 0; i + 1 < lines.size(); ++i) {
            EXPECT_EQ(lines[i].rfind("1:DoorLock ", 0), 0u) << lines[i];
        }
        EXPECT_EQ(lines.back(), "3:DoorLock domain registered.\n");
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
        EXPECT_EQ(rsp.rec.iCmdId, norla::ResponseOf(cmd));
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
    ids.push_back(norla::kCmdSystemConfigRsp);
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
    // Ids the module only sends are unknown on the way in.
    for (int cmd : {norla::ResponseOf(norla::kCmdSetSwitch), norla::kCmdSystemConfigReq,
                    norla::kCmdReportSwitches, 0, -1, 99999}) {
        oqsim::clear_logs();
        oqsim::deliver(cmd, 5, "<Request><Type/></Request>");
        char hex[16];
        std::snprintf(hex, sizeof hex, "%#x", static_cast<unsigned int>(cmd));
        EXPECT_EQ(Lines(), (std::vector<std::string>{"1:Recv:" + std::string(hex) + "\n",
                                                     "4:Content:<Request><Type/></Request>\n"}));
    }
    EXPECT_TRUE(oqsim::sent().empty());
    EXPECT_TRUE(Device().received.empty());
    EXPECT_EQ(oqsim::deliver(norla::kCmdSystemConfigRsp, 1, "garbage"), -1);
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
