// Host SDK time-of-day texts. A time of day "HH:MM" is encoded as minutes
// since midnight (HH * 60 + MM), HH 0..24 and MM 0..59, 24 only as "24:00".
// Text that is not such a time parses as 0, the same number as "00:00".
#ifndef OQDEV_TIME_H
#define OQDEV_TIME_H

#ifdef __cplusplus
extern "C" {
#endif

unsigned int oqdev_ParseTimeHHMM(const char *pszText);
// Writes "HH:MM" (zero-terminated) when it fits in uiSize bytes and the value
// is a time of day; otherwise writes the empty text when uiSize allows.
// Returns 0 on success, -1 otherwise.
int oqdev_MakeTimeString(unsigned int uiValue, char *pszBuf, unsigned int uiSize);

#ifdef __cplusplus
}
#endif

#endif
