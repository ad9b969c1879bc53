// The library under everything with which Windows checks a program: Direct3D's debug layer, its validation on the GPU
// and DirectML's debug flag. Opens, upscales, changes the size, closes, loses the device and opens again, without a
// message but the one that is expected. Says what is not available, which on Wine is all of it, and runs the rest.
#include <cstring>
#include <gtest/gtest.h>
#include <string_view>

#include "gpu/platform.h"
// After platform.h, which sees to the order of Direct3D's headers.
#include <directx/d3d12sdklayers.h>

#include "tests/support/host.h"
#include "tools/hooks/function_tables.h"

namespace orvane::test {
namespace {

// Buffers begin in the common state whatever is asked for. Told of each; harmless, and other runtimes heed the state.
constexpr int kStateIsIgnored = 1328;

void SayNotAvailable(const char* what) {
    std::printf("not available: %s\n", what);
}

bool EnableDebugLayer() {
    const HMODULE d3d12 = LoadLibraryW(L"d3d12.dll");
    const auto getInterface = reinterpret_cast<decltype(&D3D12GetDebugInterface)>(
        reinterpret_cast<void*>(GetProcAddress(d3d12, "D3D12GetDebugInterface")));
    ComPtr<ID3D12Debug> debug;
    if (getInterface == nullptr || FAILED(getInterface(IID_PPV_ARGS(debug.GetAddressOf())))) {
        SayNotAvailable("Direct3D's debug layer");
        return false;
    }
    debug->EnableDebugLayer();
    if (ComPtr<ID3D12Debug1> validation; SUCCEEDED(debug->QueryInterface(IID_PPV_ARGS(validation.GetAddressOf())))) {
        validation->SetEnableGPUBasedValidation(TRUE);
    } else {
        SayNotAvailable("Direct3D's validation on the GPU");
    }
    return true;
}

bool g_debugLayer = false;
ComPtr<ID3D12Device> g_device;  // the library's last one; on Wine not for longer than the library's
decltype(&D3D12CreateDevice) g_createDevice = nullptr;
decltype(&DMLCreateDevice) g_createDirectML = nullptr;

HRESULT WINAPI CreateDevice(IUnknown* adapter, D3D_FEATURE_LEVEL level, REFIID iid, void** device) {
    const HRESULT hr = g_createDevice(adapter, level, iid, device);
    if (SUCCEEDED(hr) && iid == __uuidof(ID3D12Device)) {
        g_device = static_cast<ID3D12Device*>(*device);
    }
    return hr;
}

HRESULT WINAPI CreateDirectML(ID3D12Device* device, DML_CREATE_DEVICE_FLAGS flags, REFIID iid, void** dmlDevice) {
    if (g_debugLayer && SUCCEEDED(g_createDirectML(device, flags | DML_CREATE_DEVICE_FLAG_DEBUG, iid, dmlDevice))) {
        return S_OK;
    }
    SayNotAvailable("DirectML's debug flag");
    return g_createDirectML(device, flags, iid, dmlDevice);
}

template <typename Function>
FARPROC Replace(FARPROC found, Function*& original, Function* own) {
    original = reinterpret_cast<Function*>(reinterpret_cast<void*>(found));
    return reinterpret_cast<FARPROC>(Address(own));
}

FARPROC WINAPI FindEntryPoint(HMODULE module, LPCSTR name) {
    const FARPROC found = GetProcAddress(module, name);
    if (found != nullptr && std::strcmp(name, "D3D12CreateDevice") == 0) {
        return Replace(found, g_createDevice, &CreateDevice);
    }
    if (found != nullptr && std::strcmp(name, "DMLCreateDevice") == 0) {
        return Replace(found, g_createDirectML, &CreateDirectML);
    }
    return found;
}

// The process's one device tells of everything that was done on it.
std::string TakeMessages() {
    ComPtr<ID3D12InfoQueue> queue;
    if (!g_device || FAILED(g_device->QueryInterface(IID_PPV_ARGS(queue.GetAddressOf())))) {
        return {};
    }
    std::string text;
    for (UINT64 i = 0; i < queue->GetNumStoredMessages(); ++i) {
        SIZE_T size = 0;
        queue->GetMessage(i, nullptr, &size);
        std::vector<uint64_t> memory(size / sizeof(uint64_t) + 1);
        auto* const message = reinterpret_cast<D3D12_MESSAGE*>(memory.data());
        if (FAILED(queue->GetMessage(i, message, &size))) {
            text += "a message that cannot be read\n";
        } else if (message->Severity <= D3D12_MESSAGE_SEVERITY_WARNING && message->ID != kStateIsIgnored) {
            text += std::to_string(message->ID) + " " + message->pDescription + '\n';
        }
    }
    queue->ClearStoredMessages();
    return text;
}

// False when the system cannot do that.
bool RemoveDevice() {
    ComPtr<ID3D12Device5> device;
    if (SUCCEEDED(g_device->QueryInterface(IID_PPV_ARGS(device.GetAddressOf())))) {
        device->RemoveDevice();
    }
    return g_device->GetDeviceRemovedReason() != S_OK;
}

class DebugLayer : public testing::Test {
protected:
    static void SetUpTestSuite() {
        g_debugLayer = EnableDebugLayer();
        ForEachImport(GetModuleHandleW(L"liborvane.dll"), [](std::string_view name, void** entry) {
            if (name == "GetProcAddress") {
                ReplaceEntry(entry, Address(&FindEntryPoint));
            }
        });
    }
    static void TearDownTestSuite() { g_device.Reset(); }

    // Whatever comes: opens, upscales, changes the size and back, and closes.
    void ExpectCleanLife() {
        Instance instance(m_param);
        ASSERT_NE(instance.Handle(), nullptr) << Joined(m_log.TakeTexts());
        if (!g_debugLayer) {
            g_device.Reset();
        }
        EXPECT_EQ(TakeMessages(), "") << "of the open";
        for (const auto& [width, height] : {std::pair{33U, 17U}, {64U, 9U}, {33U, 17U}, {33U, 17U}}) {
            ExpectUpscaled(instance.Handle(), m_network, MakeRandomImage(width, height, width));
            EXPECT_EQ(TakeMessages(), "") << "of a frame of " << width << " x " << height;
        }
        instance.Close();
        EXPECT_EQ(TakeMessages(), "") << "of the close";
    }

    LibraryLog m_log;
    TempFolder m_folder;
    ReferenceNetwork m_network = MakeRandomNetwork(5, 1, 1);
    orvane_open_param m_param = OpenParam(33, 17, m_network, WriteModel(m_folder, "model.bin", m_network));
};

TEST_F(DebugLayer, HasNothingToSay) {
    ExpectCleanLife();
    EXPECT_EQ(m_log.TakeTexts(), std::vector<std::string>{});
    // The device that is kept for its messages is the process's: two instances have the same, and it outlives them.
    ExpectCleanLife();
}

TEST_F(DebugLayer, HasNothingToSayOnceARemovedDeviceIsClosed) {
    Instance instance(m_param);
    ASSERT_NE(instance.Handle(), nullptr);
    if (!RemoveDevice()) {
        SayNotAvailable("removing the device");
        g_device.Reset();
        return;
    }
    int result = 0;
    Process(instance.Handle(), MakeRandomImage(33, 17, 1), result);
    EXPECT_EQ(result, ORVANE_ERROR_FAILED);
    EXPECT_NE(m_log.TakeTexts(), std::vector<std::string>{});
    instance.Close();
    // Nobody may hold a removed device: until then there is no other.
    g_device.Reset();
    ExpectCleanLife();
}

}  // namespace
}  // namespace orvane::test
