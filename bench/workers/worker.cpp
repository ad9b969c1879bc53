#include "bench/workers/worker.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

#include <windows.h>
// After windows.h.
#include <psapi.h>

namespace orvane::bench {
namespace {

Numbers PrivateBytes(std::istream& /*arguments*/) {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return {static_cast<double>(counters.PagefileUsage)};
}

double Milliseconds(const FILETIME& time) {
    constexpr double kTicks = 1e4;  // of 100 ns
    return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) / kTicks;
}

}  // namespace

int RunWorker(std::map<std::string, Command> commands) {
    commands["memory"] = PrivateBytes;
    commands["processor"] = [](std::istream&) { return Numbers{ProcessorMilliseconds()}; };
    std::cout.precision(12);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream arguments(line);
        std::string name;
        arguments >> name;
        try {
            const auto command = commands.find(name);
            Require(command != commands.end(), "no such command: " + name);
            std::ostringstream answer;
            answer.precision(12);
            for (const double number : command->second(arguments)) {
                answer << ' ' << number;
            }
            std::cout << kAnswerMark << answer.str() << '\n' << std::flush;
        } catch (const std::exception& failure) {
            std::cout << kFailureMark << ' ' << failure.what() << '\n' << std::flush;
        }
    }
    return 0;
}

double NowMilliseconds() {
    LARGE_INTEGER counter{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(counter.QuadPart) * 1e3 / static_cast<double>(frequency.QuadPart);
}

double ProcessorMilliseconds() {
    FILETIME created{};
    FILETIME ended{};
    FILETIME system{};
    FILETIME user{};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &system, &user);
    return Milliseconds(system) + Milliseconds(user);
}

void Require(bool holds, const std::string& what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

OpenArguments ReadOpenArguments(std::istream& arguments) {
    OpenArguments open;
    arguments >> open.size.width >> open.size.height >> open.network.channels >> open.network.depth;
    open.modelPath = ReadPath(arguments);
    Require(!open.modelPath.empty(), "open needs width, height, channels, depth and a model file");
    return open;
}

std::string ReadPath(std::istream& arguments) {
    std::string path;
    std::getline(arguments >> std::ws, path);
    return path;
}

}  // namespace orvane::bench
