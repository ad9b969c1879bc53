// Whole files: read in one go, written completely or not at all. Paths may have any length. All functions throw
// Failure with a sentence that names the file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "apps/utils/files/named_path.h"

namespace orvane::tool {

// False, too, when the file system does not say.
bool Exists(const NamedPath& file);

// In bytes. The file must exist.
uint64_t FileSize(const NamedPath& file);

// Throws unless the path names a regular file.
void RequireReadableFile(const NamedPath& file);

// Throws when a file of this name cannot be put into its folder, or when there is one that cannot be replaced. Call it
// before long work, so that nobody waits for a result that cannot be written.
void RequireWritableTarget(const NamedPath& target);

std::vector<uint8_t> ReadWholeFile(const NamedPath& file);

// A file that is written next to its final place, under a temporary name, and moved there when it is complete. It is
// removed with this object unless it was moved.
class PendingFile {
public:
    // Throws as RequireWritableTarget does. `extension` is that of the temporary name.
    explicit PendingFile(NamedPath target, const std::filesystem::path& extension = ".tmp");
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // Where to write it.
    const std::filesystem::path& Path() const { return m_path; }

    // Moves the file, which must be closed, and replaces an older one. That one is untouched when this throws.
    void Commit();

    // Leaves the file under its temporary name.
    void Keep() { m_path.clear(); }

private:
    NamedPath m_target;
    std::filesystem::path m_path;
};

// When it throws, nothing is left behind and an older file of that name is untouched.
void WriteFileAtomically(const NamedPath& target, std::span<const uint8_t> bytes);

}  // namespace orvane::tool
