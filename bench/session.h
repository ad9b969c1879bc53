// One run of the benchmark: what its sections share.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/inputs.h"
#include "bench/plot.h"
#include "bench/report.h"
#include "bench/worker_process.h"

namespace orvane::bench {

struct Options {
    bool isShort = false;  // a little of everything, to see that it works
    bool isCard = false;   // sizes and sections for a graphics card
    std::filesystem::path folder = "bench-results";
    double peakTeraflops = 0.0;     // of the adapter in half precision, 0 when not known
    double peakGigabytes = 0.0;     // of its memory, a second, 0 when not known
    std::vector<std::string> only;  // names of sections; empty for all
};

// Under Wine, how Direct3D keeps its descriptors: virtual heaps spare the library seconds at an open, and slow the peer
// down. Elsewhere it means nothing.
enum class Heaps { kPlain, kVirtual };

class Session {
public:
    explicit Session(Options chosen);

    // How long a comparison takes, and the least number of its turns: nearly nothing in a short run.
    double Patience(double milliseconds) const { return options.isShort ? 0.0 : milliseconds; }
    size_t LeastTurns(size_t count) const { return options.isShort ? 2 : count; }

    // Prints the table and keeps it for the results.
    void Add(Table table);
    void Say(const std::string& text) const;

    // The file of the network's model, made when it is first asked for.
    std::filesystem::path ModelFile(NetworkNumbers network) const;
    // What the command "open" is followed by.
    std::string OpenCommand(FrameSize size, NetworkNumbers network) const;

    std::unique_ptr<WorkerProcess> StartOurs(Heaps heaps = Heaps::kVirtual) const;
    std::unique_ptr<WorkerProcess> StartParts() const;
    std::unique_ptr<WorkerProcess> StartPeer() const;
    // Without the peer, its columns are left out.
    static bool HasPeer() { return HasProgram("bench_peer"); }

    Options options;
    std::vector<Series> plot;  // frame times by pixels

    // Writes results.json and frames.svg.
    void Write(const std::vector<std::pair<std::string, std::string>>& facts) const;

private:
    std::vector<Table> m_tables;
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
