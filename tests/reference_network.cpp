#include "tests/reference_network.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace orvane::test {
namespace {

constexpr int kMantissaBits = 10;
constexpr int kLeastExponent = -14;

uint16_t EncodeHalf(double value) {
    const double rounded = RoundToHalf(value);
    const uint16_t sign = std::signbit(rounded) ? 0x8000 : 0;
    const double magnitude = std::abs(rounded);
    const int exponent = magnitude == 0 ? kLeastExponent : std::max(std::ilogb(magnitude), kLeastExponent);
    const auto mantissa = static_cast<int>(std::ldexp(magnitude, kMantissaBits - exponent));
    // A mantissa with its leading bit carries the exponent field up by one; a subnormal has none.
    const int bits = ((exponent - kLeastExponent) << kMantissaBits) + mantissa;
    return static_cast<uint16_t>(sign | bits);
}

// One channel after the other, each row by row.
struct Planes {
    uint32_t channels = 0;
    int width = 0;
    int height = 0;
    std::vector<double> values;

    Planes(uint32_t channelCount, int planeWidth, int planeHeight)
        : channels(channelCount),
          width(planeWidth),
          height(planeHeight),
          values(size_t{channelCount} * static_cast<size_t>(planeWidth) * static_cast<size_t>(planeHeight)) {}

    double& At(uint32_t c, int y, int x) {
        return values[(c * static_cast<size_t>(height) + static_cast<size_t>(y)) * static_cast<size_t>(width) +
                      static_cast<size_t>(x)];
    }
    // Zero outside the plane.
    double Padded(uint32_t c, int y, int x) { return y < 0 || x < 0 || y >= height || x >= width ? 0.0 : At(c, y, x); }
};

Planes Convolve(const ReferenceLayer& layer, Planes& input) {
    std::vector<double> filter(layer.filter.size());
    std::transform(layer.filter.begin(), layer.filter.end(), filter.begin(), DecodeHalf);
    Planes output(layer.outChannels, input.width, input.height);
    for (uint32_t o = 0; o < layer.outChannels; ++o) {
        for (int y = 0; y < input.height; ++y) {
            for (int x = 0; x < input.width; ++x) {
                double sum = DecodeHalf(layer.bias[o]);
                const double* weight = &filter[size_t{o} * layer.inChannels * 9];
                for (uint32_t c = 0; c < layer.inChannels; ++c) {
                    for (int tap = 0; tap < 9; ++tap) {
                        sum += *weight++ * input.Padded(c, y + tap / 3 - 1, x + tap % 3 - 1);
                    }
                }
                output.At(o, y, x) = RoundToHalf(std::clamp(sum, 0.0, 1.0));
            }
        }
    }
    return output;
}

}  // namespace

double DecodeHalf(uint16_t bits) {
    const int exponent = (bits >> kMantissaBits) & 31;
    const int mantissa = bits & 1023;
    const double magnitude = exponent == 0 ? std::ldexp(mantissa, kLeastExponent - kMantissaBits)
                                           : std::ldexp(mantissa + 1024, exponent - 25);
    return (bits & 0x8000) != 0 ? -magnitude : magnitude;
}

double RoundToHalf(double value) {
    if (value == 0) {
        return value;
    }
    const int exponent = std::max(std::ilogb(value), kLeastExponent);
    const double step = std::ldexp(1.0, exponent - kMantissaBits);
    return std::nearbyint(value / step) * step;  // ties to even
}

ReferenceNetwork MakeRandomNetwork(int32_t channels, int32_t depth, uint32_t seed) {
    std::mt19937 random(seed);
    ReferenceNetwork network{channels, depth, {}};
    const auto layerCount = static_cast<size_t>(depth + 2);
    for (size_t i = 0; i < layerCount; ++i) {
        ReferenceLayer layer;
        layer.inChannels = i == 0 ? 3 : static_cast<uint32_t>(channels);
        layer.outChannels = i != 0 && i + 1 == layerCount ? 12 : static_cast<uint32_t>(channels);
        std::normal_distribution<double> weight(0.0, 0.8 / std::sqrt(9.0 * layer.inChannels));
        std::uniform_real_distribution<double> bias(0.3, 0.7);
        layer.filter.resize(size_t{layer.outChannels} * layer.inChannels * 9);
        layer.bias.resize(layer.outChannels);
        std::generate(layer.filter.begin(), layer.filter.end(), [&] { return EncodeHalf(weight(random)); });
        std::generate(layer.bias.begin(), layer.bias.end(), [&] { return EncodeHalf(bias(random)); });
        network.layers.push_back(std::move(layer));
    }
    return network;
}

std::vector<uint8_t> ModelFile(const ReferenceNetwork& network) {
    std::vector<uint8_t> file;
    const auto append = [&file](const std::vector<uint16_t>& values) {
        for (const uint16_t value : values) {
            file.push_back(static_cast<uint8_t>(value & 0xFF));
            file.push_back(static_cast<uint8_t>(value >> 8));
        }
    };
    for (const ReferenceLayer& layer : network.layers) {
        append(layer.filter);
        append(layer.bias);
    }
    return file;
}

Picture MakeRandomPicture(uint32_t width, uint32_t height, uint32_t seed) {
    std::mt19937 random(seed);
    Picture picture(width, height);
    std::generate(picture.pixels.begin(), picture.pixels.end(), [&] { return static_cast<uint8_t>(random()); });
    return picture;
}

Picture DoublePicture(const ReferenceNetwork& network, const Picture& picture) {
    Planes planes(3, static_cast<int>(picture.width), static_cast<int>(picture.height));
    for (uint32_t y = 0; y < picture.height; ++y) {
        for (uint32_t x = 0; x < picture.width; ++x) {
            for (uint32_t c = 0; c < 3; ++c) {
                planes.At(c, static_cast<int>(y), static_cast<int>(x)) =
                    RoundToHalf(picture.At(x, y)[2 - c] / 255.0);  // channel 0 is blue
            }
        }
    }
    for (const ReferenceLayer& layer : network.layers) {
        planes = Convolve(layer, planes);
    }
    Picture doubled(picture.width * 2, picture.height * 2);
    for (uint32_t y = 0; y < doubled.height; ++y) {
        for (uint32_t x = 0; x < doubled.width; ++x) {
            uint8_t* const pixel = doubled.At(x, y);
            for (uint32_t c = 0; c < 3; ++c) {
                const uint32_t channel = c * 4 + (y % 2) * 2 + x % 2;
                const double value = planes.At(channel, static_cast<int>(y / 2), static_cast<int>(x / 2));
                pixel[2 - c] = static_cast<uint8_t>(std::lround(value * 255.0));
            }
            pixel[3] = 255;
        }
    }
    return doubled;
}

}  // namespace orvane::test
