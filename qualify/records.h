// The device records as the qualification walks them: the contract's table
// of every type code of both directions, in its order.
#ifndef DOORLOCK_QUALIFY_RECORDS_H
#define DOORLOCK_QUALIFY_RECORDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "oqDevSDK_door_lock.h"

namespace qualify {

enum class Dir { To, From };

struct Record {
    Dir dir;
    int type;
    uint32_t len;
    const char *name;
    // The module zero-fills the buffer before it asks for this record, so a
    // lock may leave bytes alone; otherwise every byte the lock leaves is
    // whatever the module's buffer held before.
    bool zeroed;
};

const std::vector<Record> &AllRecords();
const Record &RecordOf(Dir dir, int type);
// "to device 6 (set snap password)".
std::string Describe(Dir dir, int type);
const char *DirName(Dir dir);

}  // namespace qualify

#endif
