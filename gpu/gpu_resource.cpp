#include "gpu/gpu_resource.h"

#include "api/log.h"

namespace orvane {

HRESULT CreateGpuResource(ID3D12Device& device, D3D12_HEAP_TYPE heapType, const D3D12_RESOURCE_DESC& desc,
                          D3D12_RESOURCE_STATES initialState, ComPtr<ID3D12Resource>& resource) {
    const CD3DX12_HEAP_PROPERTIES heapProperties(heapType);
    return device.CreateCommittedResource(&heapProperties, D3D12_HEAP_FLAG_NONE, &desc, initialState, nullptr,
                                          IID_PPV_ARGS(resource.ReleaseAndGetAddressOf()));
}

HRESULT CreateGpuBuffer(ID3D12Device& device, uint64_t byteSize, D3D12_RESOURCE_STATES initialState,
                        ComPtr<ID3D12Resource>& buffer) {
    const auto desc = CD3DX12_RESOURCE_DESC::Buffer(byteSize, D3D12_RESOURCE_FLAG_ALLOW_UNORDERED_ACCESS);
    return CreateGpuResource(device, D3D12_HEAP_TYPE_DEFAULT, desc, initialState, buffer);
}

int32_t CheckGpuResource(HRESULT hr) {
    if (CheckHResult(hr, "CreateCommittedResource") != 0) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to CreateCommittedResource, error code: %d", -1);
        return -1;
    }
    return 0;
}

uint64_t BufferSize(ID3D12Resource& buffer) {
    return GetDesc(&buffer).Width;
}

}  // namespace orvane
