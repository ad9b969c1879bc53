// Pipes, and the program's own standard input and output. Windows only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

// Owns a Windows handle, or none (null).
class Handle {
public:
    Handle() = default;
    explicit Handle(void* handle) : m_handle(handle) {}
    Handle(Handle&& other) noexcept;
    Handle& operator=(Handle&& other) noexcept;
    ~Handle() { Close(); }

    void* Get() const { return m_handle; }
    void Close();

private:
    void* m_handle = nullptr;
};

// Reads some kilobytes ahead, so single bytes are cheap.
class PipeSource : public ByteSource {
public:
    // `name` is used in error messages.
    PipeSource(Handle handle, std::string name);

    size_t Read(std::span<uint8_t> bytes) override;

private:
    size_t TakeBuffered(std::span<uint8_t> bytes);
    size_t ReadSome(std::span<uint8_t> bytes);

    Handle m_handle;
    std::string m_name;
    std::vector<uint8_t> m_buffer;
    size_t m_position = 0;
    size_t m_end = 0;
};

class PipeSink : public ByteSink {
public:
    PipeSink(Handle handle, std::string name);

    bool Write(std::span<const uint8_t> bytes) override;

    // The reader sees the end.
    void Close() { m_handle.Close(); }

private:
    Handle m_handle;
    std::string m_name;
};

// Bytes without line end conversion. Closing these does not close the process's own handles.
PipeSource StandardInput();
PipeSink StandardOutput();

}  // namespace orvane::tool
