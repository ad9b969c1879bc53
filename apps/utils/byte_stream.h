// Streams of bytes: pipes, files, and memory in tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvane::tool {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    // Fills `bytes` from the front and returns the number of bytes read, which is smaller only at the end of the
    // stream. Throws Failure when reading fails.
    virtual size_t Read(std::span<uint8_t> bytes) = 0;
};

class ByteSink {
public:
    virtual ~ByteSink() = default;

    // Writes all bytes. False when the reader has gone. Throws Failure when writing fails for another reason.
    virtual bool Write(std::span<const uint8_t> bytes) = 0;
};

}  // namespace orvane::tool
