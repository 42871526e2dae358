// Controls of the emulated host SDK, for tests and the simulator.
//
// The emulator keeps every call the module makes and lets a test play the
// platform (deliver messages and kernel events), the status-report module
// (poll, force, reset), the timer thread (tick), the clock and the faults.
// All state is process-wide; oqdev_sim_reset() returns it to the start state.
#ifndef OQDEV_SIM_H
#define OQDEV_SIM_H

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

#include "oqdev_kernel.h"
#include "oqdev_status_report.h"
#include "oqdev_timer.h"

namespace oqsim {

// Back to the start state: no domain, no registrations, no status items, no
// timer jobs, no faults, awake, empty logs and sends, real clock, default
// device information, observer cleared. Does not touch TZ.
void reset();

// ----- kernel -----
struct Redirect {
    int cmd;
    int domain;
    std::string type;
    int ret;
};
struct Sent {
    // Copy of the record; rec.pBody points at body's text (kept valid as the
    // list grows; read it only while no send is in progress).
    oqdev_kernel_send_s rec;
    std::string body;
    std::string version;  // szVersion as text
    int ret;
};
// Domain loaded by the last accepted oqdev_sdk_kernel_extend_load.
bool domain_loaded();
const oqdev_kernel_extend_s &domain();
int load_calls();
const std::vector<Redirect> &redirects();
const std::vector<Sent> &sent();
void clear_sent();

// Faults: the next `count` calls (count < 0: every call until cleared) answer
// `code`. Code 0 clears the fault.
void kernel_fail_load(int code);
void kernel_fail_redirect(int code);  // every registration
void kernel_fail_redirect_at(int index,
                             int code);  // the index-th registration (0-based) since reset
// Sends: the first `after` sends from now go through, then `count` fail.
void kernel_fail_send(int code, int count = -1, int after = 0);

void set_sleep(bool asleep);
void set_devinfo(const std::string &key,
                 const std::string &value);  // "dev_subserial" defaults to "SIMLOCK0001"
// The key is missing: its lookup answers null, as a real host may, until set
// again.
void set_devinfo_absent(const std::string &key);

// Plays the platform: calls the loaded domain's callbacks. Returns the
// callback's result, or -1 when no domain is loaded.
int deliver(int cmd, uint32_t seq, const std::string &body);
int deliver_null();  // data-route callback with a null message
int event(int type);

// ----- status-report module -----
struct StatusItem {
    oqdev_status_reg_s reg;
    bool forced;
};
int status_init_calls();
int status_fini_calls();
bool status_inited();
const std::vector<StatusItem> &status_items();  // registration order
std::vector<int> status_ids();
const std::vector<std::string>
    &status_ops();  // "init", "fini", "register 66", "unregister 66", "force 67"
// One cycle: every item in registration order, change detector, then report
// when it answered 1 or the item was forced (forced once).
void poll();
// Calls one item's reset; -1 when no item has that id.
int reset_item(int id);
void reset_all_items();
int force_report(int id);  // as the module's own call would

// ----- timer service -----
struct TimerJob {
    int id;
    std::string name;
    int interval;
    int mode;
    oqdev_timer_job_fn fn;
};
// Jobs run only while the service runs (between oqdev_timer_init and
// oqdev_timer_fini).
bool timer_running();
int timer_init_calls();
int timer_fini_calls();
const std::vector<TimerJob> &timer_jobs();
void timer_fail_add(bool fail);
void tick();  // every job once, in id order

// ----- log -----
struct LogLine {
    int level;
    std::string text;  // formatted, final newline included
};
const std::vector<LogLine> &logs();
void clear_logs();
bool has_log(int level, const std::string &text);  // exact text, newline included
int count_log(const std::string &text);
// Lines at or below this level go to stderr; from OQDEV_LOG_LEVEL, default 0 (none).
void set_echo_level(int level);

// ----- clock -----
// The module's time() answers this value until clock_real().
void clock_set(int64_t seconds);
void clock_advance(int64_t seconds);
void clock_real();
// Sets TZ in the environment and calls tzset().
void set_tz(const char *tz);

// ----- observer -----
// Called for every event the emulator sees, in order, with a JSON object text
// of the event (the simulator prints them). Not called when unset.
void set_observer(std::function<void(const std::string &json)> fn);

// JSON string literal of `text` (quotes included; control characters as
// \u00XX), as used in the observer's event texts.
std::string json_quote(const std::string &text);

// ----- XML class -----
// Allocation functions of the XML documents (CMarkupSTL), so that tests can
// count and fail them; null restores malloc and free. Install them only while
// no document exists.
void xml_set_alloc_hooks(void *(*alloc)(size_t), void (*dealloc)(void *));
// Faults of single operations, counted from arming on: the n-th (1-based)
// call among those `kind` names fails once. kThrow: any member (and the
// constructors) throws std::bad_alloc, as a class built on std::string does;
// kAdd: x_AddElem, kSet: SetDoc, x_SetData and x_SetAttrib, kFind: FindElem
// answer false and change nothing (a failed SetDoc leaves an empty document).
// n <= 0 disarms; reset() too.
enum class XmlFault { kThrow, kAdd, kSet, kFind };
void xml_fail_at(XmlFault kind, long n);
// The armed fault has struck.
bool xml_fault_met();

// ----- live mode -----
// Background threads as on a device: a kernel routing thread fed by a queue
// (deliver_async), a status poll thread and a timer thread. Off by default.
void live_start(int poll_interval_us, int tick_interval_us);
void live_stop();
void deliver_async(int cmd, uint32_t seq, const std::string &body);
void live_drain();  // waits until the queue is empty and the routing thread idle

}  // namespace oqsim

#endif
