#include "gpu/support_check.h"

#include <cstdio>
#include <cstdlib>

#include "api/log.h"
#include "gpu/adapter_classes.h"
#include "gpu/adapter_selection.h"
#include "gpu/platform.h"
#include "gpu/system_library.h"
#include "gpu/windows_version.h"

namespace orvane {
namespace {

// Everything that a check loads and creates. Released in reverse order: the objects before their libraries.
struct DetectionState {
    SystemLibrary dxgi{L"dxgi.dll"};
    SystemLibrary d3d12{L"d3d12.dll"};
    SystemLibrary directml{L"DirectML.dll"};
    ComPtr<IDXGIFactory2> factory;
    ComPtr<IDXGIAdapter1> adapter;
    ComPtr<ID3D12Device> device;
};

// The steps of a check return 0 or the status that ends it.

int32_t CreateFactory(DetectionState& state) {
    if (!state.dxgi.Load()) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to load dxgi.dll");
        return ORVANE_CHECK_NO_DXGI;
    }
    auto* const createFactory = state.dxgi.Find<decltype(CreateDXGIFactory2)>("CreateDXGIFactory2");
    if (createFactory == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|CreateDXGIFactory2 not found in dxgi.dll");
        return ORVANE_CHECK_NO_DXGI_ENTRY;
    }
    if (FAILED(createFactory(0, IID_PPV_ARGS(state.factory.GetAddressOf())))) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|fail to CreateDXGIFactory");
        return ORVANE_CHECK_NO_FACTORY;
    }
    return 0;
}

int32_t ChooseAdapter(DetectionState& state, uint32_t& adapterCount) {
    state.adapter = SelectBestAdapter(*state.factory.Get(), &adapterCount).adapter;
    if (!state.adapter) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|Failed to enumerate any suitable adapter");
        return ORVANE_CHECK_NO_ADAPTER;
    }
    return 0;
}

// In the encoding of the process's locale. Empty when that cannot represent the name.
template <size_t Size>
void ConvertName(const wchar_t* wide, char (&name)[Size]) {
    if (std::wcstombs(name, wide, Size - 1) == static_cast<size_t>(-1)) {
        name[0] = '\0';
    }
    name[Size - 1] = '\0';
}

void DescribeAdapter(IDXGIAdapter1& adapter, orvane_check_result& supportRecord, orvane_check_class& classRecord) {
    DXGI_ADAPTER_DESC1 desc{};
    adapter.GetDesc1(&desc);  // a failure leaves the name empty, which is not an error
    auto& name = supportRecord.adapterName;
    ConvertName(desc.Description, name);
    LogMessage(ORVANE_LOG_INFO, "HWD|the best Adapter:%s, VendorId = 0x%x, DeviceId = 0x%x, VRAM: %llu MB", name,
               desc.VendorId, desc.DeviceId, static_cast<unsigned long long>(desc.DedicatedVideoMemory >> 20));
    classRecord.performanceClass = static_cast<uint32_t>(ClassifyPerformance(name, ClassifyVendor(name)));
}

int32_t CreateTestDevice(DetectionState& state) {
    if (!state.d3d12.Load()) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to load d3d12.dll");
        return ORVANE_CHECK_NO_D3D12;
    }
    auto* const createDevice = state.d3d12.Find<decltype(D3D12CreateDevice)>("D3D12CreateDevice");
    if (createDevice == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|D3D12CreateDevice not found in d3d12.dll");
        return ORVANE_CHECK_NO_D3D12_ENTRY;
    }
    if (FAILED(createDevice(state.adapter.Get(), D3D_FEATURE_LEVEL_11_0, IID_PPV_ARGS(state.device.GetAddressOf())))) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|unsupport D3D12");
        return ORVANE_CHECK_NO_DEVICE;
    }
    return 0;
}

int32_t JudgeWindows(const WindowsVersion& version) {
    if (!IsSupportedWindows(version)) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|windows system too old, major:%d, minor:%d, build:%d", version.major,
                   version.minor, version.build);
        return ORVANE_CHECK_WINDOWS_TOO_OLD;
    }
    return 0;
}

int32_t FindDirectML(DetectionState& state) {
    if (!state.directml.Load()) {
        LogMessage(ORVANE_LOG_ERROR, "Failed to load DirectML.dll");
        return ORVANE_CHECK_NO_DIRECTML;
    }
    if (state.directml.Find<decltype(DMLCreateDevice)>("DMLCreateDevice") == nullptr) {
        LogMessage(ORVANE_LOG_ERROR, "HWD|DMLCreateDevice not found in DirectML.dll");
        return ORVANE_CHECK_NO_DIRECTML_ENTRY;
    }
    return 0;
}

int32_t Detect(DetectionState& state, orvane_check_result& supportRecord, orvane_check_class& classRecord) {
    const WindowsVersion version = ReadWindowsVersion();
    std::snprintf(supportRecord.osVersion, sizeof(supportRecord.osVersion), "%d.%d.%d", version.major, version.minor,
                  version.build);
    LogMessage(ORVANE_LOG_INFO, "HWD|Windows Version: %d.%d.%d", version.major, version.minor, version.build);

    if (const int32_t status = CreateFactory(state); status != 0) {
        return status;
    }
    if (const int32_t status = ChooseAdapter(state, supportRecord.adapterCount); status != 0) {
        return status;
    }
    DescribeAdapter(*state.adapter.Get(), supportRecord, classRecord);
    if (const int32_t status = CreateTestDevice(state); status != 0) {
        return status;
    }
    // Checked last, so that an old system without Direct3D 12 gets the message about Direct3D 12.
    if (const int32_t status = JudgeWindows(version); status != 0) {
        return status;
    }
    return FindDirectML(state);
}

}  // namespace

int32_t DetectHardware(orvane_check_result& supportRecord, orvane_check_class& classRecord) {
    {
        DetectionState state;
        if (const int32_t status = Detect(state, supportRecord, classRecord); status != 0) {
            return status;
        }
    }
    LogMessage(ORVANE_LOG_INFO, "HWD|finish detect!");
    return 0;
}

}  // namespace orvane
