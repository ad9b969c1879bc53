#include "apps/utils/long_path.h"

#include <string>

namespace orvane::tool {

std::filesystem::path LongPath(const std::filesystem::path& path) {
    const std::wstring native = std::filesystem::absolute(path).lexically_normal().make_preferred().wstring();
    if (native.starts_with(LR"(\\?\)") || native.starts_with(LR"(\\.\)")) {
        return native;
    }
    return native.starts_with(LR"(\\)") ? LR"(\\?\UNC)" + native.substr(1) : LR"(\\?\)" + native;
}

}  // namespace orvane::tool
