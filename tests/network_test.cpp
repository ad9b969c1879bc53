// The layer table, the limits of a configuration, and the layout of its model file.
#include "model/network.h"

#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
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

TEST(Network, AcceptsOneTo16LayersAndOneTo1024Channels) {
    constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
    constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
    struct Case {
        int32_t channels;
        int32_t depth;
        bool isValid;
    };
    const Case cases[] = {{1, -1, true},        {1024, 14, true},         {0, 2, false},        {1025, 2, false},
                          {-1, 2, false},       {kHighest, 2, false},     {32, 15, false},      {32, -2, false},
                          {32, kLowest, false}, {32, kLowest + 2, false}, {32, kHighest, false}};
    for (const auto& [channels, depth, isValid] : cases) {
        SCOPED_TRACE(testing::Message() << channels << " channels, depth " << depth);
        const NetworkConfig config = MakeNetworkConfig(channels, depth);
        EXPECT_EQ(IsValidNetworkConfig(config), isValid);
        // The table is built before the configuration is judged: absurd counts must not exhaust the memory.
        std::vector<LayerShape> layers;
        EXPECT_TRUE(BuildLayerTable(config, layers));
        EXPECT_LE(layers.capacity(), 100'000U);
    }
}

}  // namespace
}  // namespace orvane
