#include "apps/utils/files/find_files.h"

#include <algorithm>
#include <memory>
#include <string>

#include <windows.h>

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

struct CloseSearch {
    using pointer = HANDLE;
    void operator()(HANDLE search) const { FindClose(search); }
};

void AddFiles(const fs::path& folder, std::vector<fs::path>& files, std::vector<fs::path>& folders) {
    WIN32_FIND_DATAW entry{};
    const HANDLE first = FindFirstFileW((folder / "*").c_str(), &entry);
    if (first == INVALID_HANDLE_VALUE) {
        return;
    }
    const std::unique_ptr<HANDLE, CloseSearch> search(first);
    do {
        const std::wstring name = entry.cFileName;
        const bool isFolder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (!isFolder) {
            files.push_back(folder / name);
        } else if (!isLink && name != L"." && name != L"..") {
            folders.push_back(folder / name);
        }
    } while (FindNextFileW(search.get(), &entry) != 0);
}

}  // namespace

std::vector<fs::path> FindFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::vector<fs::path> folders{folder};
    while (!folders.empty()) {
        const fs::path next = folders.back();
        folders.pop_back();
        AddFiles(next, files, folders);
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace orvane::tool
