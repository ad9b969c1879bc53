#include "apps/models/encrypt.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "model/tea.h"
#include "model/tea_block.h"

namespace orvane::tool {
namespace {

constexpr auto kBlockBytes = static_cast<size_t>(kCipherBlockBytes);

using Block = std::array<uint8_t, kBlockBytes>;

Block EncryptBlock(const Block& plain, const CipherKey& key) {
    uint32_t y = ReadBigEndian(plain.data());
    uint32_t z = ReadBigEndian(plain.data() + 4);
    uint32_t sum = 0;
    for (uint32_t round = 0; round < kTeaRounds; ++round) {
        sum += kTeaDelta;
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

// Head, padding, salt, body and trailer, not encrypted yet.
std::vector<uint8_t> ContainerImage(std::span<const uint8_t> plain, std::mt19937& random) {
    const size_t unpadded = kContainerOverheadBytes + plain.size();
    const size_t padding = (kBlockBytes - unpadded % kBlockBytes) % kBlockBytes;
    std::vector<uint8_t> image;
    image.reserve(unpadded + padding);
    image.push_back(static_cast<uint8_t>((RandomByte(random) & 0xF8) | padding));
    for (size_t i = 0; i < padding + kContainerSaltBytes; ++i) {
        image.push_back(RandomByte(random));
    }
    image.insert(image.end(), plain.begin(), plain.end());
    image.insert(image.end(), kContainerTrailerBytes, uint8_t{0});
    return image;
}

}  // namespace

std::vector<uint8_t> EncryptContainer(std::span<const uint8_t> plain, std::string_view key, std::mt19937& random) {
    const CipherKey cipherKey = ReadCipherKey(key);
    std::vector<uint8_t> bytes = ContainerImage(plain, random);
    Block previousWork{};
    Block previousCipher{};
    for (size_t start = 0; start < bytes.size(); start += kBlockBytes) {
        Block image;
        std::copy_n(bytes.data() + start, kBlockBytes, image.data());
        const Block work = Xor(image, previousCipher);
        previousCipher = Xor(EncryptBlock(work, cipherKey), previousWork);
        previousWork = work;
        std::copy_n(previousCipher.data(), kBlockBytes, bytes.data() + start);
    }
    return bytes;
}

}  // namespace orvane::tool
