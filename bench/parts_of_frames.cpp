// Inside a frame: what lies around the convolutions, what each step takes, and what the choices about them are worth.

#include "bench/operator_experiment.h"
#include "bench/session.h"
#include "bench/statistics.h"
#include "bench/turns.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

constexpr NetworkNumbers kNetwork{32, 2};

std::vector<FrameSize> Sizes(const Options& options) {
    if (options.isShort) {
        return {{64, 36}};
    }
    return options.isCard ? std::vector<FrameSize>{{640, 360}, {1920, 1080}, {2560, 1440}}
                          : std::vector<FrameSize>{{64, 36}, {160, 90}, {320, 180}};
}

std::vector<Cell> OverheadRow(const Session& session, WorkerProcess& parts, FrameSize size) {
    parts.Ask("convolutions 1");
    const std::string convolutions = FramesOfTurn(parts, "convolutions", session.Patience(500.0));
    std::vector<Side> sides{{parts, "whole" + convolutions.substr(convolutions.find(' '))}, {parts, convolutions}};
    TakeTurns(sides, session.Patience(30'000.0), session.LeastTurns(4));
    const Side& whole = sides[0];
    const Side& bare = sides[1];
    const Ratio ratio = Compare(whole, bare);
    return {SizeName(size),       static_cast<double>(whole.frames.size()),
            Median(whole.frames), Median(bare.frames),
            ratio.median,         ratio.low,
            ratio.high,           ratio.least,
            ratio.processor};
}

std::vector<std::string> StepNames() {
    std::vector<std::string> names{"recording, upload heap filled", "upload", "image2tensor"};
    for (size_t i = 1; i <= LayersOf(kNetwork).size(); ++i) {
        names.push_back("layer " + std::to_string(i));
    }
    names.insert(names.end(), {"DepthToSpaceCRD", "copy to read-back", "submission and wait", "rows out"});
    return names;
}

// One list for each step.
std::vector<std::vector<double>> StepTimes(const Session& session, WorkerProcess& parts) {
    std::vector<std::vector<double>> lists(StepNames().size());
    const double start = NowMilliseconds();
    for (size_t frame = 0; frame < session.LeastTurns(4) || NowMilliseconds() - start < session.Patience(5'000.0);
         ++frame) {
        const std::vector<double> steps = parts.Ask("apart");
        for (size_t i = 0; i < lists.size(); ++i) {
            lists[i].push_back(steps.at(i));
        }
    }
    return lists;
}

}  // namespace

void TakeFramesApart(Session& session) {
    Table overhead{"Whole frames against their convolutions alone",
                   {{"size"},
                    {"frames"},
                    {"frame median, ms", 2},
                    {"convolutions median, ms", 2},
                    {"ratio", 4},
                    {"ratio 25 %", 4},
                    {"ratio 75 %", 4},
                    {"ratio of the least", 4},
                    {"of processor time", 4}},
                   {},
                   "32 channels, depth 2. The same operators, in one process, take turns with and without the rest of "
                   "the frame."};
    const std::vector<std::string> names = StepNames();
    Table apart{"A frame taken apart, milliseconds", {{"step"}}, {}, {}};
    for (const std::string& name : names) {
        apart.rows.push_back({name});
    }
    apart.note =
        "Medians. Recording, submission and rows are by the processor's clock; the steps between them are stamped by "
        "the queue (0: it has no stamps) and lie within the submission.";
    for (const FrameSize size : Sizes(session.options)) {
        const auto parts = session.StartParts();
        parts->Ask(session.OpenCommand(size, kNetwork));
        overhead.rows.push_back(OverheadRow(session, *parts, size));
        apart.columns.push_back({SizeName(size), 3});
        const auto steps = StepTimes(session, *parts);
        for (size_t i = 0; i < names.size(); ++i) {
            apart.rows[i].emplace_back(Median(steps[i]));
        }
    }
    session.Add(overhead);
    session.Add(apart);
}

void CompareOperators(Session& session) {
    Table table{"The bare operators, by how they are compiled",
                {{"size"},
                 {"variant"},
                 {"frames"},
                 {"least, ms", 2},
                 {"median, ms", 2},
                 {"ratio", 3},
                 {"ratio of the least", 3},
                 {"of processor time", 3}},
                {},
                "32 channels, depth 2, one submission of all layers. The variants take turns; ratios are to the first. "
                "The library compiles the first, or on NVIDIA's adapters \"NHWC, half precision\"."};
    for (const FrameSize size : session.options.isCard ? Sizes(session.options) : std::vector<FrameSize>{{64, 36}}) {
        const auto parts = session.StartParts();
        const std::vector<double> accepted = parts->Ask("compile" + session.OpenCommand(size, kNetwork).substr(4));
        std::vector<Side> sides;
        std::vector<std::string> names;
        for (size_t i = 0; i < kOperatorVariantNames.size(); ++i) {
            const std::string variant = "variant " + std::to_string(i);
            if (accepted.at(i) != 0.0) {
                parts->Ask(variant + " 1");
                sides.emplace_back(*parts, FramesOfTurn(*parts, variant, session.Patience(200.0)));
                names.emplace_back(kOperatorVariantNames[i]);
            }
        }
        TakeTurns(sides, session.Patience(60'000.0), session.LeastTurns(4));
        for (size_t i = 0; i < sides.size(); ++i) {
            const Ratio ratio = Compare(sides[i], sides.front());
            table.rows.push_back({SizeName(size), names[i], static_cast<double>(sides[i].frames.size()),
                                  Quantile(sides[i].frames, 0.0), Median(sides[i].frames), ratio.median, ratio.least,
                                  ratio.processor});
        }
    }
    session.Add(table);
}

}  // namespace orvane::bench
