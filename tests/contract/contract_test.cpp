#include <gtest/gtest.h>

#include <set>
#include <string>

#include "device_records.h"
#include "vocabulary.h"

namespace {

using norla::DevDir;

// The guide promises consecutive type codes from 0 in each direction; a row
// missing, doubled or filed under the wrong direction breaks that.
TEST(DeviceRecordsTest, EachDirectionNumbersItsRecordsFromZeroWithoutGaps) {
    const struct {
        DevDir dir;
        int last;
    } directions[] = {
        {DevDir::kToDevice, OQDEVSDK_DOORLOCK_TO_DEV_AUTO_FACE_PLAN},
        {DevDir::kFromDevice, OQDEVSDK_DOORLOCK_FROM_DEV_AUTO_FACE_PLAN},
    };
    size_t rows = 0;
    for (const auto &d : directions) {
        for (int type = 0; type <= d.last; ++type) {
            const norla::DeviceRecordInfo *info = norla::FindDeviceRecord(d.dir, type);
            ASSERT_NE(info, nullptr) << "type " << type;
            EXPECT_NE(std::string(info->pszName), "") << "type " << type;
            EXPECT_GT(info->uiLen, 0u) << "type " << type;
        }
        EXPECT_EQ(norla::FindDeviceRecord(d.dir, d.last + 1), nullptr);
        EXPECT_EQ(norla::FindDeviceRecord(d.dir, -1), nullptr);
        rows += static_cast<size_t>(d.last) + 1;
    }
    EXPECT_EQ(rows, std::size(norla::kDeviceRecords));
}

TEST(VocabularyTest, SwitchTypesAndSlotsMapBothWays) {
    std::set<int> types(std::begin(norla::kSwitchPlatformTypes),
                        std::end(norla::kSwitchPlatformTypes));
    EXPECT_EQ(types.size(), static_cast<size_t>(OQDEVSDK_DOORLOCK_SWITCH_NUM));
    for (int slot = 0; slot < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++slot) {
        EXPECT_EQ(norla::SwitchIndexOfType(norla::kSwitchPlatformTypes[slot]), slot);
    }
    for (int other : {451, 0, -1, 31, 458}) {
        EXPECT_EQ(norla::SwitchIndexOfType(other), -1) << other;
    }
}

}  // namespace
