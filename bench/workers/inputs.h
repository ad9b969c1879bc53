// What every side of a comparison is given: a network, and an image.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "engine/frame_size.h"
#include "model/network.h"

namespace orvane::bench {

// The two numbers of a network.
struct NetworkNumbers {
    int32_t channels = 0;
    int32_t depth = 0;  // layers less 2

    NetworkConfig Config() const { return MakeNetworkConfig(channels, depth); }
    std::vector<LayerShape> Layers() const;
};

// Gradients with noise; rows of 4-byte pixels without padding.
std::vector<uint8_t> MakeImage(FrameSize size);

// Both throw when they fail.
std::vector<uint8_t> LoadBytes(const std::filesystem::path& path);
void SaveBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);

}  // namespace orvane::bench
