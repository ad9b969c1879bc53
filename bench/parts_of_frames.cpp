// Inside a frame: what lies around the convolutions, what each step takes, and what the choices about them are worth.
#include <algorithm>
#include <array>

#include "bench/session.h"
#include "apps/utils/statistics.h"
#include "bench/turns.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

constexpr NetworkNumbers kNetwork{32, 2};

std::vector<FrameSize> Sizes(const Options& options) {
    if (options.isShort) {
        return {{64, 36}};
    }
    return options.isCard ? std::vector<FrameSize>{{64, 36}, {640, 360}, {1920, 1080}}
                          : std::vector<FrameSize>{{64, 36}, {160, 90}, {320, 180}};
}

void CompareWithConvolutions(const Session& session, WorkerProcess& parts, FrameSize size, Table& table) {
    parts.Ask("convolutions 0 1");
    const std::string frames = FramesOfTurn(parts, "convolutions 0", session.Patience(500.0));
    std::vector<Side> sides{{parts, "whole " + frames}, {parts, "convolutions 0 " + frames}};
    TakeTurns(sides, session.Patience(20'000.0), session.LeastTurns(4));
    const Ratio ratio = Compare(sides[0], sides[1]);
    const std::vector<double>& whole = sides[0].frames;
    const std::vector<double>& bare = sides[1].frames;
    table.rows.push_back({{"size", SizeName(size)},
                          {"frames", whole.size()},
                          {"frame, ms", Median(whole)},
                          {"convolutions, ms", Median(bare)},
                          {"ratio", ratio.median},
                          {"25 %", ratio.low},
                          {"75 %", ratio.high},
                          {"of the least", Least(whole) / Least(bare)},
                          {"of processor time", ratio.processor}});
}

std::vector<std::string> FrameSteps() {
    std::vector<std::string> names{"recording, upload heap filled", "upload", "image2tensor"};
    for (size_t i = 1; i <= LayersOf(kNetwork).size(); ++i) {
        names.push_back("layer " + std::to_string(i));
    }
    names.insert(names.end(), {"DepthToSpaceCRD", "copy to read-back", "submission and wait", "rows out"});
    return names;
}

// The times of all steps, by size.
void AddSteps(Table& table, FrameSize size, const std::vector<double>& times) {
    for (size_t i = 0; i < table.rows.size(); ++i) {
        table.rows[i][SizeName(size)] = times.at(i);
    }
}

std::vector<double> TimeFrameSteps(const Session& session, WorkerProcess& parts) {
    std::vector<std::vector<double>> lists(FrameSteps().size());
    const double start = NowMilliseconds();
    for (size_t frame = 0; frame < session.LeastTurns(4) || NowMilliseconds() - start < session.Patience(5'000.0);
         ++frame) {
        const std::vector<double> steps = parts.Ask("apart");
        for (size_t i = 0; i < lists.size(); ++i) {
            lists[i].push_back(steps.at(i));
        }
    }
    std::vector<double> medians(lists.size());
    std::transform(lists.begin(), lists.end(), medians.begin(), Median);
    return medians;
}

// Layout (1: NHWC), DML_EXECUTION_FLAGS, whether DirectML owns the weights, and whether the activation is a clip.
struct Variant {
    const char* name;
    const char* setting;
};
constexpr std::array kVariants{
    Variant{"NCHW", "0 0 0 0"},
    Variant{"NCHW, clip", "0 0 0 1"},
    Variant{"NCHW, owned", "0 0 1 0"},
    Variant{"NCHW, half precision", "0 1 0 0"},
    Variant{"NCHW, no metacommands", "0 2 0 0"},
    Variant{"NCHW, volatile descriptors", "0 4 0 0"},
    Variant{"NHWC", "1 0 0 0"},
    Variant{"NHWC, clip", "1 0 0 1"},
    Variant{"NHWC, owned", "1 0 1 0"},
    Variant{"NHWC, half precision", "1 1 0 0"},
    Variant{"NHWC, half precision, owned", "1 1 1 0"},
};

void CompareVariants(Session& session, FrameSize size, Table& table) {
    const auto parts = session.StartParts();
    std::vector<Side> sides;
    std::vector<const char*> names;
    for (const Variant& variant : kVariants) {
        session.Try(std::string("operators compiled as ").append(variant.name), [&] {
            const std::string arguments = session.Open(size, kNetwork);
            const auto number =
                static_cast<int>(parts->Ask(std::string("variant ") + variant.setting + " " + arguments).front());
            const std::string command = "convolutions " + std::to_string(number);
            parts->Ask(command + " 1");
            sides.emplace_back(*parts, command + " " + FramesOfTurn(*parts, command, session.Patience(200.0)));
            names.push_back(variant.name);
        });
    }
    TakeTurns(sides, session.Patience(40'000.0), session.LeastTurns(4));
    for (size_t i = 0; i < sides.size(); ++i) {
        const Ratio ratio = Compare(sides[i], sides.front());
        table.rows.push_back({{"size", SizeName(size)},
                              {"variant", names[i]},
                              {"frames", sides[i].frames.size()},
                              {"least, ms", Least(sides[i].frames)},
                              {"median, ms", Median(sides[i].frames)},
                              {"ratio", ratio.median},
                              {"25 %", ratio.low},
                              {"75 %", ratio.high},
                              {"of processor time", ratio.processor}});
    }
}

}  // namespace

void TakeFramesApart(Session& session) {
    Table& overhead = session.AddTable("Whole frames against their convolutions alone",
                                       "32 channels, depth 2; medians. The same operators, in one process, take turns "
                                       "with and without the rest of the frame.");
    const auto addSteps = [&](const char* title, const char* note, const std::vector<std::string>& names) -> Table& {
        Table& table = session.AddTable(title, note);
        for (const std::string& name : names) {
            table.rows.push_back({{"step", name}});
        }
        return table;
    };
    Table& frame = addSteps("A frame taken apart, milliseconds",
                            "Medians. Recording, submission and rows are by the processor's clock; the steps between "
                            "them are stamped by the queue and lie within the submission.",
                            FrameSteps());
    Table& open = addSteps("An open taken apart, milliseconds", "Once each, in a new process.",
                           {"Direct3D's device", "DirectML's device", "shaders", "weights, operators, buffers",
                            "initialisation of the operators", "textures"});
    for (const FrameSize size : Sizes(session.options)) {
        session.Try("parts of a frame at " + SizeName(size), [&] {
            const auto parts = session.StartParts();
            AddSteps(open, size, parts->Ask("open " + session.Open(size, kNetwork)));
            CompareWithConvolutions(session, *parts, size, overhead);
            AddSteps(frame, size, TimeFrameSteps(session, *parts));
        });
    }
}

void CompareOperators(Session& session) {
    Table& table = session.AddTable(
        "The bare operators, by how they are compiled",
        "32 channels, depth 2, one submission of all layers. The variants take turns; ratios are to the first. Clip: "
        "the fused activation is a clip to 0..1, as in the peer's network, instead of the hard sigmoid that gives the "
        "same. Owned are weights that DirectML takes over when the operators are initialised. The library compiles the "
        "first, or on NVIDIA's adapters \"NHWC, half precision\".");
    for (const FrameSize size : session.options.isCard ? Sizes(session.options) : std::vector<FrameSize>{{64, 36}}) {
        session.Try("operators at " + SizeName(size), [&] { CompareVariants(session, size, table); });
    }
}

}  // namespace orvane::bench
