#include "apps/models/model_file.h"

#include <random>
#include <string>

#include "apps/models/encrypt.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/utf8_path.h"
#include "apps/utils/text.h"
#include "model/keys.h"
#include "model/model_stream.h"
#include "model/tea.h"

namespace orvane::tool {
namespace {

// Readers count bytes in signed 32-bit numbers. A container adds less than 32 bytes, and there may be two.
constexpr size_t kMaxPlainBytes = 0x7FFFFFFF - 64;
constexpr size_t kMaxFileBytes = 0x7FFFFFFF;

// False when the bytes are not a container or are damaged. The zeros at the container's end show that.
bool Decrypt(std::vector<uint8_t>& bytes, std::string_view key) {
    std::vector<uint8_t> plain(bytes.size());
    auto length = static_cast<int32_t>(bytes.size());
    if (bytes.size() % kCipherBlockBytes != 0 || !TeaDecryptBuffer(bytes.data(), length, plain.data(), length, key)) {
        return false;
    }
    plain.resize(static_cast<size_t>(length));
    bytes = std::move(plain);
    return true;
}

// FNV-1a.
uint32_t Checksum(std::span<const uint8_t> bytes) {
    uint32_t sum = 0x811C9DC5;
    for (const uint8_t byte : bytes) {
        sum = (sum ^ byte) * 0x01000193;
    }
    return sum;
}

}  // namespace

Encryption EncryptionOf(const std::filesystem::path& path) {
    const std::string extension = GetFileExtension(Utf8FromPath(path));
    if (extension == "en") {
        return Encryption::kOnce;
    }
    return extension == "en2" ? Encryption::kTwice : Encryption::kNone;
}

std::vector<uint8_t> ReadModelFile(const std::filesystem::path& path) {
    std::vector<uint8_t> bytes = ReadWholeFile(path);
    const Encryption encryption = EncryptionOf(path);
    if (encryption == Encryption::kNone) {
        return bytes;
    }
    if (bytes.size() > kMaxFileBytes) {
        throw Failure(Quoted(path) + " is too large: an encrypted model is smaller than 2 GiB.");
    }
    if ((encryption == Encryption::kTwice && !Decrypt(bytes, kOuterKey)) || !Decrypt(bytes, kFileKey)) {
        throw Failure(Quoted(path) + " is damaged, or it is not a model that was encrypted " +
                      (encryption == Encryption::kTwice ? "twice" : "once") + ", as its extension says.");
    }
    return bytes;
}

void WriteModelFile(const std::filesystem::path& path, std::span<const uint8_t> plain) {
    const Encryption encryption = EncryptionOf(path);
    if (encryption == Encryption::kNone) {
        WriteFileAtomically(path, plain);
        return;
    }
    if (plain.size() > kMaxPlainBytes) {
        throw Failure(Quoted(path) + " would be too large: an encrypted model is smaller than 2 GiB.");
    }
    std::mt19937 random(Checksum(plain));
    std::vector<uint8_t> bytes = EncryptContainer(plain, kFileKey, random);
    if (encryption == Encryption::kTwice) {
        bytes = EncryptContainer(bytes, kOuterKey, random);
    }
    WriteFileAtomically(path, bytes);
}

}  // namespace orvane::tool
