// One run of the benchmark: what its sections share.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/inputs.h"
#include "bench/plot.h"
#include "bench/report.h"
#include "bench/worker_process.h"

namespace orvane::bench {

struct Options {
    bool isShort = false;  // a little of everything, to see that it works
    bool isCard = false;   // sizes for a graphics card
    std::filesystem::path folder = "bench-results";
    std::vector<std::string> only;  // names of sections; empty for all
};

// Under Wine, how Direct3D keeps its descriptors. On a software adapter virtual heaps spare the library seconds at an
// open, and slow the peer down. Outside Wine it means nothing.
enum class Heaps { kPlain, kVirtual };

class Session {
public:
    explicit Session(Options chosen);

    // How long a comparison takes, and the least number of its turns: nearly nothing in a short run.
    double Patience(double milliseconds) const;
    size_t LeastTurns(size_t count) const { return options.isShort ? 2 : count; }

    // A table of the report, to be filled by Try's work.
    Table& AddTable(const char* title, const char* note) { return report.tables.emplace_back(Table{title, note, {}}); }
    // Does one part of the work and writes the report. When it fails, that is all: the report says so.
    void Try(const std::string& what, const std::function<void()>& work);

    // The file of the network's model, made when it is first asked for.
    std::filesystem::path ModelFile(NetworkNumbers network) const;
    // What the command "open" is followed by.
    std::string Open(FrameSize size, NetworkNumbers network) const;

    // The heaps that suit the library on this adapter, and the others.
    Heaps OwnHeaps() const { return options.isCard ? Heaps::kPlain : Heaps::kVirtual; }
    Heaps OtherHeaps() const { return options.isCard ? Heaps::kVirtual : Heaps::kPlain; }
    std::unique_ptr<WorkerProcess> StartOurs(Heaps heaps) const { return Start("bench_ours", heaps); }
    std::unique_ptr<WorkerProcess> StartOurs() const { return StartOurs(OwnHeaps()); }
    std::unique_ptr<WorkerProcess> StartParts() const { return Start("bench_parts", OwnHeaps()); }
    // Null where there is none.
    std::unique_ptr<WorkerProcess> StartPeer() const;

    Options options;
    Report report;
    std::vector<Series> plot;  // frame times by pixels

private:
    std::unique_ptr<WorkerProcess> Start(const char* program, Heaps heaps) const;
    void Write() const;
};

std::string SizeName(FrameSize size);

// The sections. Each adds its tables.
void CompareFrames(Session& session);
void TakeFramesApart(Session& session);
void CompareOperators(Session& session);
void TimeOpening(Session& session);
void TimeModelLoading(Session& session);
void CountMemoryAndCalls(Session& session);
void FitGrowth(Session& session);

}  // namespace orvane::bench
