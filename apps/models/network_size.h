// The length of a network's model file, and the networks that fit a file's length.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane::tool {

// The two numbers that a host passes to orvane_open. The network has depth + 2 layers.
struct NetworkSize {
    int32_t channels = 32;  // 1..1024
    int32_t depth = 2;      // -1..14

    bool operator==(const NetworkSize&) const = default;
};

inline constexpr int32_t kMaxModelChannels = 1024;
inline constexpr int32_t kMinModelDepth = -1;
// Depth is the number of layers between the first and the last one.
inline constexpr int32_t kMaxModelDepth = 14;

// Whether the library accepts the numbers.
bool IsValidNetworkSize(const NetworkSize& size);

// The bytes of a plain model file of a valid network.
uint64_t PlainModelBytes(const NetworkSize& size);

// All networks whose plain file has exactly this number of bytes, the deepest first. Networks of one layer (depth -1)
// are listed with 12 channels only, because others do not give an image.
std::vector<NetworkSize> NetworksOfLength(uint64_t plainBytes);

// The best guess when nothing else is known: 32 channels and depth 2 if these are among them, or else the only one.
std::optional<NetworkSize> LikeliestNetwork(const std::vector<NetworkSize>& sizes);

// As command line options: "--channels 32 --depth 2".
std::string OptionsText(const NetworkSize& size);
// Several networks, joined by " or ".
std::string OptionsText(const std::vector<NetworkSize>& sizes);

}  // namespace orvane::tool
