// Buffers and textures.
#pragma once

#include <cstdint>

#include "gpu/platform.h"

namespace orvane {

// Creates a resource in its own memory and replaces the one held.
HRESULT CreateGpuResource(ID3D12Device& device, D3D12_HEAP_TYPE heapType, const D3D12_RESOURCE_DESC& desc,
                          D3D12_RESOURCE_STATES initialState, ComPtr<ID3D12Resource>& resource);

// The same for a buffer of `byteSize` bytes that shaders and operators read and write.
HRESULT CreateGpuBuffer(ID3D12Device& device, uint64_t byteSize, D3D12_RESOURCE_STATES initialState,
                        ComPtr<ID3D12Resource>& buffer);

// 0, or -1 with the failure of one of the functions above logged. Some buffers have more specific log lines instead.
int32_t CheckGpuResource(HRESULT hr);

// The size of a buffer in bytes.
uint64_t BufferSize(ID3D12Resource& buffer);

}  // namespace orvane
