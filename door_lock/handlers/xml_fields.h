// Small pieces of reading requests and writing responses, shared by every
// handler.
#ifndef NORLA_HANDLERS_XML_FIELDS_H
#define NORLA_HANDLERS_XML_FIELDS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "CMarkupSTL.h"
#include "messaging/xml_writer.h"
#include "vocabulary.h"

namespace norla {

// Base-10 value of a text, saturated to 32 bits; what does not convert reads
// as 0.
int32_t ToInt32(const std::string &text);
// Device slot of a one-based XML index, modulo 2^16 as the records hold it.
uint16_t ToSlotIndex(int32_t oneBased);

// How a missing element or attribute is logged: the messages of the call
// sites differ in a final full stop and, inside lists, a leading slot index.
struct Missing {
    bool bFullStop;
    int iIndex;  // negative: no index
};
constexpr Missing kMissPlain{false, -1};
constexpr Missing kMissFullStop{true, -1};
// Messages inside a list, with the slot index in front.
constexpr Missing InSlot(int index, bool fullStop = true) {
    return Missing{fullStop, index};
}

// The element, searched from the first child when fromFirst; its absence is
// logged (the slot index does not apply to elements).
bool FindRequiredElem(CMarkupSTL &xml, const char *name, bool fromFirst, Missing how = kMissPlain);

// An absent or empty attribute counts as missing and is logged.
bool ReadRequiredAttrib(const CMarkupSTL &xml, const char *name, std::string &text,
                        Missing how = kMissPlain);
bool ReadRequiredInt(const CMarkupSTL &xml, const char *name, int32_t &value,
                     Missing how = kMissPlain);

// "HH:MM" into hour and minute; a part that does not scan is left as it was.
void ScanHourMinute(const std::string &text, int32_t *hour, int32_t *minute);

// Sets an "HH:MM" attribute; a garbage hour or minute the lock reports is
// printed whole.
DoorLock_XmlWriter &SetHourMinuteAttrib(DoorLock_XmlWriter &xml, const char *name, int32_t hour,
                                        int32_t minute);

// Adds Index with the one-based number of a device slot index.
DoorLock_XmlWriter &AddIndexElem(DoorLock_XmlWriter &xml, uint16_t index);

// A device refusal the platform knows by a code of its own.
struct DoorLock_Refusal_S {
    int iDevCode;
    int iResult;
};
// The platform's code for a device refusal: its row's, else kResultRefused.
template <std::size_t N>
int MapDeviceRefusal(const DoorLock_Refusal_S (&map)[N], int devCode) {
    for (const DoorLock_Refusal_S &row : map) {
        if (row.iDevCode == devCode) {
            return row.iResult;
        }
    }
    return kResultRefused;
}

}  // namespace norla

#endif
