// The keys of encrypted model files.
#pragma once

#include <string_view>

namespace orvane {

// Twenty printable ASCII characters each. The cipher uses sixteen of them (see TeaDecryptBlock).

// Single encryption (".en"), and the inner layer of double encryption (".en2").
inline constexpr std::string_view kFileKey = "mqtaz4817hRpw2cc690b";
// The outer layer of double encryption.
inline constexpr std::string_view kOuterKey = "7070kqWz316*9pxx52tr";

}  // namespace orvane
