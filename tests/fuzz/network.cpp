// The layer table, the layout of the model file and the buffer plan, for arbitrary numbers from a host.
#include "engine/tensor_plan.h"
#include "model/weight_loader.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider fuzz(data, size);
    const auto channels = fuzz.ConsumeIntegral<int32_t>(), depth = fuzz.ConsumeIntegral<int32_t>();
    const orvane::FrameSize frame{fuzz.ConsumeIntegral<uint32_t>(), fuzz.ConsumeIntegral<uint32_t>()};
    const auto config = orvane::MakeNetworkConfig(channels, depth);
    std::vector<orvane::LayerShape> layers;
    BuildLayerTable(config, layers);
    Require(IsValidNetworkConfig(config) == (depth >= -1 && depth <= 14 && channels >= 1 && channels <= 1024));
    if (!IsValidNetworkConfig(config)) {
        return 0;
    }
    const auto offsets = CalcLayerOffsets(config);
    const auto plan = PlanNetwork(frame, layers, static_cast<orvane::TensorLayout>(fuzz.ConsumeBool()));
    const bool fits = frame.height > 0 && frame.width - 1 < UINT32_MAX / 1024 / frame.height;  // no stride wraps around
    const auto bytes = [](const auto& shape) { return uint64_t{2} * shape[0] * shape[1] * shape[2] * shape[3]; };
    for (uint32_t i = 0, position = 0; i < config.layerCount; ++i) {
        Require(offsets[i].weightOffset == position && offsets[i].weightBytes == bytes(FilterShape(layers.at(i))));
        position += offsets[i].weightBytes;
        Require(offsets[i].biasOffset == position && offsets[i].biasBytes == bytes(BiasShape(layers[i])));
        position += offsets[i].biasBytes;
        Require(!fits || plan.bufferSizes[i] == (bytes(plan.LayerInputShape(i)) + 3) / 4 * 4);
    }
    Require(!fits || config.layerCount == 1 || plan.modelOutputSize == plan.bufferSizes[config.layerCount]);
    return 0;
}
