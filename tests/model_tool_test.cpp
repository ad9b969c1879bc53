// The model tool: half precision numbers, the bilinear model, enciphered containers.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "apps/model_tool/bilinear_model.h"
#include "apps/model_tool/encipher.h"
#include "apps/model_tool/half.h"
#include "apps/utils/failure.h"
#include "model/keys.h"
#include "model/tea.h"
#include "tests/reference_network.h"

namespace orvane::tool {
namespace {

TEST(Half, EveryPatternConvertsToItsValueAndBack) {
    for (uint32_t pattern = 0; pattern <= 0xFFFF; ++pattern) {
        const auto half = static_cast<uint16_t>(pattern);
        const float value = FloatFromHalf(half);
        if ((half & 0x7FFF) > 0x7C00) {
            EXPECT_TRUE(std::isnan(value)) << pattern;
            EXPECT_GT(HalfFromFloat(value) & 0x7FFF, 0x7C00) << pattern;
            continue;
        }
        if ((half & 0x7FFF) == 0x7C00) {
            EXPECT_TRUE(std::isinf(value)) << pattern;
        } else {
            EXPECT_EQ(static_cast<double>(value), test::DecodeHalf(half)) << pattern;
        }
        EXPECT_EQ(std::signbit(value), (half & 0x8000) != 0) << pattern;
        EXPECT_EQ(HalfFromFloat(value), half);
    }
}

TEST(Half, RoundsToNearestAndTiesToEven) {
    for (uint16_t pattern = 0; pattern < 0x7C00; ++pattern) {
        // The step above the largest finite half has the same width, and ends at infinity.
        const double low = test::DecodeHalf(pattern);
        const double high = pattern == 0x7BFF ? 65536.0 : test::DecodeHalf(static_cast<uint16_t>(pattern + 1));
        const auto middle = static_cast<float>((low + high) / 2);
        const int even = pattern + pattern % 2;
        EXPECT_EQ(HalfFromFloat(middle), even);
        EXPECT_EQ(HalfFromFloat(-middle), even | 0x8000);
        EXPECT_EQ(HalfFromFloat(std::nextafter(middle, 0.0F)), pattern);
        EXPECT_EQ(HalfFromFloat(std::nextafter(middle, 1e6F)), pattern + 1);
    }
    EXPECT_EQ(HalfFromFloat(std::numeric_limits<float>::max()), 0x7C00);
    EXPECT_EQ(HalfFromFloat(std::numeric_limits<float>::denorm_min()), 0);
}

TEST(BilinearModel, DoublesWithClampedEdges) {
    struct Case {
        uint32_t width;
        uint32_t height;
        int32_t channels;
        int32_t depth;
    };
    const Case cases[] = {{1, 1, 32, 2}, {1, 5, 32, 2}, {5, 1, 32, 2}, {2, 2, 32, 2},
                          {7, 4, 32, 2}, {7, 4, 27, 1}, {3, 5, 40, 5}};
    for (const auto& [width, height, channels, depth] : cases) {
        SCOPED_TRACE(testing::Message() << width << "x" << height << ", " << channels << " channels, depth " << depth);
        const std::vector<uint8_t> file = MakeBilinearModel(static_cast<uint32_t>(channels), depth);
        test::ReferenceNetwork network = test::MakeRandomNetwork(channels, depth, 1);
        ASSERT_EQ(file.size(), test::ModelFile(network).size());
        test::ReadModelFile(file, network);
        const test::Picture picture = test::MakeRandomPicture(width, height, 1);
        // Half a code value, and an eighth for the rounding to half precision.
        EXPECT_LE(test::DistanceFromBilinear(test::DoublePicture(network, picture), picture), 0.625);
    }
    EXPECT_THROW(MakeBilinearModel(26, 2), Failure);
    EXPECT_THROW(MakeBilinearModel(1025, 2), Failure);
    EXPECT_THROW(MakeBilinearModel(32, 0), Failure);
    EXPECT_THROW(MakeBilinearModel(32, 15), Failure);
}

std::vector<uint8_t> Deciphered(const std::vector<uint8_t>& container, std::string_view key) {
    std::vector<uint8_t> plain(container.size());
    auto length = static_cast<int32_t>(plain.size());
    EXPECT_TRUE(TeaDecryptBuffer(container.data(), length, plain.data(), length, key));
    plain.resize(static_cast<size_t>(length));
    return plain;
}

TEST(Encipher, GivesEveryLengthBackAndNeverLooksTheSame) {
    std::mt19937 random(1);
    for (size_t length = 0; length <= 40; ++length) {
        SCOPED_TRACE(length);
        std::vector<uint8_t> plain(length);
        std::generate(plain.begin(), plain.end(), [&] { return static_cast<uint8_t>(random() & 0xFF); });

        const std::vector<uint8_t> once = EncipherContainer(plain, kFileKey, random);
        EXPECT_EQ(once.size() % 8, 0U);
        EXPECT_EQ(Deciphered(once, kFileKey), plain);
        EXPECT_NE(EncipherContainer(plain, kFileKey, random), once);
    }
}

}  // namespace
}  // namespace orvane::tool
