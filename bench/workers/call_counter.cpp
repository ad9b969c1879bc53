#include "bench/workers/call_counter.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <set>
#include <string>
#include <utility>

#include "bench/workers/worker.h"
#include "engine/directml_context.h"
#include "gpu/device_resources.h"
#include "gpu/gpu_resource.h"
#include "tools/hooks/function_tables.h"

namespace orvane::bench {
namespace {

constexpr size_t kRecordDispatch = 8;
constexpr size_t kDirectMLRemovedReason = 15;

// Written by machine code.
std::array<uint64_t, kCounterCount> g_counts{};

// Puts machine code before a function that counts the call and goes on to the function with everything as it was. So it
// fits any function. `rax` holds no argument.
void CountCalls(void** entry, Counter counter) {
    constexpr size_t kPageBytes = 16384;
    static auto* const page =
        static_cast<uint8_t*>(VirtualAlloc(nullptr, kPageBytes, MEM_RESERVE | MEM_COMMIT, PAGE_EXECUTE_READWRITE));
    static size_t used = 0;
    // mov rax, counter; lock inc qword [rax]; mov rax, function; jmp rax
    std::array<uint8_t, 26> code{0x48, 0xB8, 0,    0, 0, 0, 0, 0, 0, 0, 0xF0, 0x48, 0xFF,
                                 0x00, 0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0,    0xFF, 0xE0};
    const uint64_t* const count = &g_counts[counter];
    std::memcpy(&code[2], &count, sizeof(count));
    std::memcpy(&code[16], entry, sizeof(*entry));
    Require(used + code.size() <= kPageBytes, "no room for another counted call");
    std::memcpy(page + used, code.data(), code.size());
    ReplaceEntry(entry, page + used);
    used += code.size();
}

void** FunctionTable(IUnknown* object) {
    return *reinterpret_cast<void***>(object);
}

// All methods but for those of IUnknown.
void CountMethods(IUnknown* object, size_t methodCount, Counter counter) {
    for (size_t i = 3; i < methodCount; ++i) {
        CountCalls(FunctionTable(object) + i, counter);
    }
}

// Counts what DirectML calls to fulfil one call apart.
void STDMETHODCALLTYPE RecordDispatch(IDMLCommandRecorder* self, ID3D12CommandList* list,
                                      IDMLDispatchable* dispatchable, IDMLBindingTable* table) {
    auto before = g_counts;
    OriginalMethod<decltype(RecordDispatch)>(self, kRecordDispatch)(self, list, dispatchable, table);
    const auto sum = [](const auto& counts) { return std::accumulate(counts.begin(), counts.end(), uint64_t{0}); };
    before[kInsideDirectML] += sum(g_counts) - sum(before);
    ++before[kDirectML];
    g_counts = before;
}

}  // namespace

void StartCounting() {
    struct Objects {
        DX::DeviceResources resources{DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_UNKNOWN, 1, D3D_FEATURE_LEVEL_11_0, 0};
        DirectMLContext directML;
        ComPtr<ID3D12Resource> buffer;
    };
    static auto& [resources, directML, buffer] = *new Objects;  // stays
    Require(resources.CreateDeviceResources() == 0 && CreateDirectMLContext(resources, directML) == 0 &&
                SUCCEEDED(CreateGpuBuffer(*resources.GetD3DDevice(), 256, D3D12_RESOURCE_STATE_COMMON, buffer)),
            "no device to count calls on");
    // The numbers of methods are those of the interfaces' first versions.
    CountMethods(resources.GetD3DDevice(), 44, kDevice);
    CountMethods(resources.GetCommandQueue(), 19, kQueue);
    CountMethods(resources.GetCommandAllocator(), 9, kAllocator);
    CountMethods(resources.GetFence(), 11, kFence);
    CountMethods(resources.GetCommandList(), 60, kList);
    CountMethods(buffer.Get(), 15, kResource);
    CountCalls(FunctionTable(directML.device.Get()) + kDirectMLRemovedReason, kDirectML);
    ReplaceEntry(FunctionTable(directML.recorder.Get()) + kRecordDispatch, Address(&RecordDispatch));

    const std::set<std::string> allocations{"malloc", "calloc", "realloc", "HeapAlloc", "HeapReAlloc"};
    ForEachImport(GetModuleHandleW(L"liborvane.dll"), [&](const char* name, void** entry) {
        if (allocations.contains(name)) {
            CountCalls(entry, kHeap);
        }
    });
}

std::vector<double> TakeCounts() {
    const auto counts = std::exchange(g_counts, {});
    return {counts.begin(), counts.end()};
}

}  // namespace orvane::bench
