#include <string>
#include <vector>

#include "status/registry.h"
#include "support/fixture.h"

namespace {

using dltest::ModuleTest;

using RegistryTest = ModuleTest;

const std::vector<int> kOrder = {66, 67, 68, 69, 73, 70, 71, 72, 97, 121};

TEST_F(RegistryTest, RegistersEachItemOnceInFixedOrder) {
    EXPECT_EQ(norla::DoorLock_Func_Init(), 0);
    EXPECT_EQ(oqsim::status_ids(), kOrder);
    for (const oqsim::StatusItem &item : oqsim::status_items()) {
        SCOPED_TRACE(item.reg.iStatusId);
        EXPECT_EQ(item.reg.uiReserved1, 0u);
        EXPECT_EQ(item.reg.uiReserved2, 0u);
    }
    ASSERT_FALSE(oqsim::status_ops().empty());
    EXPECT_EQ(oqsim::status_ops().front(), "init");

    EXPECT_EQ(norla::DoorLock_Func_Init(), 0);
    EXPECT_TRUE(HasLog(2, "Door lock func module has been inited."));
    EXPECT_EQ(oqsim::status_ids(), kOrder);
    EXPECT_EQ(oqsim::status_init_calls(), 1);
}

TEST_F(RegistryTest, FiniUnregistersInTheSameOrderThenClearsState) {
    norla::DoorLock_Func_Init();
    size_t before = oqsim::status_ops().size();
    norla::g_stInnerCtrl.iRegisterStatus = 1;
    norla::g_stInnerCtrl.tLastSysCfg = 123456;

    norla::DoorLock_Func_Fint();
    std::vector<std::string> expected;
    for (int id : kOrder) {
        expected.push_back("unregister " + std::to_string(id));
    }
    expected.push_back("fini");
    std::vector<std::string> ops(oqsim::status_ops().begin() + static_cast<long>(before),
                                 oqsim::status_ops().end());
    EXPECT_EQ(ops, expected);
    EXPECT_TRUE(oqsim::status_items().empty());
    EXPECT_EQ(norla::g_stInnerCtrl.iFuncInited, 0);
    EXPECT_EQ(norla::g_stInnerCtrl.iRegisterStatus.load(), 0);
    EXPECT_EQ(norla::g_stInnerCtrl.tLastSysCfg.load(), 0);
}

TEST_F(RegistryTest, FiniWithoutInitOnlyLogs) {
    norla::DoorLock_Func_Fint();
    EXPECT_TRUE(HasLog(2, "Door lock func module has not been inited."));
    EXPECT_TRUE(oqsim::status_ops().empty());
}

}  // namespace
