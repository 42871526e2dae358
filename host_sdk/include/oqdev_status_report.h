// Host SDK status-report module: polls registered status items and sends
// their reports.
#ifndef OQDEV_STATUS_REPORT_H
#define OQDEV_STATUS_REPORT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef int (*oqdev_status_is_changed_fn)(void);
typedef int (*oqdev_status_report_fn)(int iArg);
typedef int (*oqdev_status_reset_fn)(void);

// One status item; 24 bytes on a 32-bit target. Copied by the callee.
typedef struct oqdev_status_reg_s {
    uint32_t uiReserved1;
    int32_t iStatusId;
    uint32_t uiReserved2;
    oqdev_status_is_changed_fn pfnIsChanged;
    oqdev_status_report_fn pfnReport;
    oqdev_status_reset_fn pfnReset;
} oqdev_status_reg_s;

static_assert(offsetof(oqdev_status_reg_s, iStatusId) == 4, "iStatusId at 4");
#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(oqdev_status_reg_s) == 24, "status registration record is 24 bytes");
static_assert(offsetof(oqdev_status_reg_s, pfnIsChanged) == 12, "pfnIsChanged at 12");
static_assert(offsetof(oqdev_status_reg_s, pfnReset) == 20, "pfnReset at 20");
#endif

int oqDevSDK_report_status_init(void);
int oqDevSDK_report_status_fini(void);
int oqDevSDK_report_status_register(oqdev_status_reg_s *pstReg);
int oqDevSDK_report_status_unregister(oqdev_status_reg_s *pstReg);
// The item's report is sent at the next poll even if nothing changed.
int oqDevSDK_report_set_force_report(int iStatusId);

#ifdef __cplusplus
}
#endif

#endif
