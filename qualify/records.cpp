#include "records.h"

#include <cstdlib>

#include "device_records.h"

namespace qualify {

const std::vector<Record> &AllRecords() {
    static const std::vector<Record> kAll = [] {
        std::vector<Record> all;
        for (const norla::DeviceRecordInfo &info : norla::kDeviceRecords) {
            const Dir dir = info.eDir == norla::DevDir::kToDevice ? Dir::To : Dir::From;
            // Only the switch record comes with the previous switch's values
            // beside the index the module asks for.
            const bool zeroed =
                !(dir == Dir::From && info.iType == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH);
            all.push_back(Record{dir, info.iType, info.uiLen, info.pszName, zeroed});
        }
        return all;
    }();
    return kAll;
}

const Record &RecordOf(Dir dir, int type) {
    for (const Record &r : AllRecords()) {
        if (r.dir == dir && r.type == type) {
            return r;
        }
    }
    std::abort();  // the units ask only for type codes of the table
}

const char *DirName(Dir dir) {
    return dir == Dir::To ? "to device" : "from device";
}

std::string Describe(Dir dir, int type) {
    return std::string(DirName(dir)) + " " + std::to_string(type) + " (" +
           RecordOf(dir, type).name + ")";
}

}  // namespace qualify
