// Names of the platform commands, status items and device type codes, and
// field-by-field descriptions of the device records for the transcript.
#ifndef DOORLOCK_SIM_RECORDS_H
#define DOORLOCK_SIM_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace dlsim {

// Empty when the id is not one the door-lock domain uses.
std::string CommandName(int cmd);
std::string StatusName(int id);
std::string ToDeviceName(int type);
std::string FromDeviceName(int type);

// Length of the record of a type code; 0 for an unknown type.
uint32_t ToDeviceLength(int type);
uint32_t FromDeviceLength(int type);

// One decoded field: its path in the record and its value as text.
using Field = std::pair<std::string, std::string>;
using Fields = std::vector<Field>;

// The fields of a record as the module handed it to Recv_Msg.
Fields DescribeToDevice(int type, const uint8_t *data, size_t len);
// The fields the lock writes back into a received record (snap password,
// alarm plan slot, verification result); empty for the other types.
Fields DescribeOutputs(int type, const uint8_t *data, size_t len);
// The fields of a runtime record as the lock filled it. Tables list only
// their valid entries.
Fields DescribeFromDevice(int type, const uint8_t *data, size_t len);

// Texts shared by the decoders and the lock.
std::string WeekdayText(uint8_t mask);
std::string LocalTimeText(int64_t seconds);
std::string MinutesText(uint32_t minutes);

}  // namespace dlsim

#endif
