// Stands in for dxgi.dll, d3d12.dll and DirectML.dll: the program that loads it answers the calls.
#include <bit>
#include <cstdlib>

#include "gpu/platform.h"

namespace {

template <typename Function>
Function* FindInProgram(const char* name) {
    return std::bit_cast<Function*>(GetProcAddress(GetModuleHandleW(nullptr), name));
}

}  // namespace

HRESULT WINAPI CreateDXGIFactory2(UINT flags, REFIID iid, void** factory) {
    return FindInProgram<decltype(CreateDXGIFactory2)>("AnswerFactory")(flags, iid, factory);
}

HRESULT WINAPI D3D12CreateDevice(IUnknown* adapter, D3D_FEATURE_LEVEL level, REFIID iid, void** device) {
    return FindInProgram<decltype(D3D12CreateDevice)>("AnswerDevice")(adapter, level, iid, device);
}

// Only to be looked up.
HRESULT WINAPI DMLCreateDevice(ID3D12Device*, DML_CREATE_DEVICE_FLAGS, REFIID, void**) {
    std::abort();
}
