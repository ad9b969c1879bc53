// Shared by both directions of the block cipher of encrypted model files: TEA (Wheeler and Needham, 1994) reduced to
// 16 rounds, with big-endian words.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace orvane {

inline constexpr uint32_t kTeaDelta = 0x9E3779B9;  // 2^32 divided by the golden ratio
inline constexpr uint32_t kTeaRounds = 16;

using CipherKey = std::array<uint32_t, 4>;

inline uint32_t ReadBigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

inline void WriteBigEndian(uint32_t value, uint8_t* bytes) {
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

// The words of a key text of 20 characters, of which those at positions 4, 9, 14 and 19 are skipped.
inline CipherKey ReadCipherKey(std::string_view text) {
    CipherKey key{};
    for (size_t i = 0; i < 20; ++i) {
        if (i % 5 != 4) {
            key[i / 5] = key[i / 5] << 8 | static_cast<uint8_t>(text[i]);
        }
    }
    return key;
}

}  // namespace orvane
