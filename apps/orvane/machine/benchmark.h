// Measures the speed of the library on this machine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/frames/library_log.h"
#include "apps/orvane/frames/model_choice.h"
#include "apps/orvane/machine/memory_use.h"
#include "apps/utils/size.h"

namespace orvane::tool {

// A size is measured for at least this time and at least this number of frames.
struct TimeBox {
    double seconds = 5;
    uint32_t minFrames = 3;
};

struct Measurement {
    Size size;
    double openMilliseconds = 0;
    double firstMilliseconds = 0;      // of the first frame, which `milliseconds` does not contain
    std::vector<double> milliseconds;  // of each later frame
    MemoryUse memory;                  // while the instance is open

    double Quantile(double quantile) const;  // of `milliseconds`; 0..1
    double FramesPerSecond() const;          // of the median frame
};

// Opens an instance, upscales frames of noise and closes it. Throws Failure.
Measurement Measure(const ModelChoice& model, Size size, const TimeBox& box, uint32_t adapterIndex, LibraryLog& log);

// The expected seconds for another size, estimated from a measured one.
double ExpectedSeconds(const Measurement& measured, Size size, const TimeBox& box);

}  // namespace orvane::tool
