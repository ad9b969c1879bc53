// The version of Windows, and whether it is new enough. Only reading the version needs Windows.
#pragma once

namespace orvane {

// All zero when it cannot be read. That counts as too old.
struct WindowsVersion {
    int major = 0;
    int minor = 0;
    int build = 0;
};

// 10.0 build 18362 or later: the first version with DirectML.
bool IsSupportedWindows(const WindowsVersion& version);

// The version of this system. Windows only.
WindowsVersion ReadWindowsVersion();

}  // namespace orvane
