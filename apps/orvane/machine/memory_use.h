// The memory use of this process.
#pragma once

#include <cstdint>
#include <optional>

namespace orvane::tool {

struct MemoryUse {
    uint64_t processBytes = 0;              // private system memory
    std::optional<uint64_t> graphicsBytes;  // adapter memory of this process, if Windows reports it
};

// `adapterIndex` is the adapter's index in Windows' order.
MemoryUse MeasureMemory(uint32_t adapterIndex);

}  // namespace orvane::tool
