// The keys of enciphered model files.
#pragma once

#include <string_view>

namespace orvane {

// Twenty printable ASCII characters each, of which the cipher uses sixteen (see TeaDecryptBlock).

// Single encipherment (".en"), and the inner layer of double encipherment (".en2").
inline constexpr std::string_view kFileKey = "mqtaz4817hRpw2cc690b";
// The outer layer of double encipherment.
inline constexpr std::string_view kOuterKey = "7070kqWz316*9pxx52tr";

}  // namespace orvane
