#include "bench/worker.h"

#include <iostream>
#include <sstream>
#include <stdexcept>

#include <windows.h>
// After windows.h.
#include <psapi.h>

namespace orvane::bench {

int RunWorker(const std::map<std::string, Command>& commands) {
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
            std::cout << kAnswerMark << answer.str() << std::endl;
        } catch (const std::exception& failure) {
            std::cout << kFailureMark << ' ' << failure.what() << std::endl;
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

void Require(bool holds, const std::string& what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

double PrivateBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<double>(counters.PagefileUsage);
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
