// Where descriptors lie, in words.
#pragma once

#include <string>

#include "gpu/platform.h"

namespace orvane::test {

// Remembers where a heap's descriptors begin, until another heap begins there.
void RememberHeap(ID3D12Device& device, const D3D12_DESCRIPTOR_HEAP_DESC& desc, ID3D12DescriptorHeap* heap);

// "slot 1 of DescriptorHeap 2", or "nowhere".
std::string SlotOf(D3D12_CPU_DESCRIPTOR_HANDLE handle);
std::string SlotOf(D3D12_GPU_DESCRIPTOR_HANDLE handle);

}  // namespace orvane::test
