#include "apps/utils/files/atomic_file.h"

#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include "apps/utils/failure.h"
#include "apps/utils/files/long_path.h"
#include "apps/utils/files/utf8_path.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

// By the name that the user knows it by, if there is one.
std::string QuotedName(const fs::path& path, const std::string& name) {
    return name.empty() ? Quoted(path) : "\"" + name + "\"";
}

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

}  // namespace

void RequireReadableFile(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(LongPath(path), error);
    if (status.type() == fs::file_type::not_found) {
        throw Failure("There is no file " + Quoted(path) + ".");
    }
    if (fs::is_directory(status)) {
        throw Failure(Quoted(path) + " is a folder, not a file.");
    }
}

void RequireWritableTarget(const fs::path& path, const std::string& name) {
    std::error_code error;
    const fs::path folder = FolderOf(path);
    if (!fs::is_directory(LongPath(folder), error)) {
        throw Failure("There is no folder " + Quoted(folder) + " to write into.");
    }
    const fs::file_status status = fs::status(LongPath(path), error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        throw Failure(QuotedName(path, name) + " exists and is not a file that can be replaced.");
    }
}

PendingFile::PendingFile(fs::path target, const std::string& name, const fs::path& ending)
    : m_target(std::move(target)), m_name(name), m_path(m_target) {
    RequireWritableTarget(m_target, m_name);
    m_path += '.';
    m_path += std::to_string(std::random_device()());
    m_path += ending;
}

PendingFile::~PendingFile() {
    std::error_code ignored;
    fs::remove(m_path, ignored);
}

void PendingFile::Commit() {
    std::error_code error;
    fs::rename(m_path, m_target, error);
    if (error) {
        throw Failure(QuotedName(m_target, m_name) +
                      " cannot be replaced: it is read-only or another program has it open.");
    }
}

std::vector<uint8_t> ReadWholeFile(const fs::path& path) {
    RequireReadableFile(path);
    std::ifstream file(LongPath(path), std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        throw Failure(Quoted(path) + " cannot be read.");
    }
    return bytes;
}

void WriteFileAtomically(const fs::path& path, std::span<const uint8_t> bytes) {
    PendingFile file(LongPath(path), Utf8FromPath(path));
    if (!WriteFile(file.Path(), bytes)) {
        throw Failure(Quoted(path) + " cannot be written: the folder is read-only or the disk is full.");
    }
    file.Commit();
}

}  // namespace orvane::tool
