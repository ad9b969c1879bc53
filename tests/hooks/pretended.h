// What the library is told of the machine: that operators need temporary and persistent memory, as they do on graphics
// cards, and the first of them the most descriptors, and whose the adapter is.
#pragma once

#include <cstddef>
#include <vector>

#include "gpu/platform.h"

namespace orvane::test {

// From now on every adapter is this vendor's; 0 for the real one.
void PretendVendor(UINT vendorId);
void AlterDescription(DXGI_ADAPTER_DESC1& desc);

// How many buffers have been bound because of the pretended needs.
int PretendedBindings();

// An entry of an interface's function table, and what takes its place.
struct MethodReplacement {
    IID iid;
    size_t slot;
    void* hook;
};
std::vector<MethodReplacement> MemoryMethods();

}  // namespace orvane::test
