#include "apps/utils/files/long_path.h"

#include <string>

namespace orvane::tool {

#ifdef _WIN32

namespace {

// A long path, or the name of a device.
bool IsLong(const std::wstring& native) {
    return native.starts_with(LR"(\\?\)") || native.starts_with(LR"(\\.\)");
}

}  // namespace

std::filesystem::path LongPath(const std::filesystem::path& path) {
    if (IsLong(path.native())) {
        return path;
    }
    const std::wstring native = std::filesystem::absolute(path).lexically_normal().make_preferred().wstring();
    if (IsLong(native)) {
        return native;
    }
    return native.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + native.substr(1) : LR"(\\?\)" + native;
}

#else

std::filesystem::path LongPath(const std::filesystem::path& path) {
    return path;
}

#endif

}  // namespace orvane::tool
