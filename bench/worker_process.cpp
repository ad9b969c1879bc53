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

// This process's environment with one variable replaced, as CreateProcess takes it.
std::wstring Environment(const std::wstring& variable, const std::wstring& value) {
    std::wstring block;
    wchar_t* const strings = GetEnvironmentStringsW();
    for (const wchar_t* text = strings; *text != 0; text += std::wcslen(text) + 1) {
        if (!std::wstring(text).starts_with(variable + L"=")) {
            block.append(text).push_back(L'\0');
        }
    }
    FreeEnvironmentStringsW(strings);
    if (!value.empty()) {
        block.append(variable).append(L"=").append(value).push_back(L'\0');
    }
    return block;
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

WorkerProcess::WorkerProcess(const std::string& program, const std::wstring& variable, const std::wstring& value)
    : m_program(program) {
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
    std::wstring environment = Environment(variable, value);
    PROCESS_INFORMATION process{};
    const BOOL isStarted = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                                          CREATE_UNICODE_ENVIRONMENT, environment.data(), nullptr, &startup, &process);
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
    const std::string answer = ReadLine();
    Require(!answer.empty() && answer.front() == kAnswerMark, m_program + ", " + command + ": " + answer);
    std::istringstream numbers(answer.substr(1));
    std::vector<double> values;
    for (double value = 0.0; numbers >> value;) {
        values.push_back(value);
    }
    return values;
}

std::string WorkerProcess::ReadLine() {
    size_t end = 0;
    while ((end = m_unread.find('\n')) == std::string::npos) {
        std::array<char, 4096> buffer{};
        DWORD count = 0;
        Require(
            ReadFile(m_answers, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) != 0 && count != 0,
            m_program + " has ended unexpectedly");
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
