// What instances hold, what frames call, and how time grows with the work.
#include <algorithm>
#include <cmath>

#include "bench/call_counter.h"
#include "bench/session.h"
#include "apps/utils/statistics.h"
#include "engine/tensor_plan.h"

namespace orvane::bench {
namespace {

double PlannedBytes(FrameSize size, NetworkNumbers network) {
    const std::vector<LayerShape> layers = LayersOf(network);
    const NetworkPlan plan = PlanNetwork(size, layers, TensorLayout::kNchw);
    uint64_t bytes = plan.modelInputSize + plan.modelOutputSize;
    for (size_t i = 1; i <= layers.size(); ++i) {
        bytes += plan.bufferSizes[i];
    }
    return static_cast<double>(bytes);
}

void CountMemory(const Session& session, Table& table) {
    constexpr double kMebibyte = 1048576.0;
    const FrameSize size = session.options.isCard ? FrameSize{1280, 720} : FrameSize{64, 36};
    const NetworkNumbers network{8, 1};
    const auto ours = session.StartOurs();
    const auto mebibytes = [&](const char* command) { return ours->Ask(command).front() / kMebibyte; };
    ours->Ask("open " + session.Open(size, network));
    Row& row = table.rows.emplace_back(Row{{"network", network.Name()},
                                           {"size", SizeName(size)},
                                           {"tensors as planned", PlannedBytes(size, network) / kMebibyte},
                                           {"as the library logs", mebibytes("logged")},
                                           {"private, open", mebibytes("memory")}});
    int frames = 0;
    for (const int more : {10, 490, 500}) {
        frames += session.options.isShort ? 5 : more;
        ours->Ask("frames " + std::to_string(session.options.isShort ? 5 : more));
        row["after " + std::to_string(frames)] = mebibytes("memory");
    }
}

// Over several frames, because the list of frame times grows now and then.
void CountCalls(const Session& session, Table& table) {
    const auto ours = session.StartOurs();
    ours->Ask("open " + session.Open({64, 36}, {8, 2}));
    ours->Ask("frames 2");
    ours->Ask("watch");
    std::vector<std::vector<double>> counts(kCounterNames.size());
    for (int frame = 0; frame < 32; ++frame) {
        const std::vector<double> calls = ours->Ask("count");
        for (size_t i = 0; i < counts.size(); ++i) {
            counts[i].push_back(calls.at(i));
        }
    }
    for (size_t i = 0; i < counts.size(); ++i) {
        table.rows.push_back(
            {{"to", kCounterNames.at(i)}, {"least", Least(counts[i])}, {"most", Quantile(counts[i], 1.0)}});
    }
}

struct Point {
    FrameSize size;
    NetworkNumbers network;
    double x;
    double least = INFINITY;
};

struct Growth {
    const char* name;
    const char* unit;  // of x
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

void Fit(const Session& session, Growth growth, Table& table) {
    const auto ours = session.StartOurs();
    for (int round = 0; round < (session.options.isShort ? 1 : 3); ++round) {
        for (Point& point : growth.points) {
            ours->Ask("open " + session.Open(point.size, point.network));
            ours->Ask("frames 1");
            point.least = std::min(point.least, Least(ours->Ask(session.options.isShort ? "frames 1" : "frames 4")));
            ours->Ask("close");
        }
    }
    std::vector<double> x;
    std::vector<double> y;
    Row& row = table.rows.emplace_back(Row{{"with", growth.name}, {"unit", growth.unit}});
    for (const Point& point : growth.points) {
        x.push_back(point.x);
        y.push_back(point.least);
        const std::string number = "point " + std::to_string(x.size());
        row[number] = point.x;
        row[number + ", ms"] = point.least;
    }
    const Line line = FitLine(x, y);
    row["ms a unit"] = line.slope;
    row["ms at none"] = line.intercept;
    row["explained"] = line.explained;
}

}  // namespace

void CountMemoryAndCalls(Session& session) {
    Table& memory = session.AddTable(
        "Memory, MiB",
        "Private bytes are those of the whole process; on a software adapter the tensors are among them.");
    Table& calls = session.AddTable("Calls of one frame, four layers", "Of 32 frames, each counted by itself.");
    session.Try("memory", [&] { CountMemory(session, memory); });
    session.Try("calls", [&] { CountCalls(session, calls); });
}

void FitGrowth(Session& session) {
    Table& table = session.AddTable("Growth of a frame's time",
                                    "Straight lines of least squares through the least times of four networks or sizes "
                                    "each. Operations go with the square of the channels between the layers.");
    for (const Growth& growth : Growths(session.options)) {
        session.Try(std::string("growth with ") + growth.name, [&] { Fit(session, growth, table); });
    }
}

}  // namespace orvane::bench
