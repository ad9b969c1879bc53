// Worker: the library's parts by themselves.
#include <memory>

#include "bench/engine_frame.h"
#include "bench/operator_experiment.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

size_t ReadCount(std::istream& arguments) {
    size_t count = 0;
    arguments >> count;
    return count;
}

// Runs `work`, which gives one or more times, as often as told.
template <typename Work>
Numbers Repeat(std::istream& arguments, const Work& work) {
    Numbers all;
    for (size_t left = ReadCount(arguments); left > 0; --left) {
        const Numbers times = work();
        all.insert(all.end(), times.begin(), times.end());
    }
    return all;
}

// A whole frame and the convolutions alone, in alternating order: what comes second finds warm caches.
Numbers RunPair(EngineFrame& frame) {
    static bool wholeFirst = false;
    wholeFirst = !wholeFirst;
    const auto whole = [&frame] { return Measure([&frame] { frame.RunWhole(); }); };
    const auto bare = [&frame] { return Measure([&frame] { frame.RunConvolutions(); }); };
    if (wholeFirst) {
        const double first = whole();
        return {first, bare()};
    }
    const double first = bare();
    return {whole(), first};
}

}  // namespace
}  // namespace orvane::bench

int main() {
    using namespace orvane::bench;
    std::unique_ptr<EngineFrame> frame;
    std::unique_ptr<OperatorExperiment> experiment;
    return RunWorker({
        {"open",
         [&](std::istream& arguments) {
             const OpenArguments open = ReadOpenArguments(arguments);
             frame.reset();
             frame = std::make_unique<EngineFrame>(open.size, open.network, open.modelPath);
             return Numbers{static_cast<double>(frame->PlannedBytes())};
         }},
        // Each: the whole frame, the convolutions.
        {"pairs", [&](std::istream& arguments) { return Repeat(arguments, [&] { return RunPair(*frame); }); }},
        {"apart", [&](std::istream& arguments) { return Repeat(arguments, [&] { return frame->RunApart(); }); }},
        {"compile",
         [&](std::istream& arguments) {
             const OpenArguments open = ReadOpenArguments(arguments);
             experiment = std::make_unique<OperatorExperiment>(open.size, open.network, open.modelPath);
             return Numbers{};
         }},
        {"operators",
         [&](std::istream& arguments) { return Repeat(arguments, [&] { return experiment->RunRound(); }); }},
    });
}
