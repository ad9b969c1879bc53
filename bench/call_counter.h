// Counts the calls that liborvane.dll makes, through the function tables of Direct3D's and DirectML's objects and its
// own table of imported functions. The library knows nothing of it. 64-bit x86 only.
#pragma once

#include <array>
#include <vector>

namespace orvane::bench {

// What is counted, in the order of the counts. References to objects (IUnknown) are not.
inline constexpr std::array kCounterNames{
    "allocations on the heap", "ID3D12Device", "ID3D12CommandQueue",
    "ID3D12CommandAllocator",  "ID3D12Fence",  "ID3D12GraphicsCommandList",
    "ID3D12Resource",          "DirectML",     "Direct3D calls of DirectML's own",
};

// Begins to count, from now on and for the life of the process. A device stays with it, whose function tables are those
// of the library's objects too. Throws when there is none.
void StartCounting();

// The calls since the last answer, by kCounterNames.
std::vector<double> TakeCounts();

}  // namespace orvane::bench
