#include "apps/orvane/machine/memory_use.h"

#include <windows.h>
// windows.h goes first.
#include <psapi.h>

#include <dxgi1_4.h>
#include <wrl/client.h>

#include "apps/utils/process/loaded_library.h"

namespace orvane::tool {
namespace {

using Microsoft::WRL::ComPtr;

std::optional<uint64_t> GraphicsBytes(uint32_t adapterIndex) {
    const LoadedLibrary dxgi(L"dxgi.dll");
    auto* const createFactory = dxgi.Find<decltype(CreateDXGIFactory1)>("CreateDXGIFactory1");
    ComPtr<IDXGIFactory1> factory;
    ComPtr<IDXGIAdapter1> adapter;
    ComPtr<IDXGIAdapter3> measuring;
    DXGI_QUERY_VIDEO_MEMORY_INFO info{};
    if (createFactory == nullptr || FAILED(createFactory(IID_PPV_ARGS(&factory))) ||
        FAILED(factory->EnumAdapters1(adapterIndex, &adapter)) || FAILED(adapter.As(&measuring)) ||
        FAILED(measuring->QueryVideoMemoryInfo(0, DXGI_MEMORY_SEGMENT_GROUP_LOCAL, &info)) || info.CurrentUsage == 0) {
        return std::nullopt;
    }
    return info.CurrentUsage;
}

}  // namespace

MemoryUse MeasureMemory(uint32_t adapterIndex) {
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));  // a failure leaves zeros
    return {counters.PagefileUsage, GraphicsBytes(adapterIndex)};
}

}  // namespace orvane::tool
