// Every type code once, with the record the module would hand over. The
// harness turns a write past the record into a fault and the fault into the
// finding; this unit only has to make every call.
#include "checks.h"
#include "units.h"

namespace qualify {

void RunBounds(Session &s) {
    for (const Record &r : AllRecords()) {
        s.Step([&] {
            if (r.dir == Dir::To) {
                std::vector<uint8_t> rec = SampleRecord(s, r.type);
                s.Recv(r.type, rec.data(), r.len, ExtraTime(r.type));
            } else if (r.type == OQDEVSDK_DOORLOCK_FROM_DEV_SWITCH) {
                for (int32_t n = 0; n < OQDEVSDK_DOORLOCK_SWITCH_NUM; ++n) {
                    oqDevSDK_DoorLock_SwitchCfg_S sw{n, 0, 0};
                    s.Get(r.type, &sw);
                }
            } else {
                std::vector<uint8_t> rec(r.len, 0);
                s.Get(r.type, rec.data(), r.len);
            }
            s.Checked(r.dir, r.type);
        });
    }
}

}  // namespace qualify
