#include "engine/gpu_buffer.h"

namespace orvane {

HRESULT CreateGpuBuffer(ID3D12Device& device, uint64_t byteSize, D3D12_RESOURCE_STATES initialState,
                        ComPtr<ID3D12Resource>& buffer) {
    const CD3DX12_HEAP_PROPERTIES heapProperties(D3D12_HEAP_TYPE_DEFAULT);
    const CD3DX12_RESOURCE_DESC desc =
        CD3DX12_RESOURCE_DESC::Buffer(byteSize, D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS);
    return device.CreateCommittedResource(&heapProperties, D3D12_HEAP_FLAG_NONE, &desc, initialState, nullptr,
                                          IID_PPV_ARGS(buffer.ReleaseAndGetAddressOf()));
}

uint64_t BufferSize(ID3D12Resource& buffer) {
    return GetDesc(&buffer).Width;
}

}  // namespace orvane
