#include "apps/models/network_size.h"

#include <algorithm>

#include "model/network.h"

namespace orvane::tool {
namespace {

constexpr int32_t kChannelsOfOneLayer = 12;  // three colours of 2 x 2 pixels
constexpr uint64_t kHalfBytes = 2;

uint64_t LayerBytes(const LayerShape& layer) {
    const uint64_t filterValues = uint64_t{layer.outChannels} * layer.inChannels * layer.kernelSize * layer.kernelSize;
    return (filterValues + layer.outChannels) * kHalfBytes;
}

}  // namespace

bool IsValidNetworkSize(const NetworkSize& size) {
    return size.channels >= 1 && size.channels <= kMaxModelChannels && size.depth >= kMinModelDepth &&
           size.depth <= kMaxModelDepth;
}

uint64_t PlainModelBytes(const NetworkSize& size) {
    const NetworkConfig config = MakeNetworkConfig(size.channels, size.depth);
    const uint64_t first = LayerBytes(LayerShapeAt(config, 0));
    if (config.layerCount == 1) {
        return first;
    }
    const uint64_t last = LayerBytes(LayerShapeAt(config, config.layerCount - 1));
    const uint64_t between = config.layerCount > 2 ? LayerBytes(LayerShapeAt(config, 1)) : 0;
    return first + (config.layerCount - 2) * between + last;
}

std::vector<NetworkSize> NetworksOfLength(uint64_t plainBytes) {
    std::vector<NetworkSize> fitting;
    for (int32_t depth = kMaxModelDepth; depth >= kMinModelDepth; --depth) {
        for (int32_t channels = 1; channels <= kMaxModelChannels; ++channels) {
            const NetworkSize size{channels, depth};
            const bool givesImages = depth > kMinModelDepth || channels == kChannelsOfOneLayer;
            if (givesImages && PlainModelBytes(size) == plainBytes) {
                fitting.push_back(size);
            }
        }
    }
    return fitting;
}

std::optional<NetworkSize> LikeliestNetwork(const std::vector<NetworkSize>& sizes) {
    if (std::find(sizes.begin(), sizes.end(), NetworkSize{}) != sizes.end()) {
        return NetworkSize{};
    }
    return sizes.size() == 1 ? std::optional(sizes.front()) : std::nullopt;
}

std::string OptionsText(const NetworkSize& size) {
    return "--channels " + std::to_string(size.channels) + " --depth " + std::to_string(size.depth);
}

std::string OptionsText(const std::vector<NetworkSize>& sizes) {
    std::string text;
    for (const NetworkSize& size : sizes) {
        text += (text.empty() ? "" : " or ") + OptionsText(size);
    }
    return text;
}

}  // namespace orvane::tool
