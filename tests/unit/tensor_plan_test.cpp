// Shapes, strides and byte sizes of the network's tensors, and the order of filters.
#include "engine/tensor_plan.h"

#include <array>
#include <bit>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "tests/support/log_capture.h"

namespace orvane {
namespace {

constexpr TensorLayout kLayouts[] = {TensorLayout::kNchw, TensorLayout::kNhwc};

TEST(TensorStrides, PackElementsInTheOrderOfTheLayout) {
    const TensorStrides nchw = CalcStrides({2, 3, 4, 5}, TensorLayout::kNchw);
    const TensorStrides nhwc = CalcStrides({2, 3, 4, 5}, TensorLayout::kNhwc);
    for (uint32_t i = 0; i < 120; ++i) {
        const uint32_t n = i / 60;
        EXPECT_EQ(n * nchw[0] + i / 20 % 3 * nchw[1] + i / 5 % 4 * nchw[2] + i % 5 * nchw[3], i);
        EXPECT_EQ(n * nhwc[0] + i % 3 * nhwc[1] + i / 15 % 4 * nhwc[2] + i / 3 % 5 * nhwc[3], i);
    }
    EXPECT_EQ(CalcStrides({1, 32, 1, 1}, TensorLayout::kNchw), (TensorStrides{32, 1, 1, 1}));
    EXPECT_EQ(CalcStrides({1, 32, 1, 1}, TensorLayout::kNhwc), (TensorStrides{32, 1, 32, 32}));
}

TEST(TensorSize, IsInWholeWordsAndMayExceed32Bits) {
    for (const TensorLayout layout : kLayouts) {
        EXPECT_EQ(CalcTensorSize({1, 3, 1, 1}, layout), 8U);
        EXPECT_EQ(CalcTensorSize({1, 3, 65535, 65535}, layout), 25'769'017'352U);
    }
}

NetworkPlan PlanOf(uint32_t width, uint32_t height, int32_t channels, int32_t depth, TensorLayout layout) {
    std::vector<LayerShape> layers;
    BuildLayerTable(MakeNetworkConfig(channels, depth), layers);
    return PlanNetwork({width, height}, layers, layout);
}

// In the order of the shader's constant buffer.
std::array<uint32_t, 7> Constants(const NetworkPlan& plan) {
    return std::bit_cast<std::array<uint32_t, 7>>(plan.depthToSpace);
}

TEST(NetworkPlan, FullHdThroughFourLayers) {
    for (const TensorLayout layout : kLayouts) {
        const auto useNhwc = static_cast<uint32_t>(layout);
        SCOPED_TRACE(useNhwc);
        const NetworkPlan plan = PlanOf(1920, 1080, 32, 2, layout);
        const TensorShape hidden{1, 32, 1080, 1920};
        EXPECT_EQ(plan.inputShape, (TensorShape{1, 3, 1080, 1920}));
        EXPECT_EQ(plan.outputShape, (TensorShape{1, 3, 2160, 3840}));
        EXPECT_EQ(plan.shapes,
                  (std::vector<TensorShape>{hidden, hidden, hidden, {1, 12, 1080, 1920}, {1, 3, 2160, 3840}, {}}));
        EXPECT_EQ(plan.LayerInputShape(0), plan.inputShape);
        EXPECT_EQ(plan.LayerInputShape(3), hidden);
        EXPECT_EQ(plan.modelInputSize, 12'441'600U);
        EXPECT_EQ(plan.modelOutputSize, 49'766'400U);
        EXPECT_EQ(plan.bufferSizes,
                  (std::vector<uint64_t>{12'441'600, 132'710'400, 132'710'400, 132'710'400, 49'766'400, 0}));
        EXPECT_EQ(plan.lastLayer, 3U);
        EXPECT_EQ(Constants(plan), (std::array<uint32_t, 7>{2, 1, 12, 1080, 1920, 3, useNhwc}));
    }
}

TEST(NetworkPlan, OneLayerKeepsItsChannels) {
    const NetworkPlan plan = PlanOf(5, 7, 34, -1, TensorLayout::kNhwc);
    EXPECT_EQ(plan.shapes, (std::vector<TensorShape>{{1, 34, 7, 5}, {1, 8, 14, 10}, {}}));
    EXPECT_EQ(plan.bufferSizes, (std::vector<uint64_t>{212, 2380, 0}));
    EXPECT_EQ(plan.modelOutputSize, 840U);
    EXPECT_EQ(plan.lastLayer, 0U);
    EXPECT_EQ(Constants(plan), (std::array<uint32_t, 7>{2, 1, 34, 7, 5, 8, 1}));
}

TEST(NetworkPlan, CountsTheElementsOfTheTensorsThatShadersSee) {
    EXPECT_EQ(PlanOf(8192, 5461, 32, 2, TensorLayout::kNchw).ViewElements(), 12ULL * 8192 * 5461);
    EXPECT_EQ(PlanOf(512, 257, 1024, -1, TensorLayout::kNhwc).ViewElements(), 1024ULL * 512 * 257);
    EXPECT_EQ(PlanOf(6, 4, 1, -1, TensorLayout::kNchw).ViewElements(), 3ULL * 6 * 4);
}

TEST(NetworkPlan, WarnsOfOutputsAboveAThousandMillionBytes) {
    const LogEntries warning{{ORVANE_LOG_ERROR,
                              "CalcOutputSize - POTENTIAL OVERFLOW: Output buffer size is suspiciously large: "
                              "1000000008 bytes"}};
    for (const auto& [height, expected] : {std::pair{41'666'666U, LogEntries{}}, {41'666'667U, warning}}) {
        LogCapture log;
        PlanOf(1, height, 4, 0, TensorLayout::kNchw);
        EXPECT_EQ(log.Take(), expected) << height;
    }
}

TEST(ArrangeFilter, PutsInputsInnermostForNhwcOnly) {
    std::vector<uint16_t> values;  // decimal digits: output, input, row, column
    std::vector<uint16_t> transposed;
    for (int i = 0; i < 120; ++i) {
        values.push_back(static_cast<uint16_t>(i / 60 * 1000 + i / 20 % 3 * 100 + i / 5 % 4 * 10 + i % 5));
        transposed.push_back(static_cast<uint16_t>(i / 60 * 1000 + i % 3 * 100 + i / 15 % 4 * 10 + i / 3 % 5));
    }
    EXPECT_EQ(ArrangeFilter(values, {2, 3, 4, 5}, TensorLayout::kNchw), values);
    EXPECT_EQ(ArrangeFilter(values, {2, 3, 4, 5}, TensorLayout::kNhwc), transposed);
}

}  // namespace
}  // namespace orvane
