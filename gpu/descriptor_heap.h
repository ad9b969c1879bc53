// A shader-visible heap of CBV/SRV/UAV descriptors.
#pragma once

#include <cstdint>

#include "gpu/platform.h"

namespace orvane {

class DescriptorHeap {
public:
    // Creates a heap of `count` descriptors and replaces the one held.
    HRESULT Create(ID3D12Device& device, uint32_t count);
    void Release();

    ID3D12DescriptorHeap* Get() const { return m_heap.Get(); }

    // Handles of one descriptor. An index outside the heap throws std::out_of_range with the handle type's name.
    D3D12_CPU_DESCRIPTOR_HANDLE GetCpuHandle(uint32_t index) const;
    D3D12_GPU_DESCRIPTOR_HANDLE GetGpuHandle(uint32_t index) const;

private:
    ComPtr<ID3D12DescriptorHeap> m_heap;
    D3D12_CPU_DESCRIPTOR_HANDLE m_cpuStart{};
    D3D12_GPU_DESCRIPTOR_HANDLE m_gpuStart{};
    uint32_t m_count = 0;
    uint32_t m_increment = 0;  // bytes from one descriptor to the next
};

}  // namespace orvane
