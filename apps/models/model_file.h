// Model files: plain, encrypted once or encrypted twice. The file name's extension says which.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace orvane::tool {

enum class Encryption { kNone, kOnce, kTwice };

// By the file name's extension, as the library does it: "en" is encrypted once, "en2" twice, all others are plain. Only
// lower case counts.
Encryption EncryptionOf(const std::filesystem::path& path);

// The plain content of a model file. Throws Failure when it cannot be read, and when it is encrypted and damaged. The
// library does not report such damage.
std::vector<uint8_t> ReadModelFile(const std::filesystem::path& path);

// Writes a model file, encrypted if its extension says so. The random bytes of a container are derived from the
// content, so the same model always gives the same file. Throws Failure with nothing changed.
void WriteModelFile(const std::filesystem::path& path, std::span<const uint8_t> plain);

}  // namespace orvane::tool
