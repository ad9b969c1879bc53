#include "gpu/windows_version.h"

namespace orvane {

uint32_t PackWindowsVersion(uint32_t major, uint32_t minor, uint32_t build) {
    return (major * 256 + minor) * 65536 + build;
}

WindowsVersion UnpackWindowsVersion(uint32_t packed) {
    return {static_cast<int>(packed >> 24), static_cast<int>((packed >> 16) & 0xFF), static_cast<int>(packed & 0xFFFF)};
}

bool IsSupportedWindows(const WindowsVersion& version) {
    constexpr int kFirstBuildWithDirectML = 18362;
    if (version.major != 10) {
        return version.major > 10;
    }
    return version.minor != 0 || version.build >= kFirstBuildWithDirectML;
}

}  // namespace orvane
