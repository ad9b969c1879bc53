// Whole files: read in one go, written completely or not at all.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace orvane::tool {

// Throws Failure unless the path names a regular file.
void RequireReadableFile(const std::filesystem::path& path);

// Throws Failure when a file of this name could not be put into its folder, so that nobody waits for a result
// that has nowhere to go.
void RequireWritableTarget(const std::filesystem::path& path);

std::vector<uint8_t> ReadWholeFile(const std::filesystem::path& path);

// Writes a temporary file next to `path` and renames it. Throws Failure with nothing left behind, and with an
// older file of that name untouched.
void WriteFileAtomically(const std::filesystem::path& path, std::span<const uint8_t> bytes);

}  // namespace orvane::tool
