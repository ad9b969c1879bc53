// The model tool: half precision numbers, the bilinear model, enciphered containers.
#include <algorithm>
#include <array>
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

namespace orvane::tool {
namespace {

// By the definition of the format, in double arithmetic.
double ValueOfFiniteHalf(uint32_t half) {
    const auto exponent = static_cast<int>(half >> 10 & 31);
    const double mantissa = half & 0x3FF;
    const double magnitude = exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024.0 + mantissa, exponent - 25);
    return (half & 0x8000) != 0 ? -magnitude : magnitude;
}

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
            EXPECT_EQ(static_cast<double>(value), ValueOfFiniteHalf(pattern)) << pattern;
        }
        EXPECT_EQ(std::signbit(value), (half & 0x8000) != 0) << pattern;
        EXPECT_EQ(HalfFromFloat(value), half);
    }
}

TEST(Half, RoundsToNearestAndTiesToEven) {
    for (uint32_t pattern = 0; pattern < 0x7C00; ++pattern) {
        // The step above the largest finite half has the same width, and ends at infinity.
        const double low = ValueOfFiniteHalf(pattern);
        const double high = pattern == 0x7BFF ? 65536.0 : ValueOfFiniteHalf(pattern + 1);
        const auto middle = static_cast<float>((low + high) / 2);
        const uint32_t even = pattern % 2 == 0 ? pattern : pattern + 1;
        EXPECT_EQ(HalfFromFloat(middle), even);
        EXPECT_EQ(HalfFromFloat(-middle), even | 0x8000);
        EXPECT_EQ(HalfFromFloat(std::nextafter(middle, 0.0F)), pattern);
        EXPECT_EQ(HalfFromFloat(std::nextafter(middle, 1e6F)), pattern + 1);
    }
    EXPECT_EQ(HalfFromFloat(std::numeric_limits<float>::max()), 0x7C00);
    EXPECT_EQ(HalfFromFloat(std::numeric_limits<float>::denorm_min()), 0);
}

// Planes of one value per pixel.
struct Planes {
    int width;
    int height;
    std::vector<std::vector<float>> channels;

    float At(size_t channel, int x, int y) const {
        const bool inside = x >= 0 && y >= 0 && x < width && y < height;
        return inside ? channels[channel][static_cast<size_t>(y * width + x)] : 0.0F;
    }
    float AtNearest(size_t channel, int x, int y) const {
        return At(channel, std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1));
    }
};

Planes RandomPicture(int width, int height) {
    std::mt19937 random(static_cast<uint32_t>(width * 100 + height));
    Planes picture{width, height, std::vector<std::vector<float>>(3)};
    for (auto& plane : picture.channels) {
        for (int i = 0; i < width * height; ++i) {
            plane.push_back(FloatFromHalf(HalfFromFloat(static_cast<float>(random() % 256) / 255.0F)));
        }
    }
    return picture;
}

// Runs the network that a plain model file describes, on the CPU.
class ModelRunner {
public:
    explicit ModelRunner(const std::vector<uint8_t>& file) : m_file(file) {}

    Planes RunLayer(const Planes& input, size_t outChannels) {
        const std::vector<float> filter = ReadHalves(outChannels * input.channels.size() * 9);
        const std::vector<float> bias = ReadHalves(outChannels);
        Planes output{input.width, input.height, {}};
        for (size_t out = 0; out < outChannels; ++out) {
            output.channels.emplace_back();
            const float* taps = &filter[out * input.channels.size() * 9];
            for (int i = 0; i < input.width * input.height; ++i) {
                const double sum = bias[out] + Convolve(input, i % input.width, i / input.width, taps);
                const auto clamped = static_cast<float>(std::clamp(sum, 0.0, 1.0));
                output.channels.back().push_back(FloatFromHalf(HalfFromFloat(clamped)));
            }
        }
        return output;
    }

    size_t UnreadBytes() const { return m_file.size() - m_position; }

private:
    std::vector<float> ReadHalves(size_t count) {
        std::vector<float> values(count);
        for (float& value : values) {
            value = FloatFromHalf(static_cast<uint16_t>(m_file.at(m_position) | m_file.at(m_position + 1) << 8));
            m_position += 2;
        }
        return values;
    }

    static double Convolve(const Planes& input, int x, int y, const float* taps) {
        double sum = 0;
        for (size_t in = 0; in < input.channels.size(); ++in) {
            for (int tap = 0; tap < 9; ++tap) {
                sum +=
                    static_cast<double>(*taps++) * static_cast<double>(input.At(in, x + tap % 3 - 1, y + tap / 3 - 1));
            }
        }
        return sum;
    }

    const std::vector<uint8_t>& m_file;
    size_t m_position = 0;
};

// The result pixel (x, y) by the textbook: sample positions at pixel centres, neighbours outside repeat the
// edge.
double Bilinear(const Planes& picture, size_t channel, int x, int y) {
    const double sourceX = (x + 0.5) / 2 - 0.5;
    const double sourceY = (y + 0.5) / 2 - 0.5;
    const int left = static_cast<int>(std::floor(sourceX));
    const int top = static_cast<int>(std::floor(sourceY));
    const double right = sourceX - left;
    const double bottom = sourceY - top;
    const auto at = [&](int dx, int dy) {
        return static_cast<double>(picture.AtNearest(channel, left + dx, top + dy));
    };
    return (at(0, 0) * (1 - right) + at(1, 0) * right) * (1 - bottom) +
           (at(0, 1) * (1 - right) + at(1, 1) * right) * bottom;
}

struct BilinearCase {
    int width;
    int height;
    uint32_t channels;
    int32_t depth;
};

void PrintTo(const BilinearCase& test, std::ostream* stream) {
    *stream << test.width << "x" << test.height << ", " << test.channels << " channels, depth " << test.depth;
}

class BilinearModel : public testing::TestWithParam<BilinearCase> {};

TEST_P(BilinearModel, DoublesWithClampedEdges) {
    const BilinearCase test = GetParam();
    const Planes picture = RandomPicture(test.width, test.height);
    const std::vector<uint8_t> file = MakeBilinearModel(test.channels, test.depth);
    ModelRunner runner(file);
    Planes tensor = picture;
    for (int32_t layer = 0; layer <= test.depth; ++layer) {
        tensor = runner.RunLayer(tensor, test.channels);
    }
    tensor = runner.RunLayer(tensor, 12);
    EXPECT_EQ(runner.UnreadBytes(), 0U);

    // The only error is the result's rounding to half precision: an eighth of a code value at most.
    constexpr double kHalfStep = 1.0 / 4096;
    for (size_t colour = 0; colour < 3; ++colour) {
        for (int y = 0; y < 2 * test.height; ++y) {
            for (int x = 0; x < 2 * test.width; ++x) {
                const size_t channel = colour * 4 + static_cast<size_t>(y % 2 * 2 + x % 2);
                EXPECT_NEAR(static_cast<double>(tensor.At(channel, x / 2, y / 2)), Bilinear(picture, colour, x, y),
                            kHalfStep)
                    << "colour " << colour << " at " << x << ", " << y;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, BilinearModel,
                         testing::Values(BilinearCase{1, 1, 32, 2}, BilinearCase{1, 5, 32, 2},
                                         BilinearCase{5, 1, 32, 2}, BilinearCase{2, 2, 32, 2},
                                         BilinearCase{7, 4, 32, 2}, BilinearCase{7, 4, 27, 1},
                                         BilinearCase{3, 5, 40, 5}));

TEST(BilinearModelLimits, RefusesTooFewAndTooMany) {
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

TEST(Encipher, RoundTripOfEveryLength) {
    std::mt19937 random(1);
    for (size_t length = 0; length <= 40; ++length) {
        SCOPED_TRACE(length);
        std::vector<uint8_t> plain(length);
        std::generate(plain.begin(), plain.end(), [&] { return static_cast<uint8_t>(random() & 0xFF); });

        const std::vector<uint8_t> once = EncipherContainer(plain, kFileKey, random);
        EXPECT_EQ(once.size() % 8, 0U);
        EXPECT_EQ(Deciphered(once, kFileKey), plain);

        const std::vector<uint8_t> twice = EncipherContainer(once, kOuterKey, random);
        EXPECT_EQ(Deciphered(Deciphered(twice, kOuterKey), kFileKey), plain);
    }
}

TEST(Encipher, EqualFilesDoNotLookAlike) {
    std::mt19937 random(1);
    const std::vector<uint8_t> plain(16, 7);
    EXPECT_NE(EncipherContainer(plain, kFileKey, random), EncipherContainer(plain, kFileKey, random));
}

}  // namespace
}  // namespace orvane::tool
