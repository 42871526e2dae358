// Host SDK kernel: extension domains, message routing and sending, device
// information and the sleep state.
#ifndef OQDEV_KERNEL_H
#define OQDEV_KERNEL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// A platform message as the kernel hands it to a domain's data-route callback.
typedef struct oqdev_kernel_submsg_s {
    uint32_t uiMsgSeq;
    const char *pBody;  // zero-terminated XML text, valid during the callback
    int32_t iBodyLen;   // without terminator
    int32_t iReserved;
    int32_t iCmdId;
} oqdev_kernel_submsg_s;

// A kernel event as the kernel hands it to a domain's event callback.
typedef struct oqdev_kernel_event_s {
    int32_t iEventType;  // 0 registered, 1 unregistered, 2 re-registered
} oqdev_kernel_event_s;

typedef int (*oqdev_kernel_start_fn)(void *pvArg);
typedef int (*oqdev_kernel_stop_fn)(void *pvArg);
typedef int (*oqdev_kernel_data_route_fn)(oqdev_kernel_submsg_s *pstMsg, void *pvArg);
typedef int (*oqdev_kernel_event_fn)(oqdev_kernel_event_s *pstEvent, void *pvArg);

#define OQDEV_KERNEL_NAME_LEN 32

// An extension domain; 88 bytes on a 32-bit target.
typedef struct oqdev_kernel_extend_s {
    uint16_t usDomainId;
    uint16_t usReserved;
    oqdev_kernel_start_fn pfnStart;
    oqdev_kernel_stop_fn pfnStop;
    oqdev_kernel_data_route_fn pfnDataRoute;
    oqdev_kernel_event_fn pfnEvent;
    uint32_t uiReserved;
    char szDomainName[OQDEV_KERNEL_NAME_LEN];
    char szDomainVersion[OQDEV_KERNEL_NAME_LEN];
} oqdev_kernel_extend_s;

// Asks the common module to route a generic command of one type to a domain;
// 40 bytes.
typedef struct oqdev_redirect_reg_s {
    int32_t iCmdId;
    int32_t iDomainId;
    char szType[OQDEV_KERNEL_NAME_LEN];
} oqdev_redirect_reg_s;

// One message for the platform; 84 bytes on a 32-bit target. The kernel copies
// what it keeps: pBody may be freed as soon as oqdev_sdk_kernel_send returns.
typedef struct oqdev_kernel_send_s {
    uint8_t ucIsResponse;
    uint8_t aucReserved1[3];
    uint32_t uiReserved2;
    uint32_t uiMsgSeq;
    const char *pBody;
    uint32_t uiBodyLen;
    int32_t iDomainId;
    int32_t iCmdId;
    uint8_t aucReserved3[8];
    char szVersion[OQDEV_KERNEL_NAME_LEN];
    uint8_t aucReserved4[16];
} oqdev_kernel_send_s;

static_assert(sizeof(oqdev_redirect_reg_s) == 40, "redirect record is 40 bytes");
static_assert(offsetof(oqdev_kernel_extend_s, szDomainVersion) ==
                  offsetof(oqdev_kernel_extend_s, szDomainName) + OQDEV_KERNEL_NAME_LEN,
              "the domain version follows the domain name");
#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(oqdev_kernel_extend_s) == 88, "extension record is 88 bytes");
static_assert(offsetof(oqdev_kernel_extend_s, pfnStart) == 4, "pfnStart at 4");
static_assert(offsetof(oqdev_kernel_extend_s, pfnEvent) == 16, "pfnEvent at 16");
static_assert(offsetof(oqdev_kernel_extend_s, szDomainName) == 24, "szDomainName at 24");
static_assert(offsetof(oqdev_kernel_extend_s, szDomainVersion) == 56, "szDomainVersion at 56");
static_assert(offsetof(oqdev_kernel_extend_s, szDomainName) + 2 * OQDEV_KERNEL_NAME_LEN ==
                  sizeof(oqdev_kernel_extend_s),
              "domain names close the extension record");
static_assert(sizeof(oqdev_kernel_send_s) == 84, "send record is 84 bytes");
static_assert(offsetof(oqdev_kernel_send_s, uiMsgSeq) == 8, "uiMsgSeq at 8");
static_assert(offsetof(oqdev_kernel_send_s, pBody) == 12, "pBody at 12");
static_assert(offsetof(oqdev_kernel_send_s, uiBodyLen) == 16, "uiBodyLen at 16");
static_assert(offsetof(oqdev_kernel_send_s, iDomainId) == 20, "iDomainId at 20");
static_assert(offsetof(oqdev_kernel_send_s, iCmdId) == 24, "iCmdId at 24");
static_assert(offsetof(oqdev_kernel_send_s, szVersion) == 36, "szVersion at 36");
static_assert(offsetof(oqdev_kernel_submsg_s, iCmdId) == 16, "submsg iCmdId at 16");
#endif

// 0, or an error code when the domain cannot be loaded.
int oqdev_sdk_kernel_extend_load(oqdev_kernel_extend_s *pstExtend);
// 0, or an error code when the registration is refused.
int oqDevSDK_Common_Module_RedirectReg(oqdev_redirect_reg_s *pstReg);
// 0 when the kernel accepted the message, else an error code.
int oqdev_sdk_kernel_send(oqdev_kernel_send_s *pstSend);
// The text of a device-information item; never null (empty when unknown).
// Valid until the item is changed.
const char *oqdev_sdk_kernel_getdevinfo_bykey(const char *pszKey);
// Non-zero while the device sleeps.
int oqdev_get_sleep_status(void);

#ifdef __cplusplus
}
#endif

#endif
