// The network: a chain of 3 x 3 convolutions. The host chooses its length and width with two numbers.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace orvane {

// Identifies a network: weights that were read for one configuration are valid only for an equal one.
struct NetworkConfig {
    uint32_t layerCount = 4;
    uint32_t channels = 32;  // feature channels of every hidden layer
    uint32_t kernelSize = 3;
    uint8_t modelFlag = 1;  // only compared, no other meaning
    std::array<uint8_t, 3> reserved{};
};
static_assert(sizeof(NetworkConfig) == 16);

// Whether the two describe the same network. The reserved bytes do not count.
bool operator==(const NetworkConfig& a, const NetworkConfig& b);

struct LayerShape {
    uint32_t inChannels = 0;
    uint32_t outChannels = 0;
    uint32_t kernelSize = 0;
    std::array<uint8_t, 2> layerFlags{1, 1};  // the first: the layer has a bias; the second is not read

    bool HasBias() const { return layerFlags[0] != 0; }
};

// Four sizes in the order N, C, H, W; of a filter O, I, kH, kW.
using TensorShape = std::array<uint32_t, 4>;

inline TensorShape FilterShape(const LayerShape& layer) {
    return {layer.outChannels, layer.inChannels, layer.kernelSize, layer.kernelSize};
}
inline TensorShape BiasShape(const LayerShape& layer) {
    return {1, layer.outChannels, 1, 1};
}

inline constexpr uint32_t kMaxLayerCount = 16;
inline constexpr uint32_t kMaxChannels = 1024;

// The configuration for the two numbers of the open record. They are not checked: any pair gives a configuration.
NetworkConfig MakeNetworkConfig(int32_t modelChannels, int32_t modelDepth);

// The shape of one layer. Layer 0 reads the 3 colours. The last layer writes the 12 channels that depth-to-space turns
// into 3 colours at twice the size. All others keep `channels`. In a network of one layer, that layer writes `channels`
// instead of 12.
LayerShape LayerShapeAt(const NetworkConfig& config, uint32_t layerIndex);

// Replaces `layers` with the configuration's layer table. A layer count that no check accepts gives an empty table
// instead of one of gigabytes. Always true.
bool BuildLayerTable(const NetworkConfig& config, std::vector<LayerShape>& layers);

// Whether the engine accepts the configuration: 1..16 layers, 1..1024 channels.
bool IsValidNetworkConfig(const NetworkConfig& config);

}  // namespace orvane
