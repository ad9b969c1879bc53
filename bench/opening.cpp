// Opens, in processes that did nothing before, and again in the same process.
#include "bench/session.h"
#include "bench/statistics.h"

namespace orvane::bench {
namespace {

constexpr NetworkNumbers kNetwork{32, 2};

// One list for each column.
using Lists = std::vector<std::vector<double>>;

// First open, first frame, second open, and what the first frame of another size takes beyond a later one.
void OpenOurs(const Session& session, FrameSize size, Lists& lists) {
    const std::string open = session.OpenCommand(size, kNetwork);
    const auto ours = session.StartOurs();
    lists[0].push_back(ours->Ask(open).front());
    lists[1].push_back(ours->Ask("frames 1").front());
    ours->Ask("close");
    lists[2].push_back(ours->Ask(open).front());
    ours->Ask("resize " + std::to_string(size.width - 8) + " " + std::to_string(size.height));
    const std::vector<double> frames = ours->Ask("frames 3");
    lists[3].push_back(frames.front() - frames.back());
}

// First session, first frame, second session; and our first open with the heaps that suit the peer.
void OpenPeer(const Session& session, FrameSize size, Lists& lists) {
    const std::string open = session.OpenCommand(size, kNetwork);
    const auto peer = session.StartPeer();
    lists[4].push_back(peer->Ask(open).front());
    lists[5].push_back(peer->Ask("frames 1").front());
    peer->Ask("close");
    lists[6].push_back(peer->Ask(open).front());
    lists[7].push_back(session.StartOurs(Heaps::kPlain)->Ask(open).front());
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
    Table table{"Opening, milliseconds",
                {{"size"}, {"first open"}, {"its first frame"}, {"second open"}, {"new size"}},
                {},
                "32 channels, depth 2; medians of processes started in turn. A new size is what the first frame of "
                "that size takes beyond a later one."};
    if (Session::HasPeer()) {
        table.columns.insert(table.columns.end(), {{"peer first session"},
                                                   {"peer first frame"},
                                                   {"peer second session"},
                                                   {"first open, peer's heaps"},
                                                   {"ratio of the first", 3},
                                                   {"ratio of the second", 3}});
    }
    for (const FrameSize size : Sizes(session.options)) {
        Lists lists(Session::HasPeer() ? 8 : 4);
        for (int round = 0; round < (session.options.isShort ? 1 : 3); ++round) {
            OpenOurs(session, size, lists);
            if (Session::HasPeer()) {
                OpenPeer(session, size, lists);
            }
        }
        std::vector<Cell> row{SizeName(size)};
        for (const auto& list : lists) {
            row.emplace_back(Median(list));
        }
        if (Session::HasPeer()) {
            row.emplace_back(Median(lists[0]) / Median(lists[4]));
            row.emplace_back(Median(lists[2]) / Median(lists[6]));
        }
        table.rows.push_back(row);
    }
    session.Add(table);
}

}  // namespace orvane::bench
