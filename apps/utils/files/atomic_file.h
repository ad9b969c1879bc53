// Whole files: read in one go, written completely or not at all. Paths may have any length.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace orvane::tool {

// Throws Failure unless the path names a regular file.
void RequireReadableFile(const std::filesystem::path& path);

// Throws Failure when a file of this name could not be put into its folder, so that nobody waits for a result
// that has nowhere to go. `name` is what the user knows it by, if not by the path.
void RequireWritableTarget(const std::filesystem::path& path, const std::string& name = {});

std::vector<uint8_t> ReadWholeFile(const std::filesystem::path& path);

// A file that is written beside its final place, under a name of its own, and moved there when it is complete.
// Otherwise it is removed with this object.
class PendingFile {
public:
    // Throws Failure when there is nowhere to put it. `ending` is that of its own name.
    explicit PendingFile(std::filesystem::path target, const std::string& name = {},
                         const std::filesystem::path& ending = ".tmp");
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    // Where to write it.
    const std::filesystem::path& Path() const { return m_path; }

    // Moves the file, which must be closed, over an older one. Throws Failure with that one untouched.
    void Commit();

private:
    std::filesystem::path m_target;
    std::string m_name;
    std::filesystem::path m_path;
};

// Throws Failure with nothing left behind, and with an older file of that name untouched.
void WriteFileAtomically(const std::filesystem::path& path, std::span<const uint8_t> bytes);

}  // namespace orvane::tool
