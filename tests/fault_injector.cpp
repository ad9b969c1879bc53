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
#include <unordered_map>
#include <utility>
#include <vector>

namespace orvane::test {
namespace {

struct ReplacedEntry {
    void* original = nullptr;
    const char* name = nullptr;
};

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
    std::map<void*, const char*> objects;  // living COM objects of the library, and the calls that made them
    int libraries = 0;
    int comInitialisations = 0;
    int pretendedBindings = 0;
    std::set<HANDLE> uploadEvents;
    std::unordered_map<void**, ReplacedEntry> replaced;  // entries of function tables
};

State& GetState() {
    static auto& state = *new State;  // hooks outlive everything
    return state;
}

// Above 0 inside a call of the library, where every other call is the system's own.
thread_local int t_depth = 0;

bool IsLibraryThread() {
    return GetCurrentThreadId() == GetState().thread;
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

ReplacedEntry FindReplaced(void** entry) {
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    return state.replaced.at(entry);
}

void Replace(void** entry, void* function, const char* name) {
    if (*entry == function) {
        return;
    }
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.replaced[entry] = {*entry, name};
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    *entry = function;
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
}

// --- Methods of COM objects ---

// The place of a method in its interface's function table, found by calling it on an object whose table holds functions
// that tell their place.
size_t g_calledSlot = 0;
template <size_t Slot>
HRESULT STDMETHODCALLTYPE TellSlot() {
    g_calledSlot = Slot;
    return S_OK;
}
template <size_t... Slots>
void** TellingTable(std::index_sequence<Slots...>) {
    static void* table[] = {reinterpret_cast<void*>(&TellSlot<Slots>)...};
    return table;
}
template <typename T>
T& Anything() {
    static std::remove_cv_t<T> value{};
    return value;
}
template <typename Interface, typename Result, typename... Arguments>
size_t SlotOf(Result (STDMETHODCALLTYPE Interface::*method)(Arguments...)) {
    void** table = TellingTable(std::make_index_sequence<64>());
    (reinterpret_cast<Interface*>(&table)->*method)(Anything<std::remove_reference_t<Arguments>>()...);
    return g_calledSlot;
}

void Adopt(REFIID iid, void* object, const char* maker);

// Calls of these shapes hand out a new object.
template <typename... Arguments>
void AdoptResult(const char* maker, const std::tuple<Arguments...>& arguments) {
    constexpr size_t kCount = sizeof...(Arguments);
    if constexpr (kCount >= 2) {
        using Last = std::tuple_element_t<kCount - 1, std::tuple<Arguments...>>;
        if constexpr (std::is_same_v<std::tuple_element_t<kCount - 2, std::tuple<Arguments...>>, REFIID>) {
            Adopt(std::get<kCount - 2>(arguments), *std::get<kCount - 1>(arguments), maker);
        } else if constexpr (std::is_same_v<Last, IDXGIAdapter1**>) {
            Adopt(__uuidof(IDXGIAdapter1), *std::get<kCount - 1>(arguments), maker);
        }
    }
}

template <typename Function, typename... Arguments>
HRESULT Intercept(const char* name, Function* original, Arguments... arguments) {
    State& state = GetState();
    const bool isOurs = t_depth == 0 && IsLibraryThread();
    if (isOurs && Meets(name)) {
        if (std::strcmp(name, "ID3D12GraphicsCommandList::Close") == 0) {
            original(arguments...);  // a list that could not be closed well is not open either
        }
        return state.result;
    }
    if (isOurs && state.wasMet && state.removedReason != S_OK &&
        std::strstr(name, "::GetDeviceRemovedReason") != nullptr) {
        return state.removedReason;
    }
    ++t_depth;
    const HRESULT hr = original(arguments...);
    --t_depth;
    return hr;
}

// A method's type without noexcept, which not every compiler sees in the headers.
template <typename Interface, typename Result, typename... Arguments>
auto PlainType(Result (STDMETHODCALLTYPE Interface::*method)(Arguments...)) -> decltype(method);

template <auto Method, typename Type = decltype(PlainType(Method))>
struct MethodHook;
template <auto Method, typename Interface, typename... Arguments>
struct MethodHook<Method, HRESULT (STDMETHODCALLTYPE Interface::*)(Arguments...)> {
    static inline const size_t kSlot = SlotOf(Method);

    static HRESULT STDMETHODCALLTYPE Call(Interface* self, Arguments... arguments) {
        using Function = HRESULT STDMETHODCALLTYPE(Interface*, Arguments...);
        const ReplacedEntry entry = FindReplaced(*reinterpret_cast<void***>(self) + kSlot);
        const HRESULT hr = Intercept(entry.name, reinterpret_cast<Function*>(entry.original), self,
                                     std::forward<Arguments>(arguments)...);
        if (SUCCEEDED(hr) && t_depth == 0 && IsLibraryThread()) {
            AdoptResult(entry.name, std::tuple<Arguments...>(arguments...));
        }
        return hr;
    }
};

constexpr size_t kReleaseSlot = 2;
constexpr size_t kPropertiesSlot = 8;

ULONG STDMETHODCALLTYPE Release(IUnknown* self) {
    using Function = ULONG STDMETHODCALLTYPE(IUnknown*);
    const ReplacedEntry entry = FindReplaced(*reinterpret_cast<void***>(self) + kReleaseSlot);
    ++t_depth;
    const ULONG left = reinterpret_cast<Function*>(entry.original)(self);
    --t_depth;
    if (left == 0) {
        State& state = GetState();
        const std::lock_guard lock(state.lock);
        state.objects.erase(self);
    }
    return left;
}

// --- Memory that operators need ---

constexpr UINT64 kPretendedBytes = 43968;  // no operator asks for just this

// Results that are structs are returned so on Windows, whatever the compiler.
DML_BINDING_PROPERTIES* STDMETHODCALLTYPE GetProperties(IDMLDispatchable* self, DML_BINDING_PROPERTIES* properties) {
    using Function = DML_BINDING_PROPERTIES* STDMETHODCALLTYPE(IDMLDispatchable*, DML_BINDING_PROPERTIES*);
    reinterpret_cast<Function*>(FindReplaced(*reinterpret_cast<void***>(self) + kPropertiesSlot).original)(self,
                                                                                                           properties);
    if (t_depth == 0 && IsLibraryThread()) {
        for (UINT64* const size : {&properties->TemporaryResourceSize, &properties->PersistentResourceSize}) {
            *size = *size != 0 ? *size : kPretendedBytes;
        }
    }
    return properties;
}

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

const size_t g_bindOutputsSlot = SlotOf(&IDMLBindingTable::BindOutputs);

void STDMETHODCALLTYPE BindOutputs(IDMLBindingTable* self, UINT count, const DML_BINDING_DESC* bindings) {
    using Function = void STDMETHODCALLTYPE(IDMLBindingTable*, UINT, const DML_BINDING_DESC*);
    std::vector<DML_BINDING_DESC> real(bindings, bindings + count);
    std::transform(real.begin(), real.end(), real.begin(), WithoutPretended);
    void** const entry = *reinterpret_cast<void***>(self) + g_bindOutputsSlot;
    reinterpret_cast<Function*>(FindReplaced(entry).original)(self, count, real.data());
}

template <auto Method>
struct BindMemory {
    static inline const size_t kSlot = SlotOf(Method);

    static void STDMETHODCALLTYPE Call(IDMLBindingTable* self, const DML_BINDING_DESC* binding) {
        using Function = void STDMETHODCALLTYPE(IDMLBindingTable*, const DML_BINDING_DESC*);
        const DML_BINDING_DESC real = WithoutPretended(*binding);
        reinterpret_cast<Function*>(FindReplaced(*reinterpret_cast<void***>(self) + kSlot).original)(self, &real);
    }
};

struct Method {
    IID iid;
    const char* name;
    size_t slot;
    void* hook;
};

using BindTemporary = BindMemory<&IDMLBindingTable::BindTemporaryResource>;
using BindPersistent = BindMemory<&IDMLBindingTable::BindPersistentResource>;

#define METHOD_OF(object, interface, method)                                              \
    Method {                                                                              \
        __uuidof(object), #interface "::" #method, MethodHook<&interface::method>::kSlot, \
            reinterpret_cast<void*>(&MethodHook<&interface::method>::Call)                \
    }
#define METHOD(interface, method) METHOD_OF(interface, interface, method)

// Every method that the library calls and that can report a failure, and those about memory.
const std::vector<Method>& Methods() {
    static const std::vector<Method> methods{
        METHOD_OF(IDXGIFactory2, IDXGIFactory1, EnumAdapters1),
        METHOD_OF(IDXGIFactory4, IDXGIFactory1, EnumAdapters1),
        METHOD(IDXGIFactory4, EnumAdapterByLuid),
        METHOD(IDXGIAdapter1, GetDesc1),
        METHOD(ID3D12Device, SetName),
        METHOD(ID3D12Device, CheckFeatureSupport),
        METHOD(ID3D12Device, CreateCommandQueue),
        METHOD(ID3D12Device, CreateCommandAllocator),
        METHOD(ID3D12Device, CreateCommandList),
        METHOD(ID3D12Device, CreateFence),
        METHOD(ID3D12Device, CreateRootSignature),
        METHOD(ID3D12Device, CreateComputePipelineState),
        METHOD(ID3D12Device, CreateDescriptorHeap),
        METHOD(ID3D12Device, CreateCommittedResource),
        METHOD(ID3D12Device, GetDeviceRemovedReason),
        METHOD(ID3D12CommandQueue, SetName),
        METHOD(ID3D12CommandQueue, Signal),
        METHOD(ID3D12CommandAllocator, SetName),
        METHOD(ID3D12CommandAllocator, Reset),
        METHOD(ID3D12GraphicsCommandList, SetName),
        METHOD(ID3D12GraphicsCommandList, Reset),
        METHOD(ID3D12GraphicsCommandList, Close),
        METHOD(ID3D12Fence, SetName),
        METHOD(ID3D12Fence, SetEventOnCompletion),
        METHOD(ID3D12Resource, SetName),
        METHOD(ID3D12Resource, Map),
        METHOD(ID3D12RootSignature, SetName),
        METHOD(ID3D12PipelineState, SetName),
        METHOD(IDMLDevice, CheckFeatureSupport),
        METHOD(IDMLDevice, CreateCommandRecorder),
        METHOD(IDMLDevice, CreateOperator),
        METHOD(IDMLDevice, CompileOperator),
        METHOD(IDMLDevice, CreateOperatorInitializer),
        METHOD(IDMLDevice, CreateBindingTable),
        METHOD(IDMLDevice, GetDeviceRemovedReason),
        METHOD(IDMLBindingTable, Reset),
        {__uuidof(IDMLCompiledOperator), "", kPropertiesSlot, reinterpret_cast<void*>(&GetProperties)},
        {__uuidof(IDMLOperatorInitializer), "", kPropertiesSlot, reinterpret_cast<void*>(&GetProperties)},
        {__uuidof(IDMLBindingTable), "", g_bindOutputsSlot, reinterpret_cast<void*>(&BindOutputs)},
        {__uuidof(IDMLBindingTable), "", BindTemporary::kSlot, reinterpret_cast<void*>(&BindTemporary::Call)},
        {__uuidof(IDMLBindingTable), "", BindPersistent::kSlot, reinterpret_cast<void*>(&BindPersistent::Call)},
    };
    return methods;
}
#undef METHOD
#undef METHOD_OF

void Adopt(REFIID iid, void* object, const char* maker) {
    void** const table = *static_cast<void***>(object);
    for (const Method& method : Methods()) {
        if (method.iid == iid) {
            Replace(table + method.slot, method.hook, method.name);
        }
    }
    Replace(table + kReleaseSlot, reinterpret_cast<void*>(&Release), "Release");
    State& state = GetState();
    const std::lock_guard lock(state.lock);
    state.objects[object] = maker;
}

// --- Entry points of the libraries that are loaded at run time ---

decltype(&::CreateDXGIFactory2) g_createFactory = nullptr;
decltype(&::D3D12CreateDevice) g_createDevice = nullptr;
decltype(&::D3D12SerializeRootSignature) g_serialize = nullptr;
decltype(&::DMLCreateDevice) g_createDmlDevice = nullptr;

HRESULT AdoptIfMade(HRESULT hr, REFIID iid, void** object, const char* maker) {
    if (SUCCEEDED(hr)) {
        Adopt(iid, *object, maker);
    }
    return hr;
}

HRESULT WINAPI CreateFactory(UINT flags, REFIID iid, void** factory) {
    constexpr const char* kName = "CreateDXGIFactory2";
    return AdoptIfMade(Intercept(kName, g_createFactory, flags, iid, factory), iid, factory, kName);
}

HRESULT WINAPI CreateDevice(IUnknown* adapter, D3D_FEATURE_LEVEL level, REFIID iid, void** device) {
    constexpr const char* kName = "D3D12CreateDevice";
    return AdoptIfMade(Intercept(kName, g_createDevice, adapter, level, iid, device), iid, device, kName);
}

HRESULT WINAPI Serialize(const D3D12_ROOT_SIGNATURE_DESC* desc, D3D_ROOT_SIGNATURE_VERSION version, ID3DBlob** blob,
                         ID3DBlob** errors) {
    constexpr const char* kName = "D3D12SerializeRootSignature";
    return AdoptIfMade(Intercept(kName, g_serialize, desc, version, blob, errors), IID{},
                       reinterpret_cast<void**>(blob), kName);
}

HRESULT WINAPI CreateDmlDevice(ID3D12Device* device, DML_CREATE_DEVICE_FLAGS flags, REFIID iid, void** dmlDevice) {
    constexpr const char* kName = "DMLCreateDevice";
    return AdoptIfMade(Intercept(kName, g_createDmlDevice, device, flags, iid, dmlDevice), iid, dmlDevice, kName);
}

template <typename Function>
FARPROC Redirect(FARPROC found, Function*& original, Function* replacement) {
    original = reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(replacement));
}

// --- Imported functions ---

// The Windows error when a call fails that reports by its last error.
bool MeetsWithError(const char* call, DWORD error) {
    const bool meets = Meets(call);
    if (meets) {
        SetLastError(error);
    }
    return meets;
}

HMODULE WINAPI HookLoadLibraryW(LPCWSTR fileName) {
    const HMODULE module = MeetsWithError("LoadLibraryW", ERROR_MOD_NOT_FOUND) ? nullptr : LoadLibraryW(fileName);
    GetState().libraries += module != nullptr ? 1 : 0;
    return module;
}

BOOL WINAPI HookFreeLibrary(HMODULE module) {
    --GetState().libraries;
    return FreeLibrary(module);
}

FARPROC WINAPI HookGetProcAddress(HMODULE module, LPCSTR name) {
    if (MeetsWithError("GetProcAddress", ERROR_PROC_NOT_FOUND)) {
        return nullptr;
    }
    const FARPROC found = GetProcAddress(module, name);
    const std::string text(name);
    return text == "CreateDXGIFactory2"            ? Redirect(found, g_createFactory, &CreateFactory)
           : text == "D3D12CreateDevice"           ? Redirect(found, g_createDevice, &CreateDevice)
           : text == "D3D12SerializeRootSignature" ? Redirect(found, g_serialize, &Serialize)
           : text == "DMLCreateDevice"             ? Redirect(found, g_createDmlDevice, &CreateDmlDevice)
                                                   : found;
}

HMODULE WINAPI HookGetModuleHandleW(LPCWSTR name) {
    return Meets("GetModuleHandleW") ? nullptr : GetModuleHandleW(name);
}

HANDLE WINAPI HookCreateEventExW(LPSECURITY_ATTRIBUTES attributes, LPCWSTR name, DWORD flags, DWORD access) {
    if (Meets("CreateEventExW")) {
        return nullptr;
    }
    const HANDLE event = CreateEventExW(attributes, name, flags, access);
    if (access == EVENT_ALL_ACCESS) {
        GetState().uploadEvents.insert(event);
    }
    return event;
}

// The compiler's runtime waits with the same function; only the wait for an upload is to fail.
DWORD WINAPI HookWaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const bool isUpload = GetState().uploadEvents.contains(handle);
    return isUpload && MeetsWithError("WaitForSingleObject", ERROR_INVALID_HANDLE)
               ? WAIT_FAILED
               : WaitForSingleObject(handle, milliseconds);
}

DWORD WINAPI HookWaitForSingleObjectEx(HANDLE handle, DWORD milliseconds, BOOL alertable) {
    return Meets("WaitForSingleObjectEx") ? WAIT_FAILED : WaitForSingleObjectEx(handle, milliseconds, alertable);
}

HRESULT WINAPI HookCoInitializeEx(LPVOID reserved, DWORD mode) {
    const HRESULT hr = Meets("CoInitializeEx") ? GetState().result : CoInitializeEx(reserved, mode);
    GetState().comInitialisations += SUCCEEDED(hr) ? 1 : 0;
    return hr;
}

void WINAPI HookCoUninitialize() {
    --GetState().comInitialisations;
    CoUninitialize();
}

LPVOID WINAPI HookHeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
    return Meets("HeapAlloc") ? nullptr : HeapAlloc(heap, flags, size);
}

void* HookMalloc(size_t size) {
    return IsLibraryThread() && Meets("malloc") ? nullptr : std::malloc(size);
}

std::FILE* HookFopen(const char* path, const char* mode) {
    return Meets("fopen") ? nullptr : std::fopen(path, mode);
}

int HookFseek(std::FILE* file, long offset, int origin) {
    return Meets("fseek") ? -1 : std::fseek(file, offset, origin);
}

long HookFtell(std::FILE* file) {
    return Meets("ftell") ? -1 : std::ftell(file);
}

size_t HookFread(void* data, size_t size, size_t count, std::FILE* file) {
    return Meets("fread") ? 0 : std::fread(data, size, count, file);
}

uintptr_t HookBeginThread(void* security, unsigned stack, unsigned(__stdcall* start)(void*), void* argument,
                          unsigned flags, unsigned* id) {
    return Meets("_beginthreadex") ? 0 : _beginthreadex(security, stack, start, argument, flags, id);
}

void* FindImportHook(const std::string& name) {
    static const std::map<std::string, void*> hooks{
        {"LoadLibraryW", reinterpret_cast<void*>(&HookLoadLibraryW)},
        {"FreeLibrary", reinterpret_cast<void*>(&HookFreeLibrary)},
        {"GetProcAddress", reinterpret_cast<void*>(&HookGetProcAddress)},
        {"GetModuleHandleW", reinterpret_cast<void*>(&HookGetModuleHandleW)},
        {"CreateEventExW", reinterpret_cast<void*>(&HookCreateEventExW)},
        {"WaitForSingleObject", reinterpret_cast<void*>(&HookWaitForSingleObject)},
        {"WaitForSingleObjectEx", reinterpret_cast<void*>(&HookWaitForSingleObjectEx)},
        {"CoInitializeEx", reinterpret_cast<void*>(&HookCoInitializeEx)},
        {"CoUninitialize", reinterpret_cast<void*>(&HookCoUninitialize)},
        {"HeapAlloc", reinterpret_cast<void*>(&HookHeapAlloc)},
        {"malloc", reinterpret_cast<void*>(&HookMalloc)},
        {"fopen", reinterpret_cast<void*>(&HookFopen)},
        {"fseek", reinterpret_cast<void*>(&HookFseek)},
        {"ftell", reinterpret_cast<void*>(&HookFtell)},
        {"fread", reinterpret_cast<void*>(&HookFread)},
        {"_beginthreadex", reinterpret_cast<void*>(&HookBeginThread)},
    };
    const auto found = hooks.find(name);
    return found != hooks.end() ? found->second : nullptr;
}

void HookImports(HMODULE module) {
    auto* const base = reinterpret_cast<uint8_t*>(module);
    const auto& header =
        *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD imports = header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + imports); library->Name != 0;
         ++library) {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
            if (void* const hook = FindImportHook(reinterpret_cast<const char*>(import->Name)); hook != nullptr) {
                Replace(address, hook, "import");
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
    if (state.libraries != 0 || state.comInitialisations != 0) {
        text << state.libraries << " libraries, COM initialised " << state.comInitialisations << " times";
    }
    return text.str();
}

}  // namespace orvane::test
