// Encrypts model files: the inverse of TeaDecryptBuffer (model/tea.h).
#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <string_view>
#include <vector>

namespace orvane::tool {

// Encrypts one container around `plain`: head byte (low 3 bits: padding length), padding, 2 bytes of salt, the
// plain bytes, 7 zero bytes. The padding makes the length a multiple of 8. `key` has 20 characters. The bytes that
// readers ignore are drawn from `random`.
std::vector<uint8_t> EncryptContainer(std::span<const uint8_t> plain, std::string_view key, std::mt19937& random);

}  // namespace orvane::tool
