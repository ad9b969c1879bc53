// A program that runs beside this one, with pipes to it. Windows only.
#pragma once

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

// Inherits nothing but its three standard streams, has no console (so it gets no Ctrl-C of ours), and ends with this
// object or with this process, whatever ends that.
class ChildProcess {
public:
    // Throws Failure when the program cannot be started.
    ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments, ChildPipes pipes);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    PipeSink& Input() { return m_input; }
    PipeSource& Output() { return m_output; }

    // Waits for the end and returns the exit code. Closes Input.
    int Wait();

    // From any thread. Pipes to it break.
    void Kill();

    // What the program has written to standard error; of very much only the last part. Complete after Wait.
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
