// Bytes that come and go one after another: pipes, files, and memory in a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace orvane::tool {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    // Fills `bytes` from the front, all of it unless the end comes first, and returns how many were read. Throws
    // Failure when reading fails.
    virtual size_t Read(std::span<uint8_t> bytes) = 0;
};

class ByteSink {
public:
    virtual ~ByteSink() = default;

    // Writes all of it. False when nobody reads any more; throws Failure when writing fails for another reason.
    virtual bool Write(std::span<const uint8_t> bytes) = 0;
};

}  // namespace orvane::tool
