#include "apps/model_tool/encipher.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace orvane::tool {
namespace {

constexpr size_t kBlockBytes = 8;
constexpr size_t kSaltBytes = 2;
constexpr size_t kTrailerBytes = 7;
constexpr uint32_t kDelta = 0x9E3779B9;
constexpr int kRounds = 16;

using Block = std::array<uint8_t, kBlockBytes>;
using CipherKey = std::array<uint32_t, 4>;

uint32_t ReadBigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

void WriteBigEndian(uint32_t value, uint8_t* bytes) {
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

// Every fifth character of the key text is skipped.
CipherKey CipherKeyFromText(std::string_view text) {
    CipherKey key{};
    for (size_t i = 0; i < text.size(); ++i) {
        if (i % 5 != 4) {
            key[i / 5] = key[i / 5] << 8 | static_cast<uint8_t>(text[i]);
        }
    }
    return key;
}

Block EncipherBlock(const Block& plain, const CipherKey& key) {
    uint32_t y = ReadBigEndian(plain.data());
    uint32_t z = ReadBigEndian(plain.data() + 4);
    uint32_t sum = 0;
    for (int round = 0; round < kRounds; ++round) {
        sum += kDelta;
        y += ((z << 4) + key[0]) ^ (z + sum) ^ ((z >> 5) + key[1]);
        z += ((y << 4) + key[2]) ^ (y + sum) ^ ((y >> 5) + key[3]);
    }
    Block cipher;
    WriteBigEndian(y, cipher.data());
    WriteBigEndian(z, cipher.data() + 4);
    return cipher;
}

Block Xor(const Block& a, const Block& b) {
    Block result;
    for (size_t i = 0; i < kBlockBytes; ++i) {
        result[i] = a[i] ^ b[i];
    }
    return result;
}

uint8_t RandomByte(std::mt19937& random) {
    return static_cast<uint8_t>(random() & 0xFF);
}

// Head, padding, salt, body and trailer, not enciphered yet.
std::vector<uint8_t> ContainerImage(std::span<const uint8_t> plain, std::mt19937& random) {
    const size_t unpadded = 1 + kSaltBytes + plain.size() + kTrailerBytes;
    const size_t padding = (kBlockBytes - unpadded % kBlockBytes) % kBlockBytes;
    std::vector<uint8_t> image;
    image.reserve(unpadded + padding);
    image.push_back(static_cast<uint8_t>((RandomByte(random) & 0xF8) | padding));
    for (size_t i = 0; i < padding + kSaltBytes; ++i) {
        image.push_back(RandomByte(random));
    }
    image.insert(image.end(), plain.begin(), plain.end());
    image.insert(image.end(), kTrailerBytes, uint8_t{0});
    return image;
}

}  // namespace

std::vector<uint8_t> EncipherContainer(std::span<const uint8_t> plain, std::string_view key, std::mt19937& random) {
    const CipherKey cipherKey = CipherKeyFromText(key.substr(0, 20));
    std::vector<uint8_t> bytes = ContainerImage(plain, random);
    Block previousWork{};
    Block previousCipher{};
    for (size_t start = 0; start < bytes.size(); start += kBlockBytes) {
        Block image;
        std::copy_n(bytes.data() + start, kBlockBytes, image.data());
        const Block work = Xor(image, previousCipher);
        previousCipher = Xor(EncipherBlock(work, cipherKey), previousWork);
        previousWork = work;
        std::copy_n(previousCipher.data(), kBlockBytes, bytes.data() + start);
    }
    return bytes;
}

}  // namespace orvane::tool
