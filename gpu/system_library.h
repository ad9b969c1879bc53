// The graphics libraries of the system, loaded when they are first needed, so that the library itself loads on a
// machine that lacks them.
#pragma once

#include <bit>

#include "gpu/platform.h"

namespace orvane {

// One loaded DLL, freed with this object unless it is to stay.
class SystemLibrary {
public:
    explicit SystemLibrary(const wchar_t* fileName) : m_fileName(fileName) {}
    ~SystemLibrary() { Free(); }
    SystemLibrary(const SystemLibrary&) = delete;
    SystemLibrary& operator=(const SystemLibrary&) = delete;

    // Loads the DLL unless it is loaded already. False, with the reason in GetLastError(), when that fails.
    bool Load();
    // The same, and keeps the DLL in the process whatever is freed.
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

// The entry points that an engine calls, each loading its DLL when first called. A DLL or an entry point that cannot
// be had fails the call with the HRESULT of the Windows error. A DLL that was used stays in the process: freeing it
// with the last engine would unload the driver, too, which some drivers do not survive.
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
