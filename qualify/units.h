// The units of the qualification, one per family of findings, in the order
// they run. Each starts from a freshly started lock.
#ifndef DOORLOCK_QUALIFY_UNITS_H
#define DOORLOCK_QUALIFY_UNITS_H

#include <vector>

#include "harness.h"

namespace qualify {

void RunBounds(Session &s);       // writes past or before a record, crashes
void RunCounts(Session &s);       // counts, texts, lists that follow what was set
void RunStability(Session &s);    // records that change with nothing happening
void RunReserved(Session &s);     // reserved bytes not zero
void RunEvents(Session &s);       // unlock events handed once, door and battery changes
void RunConcurrency(Session &s);  // records torn by calls from several threads
void RunTiming(Session &s);       // calls slower than the bound

const std::vector<Unit> &AllUnits();

}  // namespace qualify

#endif
