// The performance counter in microseconds.
#pragma once

#include <cstdint>

namespace orvane {

// Converts whole seconds and the rest separately, so realistic counter values do not overflow.
inline int64_t CounterToMicroseconds(int64_t counter, int64_t frequency) {
    constexpr int64_t kMicrosecondsPerSecond = 1'000'000;
    return counter / frequency * kMicrosecondsPerSecond + counter % frequency * kMicrosecondsPerSecond / frequency;
}

}  // namespace orvane
