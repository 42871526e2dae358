#include "handlers/xml_fields.h"

#include "handlers/decimal_text.h"
#include "messaging/number_text.h"
#include "oqdev_log.h"
#include "vocabulary.h"

namespace norla {
namespace {

// "HH:MM" of any two ints: two int texts, the colon and the terminator.
constexpr std::size_t kHourMinuteTextLen = 2 * kIntTextLen;
constexpr unsigned int kClockFieldWidth = 2;

void LogMissing(const char *kind, const char *name, Missing how) {
    const char *stop = how.bFullStop ? "." : "";
    if (how.iIndex < 0) {
        oqdev_debug(kLogError, "Failed to find %s:%s%s\n", kind, name, stop);
    } else {
        oqdev_debug(kLogError, "[Index %d]Failed to find %s:%s%s\n", how.iIndex, kind, name, stop);
    }
}

}  // namespace

int32_t ToInt32(const std::string &text) {
    return NumText_ToLong(text.c_str());
}

uint16_t ToSlotIndex(int32_t oneBased) {
    return static_cast<uint16_t>(static_cast<uint32_t>(oneBased) - 1u);
}

bool FindRequiredElem(CMarkupSTL &xml, const char *name, bool fromFirst, Missing how) {
    if (xml.FindElem(name, fromFirst)) {
        return true;
    }
    LogMissing("elem", name, Missing{how.bFullStop, -1});
    return false;
}

bool ReadRequiredAttrib(const CMarkupSTL &xml, const char *name, std::string &text, Missing how) {
    text = xml.x_GetAttrib(name);
    if (text.empty()) {
        LogMissing("attrib", name, how);
        return false;
    }
    return true;
}

bool ReadRequiredInt(const CMarkupSTL &xml, const char *name, int32_t &value, Missing how) {
    std::string text;
    if (!ReadRequiredAttrib(xml, name, text, how)) {
        return false;
    }
    value = ToInt32(text);
    return true;
}

void ScanHourMinute(const std::string &text, int32_t *hour, int32_t *minute) {
    int32_t *const fields[] = {hour, minute};
    (void)NumText_Scan(text.c_str(), "%02d:%02d", fields, 2);
}

DoorLock_XmlWriter &SetHourMinuteAttrib(DoorLock_XmlWriter &xml, const char *name, int32_t hour,
                                        int32_t minute) {
    char text[kHourMinuteTextLen];
    DecimalText(text, sizeof text)
        .Int(hour, kClockFieldWidth)
        .Char(':')
        .Int(minute, kClockFieldWidth);
    return xml.Attr(name, text);
}

DoorLock_XmlWriter &AddIndexElem(DoorLock_XmlWriter &xml, uint16_t index) {
    return xml.Elem("Index", static_cast<int32_t>(index) + 1);
}

}  // namespace norla
