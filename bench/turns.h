// Sides of a comparison that take turns, so that what else the machine does falls on all of them alike.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bench/worker_process.h"

namespace orvane::bench {

// One side: a worker, and the command that runs several frames and answers with their times.
struct Side {
    WorkerProcess* worker;  // borrowed
    std::string command;

    Side(WorkerProcess& process, std::string framesCommand) : worker(&process), command(std::move(framesCommand)) {}

    // Filled by TakeTurns, in milliseconds.
    std::vector<double> frames;
    std::vector<double> turnMedians;
    double processor = 0.0;  // time of all cores together; Windows counts it in steps of 10 to 16

    double ProcessorPerFrame() const { return processor / static_cast<double>(frames.size()); }
};

// Lets every side run its command once a turn, another one first each turn, for at least `milliseconds` and
// `leastTurns`.
void TakeTurns(std::vector<Side>& sides, double milliseconds, size_t leastTurns);

// How many frames `command` runs in about `milliseconds`: runs one to see.
std::string FramesOfTurn(WorkerProcess& worker, const std::string& command, double milliseconds);

// What one side takes in relation to another.
struct Ratio {
    double median = 0.0;  // of the turns' ratios
    double low = 0.0;     // a quarter of the turns lies below
    double high = 0.0;    // a quarter above
    double processor = 0.0;
};
Ratio Compare(const Side& side, const Side& other);

}  // namespace orvane::bench
