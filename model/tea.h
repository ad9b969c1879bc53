// The block cipher and the container of encrypted model files. Decrypting only.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvane {

inline constexpr int32_t kCipherBlockBytes = 8;
inline constexpr int32_t kContainerSaltBytes = 2;
inline constexpr int32_t kContainerTrailerBytes = 7;
// Bytes of a container besides the body: head, salt and trailer. The padding adds 0 to 7 more.
inline constexpr int32_t kContainerOverheadBytes = 1 + kContainerSaltBytes + kContainerTrailerBytes;

// Decrypts one 8-byte block (see tea_block.h).
// `key` has 20 characters; those at positions 4, 9, 14 and 19 are ignored. `input` and `output` may be the same.
void TeaDecryptBlock(const uint8_t* input, std::string_view key, uint8_t* output);

// Decrypts one container: head byte (low 3 bits: padding length), padding, 2 bytes of salt, body, 7 zero bytes.
//
// `outputLength` is the capacity of `output` on entry. It is set to the length of the body as soon as that is known to
// fit, even if a later check fails. Bytes of the body that were not reached by then are not changed. Returns false and
// does not change `outputLength` when the input is shorter than 16 bytes, or its body is negative or exceeds the
// capacity. Returns false and sets `outputLength` when the input ends inside a block or the trailer is not zero.
bool TeaDecryptBuffer(const uint8_t* input, int32_t inputLength, uint8_t* output, int32_t& outputLength,
                      std::string_view key);

}  // namespace orvane
