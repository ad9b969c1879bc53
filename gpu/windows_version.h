// The version of Windows, and whether it is new enough. The judgement is portable; reading it is not.
#pragma once

#include <cstdint>

namespace orvane {

// All zero when it cannot be read, which counts as too old.
struct WindowsVersion {
    int major = 0;
    int minor = 0;
    int build = 0;
};

// The version in one value, as ((major x 256 + minor) x 65536) + build, and back.
uint32_t PackWindowsVersion(uint32_t major, uint32_t minor, uint32_t build);
WindowsVersion UnpackWindowsVersion(uint32_t packed);

// 10.0 build 18362 or later: the first version with DirectML.
bool IsSupportedWindows(const WindowsVersion& version);

// The version of the system that this runs on; Windows only.
WindowsVersion ReadWindowsVersion();

}  // namespace orvane
