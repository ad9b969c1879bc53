// Model files in the three forms that their names tell apart.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace orvane::tool {

enum class Encryption { kNone, kOnce, kTwice };

// By the file's ending, as the library does it, in lower case only: "en" once, "en2" twice, all others not at all.
Encryption EncryptionOf(const std::filesystem::path& path);

// The plain content of a model file. Throws Failure when it cannot be read, and when it is encrypted and damaged,
// which the library would not tell.
std::vector<uint8_t> ReadModelFile(const std::filesystem::path& path);

// Writes a model file, encrypted if its ending says so. What a container has of random bytes comes from the content,
// so that the same model always gives the same file. Throws Failure with nothing changed.
void WriteModelFile(const std::filesystem::path& path, std::span<const uint8_t> plain);

}  // namespace orvane::tool
