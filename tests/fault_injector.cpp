#include "tests/fault_injector.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <objbase.h>
#include <process.h>
#include <set>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvane::test {
namespace {

struct State {
    std::mutex lock;
    DWORD thread = 0;
    bool isArmed = false;
    bool wasMet = false;
    std::string call;
    int occurrence = 0;
    HRESULT result = S_OK;
    HRESULT removedReason = S_OK;
    FaultInjector::CallCounts counts;
    FaultInjector::CallCounts successes;                              // of imported functions, since ever
    std::map<void*, std::string> objects;                             // alive, and the calls that made them
    std::map<void**, ULONG(STDMETHODCALLTYPE*)(IUnknown*)> releases;  // by function table
    std::set<HANDLE> events;
    std::set<HANDLE> uploadEvents;
    std::map<void*, UINT64> signalled;  // the last values
    std::set<void*> running;            // as far as the library knows
    std::string complaints;
    int pretendedBindings = 0;
};

State& GetState() {
    static auto& state = *new State;  // the hooks outlive everything
    return state;
}

// Above 0 inside a call of the library, where every other call is the system's own.
thread_local int t_depth = 0;

bool IsLibrarysOwnCall() {
    return t_depth == 0 && GetCurrentThreadId() == GetState().thread;
}

// Counts a call. True when it is the one to fail.
bool Meets(const char* call) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    if (!state.isArmed || ++state.counts[call] != state.occurrence || state.call != call) {
        return false;
    }
    state.wasMet = true;
    return true;
}

void CountSuccess(const char* call) {
    const std::lock_guard lock(GetState().lock);
    ++GetState().successes[call];
}

// --- What the library must not do ---

void Check(...) {
}

// A wait for a value that was signalled before would be over too early.
void Check(ID3D12CommandQueue* /*queue*/, ID3D12Fence* fence, UINT64 value) {
    UINT64& last = GetState().signalled[fence];
    if (value <= last) {
        GetState().complaints += "a fence value is signalled again; ";
    }
    last = value;
}

void Check(ID3D12GraphicsCommandList* list, ID3D12CommandAllocator* /*allocator*/, ID3D12PipelineState* /*initial*/) {
    if (GetState().running.contains(list)) {
        GetState().complaints += "a list that may be running is reset; ";
    }
}

struct ExecuteHook {
    static inline void(STDMETHODCALLTYPE* original)(ID3D12CommandQueue*, UINT, ID3D12CommandList* const*) = nullptr;

    static void STDMETHODCALLTYPE Call(ID3D12CommandQueue* self, UINT count, ID3D12CommandList* const* lists) {
        if (IsLibrarysOwnCall()) {
            GetState().running.insert(lists, lists + count);
        }
        original(self, count, lists);
    }
};

// --- Calls that return an HRESULT: methods, and entry points of the libraries that are loaded at run time ---

void Adopt(REFIID iid, void* object, const char* maker);

// Calls of these shapes hand out a new object.
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

template <typename Tag, typename... Arguments>
struct Hook {
    static inline HRESULT(STDMETHODCALLTYPE* original)(Arguments...) = nullptr;
    static inline const char* name = nullptr;

    static HRESULT STDMETHODCALLTYPE Call(Arguments... arguments) {
        State& state = GetState();
        const bool isOurs = IsLibrarysOwnCall();
        const bool isRemoved = isOurs && state.wasMet && FAILED(state.removedReason);
        const bool fails = isOurs && Meets(name);
        // A list that could not be closed well is not open either.
        if (fails && std::strcmp(name, "ID3D12GraphicsCommandList::Close") != 0) {
            return state.result;
        }
        if (isRemoved && std::strstr(name, "::GetDeviceRemovedReason") != nullptr) {
            return state.removedReason;
        }
        ++t_depth;
        const HRESULT hr = original(arguments...);
        --t_depth;
        if (isOurs && SUCCEEDED(hr)) {
            Check(arguments...);
            AdoptResult(name, std::tuple<Arguments...>(arguments...));
        }
        return fails ? state.result : hr;
    }
};

// An entry of a function table and what takes its place.
struct Replacement {
    size_t slot = 0;
    void* hook = nullptr;
    void** original = nullptr;  // not for a hook that calls it by name

    void Install(void** table) const {
        void** const entry = table + slot;
        if (*entry == hook) {
            return;
        }
        if (original != nullptr) {
            if (*original != nullptr && *original != *entry) {
                std::abort();  // two implementations of one interface
            }
            *original = *entry;
        }
        DWORD protection = 0;
        VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
        *entry = hook;
        VirtualProtect(entry, sizeof(*entry), protection, &protection);
    }
};

template <typename Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

template <typename Interface, size_t Slot, typename Declaring, typename... Arguments>
Replacement ReplaceMethod(const char* name, HRESULT (STDMETHODCALLTYPE Declaring::*)(Arguments...)) {
    using MethodHook = Hook<std::integral_constant<size_t, Slot>, Interface*, Arguments...>;
    MethodHook::name = name;
    return {Slot, Address(&MethodHook::Call), reinterpret_cast<void**>(&MethodHook::original)};
}

template <typename Tag, typename... Arguments>
FARPROC ReplaceEntryPoint(const char* name, FARPROC found, HRESULT(WINAPI*)(Arguments...)) {
    using EntryHook = Hook<Tag, Arguments...>;
    EntryHook::name = name;
    EntryHook::original = reinterpret_cast<decltype(EntryHook::original)>(Address(found));
    return reinterpret_cast<FARPROC>(Address(&EntryHook::Call));
}

// --- Memory that operators need ---

constexpr UINT64 kPretendedBytes = 43968;  // no operator asks for just this

template <typename Interface>
struct PropertiesHook {
    // Results that are structs are returned so on Windows, whatever the compiler.
    static inline DML_BINDING_PROPERTIES*(STDMETHODCALLTYPE* original)(Interface*, DML_BINDING_PROPERTIES*) = nullptr;

    static DML_BINDING_PROPERTIES* STDMETHODCALLTYPE Call(Interface* self, DML_BINDING_PROPERTIES* properties) {
        ++t_depth;
        original(self, properties);
        --t_depth;
        if (IsLibrarysOwnCall()) {
            for (UINT64* const size : {&properties->TemporaryResourceSize, &properties->PersistentResourceSize}) {
                *size = *size != 0 ? *size : kPretendedBytes;
            }
        }
        return properties;
    }
};

// DirectML refuses what it did not ask for.
DML_BINDING_DESC WithoutPretended(const DML_BINDING_DESC& binding) {
    const auto* const buffer = static_cast<const DML_BUFFER_BINDING*>(binding.Desc);
    if (binding.Type != DML_BINDING_TYPE_BUFFER || buffer->SizeInBytes != kPretendedBytes || buffer->Offset != 0 ||
        GetDesc(buffer->Buffer).Width != kPretendedBytes) {
        return binding;
    }
    ++GetState().pretendedBindings;
    return {DML_BINDING_TYPE_NONE, nullptr};
}

struct OutputsHook {
    static inline void(STDMETHODCALLTYPE* original)(IDMLBindingTable*, UINT, const DML_BINDING_DESC*) = nullptr;

    static void STDMETHODCALLTYPE Call(IDMLBindingTable* self, UINT count, const DML_BINDING_DESC* bindings) {
        std::vector<DML_BINDING_DESC> real(bindings, bindings + count);
        std::transform(real.begin(), real.end(), real.begin(), WithoutPretended);
        ++t_depth;
        original(self, count, real.data());
        --t_depth;
    }
};

template <size_t Slot>
struct MemoryHook {
    static inline void(STDMETHODCALLTYPE* original)(IDMLBindingTable*, const DML_BINDING_DESC*) = nullptr;

    static void STDMETHODCALLTYPE Call(IDMLBindingTable* self, const DML_BINDING_DESC* binding) {
        const DML_BINDING_DESC real = WithoutPretended(*binding);
        ++t_depth;
        original(self, &real);
        --t_depth;
    }
};

template <typename MemberHook>
Replacement ReplaceMember(size_t slot) {
    return {slot, Address(&MemberHook::Call), reinterpret_cast<void**>(&MemberHook::original)};
}

// --- The objects ---

// Every method that the library calls and that can report a failure, with its place in the function table, and those
// about memory.
const std::vector<std::pair<IID, Replacement>>& Methods() {
#define METHOD(interface, method, slot) \
    { __uuidof(interface), ReplaceMethod<interface, slot>(#interface "::" #method, &interface::method) }
    static const auto enumAdapters =
        ReplaceMethod<IDXGIFactory1, 12>("IDXGIFactory1::EnumAdapters1", &IDXGIFactory1::EnumAdapters1);
    static const std::vector<std::pair<IID, Replacement>> methods{
        {__uuidof(IDXGIFactory2), enumAdapters},
        {__uuidof(IDXGIFactory4), enumAdapters},
        METHOD(IDXGIFactory4, EnumAdapterByLuid, 26),
        METHOD(IDXGIAdapter1, GetDesc1, 10),
        METHOD(ID3D12Device, SetName, 6),
        METHOD(ID3D12Device, CreateCommandQueue, 8),
        METHOD(ID3D12Device, CreateCommandAllocator, 9),
        METHOD(ID3D12Device, CreateComputePipelineState, 11),
        METHOD(ID3D12Device, CreateCommandList, 12),
        METHOD(ID3D12Device, CheckFeatureSupport, 13),
        METHOD(ID3D12Device, CreateDescriptorHeap, 14),
        METHOD(ID3D12Device, CreateRootSignature, 16),
        METHOD(ID3D12Device, CreateCommittedResource, 27),
        METHOD(ID3D12Device, CreateFence, 36),
        METHOD(ID3D12Device, GetDeviceRemovedReason, 37),
        METHOD(ID3D12CommandQueue, SetName, 6),
        {__uuidof(ID3D12CommandQueue), ReplaceMember<ExecuteHook>(10)},
        METHOD(ID3D12CommandQueue, Signal, 14),
        METHOD(ID3D12CommandAllocator, SetName, 6),
        METHOD(ID3D12CommandAllocator, Reset, 8),
        METHOD(ID3D12GraphicsCommandList, SetName, 6),
        METHOD(ID3D12GraphicsCommandList, Close, 9),
        METHOD(ID3D12GraphicsCommandList, Reset, 10),
        METHOD(ID3D12Fence, SetName, 6),
        METHOD(ID3D12Fence, SetEventOnCompletion, 9),
        METHOD(ID3D12Resource, SetName, 6),
        METHOD(ID3D12Resource, Map, 8),
        METHOD(ID3D12RootSignature, SetName, 6),
        METHOD(ID3D12PipelineState, SetName, 6),
        METHOD(IDMLDevice, CheckFeatureSupport, 7),
        METHOD(IDMLDevice, CreateOperator, 8),
        METHOD(IDMLDevice, CompileOperator, 9),
        METHOD(IDMLDevice, CreateOperatorInitializer, 10),
        METHOD(IDMLDevice, CreateCommandRecorder, 11),
        METHOD(IDMLDevice, CreateBindingTable, 12),
        METHOD(IDMLDevice, GetDeviceRemovedReason, 15),
        METHOD(IDMLBindingTable, Reset, 12),
        {__uuidof(IDMLCompiledOperator), ReplaceMember<PropertiesHook<IDMLCompiledOperator>>(8)},
        {__uuidof(IDMLOperatorInitializer), ReplaceMember<PropertiesHook<IDMLOperatorInitializer>>(8)},
        {__uuidof(IDMLBindingTable), ReplaceMember<OutputsHook>(9)},
        {__uuidof(IDMLBindingTable), ReplaceMember<MemoryHook<10>>(10)},
        {__uuidof(IDMLBindingTable), ReplaceMember<MemoryHook<11>>(11)},
    };
#undef METHOD
    return methods;
}

ULONG STDMETHODCALLTYPE Release(IUnknown* self) {
    State& state = GetState();
    std::unique_lock lock(state.lock);
    const auto original = state.releases.at(*reinterpret_cast<void***>(self));
    lock.unlock();
    ++t_depth;
    const ULONG left = original(self);
    --t_depth;
    if (left == 0) {
        lock.lock();
        state.objects.erase(self);
        state.signalled.erase(self);
        state.running.erase(self);
    }
    return left;
}

void Adopt(REFIID iid, void* object, const char* maker) {
    void** const table = *static_cast<void***>(object);
    for (const auto& [methodIid, method] : Methods()) {
        if (methodIid == iid) {
            method.Install(table);
        }
    }
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.objects[object] = maker;
    if (!state.releases.contains(table)) {
        Replacement{2, Address(&Release), reinterpret_cast<void**>(&state.releases[table])}.Install(table);
    }
}

// --- Imported functions ---

template <typename Tag, typename Result, typename... Arguments>
struct ImportHook {
    static inline Result(WINAPI* original)(Arguments...) = nullptr;
    static inline const char* name = nullptr;
    static inline Result failure{};
    static inline DWORD lastError = 0;

    static Result WINAPI Call(Arguments... arguments) {
        if (IsLibrarysOwnCall() && Meets(name)) {
            SetLastError(lastError);
            return failure;
        }
        const Result result = original(arguments...);
        if (result != failure && GetCurrentThreadId() == GetState().thread) {
            CountSuccess(name);
        }
        return result;
    }
};

template <typename Tag, typename Result, typename... Arguments>
Replacement ReplaceImport(const char* name, Result(WINAPI*)(Arguments...), std::type_identity_t<Result> failure,
                          DWORD lastError = 0) {
    using Import = ImportHook<Tag, Result, Arguments...>;
    Import::name = name;
    Import::failure = failure;
    Import::lastError = lastError;
    return {0, Address(&Import::Call), reinterpret_cast<void**>(&Import::original)};
}

BOOL WINAPI HookFreeLibrary(HMODULE module) {
    CountSuccess("FreeLibrary");
    return FreeLibrary(module);
}

void WINAPI HookCoUninitialize() {
    CountSuccess("CoUninitialize");
    CoUninitialize();
}

FARPROC WINAPI HookGetProcAddress(HMODULE module, LPCSTR name) {
    const FARPROC found = GetProcAddress(module, name);
    if (found == nullptr || Meets("GetProcAddress")) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return nullptr;
    }
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

HANDLE WINAPI HookCreateEventExW(LPSECURITY_ATTRIBUTES attributes, LPCWSTR name, DWORD flags, DWORD access) {
    const HANDLE event = Meets("CreateEventExW") ? nullptr : CreateEventExW(attributes, name, flags, access);
    (access == EVENT_ALL_ACCESS ? GetState().uploadEvents : GetState().events).insert(event);
    GetState().events.erase(nullptr);
    return event;
}

BOOL WINAPI HookCloseHandle(HANDLE handle) {
    GetState().events.erase(handle);
    return CloseHandle(handle);
}

DWORD WINAPI HookWaitForSingleObjectEx(HANDLE handle, DWORD milliseconds, BOOL alertable) {
    if (Meets("WaitForSingleObjectEx")) {
        return WAIT_FAILED;
    }
    GetState().running.clear();
    return WaitForSingleObjectEx(handle, milliseconds, alertable);
}

int Hookfclose(std::FILE* file) {
    CountSuccess("fclose");
    return std::fclose(file);
}

// The compiler's runtime waits with the same function; only the wait for an upload is to fail, on a thread of its own.
DWORD WINAPI HookWaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    if (GetState().uploadEvents.contains(handle) && Meets("WaitForSingleObject")) {
        SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    }
    return WaitForSingleObject(handle, milliseconds);
}

const std::map<std::string, Replacement>& Imports() {
#define IMPORT(function, ...) \
    { #function, ReplaceImport < struct function##Tag>(#function, &function, __VA_ARGS__) }
#define OWN_IMPORT(function)                     \
    {                                            \
#function, {                             \
            0, Address(&Hook##function), nullptr \
        }                                        \
    }
    static const std::map<std::string, Replacement> imports{
        IMPORT(LoadLibraryW, nullptr, ERROR_MOD_NOT_FOUND),
        IMPORT(GetModuleHandleW, nullptr),
        IMPORT(HeapAlloc, nullptr),
        IMPORT(CoInitializeEx, E_OUTOFMEMORY),
        IMPORT(_beginthreadex, 0),
        IMPORT(malloc, nullptr),
        IMPORT(fopen, nullptr),
        IMPORT(fseek, -1),
        IMPORT(ftell, -1),
        IMPORT(fread, 0),
        OWN_IMPORT(FreeLibrary),
        OWN_IMPORT(CoUninitialize),
        OWN_IMPORT(GetProcAddress),
        OWN_IMPORT(CreateEventExW),
        OWN_IMPORT(CloseHandle),
        OWN_IMPORT(WaitForSingleObject),
        OWN_IMPORT(WaitForSingleObjectEx),
        OWN_IMPORT(fclose),
    };
#undef OWN_IMPORT
#undef IMPORT
    return imports;
}

void HookImports(HMODULE module) {
    auto* const base = reinterpret_cast<uint8_t*>(module);
    const auto& header =
        *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD start = header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + start);
    for (; library->Name != 0; ++library) {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
                continue;
            }
            const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            const auto found = Imports().find(reinterpret_cast<const char*>(import->Name));
            if (found != Imports().end()) {
                found->second.Install(address);
            }
        }
    }
}

}  // namespace

FaultInjector::FaultInjector() {
    GetState().thread = GetCurrentThreadId();
    // The tables of a library that was unloaded and loaded again would be others.
    for (const wchar_t* const library : {L"dxgi.dll", L"d3d12.dll", L"DirectML.dll"}) {
        LoadLibraryW(library);
    }
    HookImports(GetModuleHandleW(L"liborvane.dll"));
}

void FaultInjector::Arm(const std::string& call, int occurrence, HRESULT result, HRESULT removedReason) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.call = call;
    state.occurrence = occurrence;
    state.result = result;
    state.removedReason = removedReason;
    state.counts.clear();
    state.wasMet = false;
    state.isArmed = true;
}

bool FaultInjector::Disarm() {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.isArmed = false;
    return std::exchange(state.wasMet, false);
}

const FaultInjector::CallCounts& FaultInjector::Calls() const {
    return GetState().counts;
}

int FaultInjector::PretendedBindings() const {
    return GetState().pretendedBindings;
}

std::string FaultInjector::Held() const {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    std::ostringstream text;
    for (const auto& [object, maker] : state.objects) {
        text << maker << "; ";
    }
    const std::array<std::pair<const char*, const char*>, 3> pairs{
        {{"LoadLibraryW", "FreeLibrary"}, {"CoInitializeEx", "CoUninitialize"}, {"fopen", "fclose"}}};
    for (const auto& [take, giveBack] : pairs) {
        if (const int held = state.successes[take] - state.successes[giveBack]; held != 0) {
            text << held << " of " << take << "; ";
        }
    }
    if (!state.events.empty()) {
        text << state.events.size() << " events; ";
    }
    text << state.complaints;
    return text.str();
}

}  // namespace orvane::test
