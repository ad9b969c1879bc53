// Worker, the baseline: the same network as an ONNX model, run by ONNX Runtime with its DirectML provider.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>

#include <windows.h>

// After windows.h.
#define ORT_API_MANUAL_INIT
#if defined(__MINGW32__) && !defined(_stdcall)
#define _stdcall __stdcall  // NOLINT(bugprone-reserved-identifier): the header writes it as Visual C++ may
#endif
#include <onnxruntime_cxx_api.h>

#include "apps/models/half.h"
#include "bench/workers/host_side.h"
#include "gpu/adapter_selection.h"
#include "gpu/system_library.h"

namespace orvane::bench {
namespace {

using AppendDirectML = OrtStatus*(ORT_API_CALL*)(OrtSessionOptions*, int device);

// The library beside this program: Windows has an older one of its own.
HMODULE LoadOnnxRuntime() {
    std::array<wchar_t, 1024> program{};
    GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size()));
    const std::filesystem::path library = std::filesystem::path(program.data()).replace_filename("onnxruntime.dll");
    const HMODULE module = LoadLibraryExW(library.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    Require(module != nullptr, "onnxruntime.dll cannot be loaded");
    return module;
}

template <typename Function>
Function EntryPoint(HMODULE module, const char* name) {
    const auto found = std::bit_cast<Function>(GetProcAddress(module, name));
    Require(found != nullptr, std::string("onnxruntime.dll has no ") + name);
    return found;
}

// The number, in DXGI's enumeration, of the adapter that the library chooses.
int AdapterNumber(IDXGIFactory1& factory) {
    const AdapterCandidate best = SelectBestAdapter(factory, nullptr);
    ComPtr<IDXGIAdapter1> adapter;
    for (UINT i = 0; SUCCEEDED(factory.EnumAdapters1(i, adapter.ReleaseAndGetAddressOf())); ++i) {
        DXGI_ADAPTER_DESC1 desc{};
        adapter->GetDesc1(&desc);
        if (std::memcmp(&desc.AdapterLuid, &best.desc.AdapterLuid, sizeof(LUID)) == 0) {
            return static_cast<int>(i);
        }
    }
    throw std::runtime_error("there is no adapter");
}

// Between bytes and half-precision values, by looking them up: the fastest way on a processor.
struct Conversions {
    std::array<uint16_t, 256> halfOfByte{};
    std::vector<uint8_t> byteOfHalf = std::vector<uint8_t>(65536);

    Conversions() {
        for (size_t i = 0; i < halfOfByte.size(); ++i) {
            halfOfByte[i] = tool::HalfFromFloat(static_cast<float>(i) / 255.0F);
        }
        for (size_t i = 0; i < byteOfHalf.size(); ++i) {
            const float value = tool::FloatFromHalf(static_cast<uint16_t>(i));
            byteOfHalf[i] = static_cast<uint8_t>(value > 0.0F ? std::min(value, 1.0F) * 255.0F + 0.5F : 0.0F);
        }
    }
};

class Baseline final : public HostSide {
public:
    // A frame without the conversions of its images.
    void RunSession() {
        const std::array input{"x"};
        const std::array output{"y"};
        m_session->Run(Ort::RunOptions{nullptr}, input.data(), &m_inputTensor, 1, output.data(), &m_outputTensor, 1);
    }

private:
    void Prepare(const OpenArguments& open) override {
        if (m_appendDirectML == nullptr) {
            Load();
        }
        m_size = open.size;
        m_model = LoadBytes(open.modelPath);
        m_inputHalves.resize(m_input.size() / kBytesPerPixel * 3);
        m_outputHalves.resize(m_output.size() / kBytesPerPixel * 3);
    }

    void Load() {
        const HMODULE module = LoadOnnxRuntime();
        using GetApiBase = const OrtApiBase*(ORT_API_CALL*)();
        const OrtApi* const api = EntryPoint<GetApiBase>(module, "OrtGetApiBase")()->GetApi(ORT_API_VERSION);
        Require(api != nullptr, "onnxruntime.dll is older than its header");
        Ort::InitApi(api);
        m_appendDirectML = EntryPoint<AppendDirectML>(module, "OrtSessionOptionsAppendExecutionProvider_DML");
        Require(SUCCEEDED(m_libraries.CreateDXGIFactory2(0, IID_PPV_ARGS(m_factory.GetAddressOf()))), "no DXGI");
        m_adapter = AdapterNumber(*m_factory.Get());
        m_memory = Ort::MemoryInfo::CreateCpu(OrtDeviceAllocator, OrtMemTypeDefault);
    }

    void Open() override {
        if (!m_environment) {
            m_environment.emplace(ORT_LOGGING_LEVEL_ERROR, "bench");
        }
        Ort::SessionOptions options;
        // What the provider asks for.
        options.DisableMemPattern();
        options.SetExecutionMode(ORT_SEQUENTIAL);
        // All of the network on the adapter, or nothing.
        options.AddConfigEntry("session.disable_cpu_ep_fallback", "1");
        Ort::ThrowOnError(m_appendDirectML(options, m_adapter));
        m_session.emplace(*m_environment, m_model.data(), m_model.size(), options);

        const std::array<int64_t, 4> inputShape{1, 3, m_size.height, m_size.width};
        const std::array<int64_t, 4> outputShape{1, 3, Upscaled(m_size).height, Upscaled(m_size).width};
        m_inputTensor = MakeTensor(m_inputHalves, inputShape);
        m_outputTensor = MakeTensor(m_outputHalves, outputShape);
    }

    void Close() override { m_session.reset(); }

    Ort::Value MakeTensor(std::vector<uint16_t>& halves, std::span<const int64_t> shape) const {
        return Ort::Value::CreateTensor(m_memory, halves.data(), halves.size() * sizeof(uint16_t), shape.data(),
                                        shape.size(), ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT16);
    }

    void ProcessOne() override {
        const size_t inputPixels = m_inputHalves.size() / 3;
        for (size_t i = 0; i < inputPixels; ++i) {
            for (size_t colour = 0; colour < 3; ++colour) {  // blue first
                m_inputHalves[colour * inputPixels + i] = m_conversions.halfOfByte[m_input[4 * i + 2 - colour]];
            }
        }
        RunSession();
        const size_t outputPixels = m_outputHalves.size() / 3;
        for (size_t i = 0; i < outputPixels; ++i) {
            for (size_t colour = 0; colour < 3; ++colour) {
                m_output[4 * i + 2 - colour] = m_conversions.byteOfHalf[m_outputHalves[colour * outputPixels + i]];
            }
            m_output[4 * i + 3] = 255;
        }
    }

    SystemLibraries m_libraries;
    ComPtr<IDXGIFactory4> m_factory;  // outlives the sessions: Wine unloads the driver with the last factory
    AppendDirectML m_appendDirectML = nullptr;
    int m_adapter = 0;
    Conversions m_conversions;
    FrameSize m_size;
    std::vector<uint8_t> m_model;
    std::vector<uint16_t> m_inputHalves;
    std::vector<uint16_t> m_outputHalves;
    Ort::MemoryInfo m_memory{nullptr};
    std::optional<Ort::Env> m_environment;
    std::optional<Ort::Session> m_session;
    Ort::Value m_inputTensor{nullptr};
    Ort::Value m_outputTensor{nullptr};
};

}  // namespace
}  // namespace orvane::bench

int main() {
    using namespace orvane::bench;
    Baseline baseline;
    return baseline.Run({
        {"sessions", [&](std::istream& arguments) { return MeasureAll(arguments, [&] { baseline.RunSession(); }); }},
    });
}
