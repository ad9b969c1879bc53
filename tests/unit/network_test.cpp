// The layer table and the layout of the model file.
#include "model/network.h"

#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "model/weight_loader.h"

namespace orvane {
namespace {

TEST(Network, LayersAndTheirPlaceInTheModelFile) {
    struct Case {
        int32_t channels;
        int32_t depth;
        // in and out channels, kernel size, filter offset and bytes, bias offset and bytes
        std::vector<std::array<uint32_t, 7>> layers;
    };
    const Case cases[] = {{32,
                           2,
                           {{3, 32, 3, 0, 1728, 1728, 64},
                            {32, 32, 3, 1792, 18432, 20224, 64},
                            {32, 32, 3, 20288, 18432, 38720, 64},
                            {32, 12, 3, 38784, 6912, 45696, 24}}},
                          {5, 0, {{3, 5, 3, 0, 270, 270, 10}, {5, 12, 3, 280, 1080, 1360, 24}}},
                          {5, -1, {{3, 5, 3, 0, 270, 270, 10}}},
                          {5, -2, {}}};
    std::vector<LayerShape> layers(7);
    for (const auto& [channels, depth, expected] : cases) {
        const NetworkConfig config = MakeNetworkConfig(channels, depth);
        EXPECT_TRUE(BuildLayerTable(config, layers));
        const std::vector<LayerOffsets> offsets = CalcLayerOffsets(config);
        ASSERT_EQ(layers.size(), offsets.size());
        std::vector<std::array<uint32_t, 7>> found;
        for (size_t i = 0; i < layers.size(); ++i) {
            found.push_back({layers[i].inChannels, layers[i].outChannels, layers[i].kernelSize, offsets[i].weightOffset,
                             offsets[i].weightBytes, offsets[i].biasOffset, offsets[i].biasBytes});
            EXPECT_TRUE(layers[i].HasBias());
        }
        EXPECT_EQ(found, expected) << channels << " channels, depth " << depth;
    }
    EXPECT_FALSE((LayerShape{3, 32, 3, {0, 1}}.HasBias()));
    EXPECT_TRUE((LayerShape{3, 32, 3, {2, 0}}.HasBias()));
}

}  // namespace
}  // namespace orvane
