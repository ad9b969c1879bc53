// The driver's side of a worker process.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

namespace orvane::bench {

// A process that runs one of the programs beside this one and answers commands; see worker.h. Ends with this object.
class WorkerProcess {
public:
    // The process's environment is this one's with `variable` set to `value`, or without it for an empty value. Throws
    // when it cannot be started.
    WorkerProcess(const std::string& program, const std::wstring& variable, const std::wstring& value);
    ~WorkerProcess();
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;

    // Blocks until the answer is there. Throws when the command fails or the process has ended.
    std::vector<double> Ask(const std::string& command);

private:
    std::string ReadLine();

    std::string m_program;
    HANDLE m_process = nullptr;
    HANDLE m_commands = nullptr;
    HANDLE m_answers = nullptr;
    std::string m_unread;
};

// Whether the program lies beside this one.
bool HasProgram(const std::string& program);

}  // namespace orvane::bench
