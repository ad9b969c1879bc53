// A child process with pipes. Windows only.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/utils/process/pipe.h"

namespace orvane::tool {

struct ChildPipes {
    bool input = false;   // what is written to Input() is the program's standard input
    bool output = false;  // what the program writes to standard output is read from Output()
};

// Inherits only its three standard streams. It has no console, so our Ctrl-C does not reach it. It is killed with this
// object, and also when this process ends for any reason.
class ChildProcess {
public:
    // Throws Failure when the program cannot be started.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments, ChildPipes pipes);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    PipeSink& Input() { return m_input; }
    PipeSource& Output() { return m_output; }

    // Closes Input and waits so long at most. True when the program has ended.
    bool EndsWithin(uint32_t milliseconds);

    // Closes Input, waits for the end and returns the exit code.
    int Wait();

    // May be called from any thread. The pipes break.
    void Kill();

    // The text that the program has written to standard error. Only the last part if it is very long. Complete after
    // Wait.
    std::string Messages();

private:
    void CollectMessages(PipeSource& source);

    PipeSink m_input;
    PipeSource m_output;
    Handle m_process;
    Handle m_job;  // closing it ends the process
    std::mutex m_mutex;
    std::string m_messages;
    std::thread m_collector;
};

}  // namespace orvane::tool
