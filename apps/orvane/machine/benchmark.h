// How fast the library is on this machine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "apps/orvane/frames/library_log.h"
#include "apps/orvane/machine/memory_use.h"
#include "apps/orvane/commands/model_options.h"
#include "apps/utils/text.h"

namespace orvane::tool {

// A size is measured for so long, and for at least so many frames, however slow the machine is.
struct TimeBox {
    double seconds = 5;
    uint32_t minFrames = 3;
};

struct Measurement {
    Size size;
    double openMilliseconds = 0;
    double firstMilliseconds = 0;      // of the first frame, which is not among the others
    std::vector<double> milliseconds;  // of the frames after it
    MemoryUse memory;                  // while the instance is open

    double Quantile(double quantile) const;  // of `milliseconds`; 0..1
    double FramesPerSecond() const;          // by the median
};

// Opens an instance, processes frames of noise and closes it. Throws Failure.
Measurement Measure(const ModelChoice& model, Size size, const TimeBox& box, uint32_t adapterIndex, LibraryLog& log);

// How many seconds another size will take, judged by one that was measured.
double ExpectedSeconds(const Measurement& measured, Size size, const TimeBox& box);

}  // namespace orvane::tool
