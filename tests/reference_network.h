// The network in plain arithmetic on the CPU: what the library's pictures are compared with.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace orvane::test {

struct ReferenceLayer {
    uint32_t inChannels = 0;
    uint32_t outChannels = 0;
    // Half-precision bit patterns; filters in the order outChannels, inChannels, row, column.
    std::vector<uint16_t> filter;
    std::vector<uint16_t> bias;
};

struct ReferenceNetwork {
    int32_t channels = 0;
    int32_t depth = 0;
    std::vector<ReferenceLayer> layers;
};

// Weights that keep the values of every layer spread over 0..1, so that a misplaced one shows.
ReferenceNetwork MakeRandomNetwork(int32_t channels, int32_t depth, uint32_t seed);

// The bytes of the network's plain model file.
std::vector<uint8_t> ModelFile(const ReferenceNetwork& network);

// Rows of 4-byte pixels without padding.
struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;

    Picture() = default;
    Picture(uint32_t pictureWidth, uint32_t pictureHeight)
        : width(pictureWidth), height(pictureHeight), pixels(size_t{pictureWidth} * pictureHeight * 4) {}

    uint8_t* At(uint32_t x, uint32_t y) { return &pixels[(size_t{y} * width + x) * 4]; }
    const uint8_t* At(uint32_t x, uint32_t y) const { return &pixels[(size_t{y} * width + x) * 4]; }
};

Picture MakeRandomPicture(uint32_t width, uint32_t height, uint32_t seed);

// The doubled picture, rounded to half precision after every layer.
Picture DoublePicture(const ReferenceNetwork& network, const Picture& picture);

// Half precision as a number, and the nearest half-precision value of a number.
double DecodeHalf(uint16_t bits);
double RoundToHalf(double value);

}  // namespace orvane::test
