// The arithmetic of a progress bar.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "apps/utils/progress.h"

namespace orvane::tool {

// Counts what is done and estimates the remaining time.
class ProgressMeter {
public:
    explicit ProgressMeter(Workload workload);

    void Advance(double items, uint64_t frames, double milliseconds);

    // "3 of 20 images, 84.1 ms per frame, 0:12 left"
    std::string Text() const;

    // 0..1, or 0 when the total is unknown.
    double Fraction() const;

    uint64_t ItemsDone() const;
    double MillisecondsPerFrame() const;
    double ItemsPerSecond() const;
    const Workload& Work() const { return m_workload; }

private:
    double Seconds() const;

    Workload m_workload;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    double m_items = 0;
    uint64_t m_frames = 0;
    double m_milliseconds = 0;
};

}  // namespace orvane::tool
