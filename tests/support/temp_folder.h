// A folder for the files of one test. Portable.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace orvane {

// Removed with this object.
class TempFolder {
public:
    TempFolder() { std::filesystem::create_directories(m_path); }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    // The name may contain folders, which are created.
    std::filesystem::path Write(const std::string& fileName, const std::vector<uint8_t>& content) const {
        const std::filesystem::path path = m_path / fileName;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << std::string(content.begin(), content.end());
        return path;
    }

private:
    const std::filesystem::path m_path =
        std::filesystem::temp_directory_path() / ("orvane-" + std::to_string(std::random_device{}()));
};

}  // namespace orvane
