#include "model/tea.h"

#include <array>
#include <cstddef>

namespace orvane {
namespace {

constexpr uint32_t kDelta = 0x9E3779B9;
constexpr uint32_t kRounds = 16;
constexpr int32_t kSaltBytes = 2;
constexpr int32_t kTrailerBytes = 7;
constexpr int32_t kMinContainerBytes = 16;

uint32_t ReadBigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

void WriteBigEndian(uint32_t value, uint8_t* bytes) {
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

// Word `index` of the cipher key. Every fifth character of the key text is skipped.
uint32_t KeyWord(std::string_view key, size_t index) {
    std::array<uint8_t, 4> bytes{};
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(key[index * 5 + i]);
    }
    return ReadBigEndian(bytes.data());
}

// Hands out the plain image of a container byte by byte. The chaining: block i of the file is XORed with the
// work block before it is deciphered, and the result is XORed with block i - 1 of the file.
class ContainerReader {
public:
    ContainerReader(const uint8_t* input, int32_t inputLength, std::string_view key)
        : m_input(input), m_inputLength(inputLength), m_key(key) {
        TeaDecryptBlock(input, key, m_work.data());
    }

    int32_t PaddingLength() const { return m_work[0] & 7; }

    void SkipHeadAndPadding() { m_position = 1 + PaddingLength(); }

    // False at the end of the input.
    bool Next(uint8_t& byte) {
        if (m_position == kCipherBlockBytes && !Advance()) {
            return false;
        }
        const auto position = static_cast<size_t>(m_position);
        byte = m_work[position] ^ (m_previous != nullptr ? m_previous[position] : uint8_t{0});
        ++m_position;
        return true;
    }

private:
    bool Advance() {
        if (m_inputLength - m_blockStart - kCipherBlockBytes < kCipherBlockBytes) {
            return false;
        }
        m_previous = m_input + m_blockStart;
        m_blockStart += kCipherBlockBytes;
        for (size_t i = 0; i < m_work.size(); ++i) {
            m_work[i] ^= m_input[static_cast<size_t>(m_blockStart) + i];
        }
        TeaDecryptBlock(m_work.data(), m_key, m_work.data());
        m_position = 0;
        return true;
    }

    const uint8_t* m_input;
    int32_t m_inputLength;
    std::string_view m_key;
    const uint8_t* m_previous = nullptr;  // the file's block before the current one; none reads as zeros
    int32_t m_blockStart = 0;
    int32_t m_position = 0;  // of the next byte in the work block
    std::array<uint8_t, kCipherBlockBytes> m_work{};
};

}  // namespace

void TeaDecryptBlock(const uint8_t* input, std::string_view key, uint8_t* output) {
    uint32_t y = ReadBigEndian(input);
    uint32_t z = ReadBigEndian(input + 4);
    const uint32_t k0 = KeyWord(key, 0);
    const uint32_t k1 = KeyWord(key, 1);
    const uint32_t k2 = KeyWord(key, 2);
    const uint32_t k3 = KeyWord(key, 3);
    uint32_t sum = kDelta * kRounds;
    for (uint32_t round = 0; round < kRounds; ++round) {
        z -= ((y << 4) + k2) ^ (y + sum) ^ ((y >> 5) + k3);
        y -= ((z << 4) + k0) ^ (z + sum) ^ ((z >> 5) + k1);
        sum -= kDelta;
    }
    WriteBigEndian(y, output);
    WriteBigEndian(z, output + 4);
}

bool TeaDecryptBuffer(const uint8_t* input, int32_t inputLength, uint8_t* output, int32_t& outputLength,
                      std::string_view key) {
    if (inputLength < kMinContainerBytes) {
        return false;
    }
    ContainerReader reader(input, inputLength, key);
    const int32_t bodyLength = inputLength - reader.PaddingLength() - kContainerOverheadBytes;
    if (bodyLength < 0 || bodyLength > outputLength) {
        return false;
    }
    outputLength = bodyLength;

    reader.SkipHeadAndPadding();
    uint8_t byte = 0;
    for (int32_t i = 0; i < kSaltBytes; ++i) {
        if (!reader.Next(byte)) {
            return false;
        }
    }
    for (int32_t i = 0; i < bodyLength; ++i) {
        if (!reader.Next(output[i])) {
            return false;
        }
    }
    for (int32_t i = 0; i < kTrailerBytes; ++i) {
        if (!reader.Next(byte) || byte != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace orvane
