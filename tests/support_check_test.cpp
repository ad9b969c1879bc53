// orvane_check_supported on machines of every kind. What it loads is put into a folder for each: stand-ins for the
// system's libraries, whose calls come back to this program, or broken files. The program lies apart from DirectML.dll.
#include <algorithm>
#include <array>
#include <deque>
#include <gtest/gtest.h>
#include <sstream>

#include "gpu/platform.h"
#include "tests/host.h"

namespace orvane::test {
namespace {

struct Adapter {
    UINT vendorId;
    UINT deviceId;
    SIZE_T mebibytes;
    UINT flags;
    std::wstring name;
    uint32_t performanceClass = 0;
    int descriptions = 2;  // GetDesc1 fails afterwards; below 0 the adapter itself cannot be had
};
const Adapter kTop{0x10de, 1, 24564, 0, L"NVIDIA GeForce RTX 4090", 3};
const Adapter kMiddle{0x10de, 2, 8192, 0, L"NVIDIA GeForce GTX 1660 SUPER", 4};
const Adapter kSmallCard{0x8086, 3, 512, 0, L"Intel(R) Arc(TM) A310", 4};
const Adapter kUhd{0x8086, 4, 1024, 0, L"Intel(R) UHD Graphics 730", 6};
const Adapter kIris{0x8086, 5, 1024, 0, L"Intel(R) Iris(R) Xe Graphics", 5};
const Adapter kSoftware{0x1414, 6, 90000, DXGI_ADAPTER_FLAG_SOFTWARE, L"Microsoft Basic Render Driver"};
const Adapter kAbsent{0, 0, 0, 0, L"", 0, -1};
const Adapter kMute{0x10de, 7, 24564, 0, L"NVIDIA GeForce RTX 4090", 3, 0};
const Adapter kMuteLater{0x10de, 0, 24564, 0, L"NVIDIA GeForce RTX 4090", 3, 1};
const Adapter kForeign{0x10de, 9, 24564, 0, L"NVIDIA GeForce RTX 4090 \x65E5"};
const Adapter kLong{0x10de, 10, 24564, 0, L"NVIDIA GeForce RTX 4090 " + std::wstring(104, L'x'), 3};

constexpr std::array<ULONG, 3> kOldest{10, 0, 18362};
constexpr uint32_t kUntouched = 0xA5A5A5A5;

struct Machine {
    // Of dxgi.dll, d3d12.dll and DirectML.dll: 's' a stand-in, 'f' one that fails, 'e' a library without entry points,
    // 'b' a broken file, 'r' the system's own.
    std::string libraries;
    uint32_t status = 0;
    const char* lastLine = "HWD|finish detect!";
    std::array<ULONG, 3> windows = kOldest;
    uint32_t adapterCount = 1;
    std::vector<Adapter> adapters{kTop};
    Adapter best = kTop;
};

const Machine kMachines[] = {
    {"sss"},
    {"bss", 1, "Failed to load dxgi.dll", kOldest, kUntouched},
    {"sbs", 2, "Failed to load d3d12.dll"},
    {"ssb", 3, "Failed to load DirectML.dll"},
    {"ess", 4, "HWD|CreateDXGIFactory2 not found in dxgi.dll", kOldest, kUntouched},
    {"ses", 5, "HWD|D3D12CreateDevice not found in d3d12.dll"},
    {"sse", 6, "HWD|DMLCreateDevice not found in DirectML.dll"},
    {"fss", 7, "HWD|fail to CreateDXGIFactory", kOldest, kUntouched},
    {"sss", 8, "HWD|Failed to enumerate any suitable adapter", kOldest, 0, {kAbsent, kMute}},
    {"sfs", 9, "HWD|unsupport D3D12"},
    {"sfs", 9, "HWD|unsupport D3D12", {6, 3, 9600}},
    {"sss", 12, "HWD|windows system too old, major:6, minor:3, build:9600", {6, 3, 9600}},
    {"ssb", 12, "HWD|windows system too old, major:10, minor:0, build:17763", {10, 0, 17763}},
    {"sss", 12, "HWD|windows system too old, major:0, minor:0, build:0", {0, 0, 0}},
    {"sss", 0, "HWD|finish detect!", {10, 0, 22631}},
    // Discrete before integrated before software, then by memory, then the first; not more than four.
    {"sss", 0, "HWD|finish detect!", kOldest, 4, {kUhd, kSoftware, kMiddle, kTop}, kTop},
    {"sss", 0, "HWD|finish detect!", kOldest, 4, {kSoftware, kIris, kUhd, kSmallCard, kTop}, kSmallCard},
    {"sss", 0, "HWD|finish detect!", kOldest, 3, {kSoftware, kIris, kUhd}, kIris},
    {"sss", 0, "HWD|finish detect!", kOldest, 1, {kAbsent, kMute, kUhd}, kUhd},
    {"sss", 0, "HWD|finish detect!", kOldest, 1, {kSoftware}, kSoftware},
    {"sss", 0, "HWD|finish detect!", kOldest, 1, {kLong}, kLong},
    {"sss", 0, "HWD|finish detect!", kOldest, 1, {kForeign}, {0x10de, 9, 24564, 0, L""}},
    {"sss", 0, "HWD|finish detect!", kOldest, 1, {kMuteLater}, {0, 0, 0, 0, L""}},
};

const Machine* g_machine = nullptr;
uint32_t g_deviceWanted = 0;  // the deviceId of the adapter

HRESULT MakeUnless(bool fails, const Adapter& adapter, void** result);

// A factory, an adapter or a device of the stand-ins. COM wants the function table first.
struct Object {
    const void* methods = Methods();
    Adapter adapter;
    ULONG references = 1;

    // What a check calls, where the three interfaces have it. Another call crashes.
    static const void* Methods() {
        static std::array<void*, 64> methods{};
        methods[1] = reinterpret_cast<void*>(&AddRef);
        methods[2] = reinterpret_cast<void*>(&Release);
        methods[10] = reinterpret_cast<void*>(&GetDesc1);
        methods[12] = reinterpret_cast<void*>(&EnumAdapters1);
        return methods.data();
    }
    static ULONG STDMETHODCALLTYPE AddRef(Object* object) { return ++object->references; }
    static ULONG STDMETHODCALLTYPE Release(Object* object) { return --object->references; }
    static HRESULT STDMETHODCALLTYPE GetDesc1(Object* object, DXGI_ADAPTER_DESC1* desc) {
        Adapter& adapter = object->adapter;
        if (adapter.descriptions-- <= 0) {
            return E_FAIL;
        }
        adapter.name.copy(desc->Description, std::size(desc->Description));
        desc->VendorId = adapter.vendorId;
        desc->DeviceId = adapter.deviceId;
        desc->DedicatedVideoMemory = adapter.mebibytes << 20;
        desc->Flags = adapter.flags;
        return S_OK;
    }
    static HRESULT STDMETHODCALLTYPE EnumAdapters1(Object* /*factory*/, UINT index, void** adapter) {
        const Adapter found = index < g_machine->adapters.size() ? g_machine->adapters[index] : kAbsent;
        return MakeUnless(found.descriptions < 0, found, adapter);
    }
};

std::deque<Object> g_objects;  // also those that have been released

HRESULT MakeUnless(bool fails, const Adapter& adapter, void** result) {
    *result = fails ? nullptr : &g_objects.emplace_back(Object{.adapter = adapter});
    return fails ? E_FAIL : S_OK;
}

// In place of RtlGetVersion. The record's fields are its size, major, minor and build.
LONG WINAPI AnswerVersion(ULONG* fields) {
    const bool fails = g_machine->windows[0] == 0;  // what it then leaves in the record counts for nothing
    std::copy_n((fails ? kOldest : g_machine->windows).begin(), 3, fields + 1);
    return fails ? -1 : 0;
}

// Writes `bytes` over the beginning of RtlGetVersion, and what was there into them.
void ExchangeRtlGetVersion(std::array<uint8_t, 12>& bytes) {
    auto* const code = reinterpret_cast<uint8_t*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion"));
    DWORD protection = 0;
    ASSERT_TRUE(VirtualProtect(code, bytes.size(), PAGE_EXECUTE_READWRITE, &protection));
    std::swap_ranges(bytes.begin(), bytes.end(), code);
}

void UseLibraries(const std::string& kinds, const TempFolder& folder) {
    const std::array names{"dxgi.dll", "d3d12.dll", "DirectML.dll"};
    for (size_t i = 0; i < names.size(); ++i) {
        if (kinds[i] == 'b') {
            folder.Write(names[i], {'n', 'o', 'n', 'e'});
        } else if (kinds[i] != 'r') {
            std::filesystem::copy_file(kinds[i] == 'e' ? "liborvane.dll" : "stand_in.dll", folder.Path() / names[i]);
        }
    }
    // Where the system has no DirectML, the project's own is one folder up.
    SetDllDirectoryW((kinds == "rrr" ? std::filesystem::current_path().parent_path() : folder.Path()).c_str());
}

void Check(const Machine& machine, bool hasClasses, LibraryLog& log) {
    const bool isSupported = machine.status == 0;
    const bool hasBest = machine.adapterCount != 0 && machine.adapterCount != kUntouched;
    const auto [major, minor, build] = machine.windows;
    const std::string version = std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(build);
    const Adapter& best = machine.best;
    const std::string name = std::filesystem::path(best.name.substr(0, 127)).string();
    std::ostringstream bestLine;
    bestLine << "HWD|the best Adapter:" << name << ", VendorId = 0x" << std::hex << best.vendorId << ", DeviceId = 0x"
             << best.deviceId << ", VRAM: " << std::dec << best.mebibytes << " MB";
    LogEntries lines{{ORVANE_LOG_INFO, "HWD|Windows Version: " + version}};
    if (hasBest) {
        lines.emplace_back(ORVANE_LOG_INFO, bestLine.str());
    }
    lines.emplace_back(isSupported ? ORVANE_LOG_INFO : ORVANE_LOG_ERROR, machine.lastLine);
    if (!isSupported) {
        lines.emplace_back(ORVANE_LOG_ERROR, "device not support dml, status:" + std::to_string(machine.status));
    }

    g_deviceWanted = kUntouched;
    orvane_check_result result{kUntouched, kUntouched, kUntouched, "untouched", "untouched"};
    orvane_check_class classes{kUntouched, kUntouched};
    EXPECT_EQ(orvane_check_supported(nullptr, &classes), ORVANE_ERROR_INVALID);
    EXPECT_EQ(orvane_check_supported(&result, hasClasses ? &classes : nullptr),
              isSupported ? ORVANE_OK : ORVANE_ERROR_UNSUPPORTED);
    EXPECT_EQ(log.Take(), lines);
    EXPECT_EQ(result.osVersion, version);
    EXPECT_EQ(result.adapterName, hasBest ? name : "untouched");
    const auto expect = [](const char* what, uint32_t seen, uint32_t wanted) { EXPECT_EQ(seen, wanted) << what; };
    expect("supported", result.supported, isSupported ? 1 : 0);
    expect("status", result.status, isSupported ? kUntouched : machine.status);
    expect("adapters", result.adapterCount, machine.adapterCount);
    expect("class", classes.performanceClass, hasBest && hasClasses ? best.performanceClass : kUntouched);
    expect("constant", classes.libraryConstant, hasClasses ? 4 : kUntouched);
    expect("device", g_deviceWanted,
           hasBest && machine.status != 2 && machine.status != 5 ? best.deviceId : kUntouched);
    for (const Object& object : g_objects) {
        expect("references", object.references, 0);
    }
    for (const char* const library : {"dxgi.dll", "d3d12.dll", "DirectML.dll"}) {
        expect(library, GetModuleHandleA(library) != nullptr ? 1 : 0, 0);
    }
}

TEST(SupportCheck, AnswersAsTheMachineIsAndLeavesNothingBehind) {
    LibraryLog log(ORVANE_LOG_INFO);
    std::array<uint8_t, 12> jump{0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};  // mov rax, answer; jmp rax
    const auto answer = &AnswerVersion;
    std::copy_n(reinterpret_cast<const uint8_t*>(&answer), sizeof(answer), &jump[2]);
    ExchangeRtlGetVersion(jump);
    for (const Machine& machine : kMachines) {
        SCOPED_TRACE(testing::Message() << "machine " << &machine - kMachines << ", " << machine.libraries);
        const TempFolder folder;
        UseLibraries(machine.libraries, folder);
        g_machine = &machine;
        Check(machine, true, log);
        Check(machine, true, log);
        Check(machine, false, log);
    }
    ExchangeRtlGetVersion(jump);
}

// liborvane.dll itself loads everywhere; an instance needs all three libraries.
TEST(SupportCheck, AgreesWithAnOpenOnTheSystemItself) {
    const auto failed = [](const std::string& step) { return "Failed to " + step + ", error code: -1"; };
    const auto cannot = [](const std::string& call) { return "Operation failed: " + call + ", HRESULT: 0x800700C1"; };
    const std::string last = failed("create device");
    // In this order, because DirectML keeps dxgi.dll in use.
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
        {"brr", {cannot("CreateDXGIFactory2"), failed("CreateDXGIFactory2"), failed("CreateDeviceResources"), last}},
        {"rbr", {cannot("D3D12CreateDevice"), failed("CreateDeviceResources"), last}},
        {"rrb", {cannot("DMLCreateDevice"), failed("DMLCreateDevice"), failed("CreateDirectMLResources"), last}},
        {"rrr", {}}};
    const ReferenceNetwork network = MakeRandomNetwork(3, 0, 1);
    for (const auto& [libraries, lines] : cases) {
        SCOPED_TRACE(libraries);
        const TempFolder folder;
        UseLibraries(libraries, folder);
        orvane_check_result result{};
        EXPECT_EQ(orvane_check_supported(&result, nullptr), lines.empty() ? ORVANE_OK : ORVANE_ERROR_UNSUPPORTED);
        EXPECT_EQ(result.status, libraries.find('b') + 1);
        EXPECT_EQ(result.adapterCount > 0 && result.adapterName[0] != '\0', result.status != 1);
        // The check has freed what it loaded; what an open has used stays.
        EXPECT_EQ(GetModuleHandleW(L"d3d12.dll") != nullptr, libraries == "rrr");
        LibraryLog log;
        const Instance instance(OpenParam(4, 4, network, WriteModel(folder, "model.bin", network)));
        EXPECT_EQ(instance.Handle() != nullptr, lines.empty());
        EXPECT_EQ(log.TakeTexts(), lines);
    }
    EXPECT_NE(GetModuleHandleW(L"DirectML.dll"), nullptr);
}

}  // namespace

extern "C" __declspec(dllexport) HRESULT WINAPI AnswerFactory(UINT flags, REFIID iid, void** factory) {
    return MakeUnless(g_machine->libraries[0] == 'f' || flags != 0 || iid != __uuidof(IDXGIFactory2), {}, factory);
}

extern "C" __declspec(dllexport) HRESULT WINAPI AnswerDevice(IUnknown* adapter, UINT level, REFIID iid, void** device) {
    g_deviceWanted = reinterpret_cast<Object*>(adapter)->adapter.deviceId;
    const bool isWrong = level != D3D_FEATURE_LEVEL_11_0 || iid != __uuidof(ID3D12Device);
    return MakeUnless(g_machine->libraries[1] == 'f' || isWrong, {}, device);
}

}  // namespace orvane::test
