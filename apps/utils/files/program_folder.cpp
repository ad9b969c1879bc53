#include "apps/utils/files/program_folder.h"

#include <string>

#include <windows.h>

#include "apps/utils/failure.h"

namespace orvane::tool {

std::filesystem::path ProgramFolder() {
    constexpr DWORD kLongestPath = 32768;
    std::wstring path(kLongestPath, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), kLongestPath);
    if (length == 0 || length == kLongestPath) {
        throw Failure("The folder of this program cannot be determined.");
    }
    path.resize(length);
    return std::filesystem::path(path).parent_path();
}

}  // namespace orvane::tool
