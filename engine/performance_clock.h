// The performance counter in microseconds.
#pragma once

#include <cstdint>

namespace orvane {

// Does not overflow for realistic counter values: whole seconds and the rest are converted apart.
inline int64_t CounterToMicroseconds(int64_t counter, int64_t frequency) {
    constexpr int64_t kMicrosecondsPerSecond = 1'000'000;
    return counter / frequency * kMicrosecondsPerSecond + counter % frequency * kMicrosecondsPerSecond / frequency;
}

}  // namespace orvane
