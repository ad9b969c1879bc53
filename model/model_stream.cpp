#include "model/model_stream.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "api/log.h"
#include "model/keys.h"
#include "model/tea.h"

namespace orvane {
namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// The whole file, or nothing when it cannot be opened, has no size or is 2 GiB or larger.
std::optional<std::vector<uint8_t>> ReadWholeFile(const std::string& path) {
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return std::nullopt;
    }
    const long size = std::ftell(file.get());
    if (size < 0 || size > std::numeric_limits<int32_t>::max() || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return std::nullopt;
    }
    std::vector<uint8_t> content(static_cast<size_t>(size));
    content.resize(std::fread(content.data(), 1, content.size(), file.get()));
    return content;
}

// Decrypts a container as far as possible: the result has the length of the body, with zeros for what could not be
// decrypted. Bytes that cannot be a container give the same number of zeros. A wrong key or damaged content is not
// detected here. It shows later, as failing reads or wrong weights.
std::vector<uint8_t> Decrypt(const std::vector<uint8_t>& container, std::string_view key) {
    std::vector<uint8_t> plain(container.size());
    auto length = static_cast<int32_t>(container.size());
    if (container.size() % kCipherBlockBytes == 0) {
        TeaDecryptBuffer(container.data(), length, plain.data(), length, key);
    }
    plain.resize(static_cast<size_t>(length));
    return plain;
}

void Append(const std::vector<uint8_t>& bytes, std::stringstream& stream) {
    stream << std::string(bytes.begin(), bytes.end());
}

bool CopyPlainFile(const std::string& path, std::stringstream& stream) {
    const std::ifstream file(path, std::ios::in | std::ios::binary);
    if (file.fail()) {
        return false;
    }
    stream << file.rdbuf();
    return true;
}

}  // namespace

std::string GetFileExtension(const std::string& path) {
    const size_t dot = path.rfind('.');
    return dot == std::string::npos ? std::string() : path.substr(dot + 1);
}

bool decryptFileToStream(const std::string& path, std::stringstream& stream) {
    const auto container = ReadWholeFile(path);
    if (!container) {
        LogMessage(ORVANE_LOG_ERROR, "[decryptFileToStream]: Open file(%s) failed.", path.c_str());
        return false;
    }
    Append(Decrypt(*container, kFileKey), stream);
    return true;
}

bool decryptFileTwiceToStream(const std::string& path, std::stringstream& stream) {
    const auto container = ReadWholeFile(path);
    if (!container) {
        LogMessage(ORVANE_LOG_ERROR, "[decryptFileTwiceToStream]: Open file(%s) failed.", path.c_str());
        return false;
    }
    Append(Decrypt(Decrypt(*container, kOuterKey), kFileKey), stream);
    return true;
}

bool OpenModelStream(const std::string& path, std::stringstream& stream) {
    const std::string extension = GetFileExtension(path);
    if (path.empty()) {
        LogMessage(ORVANE_LOG_ERROR, "create custom net without net file");
        return false;
    }
    if (extension == "en") {
        if (!decryptFileToStream(path, stream)) {
            LogMessage(ORVANE_LOG_ERROR, "open and decrypt the %s file failed", path.c_str());
            return false;
        }
        return true;
    }
    if (extension == "en2") {
        if (!decryptFileTwiceToStream(path, stream)) {
            LogMessage(ORVANE_LOG_ERROR, "open and twice_decrypt the %s file failed", path.c_str());
            return false;
        }
        return true;
    }
    if (!CopyPlainFile(path, stream)) {
        LogMessage(ORVANE_LOG_ERROR, "open the %s file failed", path.c_str());
        return false;
    }
    return true;
}

}  // namespace orvane
