#include <string>
#include <vector>

#include "frame/module.h"
#include "status/registry.h"
#include "support/fixture.h"
#include "vocabulary.h"

namespace {

using RegistryTest = dltest::ModuleTest;

// Registered once, in a fixed order; unregistered in the same order, then the
// state is cleared.
TEST_F(RegistryTest, RegistersEachItemOnceAndUnregistersInTheSameOrder) {
    const std::vector<int> order = {norla::kStatusSwitches,     norla::kStatusFingerStore,
                                    norla::kStatusBellTone,     norla::kStatusPromptTone,
                                    norla::kStatusPower,        norla::kStatusLockStatus,
                                    norla::kStatusUnlockEvents, norla::kStatusUserInfo,
                                    norla::kStatusFaceUnlock,   norla::kStatusAutoFacePlan};
    norla::DoorLock_Func_Fint();
    EXPECT_TRUE(HasLog(2, "Door lock func module has not been inited."));
    EXPECT_TRUE(oqsim::status_ops().empty());

    EXPECT_EQ(norla::DoorLock_Func_Init(), 0);
    EXPECT_EQ(norla::DoorLock_Func_Init(), 0);
    EXPECT_TRUE(HasLog(2, "Door lock func module has been inited."));
    EXPECT_EQ(oqsim::status_ids(), order);
    EXPECT_EQ(oqsim::status_init_calls(), 1);
    for (const oqsim::StatusItem &item : oqsim::status_items()) {
        EXPECT_EQ(item.reg.uiReserved1, 0u) << item.reg.iStatusId;
        EXPECT_EQ(item.reg.uiReserved2, 0u) << item.reg.iStatusId;
    }

    norla::g_stInnerCtrl.iRegisterStatus = 1;
    norla::g_stInnerCtrl.tLastSysCfg = 123456;
    const size_t before = oqsim::status_ops().size();
    norla::DoorLock_Func_Fint();
    std::vector<std::string> expected;
    for (int id : order) {
        expected.push_back("unregister " + std::to_string(id));
    }
    expected.push_back("fini");
    EXPECT_EQ(std::vector<std::string>(oqsim::status_ops().begin() + static_cast<long>(before),
                                       oqsim::status_ops().end()),
              expected);
    EXPECT_TRUE(oqsim::status_items().empty());
    EXPECT_EQ(norla::g_stInnerCtrl.iFuncInited, 0);
    EXPECT_EQ(norla::g_stInnerCtrl.iRegisterStatus.load(), 0);
    EXPECT_EQ(norla::g_stInnerCtrl.tLastSysCfg.load(), 0);
}

}  // namespace
