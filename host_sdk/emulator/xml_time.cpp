#include <cctype>
#include <cstdio>

#include "oqdev_time.h"
#include "oqdev_xml.h"

namespace {

const char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const char kRequestRoot[] = "Request";
constexpr unsigned kMinutesPerHour = 60;
constexpr unsigned kMaxHour = 24;
constexpr unsigned kEndOfDay = kMaxHour * kMinutesPerHour;
// "HH:MM" and its terminator.
constexpr unsigned kTimeTextSize = 6;

bool IsDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}
unsigned DigitValue(char c) {
    return static_cast<unsigned>(c - '0');
}

}  // namespace

int oqdev_xml_init_req(CMarkupSTL &xml) {
    xml.SetDoc(kDeclaration);
    xml.x_AddElem(kRequestRoot);
    xml.IntoElem();
    return 0;
}

// Exactly one or two hour digits, a colon and two minute digits.
extern "C" unsigned int oqdev_ParseTimeHHMM(const char *pszText) {
    if (pszText == nullptr || !IsDigit(pszText[0])) {
        return 0;
    }
    const char *p = pszText;
    unsigned hour = DigitValue(*p++);
    if (IsDigit(*p)) {
        hour = hour * 10 + DigitValue(*p++);
    }
    if (*p++ != ':' || !IsDigit(p[0]) || !IsDigit(p[1]) || p[2] != '\0') {
        return 0;
    }
    unsigned minute = DigitValue(p[0]) * 10 + DigitValue(p[1]);
    unsigned value = hour * kMinutesPerHour + minute;
    if (minute >= kMinutesPerHour || value > kEndOfDay) {
        return 0;
    }
    return value;
}

extern "C" int oqdev_MakeTimeString(unsigned int uiValue, char *pszBuf, unsigned int uiSize) {
    if (pszBuf == nullptr || uiSize == 0) {
        return -1;
    }
    if (uiValue > kEndOfDay || uiSize < kTimeTextSize) {
        pszBuf[0] = '\0';
        return -1;
    }
    std::snprintf(pszBuf, uiSize, "%02u:%02u", uiValue / kMinutesPerHour,
                  uiValue % kMinutesPerHour);
    return 0;
}
