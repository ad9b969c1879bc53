#include "apps/orvane/machine/benchmark.h"

#include <algorithm>
#include <chrono>
#include <random>

#include "apps/orvane/frames/upscaler.h"
#include "apps/utils/statistics.h"

namespace orvane::tool {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kPixelBytes = 4;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::vector<uint8_t> Noise(size_t byteCount) {
    std::minstd_rand random(1);
    std::vector<uint8_t> bytes(byteCount);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random() >> 8 & 0xFF); });
    return bytes;
}

double Pixels(Size size) {
    return static_cast<double>(size.width) * size.height;
}

}  // namespace

double Measurement::Quantile(double quantile) const {
    return tool::Quantile(milliseconds, quantile);
}

double Measurement::FramesPerSecond() const {
    return 1000.0 / Quantile(0.5);
}

Measurement Measure(const ModelChoice& model, Size size, const TimeBox& box, uint32_t adapterIndex, LibraryLog& log) {
    const size_t rowBytes = size.width * kPixelBytes;
    std::vector<uint8_t> input = Noise(rowBytes * size.height);
    std::vector<uint8_t> output(4 * input.size());
    const PixelRows inputRows{size.width, size.height, rowBytes, input.data()};
    const PixelRows outputRows{2 * size.width, 2 * size.height, 2 * rowBytes, output.data()};

    Measurement measured;
    measured.size = size;
    const Clock::time_point opened = Clock::now();
    Upscaler upscaler(model, log);
    upscaler.Open(size);
    measured.openMilliseconds = SecondsSince(opened) * 1000;
    measured.firstMilliseconds = upscaler.Upscale(inputRows, outputRows);
    const Clock::time_point started = Clock::now();
    while (measured.milliseconds.size() < box.minFrames || SecondsSince(started) < box.seconds) {
        measured.milliseconds.push_back(upscaler.Upscale(inputRows, outputRows));
    }
    measured.memory = MeasureMemory(adapterIndex);
    return measured;
}

double ExpectedSeconds(const Measurement& measured, Size size, const TimeBox& box) {
    const double frameSeconds = measured.Quantile(0.5) / 1000 * Pixels(size) / Pixels(measured.size);
    return std::max(box.seconds, frameSeconds * box.minFrames) + frameSeconds;
}

}  // namespace orvane::tool
