// What instances hold, what frames call, and how time grows with the work.
#include <algorithm>
#include <cmath>
#include <map>

#include "bench/call_counter.h"
#include "bench/session.h"
#include "bench/statistics.h"
#include "bench/worker.h"
#include "engine/tensor_plan.h"

namespace orvane::bench {
namespace {

constexpr double kMebibyte = 1048576.0;

double PlannedBytes(FrameSize size, NetworkNumbers network) {
    const std::vector<LayerShape> layers = LayersOf(network);
    const NetworkPlan plan = PlanNetwork(size, layers, TensorLayout::kNchw);
    uint64_t bytes = plan.modelInputSize + plan.modelOutputSize;
    for (size_t i = 1; i <= layers.size(); ++i) {
        bytes += plan.bufferSizes[i];
    }
    return static_cast<double>(bytes);
}

void CountMemory(Session& session) {
    Table table{"Memory, MiB",
                {{"network"},
                 {"size"},
                 {"tensors as planned", 2},
                 {"as the library logs", 2},
                 {"private, open", 1},
                 {"after 10 frames", 1},
                 {"after 500", 1},
                 {"after 1000", 1}},
                {},
                "Private bytes are those of the whole process; on a software adapter the tensors are among them."};
    const FrameSize size = session.options.isCard ? FrameSize{1280, 720} : FrameSize{64, 36};
    const NetworkNumbers network{8, 1};
    const auto ours = session.StartOurs();
    ours->Ask(session.OpenCommand(size, network));
    std::vector<Cell> row{network.Name(), SizeName(size), PlannedBytes(size, network) / kMebibyte};
    row.emplace_back(ours->Ask("logged").front() / kMebibyte);
    row.emplace_back(ours->Ask("memory").front() / kMebibyte);
    for (const int frames : {10, 490, 500}) {
        ours->Ask("frames " + std::to_string(session.options.isShort ? std::min(frames, 5) : frames));
        row.emplace_back(ours->Ask("memory").front() / kMebibyte);
    }
    table.rows.push_back(row);
    if (session.options.isShort) {
        table.note += " Short: 5, 10 and 15 frames.";
    }
    session.Add(table);
}

// Counted over several frames, because the list of frame times grows now and then.
void CountCalls(Session& session) {
    constexpr int kFrames = 32;
    const auto ours = session.StartOurs();
    ours->Ask(session.OpenCommand({64, 36}, {8, 2}));
    ours->Ask("frames 2");
    std::vector<std::vector<double>> counts(kCounterNames.size());
    for (int i = 0; i < kFrames; ++i) {
        const std::vector<double> frame = ours->Ask("count");
        for (size_t k = 0; k < counts.size(); ++k) {
            counts[k].push_back(frame.at(k));
        }
    }
    Table table{"Calls of one frame, four layers", {{"to"}, {"least"}, {"most"}}, {}, {}};
    for (size_t k = 0; k < counts.size(); ++k) {
        table.rows.push_back({std::string(kCounterNames[k]), Quantile(counts[k], 0.0), Quantile(counts[k], 1.0)});
    }
    table.note = "Of " + std::to_string(kFrames) + " frames, each counted by itself.";
    session.Add(table);
}

struct Point {
    FrameSize size;
    NetworkNumbers network;
    double x = 0.0;
    double least = INFINITY;
};

struct Growth {
    std::string name;
    std::string unit;  // of x
    std::vector<Point> points;
};

std::vector<Growth> Growths(const Options& options) {
    const FrameSize base = options.isCard ? FrameSize{640, 360} : FrameSize{64, 36};
    Growth pixels{"pixels", "10^3 pixels", {}};
    for (const uint32_t scale : {1U, 2U, 3U, 4U}) {
        const FrameSize size{base.width * scale, base.height * scale};
        pixels.points.push_back({size, {16, 1}, size.width * size.height / 1e3});
    }
    Growth channels{"channels", "10^6 operations", {}};
    for (const int32_t count : {8, 16, 32, 48}) {
        channels.points.push_back({base, {count, 2}, FrameOperations({count, 2}, base) / 1e6});
    }
    Growth layers{"layers", "layers", {}};
    for (const int32_t depth : {1, 2, 4, 8}) {
        layers.points.push_back({base, {16, depth}, depth + 2.0});
    }
    return {pixels, channels, layers};
}

}  // namespace

void CountMemoryAndCalls(Session& session) {
    CountMemory(session);
    CountCalls(session);
}

void FitGrowth(Session& session) {
    Table table{
        "Growth of a frame's time",
        {{"with"}, {"from"}, {"to"}, {"unit"}, {"ms a unit", 4}, {"ms at none", 3}, {"explained", 4}},
        {},
        "Straight lines of least squares through the least times of four networks or sizes each. Time grows with "
        "the operations, which go with the square of the channels between the layers."};
    Table points{"Growth, the points", {{"with"}, {"size"}, {"network"}, {"x", 3}, {"least, ms", 3}}, {}, {}};
    const auto ours = session.StartOurs();
    for (Growth& growth : [&] { return Growths(session.options); }()) {
        for (int round = 0; round < (session.options.isShort ? 1 : 3); ++round) {
            for (Point& point : growth.points) {
                ours->Ask(session.OpenCommand(point.size, point.network));
                const std::vector<double> times = ours->Ask(session.options.isShort ? "frames 2" : "frames 5");
                point.least = std::min(point.least, Quantile({times.begin() + 1, times.end()}, 0.0));
                ours->Ask("close");
            }
        }
        std::vector<double> x;
        std::vector<double> y;
        for (const Point& point : growth.points) {
            x.push_back(point.x);
            y.push_back(point.least);
            points.rows.push_back({growth.name, SizeName(point.size), point.network.Name(), point.x, point.least});
        }
        const Line line = FitLine(x, y);
        table.rows.push_back(
            {growth.name, x.front(), x.back(), growth.unit, line.slope, line.intercept, line.explained});
    }
    session.Add(table);
    session.Add(points);
}

}  // namespace orvane::bench
