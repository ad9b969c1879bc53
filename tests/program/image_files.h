// Images and image files for the tests of the program.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "apps/orvane/frames/image.h"
#include "apps/orvane/images/image_reader.h"
#include "apps/orvane/images/image_writer.h"
#include "apps/utils/files/long_path.h"
#include "tests/support/reference_network.h"

namespace orvane::tool {

// A TIFF file with uncompressed channels in the order R, G, B, A.
struct Tiff {
    uint16_t width = 2;
    uint16_t height = 3;
    uint16_t bits = 8;
    uint16_t orientation = 1;
    std::string colourSpace = "RGB ";  // of the colour profile
    std::function<uint32_t(uint32_t x, uint32_t y, uint32_t channel)> value =
        [](uint32_t x, uint32_t y, uint32_t channel) { return channel == 3 ? 255U : 2 * y + x + 1; };

    std::vector<uint8_t> Bytes() const {
        std::vector<uint8_t> bytes{'I', 'I', 42, 0, 8, 0, 0, 0};
        constexpr uint16_t kEntries = 13;
        constexpr uint32_t kBitsAt = 10 + 12 * kEntries + 4;
        constexpr uint32_t kDpiAt = kBitsAt + 8;
        constexpr uint32_t kProfileAt = kDpiAt + 8;
        const uint32_t pixelBytes = uint32_t{width} * height * bits / 2;
        const auto put = [&](uint32_t number, int count) {
            for (int i = 0; i < count; ++i, number >>= 8) {
                bytes.push_back(static_cast<uint8_t>(number));
            }
        };
        const auto entry = [&](uint32_t tag, uint32_t type, uint32_t count, uint32_t content) {
            put(tag, 2);
            put(type, 2);
            put(count, 4);
            put(content, 4);
        };
        put(kEntries, 2);
        entry(256, 3, 1, width);
        entry(257, 3, 1, height);
        entry(258, 3, 4, kBitsAt);
        entry(262, 3, 1, 2);  // RGB
        entry(273, 4, 1, kProfileAt + 20);
        entry(274, 3, 1, orientation);
        entry(277, 3, 1, 4);
        entry(278, 4, 1, height);
        entry(279, 4, 1, pixelBytes);
        entry(282, 5, 1, kDpiAt);
        entry(283, 5, 1, kDpiAt);
        entry(338, 3, 1, 2);  // alpha, not premultiplied
        entry(34675, 7, 20, kProfileAt);
        put(0, 4);
        for (int i = 0; i < 4; ++i) {
            put(bits, 2);
        }
        put(150, 4);
        put(1, 4);
        bytes.insert(bytes.end(), 16, 0);
        bytes.insert(bytes.end(), colourSpace.begin(), colourSpace.end());
        for (uint32_t i = 0; i < uint32_t{width} * height * 4; ++i) {
            put(value(i / 4 % width, i / 4 / width, i % 4), bits / 8);
        }
        return bytes;
    }
};

inline void IgnoreWarning(const std::string& /*text*/) {
}

inline Image Read(const std::filesystem::path& path) {
    return ImageReader(LongPath(path)).Read(IgnoreWarning);
}

inline Image RandomImage(uint32_t width, uint32_t height, uint32_t seed) {
    Image image;
    image.width = width;
    image.height = height;
    image.pixels = test::MakeRandomImage(width, height, seed).pixels;
    for (size_t i = 3; i < image.pixels.size(); i += 4) {
        image.pixels[i] = 255;
    }
    return image;
}

}  // namespace orvane::tool
