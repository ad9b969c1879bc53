// Shapes, strides and byte sizes of every tensor between the layers. Portable: no GPU needed.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "engine/frame_size.h"
#include "model/network.h"

namespace orvane {

// How tensors lie in memory. Shapes are always in the order N, C, H, W. Only the strides depend on the layout.
enum class TensorLayout : int32_t { kNchw = 0, kNhwc = 1 };

// Elements between neighbours along N, C, H, W.
using TensorStrides = std::array<uint32_t, 4>;

TensorStrides CalcStrides(const TensorShape& shape, TensorLayout layout);

// The buffer size of a packed half-precision tensor in bytes, rounded up to a multiple of 4.
uint64_t CalcTensorSize(const TensorShape& shape, TensorLayout layout);

// The shader constants of the last step, in the order of its constant buffer.
struct DepthToSpaceConstants {
    uint32_t blockSize = 0;
    uint32_t inputN = 0;
    uint32_t inputC = 0;
    uint32_t inputH = 0;
    uint32_t inputW = 0;
    uint32_t outputC = 0;
    uint32_t useNhwc = 0;
};

// Everything about the network that follows from the frame size, the layer table and the layout.
struct NetworkPlan {
    TensorShape inputShape{};
    TensorShape outputShape{};  // the upscaled image as a tensor
    // Entry i is the output of layer i, and entry layerCount the output of depth-to-space. The last entry is zero.
    std::vector<TensorShape> shapes;
    // In bytes. Layer i reads buffer i and writes buffer i + 1. There are layerCount + 2 entries.
    std::vector<uint64_t> bufferSizes;
    uint64_t modelInputSize = 0;
    uint64_t modelOutputSize = 0;
    DepthToSpaceConstants depthToSpace;
    uint32_t lastLayer = 0;

    const TensorShape& LayerInputShape(uint32_t layerIndex) const {
        return layerIndex == 0 ? inputShape : shapes[layerIndex - 1];
    }
    // Elements of the larger one of the two tensors that the layout shaders access through views: the first and the
    // last. Correct for frames that fit into textures.
    uint64_t ViewElements() const;
};

// The part of the plan that does not depend on the layers: the bytes of the input tensor, the shape of the upscaled
// image as a tensor, and `outputSize` raised to that tensor's bytes. A size that looks like a mistake is logged and
// kept.
void CalcOutputSize(const TensorShape& inputShape, TensorLayout layout, uint64_t& inputSize, TensorShape& outputShape,
                    uint64_t& outputSize);

// `layers` must not be empty. Absurd sizes give absurd plans, which Direct3D rejects.
NetworkPlan PlanNetwork(FrameSize inputSize, const std::vector<LayerShape>& layers, TensorLayout layout);

// Reorders a filter's values from {O, I, kH, kW}, as in the model file, to the layout: unchanged for NCHW,
// {O, kH, kW, I} for NHWC.
std::vector<uint16_t> ArrangeFilter(std::vector<uint16_t> values, const TensorShape& filterShape, TensorLayout layout);

}  // namespace orvane
