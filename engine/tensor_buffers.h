// The GPU buffers of the tensors between the layers.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/tensor_plan.h"
#include "gpu/platform.h"

namespace orvane {

struct TensorBuffers {
    ComPtr<ID3D12Resource> m_modelInput;
    // Sized for the upscaled image as a tensor. Nothing reads or writes it: the last shader writes the output texture.
    ComPtr<ID3D12Resource> m_modelOutput;
    // Entry i holds the output of layer i. The last entry stays empty. Every layer has its own buffer, so bindings are
    // made only once.
    std::vector<ComPtr<ID3D12Resource>> m_modelIntermediateResult;
};

// Creates the buffers of a plan, replaces the ones held and logs their total size. 0, or -1 with the reason logged.
int32_t CreateTensorBuffers(ID3D12Device& device, const NetworkPlan& plan, TensorBuffers& buffers);

}  // namespace orvane
