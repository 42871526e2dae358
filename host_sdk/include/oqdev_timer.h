// Host SDK timer service: periodic jobs run on the timer thread.
#ifndef OQDEV_TIMER_H
#define OQDEV_TIMER_H

#ifdef __cplusplus
extern "C" {
#endif

typedef struct oqdev_timer oqdev_timer;
typedef int (*oqdev_timer_job_fn)(void);

int oqdev_timer_init(void);
int oqdev_timer_fini(void);
oqdev_timer *oqdev_timer_get_comm_instance(void);
// Registers a job under a name. iInterval is in timer ticks; iMode 1 repeats
// the job, 0 runs it once. Returns the job id, negative on failure.
int oqdev_timer_add_element(oqdev_timer *pstTimer, const char *pszName, int iInterval, int iMode,
                            oqdev_timer_job_fn pfnJob);
int oqdev_timer_del_element(oqdev_timer *pstTimer, int iId);

#ifdef __cplusplus
}
#endif

#endif
