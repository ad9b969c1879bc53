// The two compute shaders around the network: image to tensor, and tensor to upscaled image.
#pragma once

#include <array>
#include <cstdint>

#include "gpu/device_resources.h"
#include "gpu/platform.h"

namespace orvane {

// A compute shader that is ready for dispatch. All of them bind 32-bit root constants (b0), one shader-resource view
// (t0) and one unordered-access view (u0), in this order of root parameters.
struct ComputeShader {
    ComPtr<ID3D12RootSignature> rootSignature;
    ComPtr<ID3D12PipelineState> pipelineState;
};

enum RootParameter : UINT { kRootConstants = 0, kRootShaderResource = 1, kRootUnorderedAccess = 2 };

struct LayoutShaders {
    ComputeShader imageToTensor;
    ComputeShader depthToSpace;
};

// Constants of image2tensor, in the order of its constant buffer.
struct ImageLayoutConstants {
    uint32_t height = 0;
    uint32_t width = 0;
    uint32_t useNhwc = 0;
};

// Thread groups that cover `width` x `height` threads; both shaders run in groups of 32 x 16.
struct ThreadGroups {
    uint32_t x;
    uint32_t y;
};
inline ThreadGroups CoverWithGroups(uint32_t width, uint32_t height) {
    return {(width + 31) / 32, (height + 15) / 16};
}

// Builds both shaders and replaces the ones held. 0, or -1 with the failing call logged.
int32_t CreateLayoutShaders(DX::DeviceResources& resources, LayoutShaders& shaders);

}  // namespace orvane
