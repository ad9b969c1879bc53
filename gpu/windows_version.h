// The version of Windows, and whether it is new enough. The judgement is portable; reading it is not.
#pragma once

namespace orvane {

// All zero when it cannot be read, which counts as too old.
struct WindowsVersion {
    int major = 0;
    int minor = 0;
    int build = 0;
};

// 10.0 build 18362 or later: the first version with DirectML.
bool IsSupportedWindows(const WindowsVersion& version);

// The version of the system that this runs on; Windows only.
WindowsVersion ReadWindowsVersion();

}  // namespace orvane
