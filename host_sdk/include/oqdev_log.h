// Host SDK log.
#ifndef OQDEV_LOG_H
#define OQDEV_LOG_H

#ifdef __cplusplus
extern "C" {
#endif

#define OQDEV_LOG_ERROR 1
#define OQDEV_LOG_WARN 2
#define OQDEV_LOG_INFO 3
#define OQDEV_LOG_DUMP 4

void oqdev_debug(int iLevel, const char *pszFmt, ...) __attribute__((format(printf, 2, 3)));

#ifdef __cplusplus
}
#endif

#endif
