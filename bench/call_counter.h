// Counts the calls that liborvane.dll makes, through the function tables of Direct3D's and DirectML's objects and its
// own table of imported functions. The library knows nothing of it. 64-bit x86 only.
#pragma once

#include <array>
#include <memory>
#include <vector>

namespace orvane::bench {

// What is counted, in the order of the counts. References to objects (IUnknown) are not.
inline constexpr std::array kCounterNames{
    "allocations on the heap", "ID3D12Device", "ID3D12CommandQueue",
    "ID3D12CommandAllocator",  "ID3D12Fence",  "ID3D12GraphicsCommandList",
    "ID3D12Resource",          "DirectML",     "Direct3D calls of DirectML's own",
};

// There is one. It stays for the life of the process, and so do a device and a few objects on it: their function tables
// are those of the library's objects too.
class CallCounter {
public:
    // Throws when there is no device.
    CallCounter();
    ~CallCounter();

    void Start();
    // The calls since Start, by kCounterNames.
    std::vector<double> Stop() const;

private:
    struct Objects;
    std::unique_ptr<Objects> m_objects;
};

}  // namespace orvane::bench
