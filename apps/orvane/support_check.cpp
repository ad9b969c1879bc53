#include "apps/orvane/support_check.h"

#include <cstdint>
#include <map>
#include <string>

#include "api/orvane.h"
#include "apps/utils/failure.h"
#include "apps/utils/windows_text.h"

namespace orvane::tool {
namespace {

const std::map<uint32_t, std::string> kReasons{
    {ORVANE_CHECK_NO_DXGI, "the system library dxgi.dll cannot be loaded"},
    {ORVANE_CHECK_NO_D3D12, "the system library d3d12.dll (Direct3D 12) cannot be loaded"},
    {ORVANE_CHECK_NO_DIRECTML, "DirectML.dll cannot be loaded; it belongs next to the program or into Windows"},
    {ORVANE_CHECK_NO_DXGI_ENTRY, "dxgi.dll is too old: it has no CreateDXGIFactory2"},
    {ORVANE_CHECK_NO_D3D12_ENTRY, "d3d12.dll is damaged or not the system's: it has no D3D12CreateDevice"},
    {ORVANE_CHECK_NO_DIRECTML_ENTRY, "DirectML.dll is damaged or another library: it has no DMLCreateDevice"},
    {ORVANE_CHECK_NO_FACTORY, "dxgi.dll cannot list the graphics adapters: CreateDXGIFactory2 failed"},
    {ORVANE_CHECK_NO_ADAPTER, "no graphics adapter was found"},
    {ORVANE_CHECK_NO_DEVICE,
     "the graphics adapter has no Direct3D 12 with feature level 11_0; a newer driver may help"},
    {ORVANE_CHECK_WINDOWS_TOO_OLD, "Windows is too old; 10.0.18362 (version 1903) is the oldest that will do"},
};

std::string Reason(uint32_t status) {
    const auto found = kReasons.find(status);
    return found != kReasons.end() ? found->second
                                   : "the check ended with the unknown status " + std::to_string(status);
}

}  // namespace

std::string RequireSupportedMachine() {
    orvane_check_result result{};
    orvane_check_class performance{};
    const int code = orvane_check_supported(&result, &performance);
    const std::string adapter = Utf8FromAnsi(result.adapterName);
    if (code != ORVANE_OK) {
        const std::string windows = result.osVersion[0] != '\0' ? result.osVersion : "of unknown version";
        const std::string best = adapter.empty() ? "" : ", the best one: " + adapter;
        throw Failure("This machine cannot run the library: " + Reason(result.status) + ". (Windows " + windows +
                      ", graphics adapters found: " + std::to_string(result.adapterCount) + best + ")");
    }
    return adapter;
}

}  // namespace orvane::tool
