#include "model/tea.h"

#include <array>
#include <cstddef>

#include "model/tea_block.h"

namespace orvane {
namespace {

constexpr int32_t kMinContainerBytes = 16;

void DecryptBlock(const uint8_t* input, const CipherKey& key, uint8_t* output) {
    uint32_t y = ReadBigEndian(input);
    uint32_t z = ReadBigEndian(input + 4);
    uint32_t sum = kTeaDelta * kTeaRounds;
    for (uint32_t round = 0; round < kTeaRounds; ++round) {
        z -= ((y << 4) + key[2]) ^ (y + sum) ^ ((y >> 5) + key[3]);
        y -= ((z << 4) + key[0]) ^ (z + sum) ^ ((z >> 5) + key[1]);
        sum -= kTeaDelta;
    }
    WriteBigEndian(y, output);
    WriteBigEndian(z, output + 4);
}

// Returns the plain content of a container byte by byte. The chaining: block i of the file is XORed with the work block
// before it is decrypted, and the result is XORed with block i - 1 of the file.
class ContainerReader {
public:
    ContainerReader(const uint8_t* input, int32_t inputLength, std::string_view key)
        : m_input(input), m_inputLength(inputLength), m_key(ReadCipherKey(key)) {
        DecryptBlock(input, m_key, m_work.data());
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
        DecryptBlock(m_work.data(), m_key, m_work.data());
        m_position = 0;
        return true;
    }

    const uint8_t* m_input;
    int32_t m_inputLength;
    CipherKey m_key;
    const uint8_t* m_previous = nullptr;  // the file's previous block; zeros before the first one
    int32_t m_blockStart = 0;
    int32_t m_position = 0;  // of the next byte in the work block
    std::array<uint8_t, kCipherBlockBytes> m_work{};
};

}  // namespace

void TeaDecryptBlock(const uint8_t* input, std::string_view key, uint8_t* output) {
    DecryptBlock(input, ReadCipherKey(key), output);
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
    for (int32_t i = 0; i < kContainerSaltBytes; ++i) {
        if (!reader.Next(byte)) {
            return false;
        }
    }
    for (int32_t i = 0; i < bodyLength; ++i) {
        if (!reader.Next(output[i])) {
            return false;
        }
    }
    for (int32_t i = 0; i < kContainerTrailerBytes; ++i) {
        if (!reader.Next(byte) || byte != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace orvane
