#include "bench/turns.h"

#include <algorithm>
#include <functional>

#include "apps/utils/statistics.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

void TakeTurn(Side& side) {
    const double before = side.worker->Ask("processor").front();
    const std::vector<double> times = side.worker->Ask(side.command);
    side.processor += side.worker->Ask("processor").front() - before;
    side.frames.insert(side.frames.end(), times.begin(), times.end());
    side.turnMedians.push_back(Median(times));
}

}  // namespace

void TakeTurns(std::vector<Side>& sides, double milliseconds, size_t leastTurns) {
    const double start = NowMilliseconds();
    for (size_t turn = 0; turn < leastTurns || NowMilliseconds() - start < milliseconds; ++turn) {
        for (size_t i = 0; i < sides.size(); ++i) {
            TakeTurn(sides[(turn + i) % sides.size()]);
        }
    }
}

std::string FramesOfTurn(WorkerProcess& worker, const std::string& command, double milliseconds) {
    const double frame = worker.Ask(command + " 1").front();
    return std::to_string(static_cast<int>(std::clamp(milliseconds / frame, 1.0, 50.0)));
}

Ratio Compare(const Side& side, const Side& other) {
    std::vector<double> ratios(side.turnMedians.size());
    std::transform(side.turnMedians.begin(), side.turnMedians.end(), other.turnMedians.begin(), ratios.begin(),
                   std::divides<>());
    return {Median(ratios), Quantile(ratios, 0.25), Quantile(ratios, 0.75),
            side.ProcessorPerFrame() / other.ProcessorPerFrame()};
}

}  // namespace orvane::bench
