// What every side of a comparison is given: a network with its model file, and a picture.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/frame_size.h"
#include "model/network.h"

namespace orvane::bench {

// The two numbers of a network.
struct NetworkNumbers {
    int32_t channels = 32;
    int32_t depth = 2;  // layers less 2

    std::string Name() const { return std::to_string(channels) + " channels, depth " + std::to_string(depth); }
};

std::vector<LayerShape> LayersOf(NetworkNumbers numbers);

// Multiplications and additions of one frame's convolutions.
double FrameOperations(NetworkNumbers numbers, FrameSize size);

// The least that one frame moves to and from the adapter's memory: every tensor written once and read once, in half
// precision, every weight read once, and the two pictures.
double FrameBytes(NetworkNumbers numbers, FrameSize size);

// Bytes of a plain model file with random weights that keep the values of every layer spread over 0..1, so that two
// ways of computing it are told apart. The same for the same numbers.
std::vector<uint8_t> MakeModel(NetworkNumbers numbers);

// Gradients with noise; rows of 4-byte pixels without padding.
std::vector<uint8_t> MakePicture(FrameSize size);

std::vector<uint8_t> LoadBytes(const std::filesystem::path& path);
void SaveBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);

}  // namespace orvane::bench
