#include "gpu/system_library.h"

namespace orvane {
namespace {

template <typename Function, typename... Arguments>
HRESULT Call(SystemLibrary& library, const char* name, Arguments... arguments) {
    Function* const function = library.LoadForGood() ? library.Find<Function>(name) : nullptr;
    return function != nullptr ? function(arguments...) : HRESULT_FROM_WIN32(GetLastError());
}

}  // namespace

bool SystemLibrary::Load() {
    if (m_module == nullptr) {
        m_module = LoadLibraryW(m_fileName);
    }
    return m_module != nullptr;
}

bool SystemLibrary::LoadForGood() {
    HMODULE pinned = nullptr;
    return Load() && GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                                        reinterpret_cast<LPCWSTR>(m_module), &pinned) != FALSE;
}

void SystemLibrary::Free() {
    if (m_module != nullptr) {
        FreeLibrary(m_module);
        m_module = nullptr;
    }
}

HRESULT SystemLibraries::CreateDXGIFactory2(UINT flags, REFIID iid, void** factory) {
    return Call<decltype(::CreateDXGIFactory2)>(m_dxgi, "CreateDXGIFactory2", flags, iid, factory);
}

HRESULT SystemLibraries::D3D12CreateDevice(IUnknown* adapter, D3D_FEATURE_LEVEL minFeatureLevel, REFIID iid,
                                           void** device) {
    return Call<decltype(::D3D12CreateDevice)>(m_d3d12, "D3D12CreateDevice", adapter, minFeatureLevel, iid, device);
}

HRESULT SystemLibraries::D3D12SerializeRootSignature(const D3D12_ROOT_SIGNATURE_DESC& desc, ID3DBlob** blob) {
    ID3DBlob** const noErrorText = nullptr;
    return Call<decltype(::D3D12SerializeRootSignature)>(m_d3d12, "D3D12SerializeRootSignature", &desc,
                                                         D3D_ROOT_SIGNATURE_VERSION_1, blob, noErrorText);
}

HRESULT SystemLibraries::DMLCreateDevice(ID3D12Device* device, DML_CREATE_DEVICE_FLAGS flags, REFIID iid,
                                         void** dmlDevice) {
    return Call<decltype(::DMLCreateDevice)>(m_directml, "DMLCreateDevice", device, flags, iid, dmlDevice);
}

}  // namespace orvane
