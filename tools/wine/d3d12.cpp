// A d3d12.dll that wraps Wine's own, for Wine 9 and later. There ID3D12Device5::EnumerateMetaCommands is a stub that
// fails, and DirectML then creates no device. This one reports that there are no meta commands and leaves everything
// else to Wine (wine_d3d12.dll; d3d12.def forwards the other exports). tools/wine/run-wine builds it into the prefix.
// It is not shipped.
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include <windows.h>
// windows.h goes first.
#include <unknwn.h>

namespace {

using CreateDevice = HRESULT WINAPI(IUnknown* adapter, int featureLevel, REFIID iid, void** device);

constexpr IID kDevice5{0x8B4F173B, 0x2FEA, 0x4B80, {0x8F, 0x58, 0x43, 0x07, 0x19, 0x1A, 0xB9, 0x5D}};
constexpr size_t kEnumerateMetaCommands = 59;  // its place in the function table of ID3D12Device5

// HRESULT EnumerateMetaCommands(this, UINT* count, descriptions) { *count = 0; return S_OK; }
constexpr std::array<uint8_t, 9> kNoMetaCommands{0xC7, 0x02, 0x00, 0x00, 0x00, 0x00,  // mov dword ptr [rdx], 0
                                                 0x31, 0xC0,                          // xor eax, eax
                                                 0xC3};                               // ret

// The function table that all devices share outlives this library, so its code must not be in this library.
void* MakeCode() {
    void* const code = VirtualAlloc(nullptr, kNoMetaCommands.size(), MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
    return code == nullptr ? nullptr : std::memcpy(code, kNoMetaCommands.data(), kNoMetaCommands.size());
}

void AnswerForMetaCommands(IUnknown& device) {
    void* device5 = nullptr;
    if (FAILED(device.QueryInterface(kDevice5, &device5))) {
        return;
    }
    void** const entry = *static_cast<void***>(device5) + kEnumerateMetaCommands;
    DWORD protection = 0;
    if (std::memcmp(*entry, kNoMetaCommands.data(), kNoMetaCommands.size()) != 0 &&
        VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection)) {
        void* const code = MakeCode();
        *entry = code == nullptr ? *entry : code;
        VirtualProtect(entry, sizeof(*entry), protection, &protection);
    }
    static_cast<IUnknown*>(device5)->Release();
}

}  // namespace

extern "C" HRESULT WINAPI D3D12CreateDevice(IUnknown* adapter, int featureLevel, REFIID iid, void** device) {
    const HMODULE wine = LoadLibraryW(L"wine_d3d12.dll");
    if (wine == nullptr) {
        return HRESULT_FROM_WIN32(GetLastError());
    }
    auto* const create = std::bit_cast<CreateDevice*>(GetProcAddress(wine, "D3D12CreateDevice"));
    const HRESULT result = create(adapter, featureLevel, iid, device);
    if (SUCCEEDED(result) && device != nullptr) {
        AnswerForMetaCommands(*static_cast<IUnknown*>(*device));
    }
    return result;
}
