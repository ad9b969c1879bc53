#include "apps/orvane/support_check.h"

#include "api/orvane.h"
#include "apps/utils/failure.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {
namespace {

std::string Reason(const orvane_check_result& result, const std::string& adapter) {
    switch (result.status) {
        case ORVANE_CHECK_NO_DXGI:
            return "the system library dxgi.dll cannot be loaded";
        case ORVANE_CHECK_NO_D3D12:
            return "the system library d3d12.dll (Direct3D 12) cannot be loaded";
        case ORVANE_CHECK_NO_DIRECTML:
            return "DirectML.dll cannot be loaded; it belongs next to the program or into Windows";
        case ORVANE_CHECK_NO_DXGI_ENTRY:
            return "dxgi.dll is too old: it has no CreateDXGIFactory2";
        case ORVANE_CHECK_NO_D3D12_ENTRY:
            return "d3d12.dll is damaged or not the system's: it has no D3D12CreateDevice";
        case ORVANE_CHECK_NO_DIRECTML_ENTRY:
            return "DirectML.dll is damaged or another library: it has no DMLCreateDevice";
        case ORVANE_CHECK_NO_FACTORY:
            return "dxgi.dll cannot list the graphics adapters: CreateDXGIFactory2 failed";
        case ORVANE_CHECK_NO_ADAPTER:
            return "no graphics adapter was found";
        case ORVANE_CHECK_NO_DEVICE:
            return "the graphics adapter " + adapter +
                   " has no Direct3D 12 with feature level 11_0; a newer driver may help";
        case ORVANE_CHECK_WINDOWS_TOO_OLD:
            return "Windows is too old; 10.0.18362 (version 1903) is the oldest that will do";
        default:
            return "the check ended with the unknown status " + std::to_string(result.status);
    }
}

}  // namespace

std::string RequireSupportedMachine() {
    orvane_check_result result{};
    orvane_check_class performance{};
    const int code = orvane_check_supported(&result, &performance);
    const std::string adapter = Utf8FromAnsi(result.adapterName);
    if (code != ORVANE_OK) {
        const std::string windows = result.osVersion[0] != '\0' ? result.osVersion : "of unknown version";
        throw Failure("This machine cannot run the library: " + Reason(result, adapter) + ". (Windows " + windows +
                      ", graphics adapters found: " + std::to_string(result.adapterCount) + ")");
    }
    return adapter;
}

}  // namespace orvane::tool
