// The Windows headers for the GPU, and all their differences between MinGW and Visual C++.
// Include this instead of <directx/...> or <dxgi...>.
#pragma once

// clang-format off: the order matters
#include <windows.h>
#include <wrl/client.h>

#if defined(__MINGW32__)
#include <sal.h>
// DirectML.h uses annotations that MinGW's sal.h lacks.
// NOLINTBEGIN(bugprone-reserved-identifier)
#ifndef _Maybenull_
#define _Maybenull_
#endif
#ifndef _Field_size_
#define _Field_size_(count)
#endif
#ifndef _Field_size_opt_
#define _Field_size_opt_(count)
#endif
#ifndef _Field_size_bytes_
#define _Field_size_bytes_(count)
#endif
// NOLINTEND(bugprone-reserved-identifier)
#endif

// Before dxgi1_6.h, which would bring in the compiler's own, older d3d and dxgi headers.
#include <directx/d3d12.h>
#include <dxgi1_6.h>
#include <dxguids/dxguids.h>
// The first version of DirectML, which is part of Windows 10.0.18362, is enough for the library.
#include <directx/DirectML.h>
#include <directx/d3dx12_barriers.h>
#include <directx/d3dx12_core.h>
#include <directx/d3dx12_resource_helpers.h>
#include <directx/d3dx12_root_signature.h>

#if defined(__MINGW32__)
__CRT_UUID_DECL(IDMLDevice, 0x6dbd6437, 0x96fd, 0x423f, 0xa9, 0x8c, 0xae, 0x5e, 0x7c, 0x2a, 0x57, 0x3f)
__CRT_UUID_DECL(IDMLOperator, 0x26caae7a, 0x3081, 0x4633, 0x95, 0x81, 0x22, 0x6f, 0xbe, 0x57, 0x69, 0x5d)
__CRT_UUID_DECL(IDMLCompiledOperator, 0x6b15e56a, 0xbf5c, 0x4902, 0x92, 0xd8, 0xda, 0x3a, 0x65, 0x0a, 0xfe, 0xa4)
__CRT_UUID_DECL(IDMLOperatorInitializer, 0x427c1113, 0x435c, 0x469c, 0x86, 0x76, 0x4d, 0x5d, 0xd0, 0x72, 0xf8, 0x13)
__CRT_UUID_DECL(IDMLBindingTable, 0x29c687dc, 0xde74, 0x4e3b, 0xab, 0x00, 0x11, 0x68, 0xf2, 0xfc, 0x3c, 0xfc)
__CRT_UUID_DECL(IDMLCommandRecorder, 0xe6857a76, 0x2e3e, 0x4fdd, 0xbf, 0xf4, 0x5d, 0x2b, 0xa1, 0x0f, 0xb4, 0x53)
#endif
// clang-format on

// Before a statement that calls a function which Visual C++ warns about as deprecated.
#if defined(_MSC_VER)
#define ORVANE_SUPPRESS_DEPRECATED __pragma(warning(suppress : 4996))
#else
#define ORVANE_SUPPRESS_DEPRECATED
#endif

namespace orvane {

using Microsoft::WRL::ComPtr;

// Methods that return a struct by value. GCC returns structs differently from Windows. DirectX-Headers therefore
// declares Direct3D's methods with a pointer to the result, and DirectML's is called through its function table.
#if defined(_MSC_VER)
inline D3D12_RESOURCE_DESC GetDesc(ID3D12Resource* resource) {
    return resource->GetDesc();
}
inline D3D12_CPU_DESCRIPTOR_HANDLE GetCpuHeapStart(ID3D12DescriptorHeap* heap) {
    return heap->GetCPUDescriptorHandleForHeapStart();
}
inline D3D12_GPU_DESCRIPTOR_HANDLE GetGpuHeapStart(ID3D12DescriptorHeap* heap) {
    return heap->GetGPUDescriptorHandleForHeapStart();
}
inline LUID GetAdapterLuid(ID3D12Device* device) {
    return device->GetAdapterLuid();
}
inline DML_BINDING_PROPERTIES GetBindingProperties(IDMLDispatchable* dispatchable) {
    return dispatchable->GetBindingProperties();
}
#else
inline D3D12_RESOURCE_DESC GetDesc(ID3D12Resource* resource) {
    D3D12_RESOURCE_DESC desc{};
    resource->GetDesc(&desc);
    return desc;
}
inline D3D12_CPU_DESCRIPTOR_HANDLE GetCpuHeapStart(ID3D12DescriptorHeap* heap) {
    D3D12_CPU_DESCRIPTOR_HANDLE handle{};
    heap->GetCPUDescriptorHandleForHeapStart(&handle);
    return handle;
}
inline D3D12_GPU_DESCRIPTOR_HANDLE GetGpuHeapStart(ID3D12DescriptorHeap* heap) {
    D3D12_GPU_DESCRIPTOR_HANDLE handle{};
    heap->GetGPUDescriptorHandleForHeapStart(&handle);
    return handle;
}
inline LUID GetAdapterLuid(ID3D12Device* device) {
    LUID luid{};
    device->GetAdapterLuid(&luid);
    return luid;
}
inline DML_BINDING_PROPERTIES GetBindingProperties(IDMLDispatchable* dispatchable) {
    using Method = DML_BINDING_PROPERTIES*(STDMETHODCALLTYPE*)(IDMLDispatchable*, DML_BINDING_PROPERTIES*);
    constexpr int kMethodIndex = 8;  // IUnknown 3, IDMLObject 4, IDMLDeviceChild 1, IDMLPageable 0
    void** const methods = *reinterpret_cast<void***>(dispatchable);
    DML_BINDING_PROPERTIES properties{};
    reinterpret_cast<Method>(methods[kMethodIndex])(dispatchable, &properties);
    return properties;
}
#endif

}  // namespace orvane
