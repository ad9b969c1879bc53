// Frame by frame against the peer: the same bytes in host memory to the same bytes in host memory.
#include <algorithm>
#include <cstdlib>

#include "bench/session.h"
#include "bench/statistics.h"
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

struct Times {
    std::vector<double> ours;
    std::vector<double> peer;
    std::vector<double> ratios;  // of the turns' medians
    double largestDifference = 0.0;

    void AddTurn(const std::vector<double>& oursOfTurn, const std::vector<double>& peerOfTurn) {
        ours.insert(ours.end(), oursOfTurn.begin(), oursOfTurn.end());
        peer.insert(peer.end(), peerOfTurn.begin(), peerOfTurn.end());
        if (!peerOfTurn.empty()) {
            ratios.push_back(Median(oursOfTurn) / Median(peerOfTurn));
        }
    }
};

double LargestDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    Require(a.size() == b.size() && !a.empty(), "the pictures are of different sizes");
    int largest = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        largest = std::max(largest, std::abs(int{a[i]} - int{b[i]}));
    }
    return largest;
}

// Several frames a turn, the sides taking turns, the first one changing from turn to turn.
Times TakeTurns(const Session& session, const Case& one) {
    const double turnMilliseconds = session.options.isShort ? 30.0 : 400.0;
    const double totalMilliseconds = session.options.isShort ? 200.0 : 20'000.0;
    const size_t leastTurns = session.options.isShort ? 2 : 5;

    const auto ours = session.StartOurs();
    const auto peer = Session::HasPeer() ? session.StartPeer() : nullptr;
    const std::string open = session.OpenCommand(one.size, one.network);
    ours->Ask(open);
    ours->Ask("frames 1");
    if (peer) {
        peer->Ask(open);
        peer->Ask("frames 1");
    }
    const double frame = ours->Ask("frames 1").front();
    const auto count = static_cast<size_t>(std::clamp(turnMilliseconds / frame, 2.0, 50.0));
    const std::string frames = "frames " + std::to_string(count);

    Times times;
    const double start = NowMilliseconds();
    for (size_t turn = 0; turn < leastTurns || NowMilliseconds() - start < totalMilliseconds; ++turn) {
        std::vector<double> oursOfTurn;
        std::vector<double> peerOfTurn;
        if (turn % 2 == 0) {
            oursOfTurn = ours->Ask(frames);
        }
        if (peer) {
            peerOfTurn = peer->Ask(frames);
        }
        if (turn % 2 == 1) {
            oursOfTurn = ours->Ask(frames);
        }
        times.AddTurn(oursOfTurn, peerOfTurn);
    }
    if (peer) {
        const auto path = std::filesystem::absolute(session.options.folder / "picture.rgba");
        ours->Ask("save " + path.string());
        const std::vector<uint8_t> oursPicture = LoadBytes(path);
        peer->Ask("save " + path.string());
        times.largestDifference = LargestDifference(oursPicture, LoadBytes(path));
        std::filesystem::remove(path);
    }
    return times;
}

std::vector<Cell> Row(const Case& one, const Times& times) {
    const auto& [ours, peer, ratios, difference] = times;
    std::vector<Cell> row{one.network.Name(),  SizeName(one.size), static_cast<double>(ours.size()),
                          Quantile(ours, 0.0), Median(ours),       Quantile(ours, 0.95)};
    if (!peer.empty()) {
        row.insert(row.end(),
                   {Quantile(peer, 0.0), Median(peer), Quantile(peer, 0.95), Median(ratios), Quantile(ratios, 0.25),
                    Quantile(ratios, 0.75), Quantile(ours, 0.0) / Quantile(peer, 0.0),
                    static_cast<double>(ratios.size()), difference});
    }
    return row;
}

Table CardTable(const Options& options, const std::vector<Case>& cases, const std::vector<Times>& times) {
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
    for (size_t i = 0; i < cases.size(); ++i) {
        const double seconds = Median(times[i].ours) / 1e3;
        const double operations = FrameOperations(cases[i].network, cases[i].size);
        const double bytes = FrameBytes(cases[i].network, cases[i].size);
        const auto percent = [](double reached, double peak) { return peak > 0.0 ? 100.0 * reached / peak : 0.0; };
        table.rows.push_back({cases[i].network.Name(), SizeName(cases[i].size), seconds * 1e3, operations / 1e9,
                              operations / seconds / 1e12, percent(operations / seconds / 1e12, options.peakTeraflops),
                              bytes / 1e6, bytes / seconds / 1e9, percent(bytes / seconds / 1e9, options.peakGigabytes),
                              1.0 / seconds});
    }
    return table;
}

void Plot(Session& session, const Case& one, const Times& times) {
    const auto add = [&](const std::string& side, const std::vector<double>& values) {
        const std::string name = side + ", " + one.network.Name();
        auto& plot = session.plot;
        auto found = std::find_if(plot.begin(), plot.end(), [&](const Series& series) { return series.name == name; });
        if (found == plot.end()) {
            found = plot.insert(plot.end(), {name, {}});
        }
        found->points.emplace_back(one.size.width * one.size.height, Median(values));
    };
    add("Orvane", times.ours);
    if (!times.peer.empty()) {
        add("ONNX Runtime", times.peer);
    }
}

}  // namespace

void CompareFrames(Session& session) {
    Table table{"One frame, milliseconds",
                {{"network"}, {"size"}, {"frames"}, {"least", 2}, {"median", 2}, {"95 %", 2}},
                {},
                {}};
    if (Session::HasPeer()) {
        table.columns.insert(table.columns.end(), {{"peer least", 2},
                                                   {"peer median", 2},
                                                   {"peer 95 %", 2},
                                                   {"ratio", 3},
                                                   {"ratio 25 %", 3},
                                                   {"ratio 75 %", 3},
                                                   {"ratio of the least", 3},
                                                   {"turns"},
                                                   {"largest difference"}});
        table.note =
            "The peer is ONNX Runtime with its DirectML provider, in a process of its own; the two take turns. Ratios "
            "are ours / the peer's, of the medians of each turn: the median of all turns and the quarters beside it.";
    }
    const std::vector<Case> cases = Cases(session.options);
    std::vector<Times> times;
    for (const Case& one : cases) {
        times.push_back(TakeTurns(session, one));
        table.rows.push_back(Row(one, times.back()));
        Plot(session, one, times.back());
    }
    session.Add(table);
    if (session.options.isCard) {
        session.Add(CardTable(session.options, cases, times));
    }
}

}  // namespace orvane::bench
