// orvane_check_supported on machines of every kind. What it loads is put into a folder for each: stand-ins for the
// system's libraries, whose calls come back to this program, or broken files. The program lies apart from DirectML.dll.
#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <sstream>

#include "gpu/platform.h"
#include "tests/support/host.h"

namespace orvane::test {
namespace {

struct Adapter {
    UINT vendorId;
    UINT deviceId;
    SIZE_T mebibytes;
    UINT flags;
    std::wstring name;
    int descriptions = 2;  // GetDesc1 fails afterwards; below 0 the adapter itself cannot be had
};
const Adapter kTop{0x10de, 1, 24564, 0, L"NVIDIA GeForce RTX 4090"};
const Adapter kMiddle{0x10de, 2, 8192, 0, L"NVIDIA GeForce GTX 1660 SUPER"};
const Adapter kSmallCard{0x8086, 3, 512, 0, L"Intel(R) Arc(TM) A310"};
const Adapter kUhd{0x8086, 4, 1024, 0, L"Intel(R) UHD Graphics 730"};
const Adapter kIris{0x8086, 5, 1024, 0, L"Intel(R) Iris(R) Xe Graphics"};
const Adapter kSoftware{0x1414, 6, 90000, DXGI_ADAPTER_FLAG_SOFTWARE, L"Microsoft Basic Render Driver"};
const Adapter kRemoteSoftware{0x1414, 11, 90000, DXGI_ADAPTER_FLAG_SOFTWARE | DXGI_ADAPTER_FLAG_REMOTE, L"Far away"};
const Adapter kAbsent{0, 0, 0, 0, L"", -1};
const Adapter kMute{0x10de, 7, 24564, 0, L"NVIDIA GeForce RTX 4090", 0};
const Adapter kMuteLater{0x10de, 8, 24564, 0, L"NVIDIA GeForce RTX 4090", 1};
const Adapter kForeign{0x10de, 9, 24564, 0, L"NVIDIA GeForce RTX 4090 \x65E5"};
const Adapter kLong{0x10de, 10, 24564, 0, L"NVIDIA GeForce RTX 4090 " + std::wstring(104, L'x')};

constexpr uint32_t kUntouched = 0xA5A5A5A5;

struct Machine {
    // Of dxgi.dll, d3d12.dll and DirectML.dll: 's' a stand-in, 'f' one that fails, 'e' a library without entry points,
    // 'b' a broken file.
    std::string libraries;
    std::vector<Adapter> adapters{kTop};
    std::array<ULONG, 3> windows{10, 0, 18362};
};

const Machine kMachines[] = {
    {"sss"},
    {"bss"},
    {"sbs"},
    {"ssb"},
    {"ess"},
    {"ses"},
    {"sse"},
    {"fss"},
    {"sfs"},
    {"sfs", {kTop}, {6, 3, 9600}},
    {"sss", {kTop}, {6, 3, 9600}},
    {"ssb", {kTop}, {10, 0, 17763}},
    {"sss", {kTop}, {0, 0, 0}},
    {"sss", {kTop}, {10, 0, 22631}},
    // Discrete before integrated before software, then by memory, then the first; not more than four.
    {"sss", {kUhd, kSoftware, kMiddle, kTop}},
    {"sss", {kSoftware, kIris, kUhd, kSmallCard, kTop}},
    {"sss", {kSoftware, kIris, kUhd}},
    {"sss", {kRemoteSoftware, kUhd}},
    {"sss", {kAbsent, kMute, kUhd}},
    {"sss", {kAbsent, kMute}},
    {"sss", {kSoftware}},
    {"sss", {kLong}},
    {"sss", {kForeign}},
    {"sss", {kMuteLater}},
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
    std::copy_n((fails ? Machine{} : *g_machine).windows.begin(), 3, fields + 1);
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
        } else {
            std::filesystem::copy_file(kinds[i] == 'e' ? "liborvane.dll" : "stand_in.dll", folder.Path() / names[i]);
        }
    }
    SetDllDirectoryW(folder.Path().c_str());
}

// What a check answers, as the last columns of a row.
std::string Check(LibraryLog& log) {
    g_deviceWanted = kUntouched;
    orvane_check_result result{kUntouched, kUntouched, kUntouched, "untouched", "untouched"};
    std::end(result.adapterName)[-1] = '!';  // so that a name that is not terminated shows
    orvane_check_result sameResult = result;
    orvane_check_class classes{kUntouched, kUntouched};
    EXPECT_EQ(orvane_check_supported(nullptr, &classes), ORVANE_ERROR_INVALID);
    EXPECT_EQ(classes.libraryConstant, kUntouched);
    const int code = orvane_check_supported(&sameResult, nullptr);
    const LogEntries lines = log.Take();
    EXPECT_EQ(orvane_check_supported(&result, &classes), code);
    EXPECT_EQ(std::memcmp(&result, &sameResult, sizeof(result)), 0);
    EXPECT_EQ(log.Take(), lines);

    std::ostringstream row;
    row << code;
    for (const uint32_t value : {result.supported, result.status, result.adapterCount, classes.performanceClass,
                                 classes.libraryConstant, g_deviceWanted}) {
        row << '\t' << (value == kUntouched ? "untouched" : std::to_string(value));
    }
    row << '\t' << result.osVersion << '\t' << result.adapterName << '\t';
    for (const auto& [level, text] : lines) {
        row << (level == ORVANE_LOG_ERROR ? " ERROR " : " INFO ") << text;
    }
    for (const Object& object : g_objects) {
        EXPECT_EQ(object.references, 0U);
    }
    for (const char* const library : {"dxgi.dll", "d3d12.dll", "DirectML.dll"}) {
        EXPECT_EQ(GetModuleHandleA(library), nullptr) << library;
    }
    return row.str();
}

TEST(SupportCheck, AnswersAsTheMachineIsAndLeavesNothingBehind) {
    LibraryLog log(ORVANE_LOG_INFO);
    std::array<uint8_t, 12> jump{0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};  // mov rax, answer; jmp rax
    const auto answer = &AnswerVersion;
    std::copy_n(reinterpret_cast<const uint8_t*>(&answer), sizeof(answer), &jump[2]);
    ExchangeRtlGetVersion(jump);
    std::ostringstream text;
    text << "libraries\tadapters\tcode\tsupported\tstatus\tcount\tclass\tconstant\tdevice\tWindows\tname\tlog"
            "\n";
    for (const Machine& machine : kMachines) {
        SCOPED_TRACE(testing::Message() << "machine " << &machine - kMachines);
        const TempFolder folder;
        UseLibraries(machine.libraries, folder);
        g_machine = &machine;
        text << machine.libraries << '\t';
        for (const Adapter& adapter : machine.adapters) {
            text << adapter.deviceId << ' ';
        }
        text << '\t' << Check(log) << '\n';
    }
    ExchangeRtlGetVersion(jump);
    ExpectTranscript("support_check.tsv", text.str());
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
