// Counts the calls that liborvane.dll makes, through the function tables of Direct3D's and DirectML's objects and its
// own table of imported functions. The library knows nothing of it. 64-bit x86 only.
#pragma once

#include <cstddef>
#include <vector>

namespace orvane::bench {

// What is counted, in the order of the counts; bench/sections/memory.py has names for them. References to objects
// (IUnknown) are not, and what DirectML calls itself is counted apart.
enum Counter : size_t {
    kHeap,  // allocations
    kDevice,
    kQueue,
    kAllocator,
    kFence,
    kList,
    kResource,
    kDirectML,
    kInsideDirectML,
    kCounterCount
};

// Begins to count, from now on and for the life of the process. A device stays with it, whose function tables are those
// of the library's objects too. Throws when there is none.
void StartCounting();

// The calls since the last answer, by Counter.
std::vector<double> TakeCounts();

}  // namespace orvane::bench
