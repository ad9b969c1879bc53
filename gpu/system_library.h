// The graphics libraries of the system. They are loaded when first needed, so the library itself also loads on a
// machine without them.
#pragma once

#include <bit>

#include "gpu/platform.h"

namespace orvane {

// One loaded DLL. Freed with this object unless it was loaded for good.
class SystemLibrary {
public:
    explicit SystemLibrary(const wchar_t* fileName) : m_fileName(fileName) {}
    ~SystemLibrary() { Free(); }
    SystemLibrary(const SystemLibrary&) = delete;
    SystemLibrary& operator=(const SystemLibrary&) = delete;

    // Loads the DLL unless it is loaded already. False, with the reason in GetLastError(), when that fails.
    bool Load();
    // The same, but the DLL stays in the process even after Free.
    bool LoadForGood();
    void Free();

    // An entry point of the loaded DLL, or null.
    template <typename Function>
    Function* Find(const char* name) const {
        return std::bit_cast<Function*>(GetProcAddress(m_module, name));
    }

private:
    const wchar_t* m_fileName;
    HMODULE m_module = nullptr;
};

// The entry points that an engine calls. Each loads its DLL when first called. If the DLL or the entry point is
// missing, the call fails with the HRESULT of the Windows error. A DLL that was used stays in the process: freeing it
// would also unload the driver, and some drivers do not survive that.
class SystemLibraries {
public:
    HRESULT CreateDXGIFactory2(UINT flags, REFIID iid, void** factory);
    HRESULT D3D12CreateDevice(IUnknown* adapter, D3D_FEATURE_LEVEL minFeatureLevel, REFIID iid, void** device);
    HRESULT D3D12SerializeRootSignature(const D3D12_ROOT_SIGNATURE_DESC& desc, ID3DBlob** blob);
    HRESULT DMLCreateDevice(ID3D12Device* device, DML_CREATE_DEVICE_FLAGS flags, REFIID iid, void** dmlDevice);

private:
    SystemLibrary m_dxgi{L"dxgi.dll"};
    SystemLibrary m_d3d12{L"d3d12.dll"};
    SystemLibrary m_directml{L"DirectML.dll"};
};

}  // namespace orvane
