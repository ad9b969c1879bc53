// A stream that reads from memory.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "apps/utils/byte_stream.h"

namespace orvane::tool {

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string bytes) : m_bytes(std::move(bytes)) {}

    size_t Read(std::span<uint8_t> bytes) override {
        const std::string_view taken = std::string_view(m_bytes).substr(m_position, bytes.size());
        std::copy(taken.begin(), taken.end(), bytes.begin());
        m_position += taken.size();
        return taken.size();
    }

    std::string Rest() const { return m_bytes.substr(m_position); }

private:
    std::string m_bytes;
    size_t m_position = 0;
};

}  // namespace orvane::tool
