#include "tests/support/reference_network.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "apps/models/half.h"

namespace orvane::test {
namespace {

double RoundToHalf(double value) {
    return DecodeHalf(tool::HalfFromFloat(static_cast<float>(value)));
}

// Channel by channel, each of them row by row.
struct Planes {
    size_t width = 0;
    size_t height = 0;
    std::vector<double> values;

    // Zero outside. Coordinates below 0 wrap around to large ones.
    double At(size_t channel, size_t x, size_t y) const {
        return x < width && y < height ? values[(channel * height + y) * width + x] : 0.0;
    }
};

Planes Convolve(const ReferenceLayer& layer, const Planes& input) {
    std::vector<double> filter(layer.filter.size());
    std::transform(layer.filter.begin(), layer.filter.end(), filter.begin(), DecodeHalf);
    Planes output{input.width, input.height, {}};
    for (size_t o = 0; o < layer.outChannels; ++o) {
        for (size_t i = 0; i < input.width * input.height; ++i) {
            double sum = DecodeHalf(layer.bias[o]);
            const double* weight = &filter[o * layer.inChannels * 9];
            for (size_t c = 0; c < layer.inChannels; ++c) {
                for (size_t tap = 0; tap < 9; ++tap) {
                    sum += *weight++ * input.At(c, i % input.width + tap % 3 - 1, i / input.width + tap / 3 - 1);
                }
            }
            output.values.push_back(RoundToHalf(std::clamp(sum, 0.0, 1.0)));
        }
    }
    return output;
}

}  // namespace

double DecodeHalf(uint16_t bits) {
    const int exponent = bits >> 10 & 31;
    const int mantissa = bits & 1023;
    const double magnitude = exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(mantissa + 1024, exponent - 25);
    return (bits & 0x8000) != 0 ? -magnitude : magnitude;
}

ReferenceNetwork MakeRandomNetwork(int32_t channels, int32_t depth, uint32_t seed) {
    std::mt19937 random(seed);
    ReferenceNetwork network{channels, depth, {}};
    const auto layerCount = static_cast<size_t>(depth + 2);
    for (size_t i = 0; i < layerCount; ++i) {
        ReferenceLayer layer;
        layer.inChannels = i == 0 ? 3 : static_cast<uint32_t>(channels);
        layer.outChannels = i != 0 && i + 1 == layerCount ? 12 : static_cast<uint32_t>(channels);
        std::normal_distribution<float> weight(0.0F, 0.8F / std::sqrt(9.0F * static_cast<float>(layer.inChannels)));
        std::uniform_real_distribution<float> bias(0.3F, 0.7F);
        layer.filter.resize(size_t{layer.outChannels} * layer.inChannels * 9);
        layer.bias.resize(layer.outChannels);
        std::generate(layer.filter.begin(), layer.filter.end(), [&] { return tool::HalfFromFloat(weight(random)); });
        std::generate(layer.bias.begin(), layer.bias.end(), [&] { return tool::HalfFromFloat(bias(random)); });
        network.layers.push_back(std::move(layer));
    }
    return network;
}

std::vector<uint8_t> ModelFile(const ReferenceNetwork& network) {
    std::vector<uint8_t> file;
    for (const ReferenceLayer& layer : network.layers) {
        for (const auto* const values : {&layer.filter, &layer.bias}) {
            const auto* const bytes = reinterpret_cast<const uint8_t*>(values->data());
            file.insert(file.end(), bytes, bytes + 2 * values->size());
        }
    }
    return file;
}

void ReadModelFile(const std::vector<uint8_t>& file, ReferenceNetwork& network) {
    const uint8_t* next = file.data();
    for (ReferenceLayer& layer : network.layers) {
        for (auto* const values : {&layer.filter, &layer.bias}) {
            std::memcpy(values->data(), next, 2 * values->size());
            next += 2 * values->size();
        }
    }
}

Image MakeRandomImage(uint32_t width, uint32_t height, uint32_t seed) {
    std::mt19937 random(seed);
    Image image(width, height);
    std::generate(image.pixels.begin(), image.pixels.end(), [&] { return static_cast<uint8_t>(random()); });
    return image;
}

Image UpscaleImage(const ReferenceNetwork& network, const Image& image) {
    Planes planes{image.width, image.height, {}};
    for (const size_t colour : {2U, 1U, 0U}) {  // channel 0 is blue
        for (size_t i = colour; i < image.pixels.size(); i += 4) {
            planes.values.push_back(RoundToHalf(image.pixels[i] / 255.0));
        }
    }
    for (const ReferenceLayer& layer : network.layers) {
        planes = Convolve(layer, planes);
    }
    Image upscaled(image.width * 2, image.height * 2);
    for (uint32_t y = 0; y < upscaled.height; ++y) {
        for (uint32_t x = 0; x < upscaled.width; ++x) {
            uint8_t* const pixel = upscaled.At(x, y);
            for (size_t c = 0; c < 3; ++c) {
                const double value = planes.At(c * 4 + y % 2 * 2 + x % 2, x / 2, y / 2);
                pixel[2 - c] = static_cast<uint8_t>(std::lround(value * 255.0));
            }
            pixel[3] = 255;
        }
    }
    return upscaled;
}

double DistanceFromBilinear(const Image& upscaled, const Image& image) {
    double largest = 0;
    for (size_t i = 0; i < upscaled.pixels.size(); ++i) {
        const size_t x = i / 4 % upscaled.width;
        const size_t y = i / 4 / upscaled.width;
        // Rows and columns with the edge repeated once on every side.
        const auto at = [&](size_t column, size_t row) {
            const size_t insideX = std::clamp<size_t>(column, 1, image.width) - 1;
            const size_t insideY = std::clamp<size_t>(row, 1, image.height) - 1;
            return i % 4 == 3 ? 255.0 : image.pixels[(insideY * image.width + insideX) * 4 + i % 4];
        };
        const size_t column = x / 2 + 1;
        const size_t row = y / 2 + 1;
        const size_t otherColumn = x % 2 == 0 ? column - 1 : column + 1;
        const size_t otherRow = y % 2 == 0 ? row - 1 : row + 1;
        const double value = 0.75 * (0.75 * at(column, row) + 0.25 * at(otherColumn, row)) +
                             0.25 * (0.75 * at(column, otherRow) + 0.25 * at(otherColumn, otherRow));
        largest = std::max(largest, std::abs(upscaled.pixels[i] - value));
    }
    return largest;
}

}  // namespace orvane::test
