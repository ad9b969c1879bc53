// Inside a frame: what lies around the convolutions, what each step takes, and what the choices about them are worth.
#include <algorithm>
#include <numeric>

#include "bench/operator_experiment.h"
#include "bench/session.h"
#include "bench/statistics.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

constexpr NetworkNumbers kNetwork{32, 2};

// Asks until the time is over, at least `leastTurns` times. The answers are groups of `groupSize` numbers; the result
// has one list for each place in a group.
std::vector<std::vector<double>> Collect(WorkerProcess& worker, const std::string& command, size_t groupSize,
                                         double milliseconds, size_t leastTurns) {
    std::vector<std::vector<double>> lists(groupSize);
    const double start = NowMilliseconds();
    for (size_t turn = 0; turn < leastTurns || NowMilliseconds() - start < milliseconds; ++turn) {
        const std::vector<double> answer = worker.Ask(command);
        Require(answer.size() % groupSize == 0 && !answer.empty(), command + ": an answer of another length");
        for (size_t i = 0; i < answer.size(); ++i) {
            lists[i % groupSize].push_back(answer[i]);
        }
    }
    return lists;
}

std::vector<FrameSize> Sizes(const Options& options) {
    if (options.isShort) {
        return {{64, 36}};
    }
    return options.isCard ? std::vector<FrameSize>{{640, 360}, {1920, 1080}, {2560, 1440}}
                          : std::vector<FrameSize>{{64, 36}, {160, 90}, {320, 180}};
}

// The ratio of each pair is of two frames that ran one after the other.
std::vector<Cell> OverheadRow(FrameSize size, const std::vector<std::vector<double>>& pairs) {
    std::vector<double> ratios(pairs[0].size());
    std::transform(pairs[0].begin(), pairs[0].end(), pairs[1].begin(), ratios.begin(), std::divides<>());
    return {SizeName(size),          static_cast<double>(ratios.size()),
            Quantile(pairs[0], 0.0), Median(pairs[0]),
            Quantile(pairs[1], 0.0), Median(pairs[1]),
            Median(ratios),          Quantile(pairs[0], 0.0) / Quantile(pairs[1], 0.0)};
}

std::vector<std::string> StepNames() {
    std::vector<std::string> names{"recording, upload heap filled", "upload", "image2tensor"};
    for (size_t i = 1; i <= LayersOf(kNetwork).size(); ++i) {
        names.push_back("layer " + std::to_string(i));
    }
    names.insert(names.end(), {"DepthToSpaceCRD", "copy to read-back", "submission and wait", "rows out"});
    return names;
}

}  // namespace

void TakeFramesApart(Session& session) {
    Table overhead{"Whole frames against their convolutions alone",
                   {{"size"},
                    {"pairs"},
                    {"frame least, ms", 2},
                    {"frame median", 2},
                    {"convolutions least, ms", 2},
                    {"convolutions median", 2},
                    {"ratio", 4},
                    {"ratio of the least", 4}},
                   {},
                   "32 channels, depth 2. The same operators in the same process; the ratio is the median of pairs of "
                   "a frame and the convolutions of one."};
    const std::vector<std::string> names = StepNames();
    Table apart{"A frame taken apart, milliseconds", {{"step"}}, {}, {}};
    for (const std::string& name : names) {
        apart.rows.push_back({name});
    }
    apart.note =
        "Medians. Recording, submission and rows are by the processor's clock; the steps between them are stamped by "
        "the queue (0: it has no stamps) and lie within the submission.";
    for (const FrameSize size : Sizes(session.options)) {
        const bool isShort = session.options.isShort;
        const auto parts = session.StartParts();
        parts->Ask(session.OpenCommand(size, kNetwork));
        parts->Ask("pairs 1");
        overhead.rows.push_back(
            OverheadRow(size, Collect(*parts, "pairs 2", 2, isShort ? 100.0 : 30'000.0, isShort ? 1 : 6)));
        const auto steps = Collect(*parts, "apart 1", names.size(), isShort ? 100.0 : 5'000.0, isShort ? 1 : 4);
        apart.columns.push_back({SizeName(size), 3});
        for (size_t i = 0; i < names.size(); ++i) {
            apart.rows[i].emplace_back(Median(steps[i]));
        }
    }
    session.Add(overhead);
    session.Add(apart);
}

void CompareOperators(Session& session) {
    Table table{"The bare operators, by how they are compiled",
                {{"size"}, {"variant"}, {"rounds"}, {"least, ms", 3}, {"median, ms", 3}, {"ratio", 3}},
                {},
                "32 channels, depth 2, one submission of all layers. The ratio to the first variant is the median of "
                "rounds in which each ran once. The library compiles the first, or on NVIDIA's adapters \"NHWC, half "
                "precision\"."};
    for (const FrameSize size : session.options.isCard ? Sizes(session.options) : std::vector<FrameSize>{{64, 36}}) {
        const auto parts = session.StartParts();
        parts->Ask("compile" + session.OpenCommand(size, kNetwork).substr(4));
        parts->Ask("operators 1");
        const bool isShort = session.options.isShort;
        const auto times =
            Collect(*parts, "operators 1", kOperatorVariantNames.size(), isShort ? 100.0 : 40'000.0, isShort ? 1 : 5);
        for (size_t i = 0; i < times.size(); ++i) {
            std::vector<double> ratios(times[i].size());
            std::transform(times[i].begin(), times[i].end(), times[0].begin(), ratios.begin(), std::divides<>());
            table.rows.push_back({SizeName(size), std::string(kOperatorVariantNames[i]),
                                  static_cast<double>(ratios.size()), Quantile(times[i], 0.0), Median(times[i]),
                                  Median(ratios)});
        }
    }
    session.Add(table);
}

}  // namespace orvane::bench
