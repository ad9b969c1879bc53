// Buffers in GPU memory that shaders and operators read and write.
#pragma once

#include <cstdint>

#include "gpu/platform.h"

namespace orvane {

// Makes a buffer of `byteSize` bytes in the default heap, with unordered access, replacing the one held.
HRESULT CreateGpuBuffer(ID3D12Device& device, uint64_t byteSize, D3D12_RESOURCE_STATES initialState,
                        ComPtr<ID3D12Resource>& buffer);

// The size of a buffer as it reports it.
uint64_t BufferSize(ID3D12Resource& buffer);

}  // namespace orvane
