#include "bench/workers/inputs.h"

#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace orvane::bench {

std::vector<LayerShape> NetworkNumbers::Layers() const {
    std::vector<LayerShape> layers;
    BuildLayerTable(Config(), layers);
    return layers;
}

std::vector<uint8_t> MakeImage(FrameSize size) {
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
