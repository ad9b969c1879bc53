#include "apps/utils/progress_meter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

// The parts of an item may add up to slightly less than 1.
constexpr double kRounding = 1e-6;

// "0:07", "12:34", "1:00:00"
std::string Duration(double seconds) {
    const auto whole = static_cast<uint64_t>(std::clamp(std::ceil(seconds), 0.0, 360000000.0));
    const auto hours = static_cast<unsigned>(whole / 3600);
    const auto minutes = static_cast<unsigned>(whole / 60 % 60);
    const auto rest = static_cast<unsigned>(whole % 60);
    return hours == 0 ? Formatted("%u:%02u", minutes, rest) : Formatted("%u:%02u:%02u", hours, minutes, rest);
}

}  // namespace

ProgressMeter::ProgressMeter(Workload workload) : m_workload(std::move(workload)) {
}

void ProgressMeter::Advance(double items, uint64_t frames, double milliseconds) {
    m_items += items;
    m_frames += frames;
    m_milliseconds += milliseconds;
}

std::string ProgressMeter::Text() const {
    std::string text = std::to_string(ItemsDone());
    if (m_workload.total) {
        text += " of " + std::to_string(*m_workload.total);
    }
    text += " " + m_workload.unit;
    if (m_frames > 0) {
        text += m_workload.isVideo ? Formatted(", %.1f frames per second", ItemsPerSecond())
                                   : Formatted(", %.1f ms per frame", MillisecondsPerFrame());
    }
    if (m_workload.total && m_items > 0) {
        text += ", " + Duration(Seconds() * (1 / std::max(Fraction(), kRounding) - 1)) + " left";
    }
    return text;
}

double ProgressMeter::Fraction() const {
    const auto total = static_cast<double>(m_workload.total.value_or(0));
    return total > 0 ? std::min(m_items / total, 1.0) : 0;
}

uint64_t ProgressMeter::ItemsDone() const {
    return static_cast<uint64_t>(m_items + kRounding);
}

double ProgressMeter::MillisecondsPerFrame() const {
    return m_frames > 0 ? m_milliseconds / static_cast<double>(m_frames) : 0;
}

double ProgressMeter::ItemsPerSecond() const {
    const double seconds = Seconds();
    return seconds > 0 ? m_items / seconds : 0;
}

double ProgressMeter::Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

}  // namespace orvane::tool
