// Frame by frame against the peer: the same bytes in host memory to the same bytes in host memory.
#include <algorithm>
#include <cstdlib>
#include <optional>

#include "bench/session.h"
#include "bench/statistics.h"
#include "bench/turns.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

constexpr NetworkNumbers kWide{32, 2};
constexpr NetworkNumbers kNarrow{8, 1};

struct Case {
    FrameSize size;
    NetworkNumbers network;
};

std::vector<Case> Cases(const Options& options) {
    std::vector<FrameSize> sizes{{64, 36}, {160, 90}, {320, 180}, {640, 360}};
    if (options.isShort) {
        return {{{64, 36}, kNarrow}};
    }
    if (options.isCard) {
        sizes = {{640, 360}, {1280, 720}, {1920, 1080}, {2560, 1440}};
    }
    std::vector<Case> cases;
    for (const NetworkNumbers network : {kWide, kNarrow}) {
        for (const FrameSize size : sizes) {
            cases.push_back({size, network});
        }
    }
    return cases;
}

struct Result {
    Case one;
    Side ours;
    std::optional<Side> peer;
    double privateBytes = 0.0;
    double peerPrivateBytes = 0.0;
    double largestDifference = 0.0;
};

double LargestDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    Require(a.size() == b.size() && !a.empty(), "the pictures are of different sizes");
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        largest = std::max(largest, std::abs(int{a[i]} - int{b[i]}));
    }
    return largest;
}

double DifferenceOfPictures(const Session& session, WorkerProcess& ours, WorkerProcess& peer) {
    const auto path = std::filesystem::absolute(session.options.folder / "picture.rgba");
    ours.Ask("save " + path.string());
    const std::vector<uint8_t> oursPicture = LoadBytes(path);
    peer.Ask("save " + path.string());
    const double difference = LargestDifference(oursPicture, LoadBytes(path));
    std::filesystem::remove(path);
    return difference;
}

Result RunCase(const Session& session, const Case& one) {
    const auto ours = session.StartOurs();
    const auto peer = Session::HasPeer() ? session.StartPeer() : nullptr;
    ours->Ask(session.OpenCommand(one.size, one.network));
    ours->Ask("frames 1");
    const std::string frames = FramesOfTurn(*ours, "frames", session.Patience(500.0));
    std::vector<Side> sides{{*ours, frames}};
    if (peer) {
        peer->Ask(session.OpenCommand(one.size, one.network));
        peer->Ask("frames 2");
        sides.emplace_back(*peer, frames);
    }
    TakeTurns(sides, session.Patience(20'000.0), session.LeastTurns(3));
    Result result{one, sides.front(), std::nullopt, ours->Ask("memory").front()};
    if (peer) {
        result.peer = sides.back();
        result.peerPrivateBytes = peer->Ask("memory").front();
        result.largestDifference = DifferenceOfPictures(session, *ours, *peer);
    }
    return result;
}

Table FramesTable(const std::vector<Result>& results) {
    Table table{"One frame, milliseconds",
                {{"network"}, {"size"}, {"frames"}, {"least", 2}, {"median", 2}, {"95 %", 2}},
                {},
                {}};
    if (Session::HasPeer()) {
        table.columns.insert(table.columns.end(), {{"peer least", 2}, {"peer median", 2}, {"peer 95 %", 2}});
        table.note =
            "The peer is ONNX Runtime with its DirectML provider, in a process of its own; the two take turns.";
    }
    for (const Result& result : results) {
        std::vector<Cell>& row = table.rows.emplace_back();
        row = {result.one.network.Name(), SizeName(result.one.size), static_cast<double>(result.ours.frames.size())};
        for (const Side* const side : {&result.ours, result.peer ? &*result.peer : nullptr}) {
            if (side != nullptr) {
                row.insert(row.end(),
                           {Quantile(side->frames, 0.0), Median(side->frames), Quantile(side->frames, 0.95)});
            }
        }
    }
    return table;
}

Table RatiosTable(const std::vector<Result>& results) {
    constexpr double kMebibyte = 1048576.0;
    Table table{
        "Orvane / ONNX Runtime",
        {{"network"},
         {"size"},
         {"turns"},
         {"ratio", 3},
         {"ratio 25 %", 3},
         {"ratio 75 %", 3},
         {"ratio of the least", 3},
         {"processor ms", 1},
         {"peer processor ms", 1},
         {"ratio of processor time", 3},
         {"private MiB"},
         {"peer private MiB"},
         {"largest difference"}},
        {},
        "Of the medians of each turn: the median of all turns and the quarters beside it. Processor time is that "
        "of all cores for one frame. The difference is of two bytes of the pictures."};
    for (const Result& result : results) {
        const Ratio ratio = Compare(result.ours, *result.peer);
        table.rows.push_back({result.one.network.Name(), SizeName(result.one.size),
                              static_cast<double>(result.ours.turnMedians.size()), ratio.median, ratio.low, ratio.high,
                              ratio.least, result.ours.ProcessorPerFrame(), result.peer->ProcessorPerFrame(),
                              ratio.processor, result.privateBytes / kMebibyte, result.peerPrivateBytes / kMebibyte,
                              result.largestDifference});
    }
    return table;
}

Table CardTable(const Options& options, const std::vector<Result>& results) {
    Table table{"Against the card's limits",
                {{"network"},
                 {"size"},
                 {"frame, ms", 3},
                 {"operations, 10^9", 2},
                 {"TFLOPS reached", 2},
                 {"% of peak", 1},
                 {"least bytes, MB", 1},
                 {"GB/s reached", 1},
                 {"% of peak memory", 1},
                 {"frames/s", 1}},
                {},
                "The operations are the convolutions' multiplications and additions; the bytes, every tensor written "
                "once and read once. A peak of 0 is not known: --peak-tflops, --peak-gbps."};
    for (const Result& result : results) {
        const auto& [size, network] = result.one;
        const double seconds = Median(result.ours.frames) / 1e3;
        const double operations = FrameOperations(network, size) / seconds;
        const double bytes = FrameBytes(network, size) / seconds;
        const auto percent = [](double reached, double peak) { return peak > 0.0 ? 100.0 * reached / peak : 0.0; };
        table.rows.push_back({network.Name(), SizeName(size), seconds * 1e3, FrameOperations(network, size) / 1e9,
                              operations / 1e12, percent(operations / 1e12, options.peakTeraflops),
                              FrameBytes(network, size) / 1e6, bytes / 1e9, percent(bytes / 1e9, options.peakGigabytes),
                              1.0 / seconds});
    }
    return table;
}

void Plot(Session& session, const Result& result) {
    const auto add = [&](const std::string& side, const std::vector<double>& frames) {
        const std::string name = side + ", " + result.one.network.Name();
        auto& plot = session.plot;
        auto found = std::find_if(plot.begin(), plot.end(), [&](const Series& series) { return series.name == name; });
        if (found == plot.end()) {
            found = plot.insert(plot.end(), {name, {}});
        }
        found->points.emplace_back(result.one.size.width * result.one.size.height, Median(frames));
    };
    add("Orvane", result.ours.frames);
    if (result.peer) {
        add("ONNX Runtime", result.peer->frames);
    }
}

}  // namespace

void CompareFrames(Session& session) {
    std::vector<Result> results;
    for (const Case& one : Cases(session.options)) {
        results.push_back(RunCase(session, one));
        Plot(session, results.back());
    }
    session.Add(FramesTable(results));
    if (Session::HasPeer()) {
        session.Add(RatiosTable(results));
    }
    if (session.options.isCard) {
        session.Add(CardTable(session.options, results));
    }
}

}  // namespace orvane::bench
