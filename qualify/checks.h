// What several units share: records to send, and the rules every runtime
// record must keep whatever state the lock is in.
#ifndef DOORLOCK_QUALIFY_CHECKS_H
#define DOORLOCK_QUALIFY_CHECKS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "harness.h"

namespace qualify {

// Name the check gives what it creates, so that a lock maker recognises it.
constexpr char kCheckName[] = "qualify";
// Time-out of the user verification the check asks for, in seconds.
constexpr uint32_t kVerifyTimeoutSeconds = 1;

template <size_t N>
bool Terminated(const char (&text)[N]) {
    return std::memchr(text, '\0', N) != nullptr;
}

template <size_t N>
std::string BoundedText(const char (&text)[N]) {
    return std::string(text, strnlen(text, N));
}

std::string Item(const std::string &array, size_t i, const std::string &field);

// A to-device record as the module would send it, harmless to the lock's
// state: settings the lock already holds, a delete of a user it does not
// have, a plan and a snap password that a later step deletes again.
std::vector<uint8_t> SampleRecord(Session &s, int toType);
// Extra time a call of that type may take (the verification's time-out).
milliseconds ExtraTime(int toType);

// Counts within their arrays, terminated texts, no entry counted twice and no
// empty entry counted: what the module trusts when it turns a record into
// XML. Fails the record's type code with the first finding of each kind;
// false when there was one.
bool ValidateRecord(Session &s, int fromType, const uint8_t *rec);

// Offset of the first byte in which two records differ; len when none.
size_t FirstDifference(const uint8_t *a, const uint8_t *b, size_t len);

}  // namespace qualify

#endif
