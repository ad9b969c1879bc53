#include "tests/hooks/descriptors.h"

#include <map>

#include "tests/hooks/holdings.h"

namespace orvane::test {
namespace {

struct Heap {
    std::string name;
    uint64_t byteSize;
    UINT increment;
};
using Heaps = std::map<uint64_t, Heap>;  // by the first descriptor

Heaps& HeapsOf(bool forGpu) {
    static Heaps cpuHeaps;
    static Heaps gpuHeaps;
    return forGpu ? gpuHeaps : cpuHeaps;
}

std::string SlotOf(const Heaps& heaps, uint64_t handle) {
    auto next = heaps.upper_bound(handle);
    if (next == heaps.begin()) {
        return "nowhere";
    }
    const auto& [start, heap] = *--next;
    const uint64_t offset = handle - start;
    if (offset >= heap.byteSize || offset % heap.increment != 0) {
        return "nowhere";
    }
    return "slot " + std::to_string(offset / heap.increment) + " of " + heap.name;
}

}  // namespace

void RememberHeap(ID3D12Device& device, const D3D12_DESCRIPTOR_HEAP_DESC& desc, ID3D12DescriptorHeap* heap) {
    const UINT increment = device.GetDescriptorHandleIncrementSize(desc.Type);
    const Heap entry{NameOf(heap), uint64_t{desc.NumDescriptors} * increment, increment};
    HeapsOf(false)[GetCpuHeapStart(heap).ptr] = entry;
    HeapsOf(true)[GetGpuHeapStart(heap).ptr] = entry;
}

std::string SlotOf(D3D12_CPU_DESCRIPTOR_HANDLE handle) {
    return SlotOf(HeapsOf(false), handle.ptr);
}

std::string SlotOf(D3D12_GPU_DESCRIPTOR_HANDLE handle) {
    return SlotOf(HeapsOf(true), handle.ptr);
}

}  // namespace orvane::test
