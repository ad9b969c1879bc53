#include "apps/utils/process/child_process.h"

#include <array>
#include <memory>
#include <utility>

#include <windows.h>

#include "apps/utils/failure.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/process/command_line.h"
#include "apps/utils/text.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {
namespace {

constexpr DWORD kPipeBytes = 1 << 20;
constexpr size_t kMaxMessageBytes = size_t{1} << 20;

[[noreturn]] void FailToStart(const std::filesystem::path& program) {
    throw Failure(Quoted(program) + " cannot be started (code " + std::to_string(GetLastError()) + ").");
}

struct PipeEnds {
    Handle read;
    Handle write;
};

// The child inherits one end.
PipeEnds MakePipe(bool childReads) {
    HANDLE read = nullptr;
    HANDLE write = nullptr;
    if (CreatePipe(&read, &write, nullptr, kPipeBytes) == 0) {
        throw Failure("A pipe cannot be created (code " + std::to_string(GetLastError()) + ").");
    }
    PipeEnds ends{Handle(read), Handle(write)};
    SetHandleInformation(childReads ? read : write, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return ends;
}

// Reads as empty and discards what is written.
Handle OpenNul() {
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    return Handle(CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                              OPEN_EXISTING, 0, nullptr));
}

Handle MakeJob() {
    Handle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    // Only the program itself: others may need what it starts, such as Wine's desktop.
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK;
    SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return job;
}

// The complete list of the handles that a child inherits.
class InheritedHandles {
public:
    explicit InheritedHandles(std::array<HANDLE, 3> handles) : m_handles(handles) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_bytes.resize(size);
        if (InitializeProcThreadAttributeList(List(), 1, 0, &size) == 0) {
            throw Failure("A list of handles cannot be created.");
        }
        UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_handles.data(), sizeof(m_handles),
                                  nullptr, nullptr);
    }
    ~InheritedHandles() { DeleteProcThreadAttributeList(List()); }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST List() { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_bytes.data()); }

private:
    std::array<HANDLE, 3> m_handles;
    std::vector<uint8_t> m_bytes;
};

// Starts the program inside the job, before it can start anything itself.
Handle Start(const std::filesystem::path& program, const std::vector<std::string>& arguments,
             std::array<HANDLE, 3> standardHandles, const Handle& job) {
    std::vector<std::string> line{Utf8FromPath(program)};
    line.insert(line.end(), arguments.begin(), arguments.end());
    std::wstring wideLine = WideFromUtf8(WindowsCommandLine(line));

    InheritedHandles inherited(standardHandles);
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof(startup);
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = standardHandles[0];
    startup.StartupInfo.hStdOutput = standardHandles[1];
    startup.StartupInfo.hStdError = standardHandles[2];
    startup.lpAttributeList = inherited.List();
    PROCESS_INFORMATION information{};
    constexpr DWORD kFlags = DETACHED_PROCESS | CREATE_SUSPENDED | EXTENDED_STARTUPINFO_PRESENT;
    if (CreateProcessW(program.c_str(), wideLine.data(), nullptr, nullptr, TRUE, kFlags, nullptr, nullptr,
                       &startup.StartupInfo, &information) == 0) {
        FailToStart(program);
    }
    const Handle thread(information.hThread);
    Handle process(information.hProcess);
    AssignProcessToJobObject(job.Get(), process.Get());
    ResumeThread(thread.Get());
    return process;
}

}  // namespace

ChildProcess::ChildProcess(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                           ChildPipes pipes)
    : m_input(Handle(), Utf8FromPath(program)), m_output(Handle(), Utf8FromPath(program)), m_job(MakeJob()) {
    const Handle nul = OpenNul();
    PipeEnds input;
    PipeEnds output;
    PipeEnds messages = MakePipe(false);
    if (pipes.input) {
        input = MakePipe(true);
        m_input = PipeSink(std::move(input.write), Utf8FromPath(program));
    }
    if (pipes.output) {
        output = MakePipe(false);
        m_output = PipeSource(std::move(output.read), Utf8FromPath(program));
    }
    const std::array<HANDLE, 3> handles{pipes.input ? input.read.Get() : nul.Get(),
                                        pipes.output ? output.write.Get() : nul.Get(), messages.write.Get()};
    m_process = Start(program, arguments, handles, m_job);
    auto source = std::make_shared<PipeSource>(std::move(messages.read), Utf8FromPath(program));
    m_collector = std::thread([this, source] { CollectMessages(*source); });
}

ChildProcess::~ChildProcess() {
    Kill();
    if (m_collector.joinable()) {
        m_collector.join();
    }
}

bool ChildProcess::EndsWithin(uint32_t milliseconds) {
    m_input.Close();
    return WaitForSingleObject(m_process.Get(), milliseconds) == WAIT_OBJECT_0;
}

int ChildProcess::Wait() {
    EndsWithin(INFINITE);
    DWORD exitCode = 1;
    GetExitCodeProcess(m_process.Get(), &exitCode);
    if (m_collector.joinable()) {
        m_collector.join();
    }
    return static_cast<int>(exitCode);
}

void ChildProcess::Kill() {
    TerminateProcess(m_process.Get(), 1);
    WaitForSingleObject(m_process.Get(), INFINITE);  // so that its files can be removed
}

std::string ChildProcess::Messages() {
    const std::lock_guard lock(m_mutex);
    return m_messages;
}

void ChildProcess::CollectMessages(PipeSource& source) {
    std::array<uint8_t, 1> byte{};
    while (source.Read(byte) == 1) {
        const std::lock_guard lock(m_mutex);
        m_messages += static_cast<char>(byte[0]);
        if (m_messages.size() > kMaxMessageBytes) {
            m_messages.erase(0, m_messages.size() / 2);
        }
    }
}

}  // namespace orvane::tool
