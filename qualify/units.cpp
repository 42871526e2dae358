#include "units.h"

namespace qualify {

const std::vector<Unit> &AllUnits() {
    static const std::vector<Unit> kUnits = {
        {"bounds", &RunBounds},     {"counts", &RunCounts}, {"stability", &RunStability},
        {"reserved", &RunReserved}, {"events", &RunEvents}, {"concurrency", &RunConcurrency},
        {"timing", &RunTiming},
    };
    return kUnits;
}

}  // namespace qualify
