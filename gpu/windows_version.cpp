#include "gpu/windows_version.h"

namespace orvane {

bool IsSupportedWindows(const WindowsVersion& version) {
    constexpr int kFirstBuildWithDirectML = 18362;
    if (version.major != 10) {
        return version.major > 10;
    }
    return version.minor != 0 || version.build >= kFirstBuildWithDirectML;
}

}  // namespace orvane
