// Every method that the library calls and that can report a failure or that belongs to a frame, and the entry points
// that the library looks up.
#include <cstring>
#include <map>
#include <string_view>
#include <tuple>

#include "tests/hooks/call_descriptions.h"
#include "tests/hooks/descriptors.h"
#include "tests/hooks/faults.h"
#include "tests/hooks/pretended.h"
#include "tests/hooks/system_hooks.h"
#include "tests/hooks/watched_calls.h"
#include "tools/hooks/function_tables.h"

namespace orvane::test {
namespace {

void Adopt(REFIID iid, void* object, const char* maker);

// Calls of these shapes return a new object.
template <typename... Arguments>
void AdoptResult([[maybe_unused]] const char* maker, [[maybe_unused]] const std::tuple<Arguments...>& arguments) {
    constexpr size_t kCount = sizeof...(Arguments);
    if constexpr (kCount >= 2) {
        [[maybe_unused]] const auto& last = std::get<kCount - 1>(arguments);
        [[maybe_unused]] const auto& secondLast = std::get<kCount - 2>(arguments);
        if constexpr (std::is_same_v<decltype(secondLast), const IID&>) {
            Adopt(secondLast, *last, maker);
        } else if constexpr (std::is_same_v<decltype(last), IDXGIAdapter1** const&>) {
            Adopt(__uuidof(IDXGIAdapter1), *last, maker);
        } else if constexpr (std::is_same_v<decltype(secondLast), ID3DBlob** const&>) {
            Adopt(IID{}, *secondLast, maker);
        }
    }
}

// What a call that came through means.
void Observe(...) {
}
void Observe(IDXGIAdapter1* /*adapter*/, DXGI_ADAPTER_DESC1* desc) {
    AlterDescription(*desc);
}
void Observe(ID3D12CommandQueue* /*queue*/, ID3D12Fence* fence, UINT64 value) {
    FenceIsSignalled(fence, value);
}
void Observe(ID3D12CommandQueue* /*queue*/, UINT /*count*/, ID3D12CommandList* const* /*lists*/) {
    ListIsExecuted();
}
void Observe(ID3D12GraphicsCommandList* list, ID3D12CommandAllocator* /*allocator*/, ID3D12PipelineState* /*initial*/) {
    ExpectIdle("a list is reset");
    ListIsOpened(list);
}
void Observe(ID3D12GraphicsCommandList* list) {
    ListIsClosed(list);
}
std::map<ID3D12Resource*, void*> g_mapped;  // the last address of each
void Observe(ID3D12Resource* resource, UINT /*subresource*/, const D3D12_RANGE* /*range*/, void** data) {
    ExpectIdle("memory is mapped");
    g_mapped[resource] = *data;
}
void Observe(ID3D12Device* device, const D3D12_DESCRIPTOR_HEAP_DESC* desc, const IID& /*iid*/, void** heap) {
    RememberHeap(*device, *desc, static_cast<ID3D12DescriptorHeap*>(*heap));
}

// What a call waits for before it fails. A fence that is released with a value to come takes Wine's device along into
// oblivion, now and then.
void Settle(...) {
}
void Settle(ID3D12Fence* fence, UINT64 value, HANDLE /*event*/) {
    const InsideSystem inside;
    while (fence->GetCompletedValue() < value) {
        Sleep(1);
    }
}

// A call that reports a failure in its result.
template <typename... Arguments>
HRESULT PassOn(const char* name, HRESULT(STDMETHODCALLTYPE* original)(Arguments...),
               std::type_identity_t<Arguments>... arguments) {
    if (!IsLibrarysOwnCall()) {
        return original(arguments...);
    }
    const std::optional<HRESULT> failure = MeetFault(name);
    if (failure) {
        Settle(arguments...);
    }
    // A list that could not be closed well is not open either.
    if (failure && std::strcmp(name, "ID3D12GraphicsCommandList::Close") != 0) {
        return *failure;
    }
    HRESULT hr = S_OK;
    {
        const InsideSystem inside;
        hr = original(arguments...);
    }
    if (SUCCEEDED(hr)) {
        AdoptResult(name, std::tuple<Arguments...>(arguments...));
        Observe(arguments...);
        if (std::strncmp(name, "IDXGI", 5) != 0) {  // how many adapters there are is the machine's affair
            RecordCall(name, arguments...);
        }
    }
    return failure.value_or(hr);
}

template <typename... Arguments>
void PassOn(const char* name, void(STDMETHODCALLTYPE* original)(Arguments...),
            std::type_identity_t<Arguments>... arguments) {
    if (!IsLibrarysOwnCall()) {
        return original(arguments...);
    }
    {
        const InsideSystem inside;
        original(arguments...);
    }
    Observe(arguments...);
    RecordCall(name, arguments...);
}

template <size_t Slot, typename Result, typename Interface, typename... Arguments>
struct MethodHook {
    static inline const char* name = nullptr;
    static Result STDMETHODCALLTYPE Call(Interface* self, Arguments... arguments) {
        return PassOn(name, OriginalMethod<Result(Interface*, Arguments...)>(self, Slot), self, arguments...);
    }
};

template <typename Interface, size_t Slot, typename Result, typename Declaring, typename... Arguments>
MethodReplacement ReplaceMethod(const char* name, Result (STDMETHODCALLTYPE Declaring::*)(Arguments...)) {
    using Hook = MethodHook<Slot, Result, Interface, Arguments...>;
    Hook::name = name;
    return {__uuidof(Interface), Slot, Address(&Hook::Call)};
}

UINT64 STDMETHODCALLTYPE GetCompletedValue(ID3D12Fence* self) {
    const UINT64 value = OriginalMethod<decltype(GetCompletedValue)>(self, 8)(self);
    if (IsLibrarysOwnCall()) {
        FenceShows(self, value);
    }
    return value;
}

// Says what an upload ends in: a source that is too short would show there.
void STDMETHODCALLTYPE Unmap(ID3D12Resource* self, UINT subresource, const D3D12_RANGE* written) {
    if (IsLibrarysOwnCall()) {
        const auto* const end = static_cast<const uint8_t*>(g_mapped[self]) + GetDesc(self).Width;
        const std::string ending = written == nullptr ? Text("ending in ", int{end[-2]}, " ", int{end[-1]}) : "";
        RecordCall("ID3D12Resource::Unmap", self, subresource, written, ending);
    }
    OriginalMethod<decltype(Unmap)>(self, 9)(self, subresource, written);
}

HRESULT STDMETHODCALLTYPE SetName(ID3D12Object* self, const wchar_t* name) {
    if (IsLibrarysOwnCall()) {
        RecordCall("ID3D12Object::SetName", self, name);
        NameObject(self, Describe(name));
    }
    return OriginalMethod<decltype(SetName)>(self, 6)(self, name);
}

const std::vector<MethodReplacement>& Methods() {
#define METHOD(interface, method, slot) ReplaceMethod<interface, slot>(#interface "::" #method, &interface::method)
    static const std::vector<MethodReplacement> methods = [] {
        std::vector<MethodReplacement> all = MemoryMethods();
        const auto enumAdapters =
            ReplaceMethod<IDXGIFactory1, 12>("IDXGIFactory1::EnumAdapters1", &IDXGIFactory1::EnumAdapters1);
        all.insert(all.end(), {
                                  {__uuidof(IDXGIFactory2), 12, enumAdapters.hook},
                                  {__uuidof(IDXGIFactory4), 12, enumAdapters.hook},
                                  {__uuidof(ID3D12Fence), 8, Address(&GetCompletedValue)},
                                  {__uuidof(ID3D12Resource), 9, Address(&Unmap)},
                                  METHOD(IDXGIFactory4, EnumAdapterByLuid, 26),
                                  METHOD(IDXGIAdapter1, GetDesc1, 10),
                                  METHOD(ID3D12Device, CreateCommandQueue, 8),
                                  METHOD(ID3D12Device, CreateCommandAllocator, 9),
                                  METHOD(ID3D12Device, CreateComputePipelineState, 11),
                                  METHOD(ID3D12Device, CreateCommandList, 12),
                                  METHOD(ID3D12Device, CheckFeatureSupport, 13),
                                  METHOD(ID3D12Device, CreateDescriptorHeap, 14),
                                  METHOD(ID3D12Device, CreateRootSignature, 16),
                                  METHOD(ID3D12Device, CreateShaderResourceView, 18),
                                  METHOD(ID3D12Device, CreateUnorderedAccessView, 19),
                                  METHOD(ID3D12Device, CreateCommittedResource, 27),
                                  METHOD(ID3D12Device, CreateFence, 36),
                                  METHOD(ID3D12Device, GetDeviceRemovedReason, 37),
                                  METHOD(ID3D12CommandQueue, ExecuteCommandLists, 10),
                                  METHOD(ID3D12CommandQueue, Signal, 14),
                                  METHOD(ID3D12CommandAllocator, Reset, 8),
                                  METHOD(ID3D12GraphicsCommandList, Close, 9),
                                  METHOD(ID3D12GraphicsCommandList, Reset, 10),
                                  METHOD(ID3D12GraphicsCommandList, Dispatch, 14),
                                  METHOD(ID3D12GraphicsCommandList, CopyBufferRegion, 15),
                                  METHOD(ID3D12GraphicsCommandList, CopyTextureRegion, 16),
                                  METHOD(ID3D12GraphicsCommandList, SetPipelineState, 25),
                                  METHOD(ID3D12GraphicsCommandList, ResourceBarrier, 26),
                                  METHOD(ID3D12GraphicsCommandList, SetDescriptorHeaps, 28),
                                  METHOD(ID3D12GraphicsCommandList, SetComputeRootSignature, 29),
                                  METHOD(ID3D12GraphicsCommandList, SetComputeRootDescriptorTable, 31),
                                  METHOD(ID3D12GraphicsCommandList, SetComputeRoot32BitConstants, 35),
                                  METHOD(ID3D12Fence, SetEventOnCompletion, 9),
                                  METHOD(ID3D12Resource, Map, 8),
                                  METHOD(IDMLDevice, CheckFeatureSupport, 7),
                                  METHOD(IDMLDevice, CreateOperator, 8),
                                  METHOD(IDMLDevice, CompileOperator, 9),
                                  METHOD(IDMLDevice, CreateOperatorInitializer, 10),
                                  METHOD(IDMLDevice, CreateCommandRecorder, 11),
                                  METHOD(IDMLDevice, CreateBindingTable, 12),
                                  METHOD(IDMLDevice, GetDeviceRemovedReason, 15),
                                  METHOD(IDMLCommandRecorder, RecordDispatch, 8),
                                  METHOD(IDMLBindingTable, BindInputs, 8),
                                  METHOD(IDMLBindingTable, Reset, 12),
                              });
        return all;
    }();
#undef METHOD
    return methods;
}

ULONG STDMETHODCALLTYPE Release(IUnknown* self) {
    const auto release = OriginalMethod<decltype(Release)>(self, 2);
    ULONG left = 0;
    {
        const InsideSystem inside;
        left = release(self);
    }
    if (left == 0) {
        if (IsLibrarysOwnCall() && IsRecordingReleases()) {
            RecordCall("IUnknown::Release", self);
        }
        ReleaseObject(self);
    }
    return left;
}

void Adopt(REFIID iid, void* object, const char* maker) {
    void** const table = *static_cast<void***>(object);
    for (const auto& [methodIid, slot, hook] : Methods()) {
        if (methodIid == iid) {
            ReplaceEntry(table + slot, hook);
        }
    }
    const std::string_view interfaceName(maker);
    if (interfaceName.starts_with("ID3D12Device::") || interfaceName == "D3D12CreateDevice") {
        ReplaceEntry(table + 6, Address(&SetName));
    }
    ReplaceEntry(table + 2, Address(&Release));
    HoldObject(object, maker);
}

template <typename Tag, typename... Arguments>
struct EntryHook {
    static inline HRESULT(WINAPI* original)(Arguments...) = nullptr;
    static inline const char* name = nullptr;
    static HRESULT WINAPI Call(Arguments... arguments) { return PassOn(name, original, arguments...); }
};

template <typename Tag, typename... Arguments>
void* ReplaceEntryPoint(const char* name, void* found, HRESULT(WINAPI*)(Arguments...)) {
    using Hook = EntryHook<Tag, Arguments...>;
    Hook::name = name;
    Hook::original = reinterpret_cast<decltype(Hook::original)>(found);
    return Address(&Hook::Call);
}

}  // namespace

void* HookEntryPoint(const char* name, void* found) {
#define ENTRY_POINT(function)                                                                                          \
    if (std::strcmp(name, #function) == 0) {                                                                           \
        return ReplaceEntryPoint<struct function##Tag>(#function, found, static_cast<decltype(&(function))>(nullptr)); \
    }
    ENTRY_POINT(CreateDXGIFactory2)
    ENTRY_POINT(D3D12CreateDevice)
    ENTRY_POINT(D3D12SerializeRootSignature)
    ENTRY_POINT(DMLCreateDevice)
#undef ENTRY_POINT
    return found;
}

void InstallHooks() {
    g_watchedThread = GetCurrentThreadId();
    // The tables of a library that was unloaded and loaded again would be others.
    for (const wchar_t* const library : {L"dxgi.dll", L"d3d12.dll", L"DirectML.dll"}) {
        LoadLibraryW(library);
    }
    HookImports();
}

}  // namespace orvane::test
