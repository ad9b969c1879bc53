#include <bit>

#include "api/log.h"
#include "gpu/platform.h"
#include "gpu/windows_version.h"

namespace orvane {
namespace {

using RtlGetVersionFunction = LONG WINAPI(OSVERSIONINFOEXW*);

// RtlGetVersion returns the real version to every program, GetVersionEx only to those whose manifest names it.
bool QueryVersion(HMODULE ntdll, OSVERSIONINFOEXW& info) {
    auto* const rtlGetVersion = std::bit_cast<RtlGetVersionFunction*>(GetProcAddress(ntdll, "RtlGetVersion"));
    if (rtlGetVersion != nullptr) {
        return rtlGetVersion(&info) == 0;
    }
    ORVANE_SUPPRESS_DEPRECATED
    return GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&info)) != FALSE;
}

}  // namespace

WindowsVersion ReadWindowsVersion() {
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof(info);
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    if (ntdll == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|Failed to get ntdll.dll handle");
        return {};
    }
    if (!QueryVersion(ntdll, info)) {
        return {};
    }
    return {static_cast<int>(info.dwMajorVersion), static_cast<int>(info.dwMinorVersion),
            static_cast<int>(info.dwBuildNumber)};
}

}  // namespace orvane
