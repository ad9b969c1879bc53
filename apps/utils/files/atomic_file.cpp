#include "apps/utils/files/atomic_file.h"

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#ifdef _WIN32
#include <windows.h>
#endif

#include "apps/utils/failure.h"
#include "apps/utils/text.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

fs::path FolderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

bool WriteFile(const fs::path& path, std::span<const uint8_t> bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const std::string text(bytes.begin(), bytes.end());
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    return file.good();
}

[[noreturn]] void FailToReplace(const NamedPath& target) {
    throw Failure(Quoted(target.name) + " cannot be replaced: it is read-only or another program has it open.");
}

// Whether a file that exists may be moved away and written over.
bool CanBeReplaced([[maybe_unused]] const fs::path& path, fs::perms permissions) {
    if ((permissions & fs::perms::owner_write) == fs::perms::none) {
        return false;
    }
#ifdef _WIN32
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), DELETE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    CloseHandle(file);
#endif
    return true;
}

}  // namespace

bool Exists(const NamedPath& file) {
    std::error_code ignored;
    return fs::exists(file.path, ignored);
}

uint64_t FileSize(const NamedPath& file) {
    std::error_code error;
    const uint64_t size = fs::file_size(file.path, error);
    if (error) {
        throw Failure("The size of " + Quoted(file.name) + " cannot be read.");
    }
    return size;
}

void RequireReadableFile(const NamedPath& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file.path, error);
    if (status.type() == fs::file_type::not_found) {
        throw Failure("There is no file " + Quoted(file.name) + ".");
    }
    if (fs::is_directory(status)) {
        throw Failure(Quoted(file.name) + " is a folder, not a file.");
    }
}

void RequireWritableTarget(const NamedPath& target) {
    std::error_code error;
    if (!fs::is_directory(FolderOf(target.path), error)) {
        throw Failure("There is no folder " + Quoted(FolderOf(PathFromUtf8(target.name))) + " to write into.");
    }
    const fs::file_status status = fs::status(target.path, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw Failure(Quoted(target.name) + " exists and is not a file that can be replaced.");
    }
    if (fs::exists(status) && !CanBeReplaced(target.path, status.permissions())) {
        FailToReplace(target);
    }
}

PendingFile::PendingFile(NamedPath target, const fs::path& extension)
    : m_target(std::move(target)), m_path(m_target.path) {
    RequireWritableTarget(m_target);
    m_path += '.';
    m_path += std::to_string(std::random_device()());
    m_path += extension;
}

PendingFile::~PendingFile() {
    std::error_code ignored;
    if (!m_path.empty()) {
        fs::remove(m_path, ignored);
    }
}

void PendingFile::Commit() {
    std::error_code error;
    fs::rename(m_path, m_target.path, error);
    if (error) {
        FailToReplace(m_target);
    }
}

std::vector<uint8_t> ReadWholeFile(const NamedPath& file) {
    RequireReadableFile(file);
    std::ifstream stream(file.path, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad()) {
        throw Failure(Quoted(file.name) + " cannot be read.");
    }
    return bytes;
}

void WriteFileAtomically(const NamedPath& target, std::span<const uint8_t> bytes) {
    PendingFile file(target);
    if (!WriteFile(file.Path(), bytes)) {
        throw Failure(Quoted(target.name) + " cannot be written: the folder is read-only or the disk is full.");
    }
    file.Commit();
}

}  // namespace orvane::tool
