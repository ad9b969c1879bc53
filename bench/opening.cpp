// Opens, in processes that did nothing before, and again in the same process.
#include "bench/session.h"
#include "apps/utils/statistics.h"

namespace orvane::bench {
namespace {

constexpr NetworkNumbers kNetwork{32, 2};

struct Times {
    std::vector<double> open;
    std::vector<double> firstFrame;
    std::vector<double> secondOpen;
};

void OpenTwice(WorkerProcess& worker, const std::string& open, Times& times) {
    times.open.push_back(worker.Ask(open).front());
    times.firstFrame.push_back(worker.Ask("frames 1").front());
    worker.Ask("close");
    times.secondOpen.push_back(worker.Ask(open).front());
}

// What the first frame of another size takes beyond a later one.
double NewSize(WorkerProcess& ours, FrameSize size) {
    ours.Ask("resize " + std::to_string(size.width - 8) + " " + std::to_string(size.height));
    const std::vector<double> frames = ours.Ask("frames 3");
    return frames.front() - frames.back();
}

void TimeSize(const Session& session, FrameSize size, Table& table) {
    const std::string open = "open " + session.Open(size, kNetwork);
    Times ours;
    Times peers;
    std::vector<double> newSize;
    for (int round = 0; round < (session.options.isShort ? 1 : 3); ++round) {
        const auto library = session.StartOurs();
        OpenTwice(*library, open, ours);
        newSize.push_back(NewSize(*library, size));
        if (const auto peer = session.StartPeer()) {
            OpenTwice(*peer, open, peers);
        }
    }
    Row& row = table.rows.emplace_back(Row{{"size", SizeName(size)},
                                           {"first open", Median(ours.open)},
                                           {"its first frame", Median(ours.firstFrame)},
                                           {"second open", Median(ours.secondOpen)},
                                           {"new size", Median(newSize)}});
    row["other heaps"] = session.StartOurs(session.OtherHeaps())->Ask(open).front();
    row["peer's session"] = Median(peers.open);
    row["its first frame "] = Median(peers.firstFrame);
    row["second session"] = Median(peers.secondOpen);
    row["ratio of the first"] = Median(ours.open) / Median(peers.open);
    row["ratio of the second"] = Median(ours.secondOpen) / Median(peers.secondOpen);
}

std::vector<FrameSize> Sizes(const Options& options) {
    if (options.isShort) {
        return {{64, 36}};
    }
    return options.isCard ? std::vector<FrameSize>{{640, 360}, {1920, 1080}}
                          : std::vector<FrameSize>{{64, 36}, {320, 180}};
}

}  // namespace

void TimeOpening(Session& session) {
    Table& table = session.AddTable(
        "Opening, milliseconds",
        "32 channels, depth 2; medians of processes started in turn. A new size is what the first frame of that size "
        "takes beyond a later one. Other heaps: the first open with plain heaps, or on a card with virtual ones.");
    for (const FrameSize size : Sizes(session.options)) {
        session.Try("opening at " + SizeName(size), [&] { TimeSize(session, size, table); });
    }
}

}  // namespace orvane::bench
