// The CPU reference: the network in simple C++, with which the library's images are compared.
#pragma once

#include <cstddef>
#include <cstdint>
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

// Random weights that spread the values of every layer over 0..1, so that a misplaced one is visible.
ReferenceNetwork MakeRandomNetwork(int32_t channels, int32_t depth, uint32_t seed);

// The network's plain model file as bytes, and the reverse for a network of the same shape.
std::vector<uint8_t> ModelFile(const ReferenceNetwork& network);
void ReadModelFile(const std::vector<uint8_t>& file, ReferenceNetwork& network);

// Rows of 4-byte pixels without padding.
struct Image {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;

    Image() = default;
    Image(uint32_t imageWidth, uint32_t imageHeight)
        : width(imageWidth), height(imageHeight), pixels(size_t{imageWidth} * imageHeight * 4) {}

    uint8_t* At(uint32_t x, uint32_t y) { return &pixels[(size_t{y} * width + x) * 4]; }
    const uint8_t* At(uint32_t x, uint32_t y) const { return &pixels[(size_t{y} * width + x) * 4]; }
};

Image MakeRandomImage(uint32_t width, uint32_t height, uint32_t seed);

// The upscaled image, rounded to half precision after every layer.
Image UpscaleImage(const ReferenceNetwork& network, const Image& image);

// The largest distance of the upscaled image from bilinear interpolation with repeated edge pixels.
double DistanceFromBilinear(const Image& upscaled, const Image& image);

// A finite number in half precision.
double DecodeHalf(uint16_t bits);

}  // namespace orvane::test
