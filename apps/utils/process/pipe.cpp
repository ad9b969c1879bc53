#include "apps/utils/process/pipe.h"

#include <algorithm>
#include <utility>

#include <windows.h>

#include "apps/utils/failure.h"

namespace orvane::tool {
namespace {

constexpr size_t kBufferBytes = 65536;
// The most bytes of a single call, for all kinds of handles.
constexpr size_t kMaxCallBytes = size_t{16} << 20;

DWORD CallBytes(size_t size) {
    return static_cast<DWORD>(std::min(size, kMaxCallBytes));
}

// A second handle for the same file, which can be closed safely.
Handle Duplicate(DWORD standardHandle, const char* name) {
    HANDLE copy = nullptr;
    const HANDLE process = GetCurrentProcess();
    if (DuplicateHandle(process, GetStdHandle(standardHandle), process, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS) == 0) {
        throw Failure(std::string("There is no ") + name + ".");
    }
    return Handle(copy);
}

}  // namespace

Handle::Handle(Handle&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {
}

Handle& Handle::operator=(Handle&& other) noexcept {
    std::swap(m_handle, other.m_handle);
    return *this;
}

void Handle::Close() {
    if (m_handle != nullptr) {
        CloseHandle(std::exchange(m_handle, nullptr));
    }
}

PipeSource::PipeSource(Handle handle, std::string name)
    : m_handle(std::move(handle)), m_name(std::move(name)), m_buffer(kBufferBytes) {
}

size_t PipeSource::Read(std::span<uint8_t> bytes) {
    size_t count = TakeBuffered(bytes);
    while (count < bytes.size()) {
        const std::span<uint8_t> rest = bytes.subspan(count);
        size_t got = 0;
        if (rest.size() >= m_buffer.size()) {
            got = ReadSome(rest);
        } else {
            m_position = 0;
            m_end = ReadSome(m_buffer);
            got = TakeBuffered(rest);
        }
        if (got == 0) {
            break;
        }
        count += got;
    }
    return count;
}

size_t PipeSource::TakeBuffered(std::span<uint8_t> bytes) {
    const size_t count = std::min(bytes.size(), m_end - m_position);
    std::copy_n(m_buffer.begin() + static_cast<ptrdiff_t>(m_position), count, bytes.begin());
    m_position += count;
    return count;
}

size_t PipeSource::ReadSome(std::span<uint8_t> bytes) {
    DWORD count = 0;
    if (ReadFile(m_handle.Get(), bytes.data(), CallBytes(bytes.size()), &count, nullptr) == 0) {
        const DWORD error = GetLastError();
        if (error != ERROR_BROKEN_PIPE && error != ERROR_HANDLE_EOF) {
            throw Failure(m_name + " cannot be read (code " + std::to_string(error) + ").");
        }
        return 0;
    }
    return count;
}

PipeSink::PipeSink(Handle handle, std::string name) : m_handle(std::move(handle)), m_name(std::move(name)) {
}

bool PipeSink::Write(std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
        DWORD count = 0;
        if (WriteFile(m_handle.Get(), bytes.data(), CallBytes(bytes.size()), &count, nullptr) == 0) {
            const DWORD error = GetLastError();
            if (error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED) {
                return false;
            }
            throw Failure(m_name + " cannot be written" +
                          (error == ERROR_DISK_FULL ? std::string(": the disk is full.")
                                                    : " (code " + std::to_string(error) + ")."));
        }
        bytes = bytes.subspan(count);
    }
    return true;
}

PipeSource StandardInput() {
    return {Duplicate(STD_INPUT_HANDLE, "standard input"), "Standard input"};
}

PipeSink StandardOutput() {
    return {Duplicate(STD_OUTPUT_HANDLE, "standard output"), "Standard output"};
}

}  // namespace orvane::tool
