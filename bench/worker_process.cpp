#include "bench/worker_process.h"

#include <array>
#include <filesystem>
#include <sstream>

#include "bench/worker.h"

namespace orvane::bench {
namespace {

std::filesystem::path ProgramPath(const std::string& program) {
    std::array<wchar_t, 1024> self{};
    GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
    return std::filesystem::path(self.data()).replace_filename(program + ".exe");
}

// A pipe whose one end is handed down to the worker.
struct Pipe {
    HANDLE read = nullptr;
    HANDLE write = nullptr;

    explicit Pipe(bool workerReads) {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        Require(CreatePipe(&read, &write, &inherited, 0) != 0, "a pipe cannot be made");
        SetHandleInformation(workerReads ? write : read, HANDLE_FLAG_INHERIT, 0);
    }
};

}  // namespace

WorkerProcess::WorkerProcess(const std::string& program, uint32_t secondsPerAnswer)
    : m_program(program), m_secondsPerAnswer(secondsPerAnswer) {
    const Pipe commands(true);
    const Pipe answers(false);
    m_commands = commands.write;
    m_answers = answers.read;

    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = commands.read;
    startup.hStdOutput = answers.write;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    std::wstring commandLine = L'"' + ProgramPath(program).wstring() + L'"';
    PROCESS_INFORMATION process{};
    const BOOL isStarted =
        CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
    CloseHandle(commands.read);
    CloseHandle(answers.write);
    Require(isStarted != 0, program + " cannot be started");
    CloseHandle(process.hThread);
    m_process = process.hProcess;
}

WorkerProcess::~WorkerProcess() {
    CloseHandle(m_commands);  // which the worker ends at
    constexpr DWORD kPatience = 20'000;
    if (WaitForSingleObject(m_process, kPatience) != WAIT_OBJECT_0) {
        TerminateProcess(m_process, 1);
    }
    CloseHandle(m_answers);
    CloseHandle(m_process);
}

std::vector<double> WorkerProcess::Ask(const std::string& command) {
    const std::string line = command + "\n";
    DWORD written = 0;
    WriteFile(m_commands, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    HANDLE timer = nullptr;
    CreateTimerQueueTimer(
        &timer, nullptr, [](void* process, BOOLEAN) { TerminateProcess(process, 1); }, m_process,
        m_secondsPerAnswer * 1000, 0, WT_EXECUTEONLYONCE);
    const std::string answer = ReadLine();
    DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
    Require(!answer.empty() && answer.front() == kAnswerMark, m_program + ", " + command + ": " + answer);
    std::istringstream numbers(answer.substr(1));
    std::vector<double> values;
    for (double value = 0.0; numbers >> value;) {
        values.push_back(value);
    }
    return values;
}

// Up to the end of a line, or of the worker.
std::string WorkerProcess::ReadLine() {
    size_t end = 0;
    while ((end = m_unread.find('\n')) == std::string::npos) {
        std::array<char, 4096> buffer{};
        DWORD count = 0;
        if (ReadFile(m_answers, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) == 0 || count == 0) {
            return "the worker has ended or did not answer in time";
        }
        m_unread.append(buffer.data(), count);
    }
    std::string line = m_unread.substr(0, end);
    m_unread.erase(0, end + 1);
    while (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

bool HasProgram(const std::string& program) {
    return std::filesystem::exists(ProgramPath(program));
}

}  // namespace orvane::bench
