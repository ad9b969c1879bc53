// How long the model files of networks are, and which networks a file's length fits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane::tool {

// The host's two numbers. The network has depth + 2 layers.
struct NetworkSize {
    int32_t channels = 32;  // 1..1024
    int32_t depth = 2;      // -1..14

    bool operator==(const NetworkSize&) const = default;
};

inline constexpr int32_t kMaxModelChannels = 1024;
inline constexpr int32_t kMinModelDepth = -1;
// Depth counts the layers between the first and the last one.
inline constexpr int32_t kMaxModelDepth = 14;

// Whether the library accepts the numbers.
bool IsValidNetworkSize(const NetworkSize& size);

// The bytes of a plain model file of a valid network.
uint64_t PlainModelBytes(const NetworkSize& size);

// All networks whose plain file has exactly so many bytes, the deepest first. A network of one layer (depth -1)
// gives an image with 12 channels only, so there is no other one among them.
std::vector<NetworkSize> NetworksOfLength(uint64_t plainBytes);

// The one that is meant when nothing else tells: the usual 32 channels and depth 2 if they are among them, or the only
// one.
std::optional<NetworkSize> LikeliestNetwork(const std::vector<NetworkSize>& sizes);

// As options of the command line: "--channels 32 --depth 2".
std::string OptionsText(const NetworkSize& size);
// Several, joined by " or ".
std::string OptionsText(const std::vector<NetworkSize>& sizes);

}  // namespace orvane::tool
