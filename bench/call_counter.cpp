#include "bench/call_counter.h"

#include <cstdint>
#include <cstring>
#include <iterator>
#include <numeric>

#include "bench/worker.h"
#include "engine/directml_context.h"
#include "gpu/device_resources.h"
#include "gpu/gpu_resource.h"

namespace orvane::bench {
namespace {

enum Counter : size_t {
    kHeap,
    kDevice,
    kQueue,
    kAllocator,
    kFence,
    kList,
    kResource,
    kDirectML,
    kInsideDirectML,
};
static_assert(kInsideDirectML + 1 == kCounterNames.size());

// Written by machine code.
std::array<uint64_t, kCounterNames.size()> g_counts{};

void Replace(void** entry, void* function) {
    DWORD protection = 0;
    VirtualProtect(entry, sizeof(*entry), PAGE_READWRITE, &protection);
    *entry = function;
    VirtualProtect(entry, sizeof(*entry), protection, &protection);
}

// Puts machine code before a function that counts the call and goes on to the function with everything as it was. So it
// fits any function. `rax` holds no argument.
class Thunks {
public:
    void CountCalls(void** entry, Counter counter) {
        // mov rax, counter; lock inc qword [rax]; mov rax, function; jmp rax
        std::array<uint8_t, 26> code{0x48, 0xB8, 0,    0, 0, 0, 0, 0, 0, 0, 0xF0, 0x48, 0xFF,
                                     0x00, 0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0,    0xFF, 0xE0};
        const uint64_t* const count = &g_counts[counter];
        std::memcpy(&code[2], &count, sizeof(count));
        std::memcpy(&code[16], entry, sizeof(*entry));
        Require(m_used + code.size() <= kPageBytes, "no room for another counted call");
        std::memcpy(m_page + m_used, code.data(), code.size());
        Replace(entry, m_page + m_used);
        m_used += code.size();
    }

    // `count` methods of an object, but for those of IUnknown.
    void CountMethods(IUnknown* object, size_t count, Counter counter) {
        void** const table = *reinterpret_cast<void***>(object);
        for (size_t i = 3; i < count; ++i) {
            CountCalls(table + i, counter);
        }
    }

private:
    static constexpr size_t kPageBytes = 16384;

    uint8_t* m_page =
        static_cast<uint8_t*>(VirtualAlloc(nullptr, kPageBytes, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE));
    size_t m_used = 0;
};

// Counts what DirectML calls to fulfil one call apart.
struct RecordDispatchHook {
    static inline void(STDMETHODCALLTYPE* original)(IDMLCommandRecorder*, ID3D12CommandList*, IDMLDispatchable*,
                                                    IDMLBindingTable*) = nullptr;

    static void STDMETHODCALLTYPE Call(IDMLCommandRecorder* self, ID3D12CommandList* list,
                                       IDMLDispatchable* dispatchable, IDMLBindingTable* table) {
        auto before = g_counts;
        original(self, list, dispatchable, table);
        const auto sum = [](const auto& counts) { return std::accumulate(counts.begin(), counts.end(), uint64_t{0}); };
        before[kInsideDirectML] += sum(g_counts) - sum(before);
        ++before[kDirectML];
        g_counts = before;
    }
};

bool IsAllocation(const char* name) {
    for (const char* const allocation : {"malloc", "calloc", "realloc", "HeapAlloc", "HeapReAlloc"}) {
        if (std::strcmp(name, allocation) == 0) {
            return true;
        }
    }
    return false;
}

void CountAllocations(HMODULE module, Thunks& thunks) {
    auto* const base = reinterpret_cast<uint8_t*>(module);
    const auto& header =
        *reinterpret_cast<const IMAGE_NT_HEADERS*>(base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD start = header.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + start);
    for (; library->Name != 0; ++library) {
        const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* address = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                IsAllocation(reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData)->Name)) {
                thunks.CountCalls(address, kHeap);
            }
        }
    }
}

}  // namespace

struct CallCounter::Objects {
    DX::DeviceResources resources{DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 0};
    DirectMLContext directML;
    ComPtr<ID3D12Resource> buffer;
    Thunks thunks;
};

CallCounter::CallCounter() : m_objects(std::make_unique<Objects>()) {
    auto& [resources, directML, buffer, thunks] = *m_objects;
    Require(resources.CreateDeviceResources() == 0 && CreateDirectMLContext(resources, directML) == 0 &&
                SUCCEEDED(CreateGpuBuffer(*resources.GetD3DDevice(), 256, D3D12_RESOURCE_STATE_COMMON, buffer)),
            "no device to count calls on");
    // The numbers of methods are those of the interfaces' first versions.
    thunks.CountMethods(resources.GetD3DDevice(), 44, kDevice);
    thunks.CountMethods(resources.GetCommandQueue(), 19, kQueue);
    thunks.CountMethods(resources.GetCommandAllocator(), 9, kAllocator);
    thunks.CountMethods(resources.GetFence(), 11, kFence);
    thunks.CountMethods(resources.GetCommandList(), 60, kList);
    thunks.CountMethods(buffer.Get(), 15, kResource);

    constexpr size_t kRemovedReasonMethod = 15;
    constexpr size_t kRecordDispatchMethod = 8;
    thunks.CountCalls(*reinterpret_cast<void***>(directML.device.Get()) + kRemovedReasonMethod, kDirectML);
    void** const recordDispatch = *reinterpret_cast<void***>(directML.recorder.Get()) + kRecordDispatchMethod;
    RecordDispatchHook::original = reinterpret_cast<decltype(RecordDispatchHook::original)>(*recordDispatch);
    Replace(recordDispatch, reinterpret_cast<void*>(&RecordDispatchHook::Call));

    CountAllocations(GetModuleHandleW(L"liborvane.dll"), thunks);
}

CallCounter::~CallCounter() = default;

void CallCounter::Start() {
    g_counts = {};
}

std::vector<double> CallCounter::Stop() const {
    return {g_counts.begin(), g_counts.end()};
}

}  // namespace orvane::bench
