// The side of a worker process: it answers each line of command on standard input with one line of numbers.
#pragma once

#include <functional>
#include <istream>
#include <map>
#include <string>
#include <vector>

#include "bench/inputs.h"

namespace orvane::bench {

// An answer is "= 1.5 2" or, when the command failed, "! why". Workers print nothing else to standard output.
inline constexpr char kAnswerMark = '=';
inline constexpr char kFailureMark = '!';

using Numbers = std::vector<double>;

// Reads the rest of its line. Throws what a failed command is to be answered with.
using Command = std::function<Numbers(std::istream& arguments)>;

// Answers commands until standard input ends. The exit code of the process.
int RunWorker(const std::map<std::string, Command>& commands);

double NowMilliseconds();

// The milliseconds that `work` takes.
template <typename Work>
double Measure(const Work& work) {
    const double start = NowMilliseconds();
    work();
    return NowMilliseconds() - start;
}

// Throws with `what` in the text unless `holds`.
void Require(bool holds, const std::string& what);

// The committed memory of this process, in bytes.
double PrivateBytes();

// What "open" is followed by: width, height, channels, depth, and the path of the model file, to the end of the line.
struct OpenArguments {
    FrameSize size;
    NetworkNumbers network;
    std::string modelPath;  // UTF-8
};
OpenArguments ReadOpenArguments(std::istream& arguments);
std::string ReadPath(std::istream& arguments);

}  // namespace orvane::bench
