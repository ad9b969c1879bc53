#include "apps/orvane/machine/machine.h"

#include <cwchar>
#include <optional>

#include <windows.h>
// windows.h goes first.
#include <dxgi.h>
#include <wrl/client.h>

#include "api/orvane.h"
#include "apps/utils/process/loaded_library.h"
#include "apps/utils/windows_text.h"
#include "gpu/adapter_ranking.h"

namespace orvane::tool {
namespace {

using Microsoft::WRL::ComPtr;

// Far more than any machine has, in case Windows never reports the end of the list.
constexpr UINT kMaxAdapters = 64;

AdapterRank RankOf(const DXGI_ADAPTER_DESC1& desc) {
    return RankAdapter({{desc.Description, wcsnlen(desc.Description, std::size(desc.Description))},
                        desc.VendorId,
                        desc.DedicatedVideoMemory,
                        (desc.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0});
}

GraphicsAdapter AdapterOf(const DXGI_ADAPTER_DESC1& desc) {
    GraphicsAdapter adapter;
    adapter.name = Utf8FromWide({desc.Description, wcsnlen(desc.Description, std::size(desc.Description))});
    adapter.vendorId = desc.VendorId;
    adapter.deviceId = desc.DeviceId;
    adapter.dedicatedBytes = desc.DedicatedVideoMemory;
    adapter.sharedBytes = desc.SharedSystemMemory;
    adapter.isSoftware = (desc.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0;
    return adapter;
}

std::vector<GraphicsAdapter> AdaptersOf(IDXGIFactory1& factory) {
    std::vector<GraphicsAdapter> adapters;
    std::optional<size_t> best;
    AdapterRank bestRank;
    ComPtr<IDXGIAdapter1> adapter;
    for (UINT i = 0; i < kMaxAdapters; ++i) {
        DXGI_ADAPTER_DESC1 desc{};
        if (FAILED(factory.EnumAdapters1(i, adapter.ReleaseAndGetAddressOf())) || FAILED(adapter->GetDesc1(&desc))) {
            continue;
        }
        const AdapterRank rank = RankOf(desc);
        if (i < kMaxConsideredAdapters && (!best || RanksBefore(rank, bestRank))) {
            best = adapters.size();
            bestRank = rank;
        }
        adapters.push_back(AdapterOf(desc));
        adapters.back().index = i;
    }
    if (best) {
        adapters[*best].isUsed = true;
    }
    return adapters;
}

// Empty when dxgi.dll is missing or fails.
std::vector<GraphicsAdapter> ListAdapters() {
    const LoadedLibrary dxgi(L"dxgi.dll");
    auto* const createFactory = dxgi.Find<decltype(CreateDXGIFactory1)>("CreateDXGIFactory1");
    ComPtr<IDXGIFactory1> factory;
    if (createFactory == nullptr || FAILED(createFactory(IID_PPV_ARGS(&factory)))) {
        return {};
    }
    return AdaptersOf(*factory.Get());
}

std::wstring PathOf(HMODULE library) {
    constexpr DWORD kLongestPath = 32768;
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(library, path.data(), kLongestPath));
    return path;
}

// "1.15.4.0", or empty when the file has no version.
std::string FileVersion(const std::wstring& path) {
    std::string data(GetFileVersionInfoSizeW(path.c_str(), nullptr), '\0');
    void* info = nullptr;
    UINT size = 0;
    if (data.empty() || GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) == 0 ||
        VerQueryValueW(data.data(), L"\\", &info, &size) == 0 || size < sizeof(VS_FIXEDFILEINFO)) {
        return {};
    }
    const auto& version = *static_cast<const VS_FIXEDFILEINFO*>(info);
    return std::to_string(HIWORD(version.dwFileVersionMS)) + "." + std::to_string(LOWORD(version.dwFileVersionMS)) +
           "." + std::to_string(HIWORD(version.dwFileVersionLS)) + "." +
           std::to_string(LOWORD(version.dwFileVersionLS));
}

LibraryFile FindLibrary(const wchar_t* name) {
    const LoadedLibrary library(name);
    if (library.Module() == nullptr) {
        return {};
    }
    const std::wstring path = PathOf(library.Module());
    return {Utf8FromWide(path), FileVersion(path)};
}

}  // namespace

Machine ExamineMachine() {
    orvane_check_result result{};
    orvane_check_class performance{};
    Machine machine;
    machine.isSupported = orvane_check_supported(&result, &performance) == ORVANE_OK;
    machine.status = result.status;
    machine.windowsVersion = result.osVersion;
    machine.performanceClass = performance.performanceClass;
    machine.adapters = ListAdapters();
    machine.directml = FindLibrary(L"DirectML.dll");
    return machine;
}

}  // namespace orvane::tool
