#include "gpu/descriptor_heap.h"

#include <stdexcept>

namespace orvane {

HRESULT DescriptorHeap::Create(ID3D12Device& device, uint32_t count) {
    constexpr D3D12_DESCRIPTOR_HEAP_TYPE kType = D3D12_DESCRIPTOR_HEAP_TYPE_CBV_SRV_UAV;
    Release();
    const D3D12_DESCRIPTOR_HEAP_DESC desc{kType, count, D3D12_DESCRIPTOR_HEAP_FLAG_SHADER_VISIBLE, 0};
    const HRESULT hr = device.CreateDescriptorHeap(&desc, IID_PPV_ARGS(m_heap.GetAddressOf()));
    if (FAILED(hr)) {
        return hr;
    }
    m_cpuStart = GetCpuHeapStart(m_heap.Get());
    m_gpuStart = GetGpuHeapStart(m_heap.Get());
    m_count = count;
    m_increment = device.GetDescriptorHandleIncrementSize(kType);
    return S_OK;
}

void DescriptorHeap::Release() {
    m_heap.Reset();
    m_count = 0;
}

D3D12_CPU_DESCRIPTOR_HANDLE DescriptorHeap::GetCpuHandle(uint32_t index) const {
    if (index >= m_count) {
        throw std::out_of_range("D3DX12_CPU_DESCRIPTOR_HANDLE");
    }
    return {m_cpuStart.ptr + size_t{index} * m_increment};
}

D3D12_GPU_DESCRIPTOR_HANDLE DescriptorHeap::GetGpuHandle(uint32_t index) const {
    if (index >= m_count) {
        throw std::out_of_range("D3DX12_GPU_DESCRIPTOR_HANDLE");
    }
    return {m_gpuStart.ptr + uint64_t{index} * m_increment};
}

}  // namespace orvane
