// How much memory this process takes.
#pragma once

#include <cstdint>
#include <optional>

namespace orvane::tool {

struct MemoryUse {
    uint64_t processBytes = 0;              // of the system's memory, private to the process
    std::optional<uint64_t> graphicsBytes;  // of the adapter's, by all of the process; where Windows tells
};

// `adapterIndex` in the order in which Windows lists the adapters.
MemoryUse MeasureMemory(uint32_t adapterIndex);

}  // namespace orvane::tool
