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

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

TEST(Network, LayersAndTheirPlaceInTheModelFile) {
    struct Case {
        int32_t channels;
        int32_t depth;
        // in and out channels, filter offset and bytes, bias offset and bytes
        std::vector<std::array<uint32_t, 6>> layers;
    };
    const Case cases[] = {{32,
                           2,
                           {{3, 32, 0, 1728, 1728, 64},
                            {32, 32, 1792, 18432, 20224, 64},
                            {32, 32, 20288, 18432, 38720, 64},
                            {32, 12, 38784, 6912, 45696, 24}}},
                          {5, 0, {{3, 5, 0, 270, 270, 10}, {5, 12, 280, 1080, 1360, 24}}},
                          {5, -1, {{3, 5, 0, 270, 270, 10}}},
                          {5, -2, {}}};
    std::vector<LayerShape> layers(7);
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << test.channels << " channels, depth " << test.depth);
        const NetworkConfig config = MakeNetworkConfig(test.channels, test.depth);
        EXPECT_TRUE(BuildLayerTable(config, layers));
        const std::vector<LayerOffsets> offsets = CalcLayerOffsets(config);
        ASSERT_EQ(layers.size(), test.layers.size());
        ASSERT_EQ(offsets.size(), test.layers.size());
        for (size_t i = 0; i < layers.size(); ++i) {
            const std::array<uint32_t, 6> found{layers[i].inChannels,   layers[i].outChannels, offsets[i].weightOffset,
                                                offsets[i].weightBytes, offsets[i].biasOffset, offsets[i].biasBytes};
            EXPECT_EQ(found, test.layers[i]) << "layer " << i;
            EXPECT_EQ(layers[i].kernelSize, 3U);
            EXPECT_TRUE(layers[i].HasBias());
        }
    }
    EXPECT_FALSE((LayerShape{3, 32, 3, {0, 1}}.HasBias()));
    EXPECT_TRUE((LayerShape{3, 32, 3, {2, 0}}.HasBias()));
}

TEST(Network, AcceptsOneTo16LayersAndOneTo1024Channels) {
    struct Case {
        int32_t channels;
        int32_t depth;
        bool isValid;
    };
    const Case cases[] = {
        {32, 2, true},        {32, 14, true},       {32, 15, false},     {32, -1, true},       {32, -2, false},
        {32, -3, false},      {1, 2, true},         {0, 2, false},       {1024, 2, true},      {1025, 2, false},
        {-1, 2, false},       {kHighest, 2, false}, {kLowest, 2, false}, {32, kLowest, false}, {32, kLowest + 2, false},
        {32, kHighest, false}};
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << test.channels << " channels, depth " << test.depth);
        const NetworkConfig config = MakeNetworkConfig(test.channels, test.depth);
        EXPECT_EQ(IsValidNetworkConfig(config), test.isValid);
        // The table is built before the configuration is judged: absurd counts must not exhaust the memory.
        std::vector<LayerShape> layers;
        EXPECT_TRUE(BuildLayerTable(config, layers));
        EXPECT_LE(layers.capacity(), 100'000U);
        EXPECT_TRUE(!test.isValid || layers.size() == config.layerCount);
    }
}

}  // namespace
}  // namespace orvane
