#include "model/network.h"

namespace orvane {
namespace {

constexpr uint32_t kColourChannels = 3;
constexpr uint32_t kOutputChannels = 12;  // 3 colours x 2 x 2 pixels
constexpr uint32_t kKernelSize = 3;

// Far above what is valid, so that every realistic table is built before it is checked.
constexpr uint32_t kMaxTableLayers = 4096;

}  // namespace

bool operator==(const NetworkConfig& a, const NetworkConfig& b) {
    return a.layerCount == b.layerCount && a.channels == b.channels && a.kernelSize == b.kernelSize &&
           a.modelFlag == b.modelFlag;
}

NetworkConfig MakeNetworkConfig(int32_t modelChannels, int32_t modelDepth) {
    NetworkConfig config;
    config.layerCount = static_cast<uint32_t>(modelDepth) + 2;
    config.channels = static_cast<uint32_t>(modelChannels);
    config.kernelSize = kKernelSize;
    config.modelFlag = 1;
    return config;
}

LayerShape LayerShapeAt(const NetworkConfig& config, uint32_t layerIndex) {
    const bool isFirst = layerIndex == 0;
    const bool isLast = layerIndex == config.layerCount - 1;
    LayerShape layer;
    layer.inChannels = isFirst ? kColourChannels : config.channels;
    layer.outChannels = isLast && !isFirst ? kOutputChannels : config.channels;
    layer.kernelSize = config.kernelSize;
    return layer;
}

bool BuildLayerTable(const NetworkConfig& config, std::vector<LayerShape>& layers) {
    layers.clear();
    if (config.layerCount > kMaxTableLayers) {
        return true;
    }
    layers.reserve(config.layerCount);
    for (uint32_t i = 0; i < config.layerCount; ++i) {
        layers.push_back(LayerShapeAt(config, i));
    }
    return true;
}

bool IsValidNetworkConfig(const NetworkConfig& config) {
    return config.layerCount >= 1 && config.layerCount <= kMaxLayerCount && config.channels >= 1 &&
           config.channels <= kMaxChannels;
}

}  // namespace orvane
