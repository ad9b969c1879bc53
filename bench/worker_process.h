// The driver's side of a worker process.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <windows.h>

namespace orvane::bench {

// A process that runs one of the programs beside this one and answers commands; see worker.h. Ends with this object.
class WorkerProcess {
public:
    // It inherits this process's environment. Throws when it cannot be started.
    WorkerProcess(const std::string& program, uint32_t secondsPerAnswer);
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    // Blocks until the answer is there. Throws when the command fails, takes too long or the process has ended.
    std::vector<double> Ask(const std::string& command);

private:
    std::string ReadLine();

    std::string m_program;
    uint32_t m_secondsPerAnswer;
    HANDLE m_process = nullptr;
    HANDLE m_commands = nullptr;
    HANDLE m_answers = nullptr;
    std::string m_unread;
};

// Whether a program of this name lies beside this one.
bool HasProgram(const std::string& program);

}  // namespace orvane::bench
