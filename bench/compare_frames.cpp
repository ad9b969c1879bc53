// Frame by frame against the peer: the same bytes in host memory to the same bytes in host memory.
#include <algorithm>
#include <array>
#include <cstdlib>

#include "bench/session.h"
#include "apps/utils/statistics.h"
#include "bench/turns.h"
#include "bench/worker.h"

namespace orvane::bench {
namespace {

struct Case {
    FrameSize size;
    NetworkNumbers network;
};

std::vector<Case> Cases(const Options& options) {
    const NetworkNumbers narrow{8, 1};
    if (options.isShort) {
        return {{{64, 36}, narrow}};
    }
    std::vector<FrameSize> sizes{{64, 36}, {160, 90}, {320, 180}, {640, 360}};
    if (options.isCard) {
        sizes = {{64, 36}, {640, 360}, {1280, 720}, {1920, 1080}, {2560, 1440}};
    }
    std::vector<Case> cases;
    for (const NetworkNumbers network : {NetworkNumbers{32, 2}, narrow}) {
        for (const FrameSize size : sizes) {
            cases.push_back({size, network});
        }
    }
    return cases;
}

// From NVIDIA's data sheets: half precision on the tensor cores, without sparsity, and on all others; memory.
struct Card {
    const char* name;
    double tensorTeraflops;
    double shaderTeraflops;
    double gigabytes;  // a second
};
constexpr std::array kCards{Card{"H100 PCIe", 756.0, 102.4, 2000.0}, Card{"H100", 989.4, 133.8, 3350.0},
                            Card{"H200", 989.4, 133.8, 4800.0}};

Card CardOf(const Report& report) {
    const std::string adapter = report.facts["adapter"];
    const auto* const found = std::find_if(
        kCards.begin(), kCards.end(), [&](const Card& card) { return adapter.find(card.name) != std::string::npos; });
    return found != kCards.end() ? *found : Card{"", kNone, kNone, kNone};
}

double LargestDifference(const Session& session, WorkerProcess& ours, WorkerProcess& peer) {
    const auto path = std::filesystem::absolute(session.options.folder / "picture.rgba");
    ours.Ask("save " + path.string());
    const std::vector<uint8_t> a = LoadBytes(path);
    peer.Ask("save " + path.string());
    const std::vector<uint8_t> b = LoadBytes(path);
    std::filesystem::remove(path);
    Require(a.size() == b.size(), "the pictures are of different sizes");
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        largest = std::max(largest, std::abs(int{a[i]} - int{b[i]}));
    }
    return largest;
}

void Plot(std::vector<Series>& plot, const std::string& name, FrameSize size, double milliseconds) {
    auto found = std::find_if(plot.begin(), plot.end(), [&](const Series& series) { return series.name == name; });
    if (found == plot.end()) {
        found = plot.insert(plot.end(), {name, {}});
    }
    found->points.emplace_back(1.0 * size.width * size.height, milliseconds);
}

// What of the card's best a frame of that many milliseconds reaches.
void AddShareOfCard(const Card& card, const Case& one, double median, Row& row) {
    const double teraflops = FrameOperations(one.network, one.size) / median / 1e9;
    const double gigabytes = FrameBytes(one.network, one.size) / median / 1e6;
    row["frames/s"] = 1e3 / median;
    row["TFLOPS"] = teraflops;
    row["% of the tensor cores"] = 100.0 * teraflops / card.tensorTeraflops;
    row["% of the other cores"] = 100.0 * teraflops / card.shaderTeraflops;
    row["GB/s"] = gigabytes;
    row["% of the memory"] = 100.0 * gigabytes / card.gigabytes;
}

void RunCase(Session& session, const Case& one, const std::string& name, Table& table) {
    const std::string open = "open " + session.Open(one.size, one.network);
    const auto ours = session.StartOurs();
    ours->Ask(open);
    ours->Ask("frames 1");
    const std::string count = FramesOfTurn(*ours, "frames", session.Patience(500.0));
    const std::string frames = "frames " + count;
    std::vector<Side> sides{{*ours, frames}};
    const auto join = [&](WorkerProcess* worker) {
        if (worker != nullptr) {
            worker->Ask(open);
            worker->Ask("frames 2");
            sides.emplace_back(*worker, frames);
        }
    };
    const auto peer = session.StartPeer();
    session.Try("the peer, " + name, [&] { join(peer.get()); });
    const bool hasPeer = sides.size() > 1;
    const auto samePeer = hasPeer ? session.StartPeer() : nullptr;
    if (samePeer != nullptr) {
        session.Try("the peer with hard sigmoids, " + name, [&] {
            samePeer->Ask("hard-sigmoid");
            join(samePeer.get());
        });
    }
    const bool hasSamePeer = sides.size() > 2;
    const auto otherHeaps = session.options.isCard ? session.StartOurs(session.OtherHeaps()) : nullptr;
    join(otherHeaps.get());
    TakeTurns(sides, session.Patience(15'000.0), session.LeastTurns(3));

    const std::vector<double>& times = sides[0].frames;
    const double median = Median(times);
    Row& row = table.rows.emplace_back(Row{{"network", one.network.Name()},
                                           {"size", SizeName(one.size)},
                                           {"frames", times.size()},
                                           {"least", Least(times)},
                                           {"median", median},
                                           {"95 %", Quantile(times, 0.95)}});
    Plot(session.plot, "Orvane, " + one.network.Name(), one.size, median);
    if (hasPeer) {
        const std::vector<double>& peerTimes = sides[1].frames;
        const Ratio ratio = Compare(sides[0], sides[1]);
        row["peer least"] = Least(peerTimes);
        row["peer median"] = Median(peerTimes);
        row["peer 95 %"] = Quantile(peerTimes, 0.95);
        row["of that its session"] = Median(peer->Ask("sessions " + count));
        row["ratio"] = ratio.median;
        row["25 %"] = ratio.low;
        row["75 %"] = ratio.high;
        row["of the least"] = Least(times) / Least(peerTimes);
        row["of processor time"] = ratio.processor;
        row["largest difference"] = LargestDifference(session, *ours, *peer);
        if (hasSamePeer) {
            const Ratio same = Compare(sides[0], sides[2]);
            row["same activation: ratio"] = same.median;
            row["same activation: of the least"] = Least(times) / Least(sides[2].frames);
            row["same activation: of processor time"] = same.processor;
        }
        Plot(session.plot, "ONNX Runtime, " + one.network.Name(), one.size, Median(peerTimes));
    }
    if (session.options.isCard) {
        row["virtual heaps"] = Median(sides.back().frames);
        AddShareOfCard(CardOf(session.report), one, median, row);
    }
}

}  // namespace

void CompareFrames(Session& session) {
    Table& table = session.AddTable(
        "One frame, milliseconds, beside ONNX Runtime",
        "Each in a process of its own; the two take turns. The ratio is that of a turn's medians: the median of all "
        "turns, and the quarters beside it. The session is the peer without the conversion of pictures. Processor time "
        "is that of all cores. The difference is that of two bytes of the pictures. The same activation: beside the "
        "peer with the library's hard sigmoid in place of the clip that exporters write; both give the same picture. "
        "On a card: operations are the convolutions' multiplications and additions; bytes, every tensor written once "
        "and read once.");
    for (const Case& one : Cases(session.options)) {
        const std::string name = SizeName(one.size) + ", " + one.network.Name();
        session.Try("frames of " + name, [&] { RunCase(session, one, name, table); });
    }
}

}  // namespace orvane::bench
