// Shapes, strides and byte sizes of every tensor between the layers. Portable: no GPU needed.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "engine/frame_size.h"
#include "model/network.h"

namespace orvane {

// How tensors lie in memory. Shapes are always given in the order N, C, H, W; the layout is in the strides alone.
enum class TensorLayout : int32_t { kNchw = 0, kNhwc = 1 };

// Elements between neighbours along N, C, H, W.
using TensorStrides = std::array<uint32_t, 4>;

TensorStrides CalcStrides(const TensorShape& shape, TensorLayout layout);

// Bytes of the buffer that a tensor in half precision takes, packed in the given layout and rounded up to a multiple of
// 4.
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
    // Entry i is the output of layer i, entry layerCount the output of depth-to-space; one entry more is zero.
    std::vector<TensorShape> shapes;
    // Bytes. Entry i is the buffer that layer i reads, entry i + 1 the one that it writes; layerCount + 2 entries.
    std::vector<uint64_t> bufferSizes;
    uint64_t modelInputSize = 0;
    uint64_t modelOutputSize = 0;
    DepthToSpaceConstants depthToSpace;
    uint32_t lastLayer = 0;

    const TensorShape& LayerInputShape(uint32_t layerIndex) const {
        return layerIndex == 0 ? inputShape : shapes[layerIndex - 1];
    }
    // Elements of the larger one of the two tensors that the layout shaders see through views: the first and the last.
    // Right for frames that fit into textures.
    uint64_t ViewElements() const;
};

// What of the plan does not depend on the layers: the bytes of the input tensor, the shape of the upscaled image as a
// tensor, and `outputSize` raised to that tensor's bytes. A size that looks like a mistake is logged and kept.
void CalcOutputSize(const TensorShape& inputShape, TensorLayout layout, uint64_t& inputSize, TensorShape& outputShape,
                    uint64_t& outputSize);

// `layers` must not be empty. Absurd sizes give absurd plans, which Direct3D refuses.
NetworkPlan PlanNetwork(FrameSize inputSize, const std::vector<LayerShape>& layers, TensorLayout layout);

// A filter's values, {O, I, kH, kW} as in the model file, in the order of the layout: unchanged for NCHW, as
// {O, kH, kW, I} for NHWC.
std::vector<uint16_t> ArrangeFilter(std::vector<uint16_t> values, const TensorShape& filterShape, TensorLayout layout);

}  // namespace orvane
