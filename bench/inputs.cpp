#include "bench/inputs.h"

#include <cmath>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

#include "apps/models/half.h"

namespace orvane::bench {
namespace {

double WeightCount(const LayerShape& layer) {
    return 9.0 * layer.inChannels * layer.outChannels;
}

}  // namespace

std::vector<LayerShape> LayersOf(NetworkNumbers numbers) {
    std::vector<LayerShape> layers;
    BuildLayerTable(MakeNetworkConfig(numbers.channels, numbers.depth), layers);
    return layers;
}

double FrameOperations(NetworkNumbers numbers, FrameSize size) {
    double perPixel = 0.0;
    for (const LayerShape& layer : LayersOf(numbers)) {
        perPixel += 2.0 * WeightCount(layer);
    }
    return perPixel * size.width * size.height;
}

double FrameBytes(NetworkNumbers numbers, FrameSize size) {
    constexpr double kHalf = 2.0;
    double perPixel = 3 * kHalf + kBytesPerPixel + kBytesPerPixel * kScale * kScale + 12 * kHalf;
    double weights = 0.0;
    for (const LayerShape& layer : LayersOf(numbers)) {
        perPixel += kHalf * (layer.inChannels + layer.outChannels);
        weights += kHalf * (WeightCount(layer) + layer.outChannels);
    }
    return perPixel * size.width * size.height + weights;
}

std::vector<uint8_t> MakeModel(NetworkNumbers numbers) {
    std::mt19937 random(1);
    std::vector<uint8_t> bytes;
    const auto append = [&bytes](float value) {
        const uint16_t half = tool::HalfFromFloat(value);
        bytes.push_back(static_cast<uint8_t>(half & 0xFF));
        bytes.push_back(static_cast<uint8_t>(half >> 8));
    };
    for (const LayerShape& layer : LayersOf(numbers)) {
        std::normal_distribution<float> weight(0.0F, 0.8F / std::sqrt(9.0F * static_cast<float>(layer.inChannels)));
        std::uniform_real_distribution<float> bias(0.3F, 0.7F);
        for (uint32_t i = 0; i < 9 * layer.inChannels * layer.outChannels; ++i) {
            append(weight(random));
        }
        for (uint32_t i = 0; i < layer.outChannels; ++i) {
            append(bias(random));
        }
    }
    return bytes;
}

std::vector<uint8_t> MakePicture(FrameSize size) {
    std::mt19937 random(2);
    std::vector<uint8_t> pixels;
    pixels.reserve(size_t{size.width} * size.height * kBytesPerPixel);
    for (uint32_t y = 0; y < size.height; ++y) {
        for (uint32_t x = 0; x < size.width; ++x) {
            for (const uint32_t value :
                 {x * 255 / size.width, y * 255 / size.height, uint32_t{random() & 0xFF}, 255U}) {
                pixels.push_back(static_cast<uint8_t>(value));
            }
        }
    }
    return pixels;
}

std::vector<uint8_t> LoadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return bytes;
}

void SaveBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace orvane::bench
