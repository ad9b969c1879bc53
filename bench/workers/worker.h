// The side of a worker process: it answers each line of command on standard input with one line of numbers.
#pragma once

#include <functional>
#include <istream>
#include <map>
#include <string>
#include <vector>

#include "bench/workers/inputs.h"

namespace orvane::bench {

// An answer is "= 1.5 2" or, when the command failed, "! why". Workers print nothing else to standard output.
inline constexpr char kAnswerMark = '=';
inline constexpr char kFailureMark = '!';

using Numbers = std::vector<double>;

// Reads the rest of its line. Throws what a failed command is to be answered with.
using Command = std::function<Numbers(std::istream& arguments)>;

// Answers commands until standard input ends. The exit code of the process. Every worker also knows "memory", its
// committed bytes, and "processor", the milliseconds that it has used of all cores.
int RunWorker(std::map<std::string, Command> commands);

double NowMilliseconds();

// What this process has used of all cores. Windows counts it in steps of 10 to 16.
double ProcessorMilliseconds();

// The milliseconds that `work` takes.
template <typename Work>
double Measure(const Work& work) {
    const double start = NowMilliseconds();
    work();
    return NowMilliseconds() - start;
}

// The times of as many runs of `work` as the arguments say.
template <typename Work>
Numbers MeasureAll(std::istream& arguments, const Work& work) {
    size_t count = 0;
    arguments >> count;
    Numbers times(count);
    for (double& time : times) {
        time = Measure(work);
    }
    return times;
}

// Throws with `what` in the text unless `holds`.
void Require(bool holds, const std::string& what);

// What "open" is followed by: width, height, channels, depth, and the path of the model file, to the end of the line.
struct OpenArguments {
    FrameSize size;
    NetworkNumbers network;
    std::string modelPath;  // UTF-8; of ONNX Runtime an ONNX model
};
OpenArguments ReadOpenArguments(std::istream& arguments);
std::string ReadPath(std::istream& arguments);

}  // namespace orvane::bench
