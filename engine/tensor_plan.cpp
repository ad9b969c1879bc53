#include "engine/tensor_plan.h"

#include <algorithm>

#include "api/log.h"

namespace orvane {
namespace {

constexpr uint32_t kBlockSize = kScale;

void Raise(uint64_t& size, uint64_t atLeast) {
    size = std::max(size, atLeast);
}

}  // namespace

TensorStrides CalcStrides(const TensorShape& shape, TensorLayout layout) {
    const auto [n, c, h, w] = shape;
    if (layout == TensorLayout::kNhwc) {
        return {c * h * w, 1, w * c, c};
    }
    return {c * h * w, h * w, w, 1};
}

uint64_t CalcTensorSize(const TensorShape& shape, TensorLayout layout) {
    const TensorStrides strides = CalcStrides(shape, layout);
    uint64_t lastElement = 0;
    for (size_t i = 0; i < shape.size(); ++i) {
        lastElement += (uint64_t{shape[i]} - 1) * strides[i];
    }
    return ((lastElement + 1) * sizeof(uint16_t) + 3) / 4 * 4;
}

uint64_t NetworkPlan::ViewElements() const {
    return std::max(modelInputSize, bufferSizes[lastLayer + 1]) / sizeof(uint16_t);
}

void CalcOutputSize(const TensorShape& inputShape, TensorLayout layout, uint64_t& inputSize, TensorShape& outputShape,
                    uint64_t& outputSize) {
    constexpr uint64_t kSuspiciousSize = 1'000'000'000;
    inputSize = CalcTensorSize(inputShape, layout);
    outputShape = {1, 3, kScale * inputShape[2], kScale * inputShape[3]};
    const uint64_t byteSize = CalcTensorSize(outputShape, layout);
    if (byteSize > kSuspiciousSize) {
        LogMessage(ORVANE_LOG_ERROR,
                   "CalcOutputSize - POTENTIAL OVERFLOW: Output buffer size is suspiciously large: %llu bytes",
                   static_cast<unsigned long long>(byteSize));
    }
    Raise(outputSize, byteSize);
}

NetworkPlan PlanNetwork(FrameSize inputSize, const std::vector<LayerShape>& layers, TensorLayout layout) {
    const auto layerCount = static_cast<uint32_t>(layers.size());
    NetworkPlan plan;
    plan.shapes.resize(layerCount + 2);
    plan.bufferSizes.resize(layerCount + 2);

    plan.inputShape = {1, 3, inputSize.height, inputSize.width};
    CalcOutputSize(plan.inputShape, layout, plan.modelInputSize, plan.outputShape, plan.modelOutputSize);

    for (uint32_t i = 0; i < layerCount; ++i) {
        const TensorShape& input = plan.LayerInputShape(i);
        // Height and width stay the same: 3 x 3 kernels with a padding of 1 keep them.
        plan.shapes[i] = {input[0], layers[i].outChannels, input[2], input[3]};
        Raise(plan.bufferSizes[i], CalcTensorSize(input, layout));
        Raise(plan.bufferSizes[i + 1], CalcTensorSize(plan.shapes[i], layout));
    }

    plan.lastLayer = layerCount - 1;
    const auto [n, c, h, w] = plan.shapes[plan.lastLayer];
    plan.shapes[layerCount] = {n, c / (kBlockSize * kBlockSize), kBlockSize * h, kBlockSize * w};
    plan.depthToSpace = {kBlockSize, n, c, h, w, c / (kBlockSize * kBlockSize), layout == TensorLayout::kNhwc};
    return plan;
}

std::vector<uint16_t> ArrangeFilter(std::vector<uint16_t> values, const TensorShape& filterShape, TensorLayout layout) {
    if (layout == TensorLayout::kNchw) {
        return values;
    }
    const size_t outputs = filterShape[0];
    const size_t inputs = filterShape[1];
    const size_t height = filterShape[2];
    const size_t width = filterShape[3];
    std::vector<uint16_t> arranged;
    arranged.reserve(values.size());
    for (size_t o = 0; o < outputs; ++o) {
        for (size_t y = 0; y < height; ++y) {
            for (size_t x = 0; x < width; ++x) {
                for (size_t c = 0; c < inputs; ++c) {
                    arranged.push_back(values[((o * inputs + c) * height + y) * width + x]);
                }
            }
        }
    }
    return arranged;
}

}  // namespace orvane
