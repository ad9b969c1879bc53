// Every call of the system that an export makes and that can fail is made to fail, at its first, second, ...
// occurrence, until the export comes through. Each time the code and the log lines must be the documented ones, nothing
// may stay behind, and the next open, frame and close must succeed.
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <set>

#include "tests/fault_injector.h"
#include "tests/host.h"

namespace orvane::test {
namespace {

using Lines = std::vector<std::string>;

// The part of an operation that a failing call belongs to, which decides the lines that follow those of the call.
enum class Stage { kDevice, kNetwork, kOther, kBindings, kTextures, kFrame, kCheck, kThrown, kIgnored };

// Calls that have the same consequences. A call stands in several rows when its occurrences have different ones.
struct Row {
    std::set<std::string> calls;
    Stage stage = Stage::kIgnored;
    // Up to those of the stage; for an exception its text. '*' stands for any text, '%' for the injected HRESULT.
    Lines lines;
};

std::string Failed(const std::string& what) {
    return "Operation failed: " + what + ", HRESULT: 0x%";
}
const std::string kEnumAdapters = "IDXGIFactory1::EnumAdapters1";
const std::string kResourceLine = "Failed to CreateCommittedResource, error code: -1";
const std::string kWeightsLine = "Failed to LoadWeights, error code: -1";
const std::string kUploadFailure = "Failure with HRESULT of %";

// In the order in which the library works.
const std::vector<Row> kEngineRows{
    {{"malloc"}, Stage::kOther, {"Failed to create sample"}},
    {{"malloc"}, Stage::kThrown, {"std::bad_alloc"}},
    {{"LoadLibraryW", "GetProcAddress", "CreateDXGIFactory2"},
     Stage::kDevice,
     {Failed("CreateDXGIFactory2"), "Failed to CreateDXGIFactory2, error code: -1"}},
    {{kEnumAdapters, "IDXGIAdapter1::GetDesc1"}, Stage::kDevice, {"Failed to selected Adapter"}},
    {{"LoadLibraryW", "GetProcAddress", "D3D12CreateDevice"}, Stage::kDevice, {Failed("D3D12CreateDevice")}},
    {{"ID3D12Device::CreateCommandQueue"}, Stage::kDevice, {Failed("CreateCommandQueue")}},
    {{"ID3D12Device::CreateCommandAllocator"}, Stage::kDevice, {Failed("CreateCommandAllocator")}},
    {{"ID3D12Device::CreateCommandList"}, Stage::kDevice, {Failed("CreateCommandList")}},
    {{"ID3D12Device::CreateFence"}, Stage::kDevice, {Failed("CreateFence")}},
    {{"CreateEventExW"}, Stage::kDevice, {"Failed to CreateEventEx"}},

    {{"LoadLibraryW", "GetProcAddress", "DMLCreateDevice"},
     Stage::kNetwork,
     {Failed("DMLCreateDevice"), "Failed to DMLCreateDevice, error code: -1"}},
    {{"IDXGIFactory4::EnumAdapterByLuid"},
     Stage::kNetwork,
     {Failed("GetAdapterLuid"), "Failed to GetAdapterLuid, error code: -1"}},
    {{"IDMLDevice::CheckFeatureSupport"}, Stage::kNetwork, {Failed("CheckFeatureSupport")}},
    {{"IDMLDevice::CreateCommandRecorder"}, Stage::kNetwork, {Failed("CreateCommandRecorder")}},
    {{"GetProcAddress", "D3D12SerializeRootSignature"}, Stage::kNetwork, {Failed("D3D12SerializeRootSignature")}},
    {{"ID3D12Device::CreateRootSignature"}, Stage::kNetwork, {Failed("CreateRootSignature")}},
    {{"ID3D12Device::CreateComputePipelineState"}, Stage::kNetwork, {Failed("CreateComputePipelineState")}},
    {{"ID3D12Device::CreateDescriptorHeap"}, Stage::kNetwork, {Failed("CreateDescriptorHeap")}},
    {{"fopen", "fseek", "ftell"},
     Stage::kNetwork,
     {"[decryptFileTwiceToStream]: Open file(*model.en2) failed.", "open and twice_decrypt the *model.en2 file failed",
      "Failed to open or decrypt model file: *model.en2", kWeightsLine}},
    {{"malloc"},
     Stage::kNetwork,
     {"seek weights stream err for weights of layer 0", "Failed to ReadLayerWeights for layer 0", kWeightsLine}},
    {{"fread"},
     Stage::kNetwork,
     {"read weights stream err for weights of layer 0", "Failed to ReadLayerWeights for layer 0", kWeightsLine}},
    {{"malloc"},
     Stage::kNetwork,
     {"Memory allocation failed for layer * weights", "Failed to ReadLayerWeights for layer *", kWeightsLine}},
    {{"malloc"},
     Stage::kNetwork,
     {"Memory allocation failed for layer * bias", "Failed to ReadLayerWeights for layer *", kWeightsLine}},
    {{"ID3D12Device::CreateCommittedResource"},
     Stage::kBindings,
     {Failed("CreateCommittedResource"), kResourceLine, "Weights of layer * are not on the GPU"}},
    {{"ID3D12Device::CreateCommandAllocator", "ID3D12Device::CreateCommandList",
      "ID3D12Device::CreateCommittedResource", "ID3D12Resource::Map", "HeapAlloc", "ID3D12GraphicsCommandList::Close",
      "ID3D12Device::CreateFence", "ID3D12CommandQueue::Signal", "ID3D12Fence::SetEventOnCompletion",
      "WaitForSingleObject"},
     Stage::kThrown,
     {kUploadFailure}},
    {{"CreateEventExW"}, Stage::kThrown, {"CreateEventEx"}},
    {{"_beginthreadex"}, Stage::kThrown, {"Resource temporarily unavailable"}},
    {{"IDMLDevice::CreateOperator"}, Stage::kNetwork, {Failed("CreateOperator")}},
    {{"IDMLDevice::CompileOperator"}, Stage::kNetwork, {Failed("CompileOperator")}},
    {{"ID3D12Device::GetDeviceRemovedReason"},
     Stage::kNetwork,
     {"Device already removed before resource creation, reason: 0x%"}},
    {{"ID3D12Device::CreateCommittedResource"},
     Stage::kNetwork,
     {Failed("CreateCommittedResource m_modelInput"),
      "Failed to create m_modelInput resource, checking device state...",
      "Device removal reason after m_modelInput failure: 0x00000000"}},
    {{"ID3D12Device::CreateCommittedResource"},
     Stage::kNetwork,
     {Failed("CreateCommittedResource m_modelOutput"),
      "Failed to create m_modelOutput resource, checking device state...",
      "Device removal reason after m_modelOutput failure: 0x00000000"}},
    {{"ID3D12Device::CreateCommittedResource"},
     Stage::kNetwork,
     {Failed("CreateCommittedResource m_modelIntermediateResult"),
      "Failed to create intermediate resource *, checking device state...", "Device removal reason: 0x00000000"}},

    {{"CoInitializeEx"}, Stage::kOther, {"Failed to CoInitializeEx"}},
    {{"ID3D12CommandAllocator::Reset"}, Stage::kBindings, {Failed("ResetCommandAllocator")}},
    {{"ID3D12GraphicsCommandList::Reset"}, Stage::kBindings, {Failed("ResetCommandList")}},
    {{"IDMLDevice::CreateOperatorInitializer"}, Stage::kBindings, {Failed("CreateOperatorInitializer")}},
    {{"ID3D12Device::CreateDescriptorHeap"}, Stage::kBindings, {Failed("CreateDescriptorHeap")}},
    {{"ID3D12Device::CreateCommittedResource"}, Stage::kBindings, {Failed("CreateCommittedResource")}},
    {{"ID3D12Device::CreateCommittedResource"},
     Stage::kBindings,
     {Failed("CreateCommittedResource"), kResourceLine, "Failed to BindTempResourceIfNeeded for conv, error code: -1"}},
    {{"IDMLDevice::CreateBindingTable"}, Stage::kBindings, {Failed("CreateBindingTable")}},
    {{"IDMLBindingTable::Reset"}, Stage::kBindings, {Failed("ResetBindingTable")}},
    {{"ID3D12GraphicsCommandList::Close"}, Stage::kBindings, {Failed("Close")}},
    {{"ID3D12CommandQueue::Signal", "ID3D12Fence::SetEventOnCompletion", "WaitForSingleObjectEx"},
     Stage::kBindings,
     {"Failed to WaitForGpu, error code: -1"}},
    // A layer's temporary memory.
    {{"ID3D12Device::CreateCommittedResource"}, Stage::kIgnored, {Failed("CreateCommittedResource"), kResourceLine}},
    {{"ID3D12Device::CreateCommittedResource"}, Stage::kTextures, {Failed("CreateCommittedResource"), kResourceLine}},
    {{"ID3D12Device::CreateDescriptorHeap"}, Stage::kTextures, {Failed("CreateDescriptorHeap")}},

    {{"ID3D12CommandAllocator::Reset"}, Stage::kFrame, {Failed("ResetCommandAllocator")}},
    {{"ID3D12GraphicsCommandList::Reset"}, Stage::kFrame, {Failed("ResetCommandList")}},
    {{"HeapAlloc", "ID3D12Resource::Map"},
     Stage::kFrame,
     {"Operation failed: UpdateSubresources, HRESULT: 0x8007000E"}},
    {{"ID3D12GraphicsCommandList::Close"}, Stage::kFrame, {"Copy output texture to CPU failed! hr=0x%"}},
    {{"ID3D12CommandQueue::Signal", "ID3D12Fence::SetEventOnCompletion", "WaitForSingleObjectEx"},
     Stage::kFrame,
     {"Failed to WaitForGpu, error code: -1"}},
    {{"ID3D12Device::GetDeviceRemovedReason", "IDMLDevice::GetDeviceRemovedReason"},
     Stage::kFrame,
     {Failed("GetDeviceRemovedReason")}},
    {{"ID3D12Resource::Map"},
     Stage::kFrame,
     {Failed("m_outputTextureReadback"), "Failed to m_outputTextureReadback, error code: -1"}},
    {{"ID3D12Device::SetName", "ID3D12CommandQueue::SetName", "ID3D12CommandAllocator::SetName",
      "ID3D12GraphicsCommandList::SetName", "ID3D12Fence::SetName", "ID3D12Resource::SetName",
      "ID3D12RootSignature::SetName", "ID3D12PipelineState::SetName", "ID3D12Device::CheckFeatureSupport",
      kEnumAdapters, "IDXGIAdapter1::GetDesc1", "ID3D12GraphicsCommandList::Close", "ID3D12CommandQueue::Signal",
      "ID3D12Fence::SetEventOnCompletion", "WaitForSingleObjectEx", "malloc"},  // a sort without its buffer
     Stage::kIgnored,
     {}},
};

// Every part of the pattern between '*' in its place, the last one at the end.
bool Matches(const std::string& pattern, const std::string& text) {
    size_t at = 0;
    size_t start = 0;
    for (size_t star = pattern.find('*'); star != std::string::npos; star = pattern.find('*', start)) {
        const std::string part = pattern.substr(start, star - start);
        const size_t found = text.find(part, at);
        if (found == std::string::npos || (start == 0 && found != 0)) {
            return false;
        }
        at = found + part.size();
        start = star + 1;
    }
    const std::string rest = pattern.substr(start);
    return start == 0 ? text == rest : text.size() >= at + rest.size() && text.ends_with(rest);
}

// What a failing call is replaced by in '%': by default the injected result.
std::string ResultText(const std::string& call) {
    const std::map<std::string, std::string> others{
        {"LoadLibraryW", "8007007E"}, {"GetProcAddress", "8007007F"}, {"WaitForSingleObject", "80070006"}};
    const auto found = others.find(call);
    return found != others.end() ? found->second : "8007000E";
}

bool Matches(const Lines& patterns, const Lines& lines, const std::string& call) {
    return std::equal(patterns.begin(), patterns.end(), lines.begin(), lines.end(),
                      [&](std::string pattern, const std::string& line) {
                          if (const size_t at = pattern.find('%'); at != std::string::npos) {
                              pattern.replace(at, 1, ResultText(call));
                          }
                          return Matches(pattern, line);
                      });
}

struct Outcome {
    int code = 0;
    std::optional<std::string> thrown;
    Lines lines;

    bool Succeeded() const { return code == 0 && !thrown; }
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "code " << outcome.code << ", thrown " << outcome.thrown.value_or("nothing") << ", lines "
               << testing::PrintToString(outcome.lines);
}

struct Operation {
    const char* name;
    std::set<Stage> stages;          // whose rows must all be met
    std::map<Stage, Lines> endings;  // the lines that follow a row's own
    int failureCode;
    std::function<void()> prepare;
    std::function<int()> call;  // one export; 0 when it succeeded
    // Checks what the call left, and closes what is open.
    std::function<void(const Outcome&)> finish;
};

class FailureSweep : public testing::Test {
protected:
    orvane_open_param Param() const { return OpenParam(8, 6, m_network, m_model); }

    void ExpectGoodFrame(orvane_handle handle, const Picture& picture) {
        int result = 1;
        EXPECT_EQ(Difference(Process(handle, picture, result), DoublePicture(m_network, picture)), "");
        EXPECT_EQ(result, ORVANE_OK);
    }

    // Nothing is left, and the next open, frame and close succeed and leave nothing either.
    void ExpectWhole() {
        EXPECT_EQ(m_injector.Held(), "");
        {
            const Instance instance(Param());
            ExpectGoodFrame(instance.Handle(), m_picture);
        }
        EXPECT_EQ(m_injector.Held(), "");
        EXPECT_EQ(m_log.TakeTexts(), Lines{});
    }

    Outcome Run(const Operation& operation) {
        Outcome outcome;
        try {
            outcome.code = operation.call();
        } catch (const std::exception& exception) {
            outcome.thrown = exception.what();
        }
        outcome.lines = m_log.TakeTexts();
        return outcome;
    }

    static bool IsRow(const Operation& operation, const Row& row, const std::string& call, const Outcome& outcome) {
        if (!row.calls.contains(call)) {
            return false;
        }
        if (row.stage == Stage::kThrown) {
            return outcome.thrown && Matches(row.lines, {*outcome.thrown}, call);
        }
        Lines lines = row.lines;
        if (const auto ending = operation.endings.find(row.stage); ending != operation.endings.end()) {
            lines.insert(lines.end(), ending->second.begin(), ending->second.end());
        }
        const int code = row.stage == Stage::kIgnored ? 0 : operation.failureCode;
        return !outcome.thrown && outcome.code == code && Matches(lines, outcome.lines, call);
    }

    void Sweep(const Operation& operation, const std::vector<Row>& rows) {
        operation.prepare();
        m_injector.Arm();
        const Outcome undisturbed = Run(operation);
        m_injector.Disarm();
        ASSERT_TRUE(undisturbed.Succeeded()) << undisturbed;
        operation.finish(undisturbed);

        int points = 0;
        std::set<const Row*> met;
        const FaultInjector::CallCounts calls = m_injector.Calls();
        for (const auto& [call, count] : calls) {
            points += SweepCall(operation, rows, call, met);
        }
        for (const Row& row : rows) {
            EXPECT_TRUE(!operation.stages.contains(row.stage) || met.contains(&row))
                << operation.name << " never gave " << testing::PrintToString(row.lines) << " after a failure of "
                << testing::PrintToString(row.calls);
        }
        std::printf("%s: %d failure points of %zu calls\n", operation.name, points, calls.size());
    }

    // Returns how many points there were.
    int SweepCall(const Operation& operation, const std::vector<Row>& rows, const std::string& call,
                  std::set<const Row*>& met) {
        std::set<const Row*> metByCall;
        for (int n = 1;; ++n) {
            SCOPED_TRACE(std::string(operation.name) + " with failing " + call + " number " + std::to_string(n));
            operation.prepare();
            m_injector.Arm(call, n);
            const Outcome outcome = Run(operation);
            const bool wasMet = m_injector.Disarm();
            EXPECT_TRUE(wasMet || outcome.Succeeded()) << outcome;
            operation.finish(outcome);
            ExpectWhole();
            if (!wasMet) {
                return n - 1;
            }
            const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& candidate) {
                return IsRow(operation, candidate, call, outcome);
            });
            if (row == rows.end()) {
                ADD_FAILURE() << "not as documented: " << outcome;
                continue;
            }
            // In the documented order.
            EXPECT_TRUE(row->stage == Stage::kIgnored || !metByCall.insert(&*row).second ||
                        &*row == *metByCall.rbegin())
                << outcome;
            met.insert(&*row);
        }
    }

    LibraryLog m_log;
    TempFolder m_folder;
    ReferenceNetwork m_network = MakeRandomNetwork(4, 0, 1);
    std::filesystem::path m_model = WriteModel(m_folder, "model.en2", m_network);
    Picture m_picture = MakeRandomPicture(8, 6, 1);
    Picture m_larger = MakeRandomPicture(9, 7, 2);
    FaultInjector m_injector;
    orvane_handle m_handle = nullptr;
    Picture m_doubled;
    orvane_check_result m_support{};

    void OpenInstance() {
        const orvane_open_param param = Param();
        m_handle = orvane_open(&param);
        ASSERT_NE(m_handle, nullptr);
    }

    int CallProcess(const Picture& picture) {
        int result = 1;
        m_doubled = Process(m_handle, picture, result);
        return result;
    }

    Operation Open() {
        return {
            "orvane_open",
            {Stage::kDevice, Stage::kNetwork, Stage::kOther, Stage::kBindings, Stage::kTextures, Stage::kThrown},
            {{Stage::kDevice,
              {"Failed to CreateDeviceResources, error code: -1", "Failed to create device, error code: -1"}},
             {Stage::kNetwork,
              {"Failed to CreateDirectMLResources, error code: -1", "Failed to create device, error code: -1"}},
             {Stage::kBindings,
              {"fail InitializeDirectMLResources, error code: -1", "Failed to initialize resources, error code: -1"}},
             {Stage::kTextures,
              {"fail InitTextureResource, error code: -1", "Failed to initialize resources, error code: -1"}}},
            -1,
            [] {},
            [this] {
                const orvane_open_param param = Param();
                m_handle = orvane_open(&param);
                return m_handle != nullptr ? 0 : -1;
            },
            [this](const Outcome& outcome) {
                if (outcome.Succeeded()) {
                    ExpectGoodFrame(m_handle, m_picture);
                    orvane_close(m_handle);
                }
            }};
    }

    Operation ChangeSize() {
        const std::string last = "Failed to re-initialize sample, error code: -1";
        return {
            "orvane_process with a change of size",
            {Stage::kFrame},
            {{Stage::kNetwork, {"Failed to CreateDirectMLResources on Reinit, error code: -1", last}},
             {Stage::kBindings,
              {"fail InitializeDirectMLResources, error code: -1", "Failed to InitResources on Reinit, error code: -1",
               last}},
             {Stage::kTextures,
              {"fail InitTextureResource, error code: -1", "Failed to InitResources on Reinit, error code: -1", last}},
             {Stage::kFrame, {"Failed to Infer, error code: -1"}}},
            ORVANE_ERROR_FAILED,
            [this] { OpenInstance(); },
            [this] { return CallProcess(m_larger); },
            [this](const Outcome& outcome) { FinishChange(outcome); }};
    }

    void FinishChange(const Outcome& outcome) {
        if (outcome.Succeeded()) {
            EXPECT_EQ(Difference(m_doubled, DoublePicture(m_network, m_larger)), "");
        } else if (!outcome.thrown && outcome.lines.back() == "Failed to re-initialize sample, error code: -1") {
            // The library has closed it, and says no more of it.
            EXPECT_EQ(m_injector.Held(), "");
            EXPECT_EQ(CallProcess(m_larger), ORVANE_ERROR_INVALID);
            EXPECT_EQ(m_log.TakeTexts(), Lines{});
        } else {
            if (outcome.thrown && outcome.thrown != "std::bad_alloc") {
                // It is as it was left, and can still be changed.
                EXPECT_EQ(CallProcess(m_larger), ORVANE_ERROR_INVALID);
                EXPECT_EQ(m_log.TakeTexts(), Lines{"sample is null or not initialized, possibly after a resolution "
                                                   "change failed."});
            }
            ExpectGoodFrame(m_handle, m_picture);
        }
        orvane_close(m_handle);
    }

    Operation Frame() {
        return {"orvane_process",
                {Stage::kFrame},
                {{Stage::kFrame, {"Failed to Infer, error code: -1"}}},
                ORVANE_ERROR_FAILED,
                [this] { OpenInstance(); },
                [this] { return CallProcess(m_picture); },
                [this](const Outcome& outcome) {
                    if (outcome.Succeeded()) {
                        EXPECT_EQ(Difference(m_doubled, DoublePicture(m_network, m_picture)), "");
                    }
                    ExpectGoodFrame(m_handle, MakeRandomPicture(8, 6, 3));
                    orvane_close(m_handle);
                }};
    }

    Operation CheckSupported() {
        return {"orvane_check_supported",
                {Stage::kOther, Stage::kIgnored},
                {},
                ORVANE_ERROR_UNSUPPORTED,
                [] {},
                [this] { return orvane_check_supported(&(m_support = {}), nullptr); },
                [this](const Outcome& outcome) { EXPECT_EQ(m_support.supported, outcome.Succeeded() ? 1U : 0U); }};
    }

    Operation Close() {
        return {"orvane_close",
                {Stage::kIgnored},
                {},
                0,
                [this] { OpenInstance(); },
                [this] { return orvane_close(m_handle); },
                [](const Outcome&) {}};
    }
};

TEST_F(FailureSweep, Open) {
    // The initializer binds its temporary memory and the persistent memory of the layers, every layer both of its own.
    ExpectWhole();
    const int before = m_injector.PretendedBindings();
    Instance(Param()).Close();
    EXPECT_EQ(m_injector.PretendedBindings() - before, 1 + 3 * static_cast<int>(m_network.layers.size()));

    Sweep(Open(), kEngineRows);
}

TEST_F(FailureSweep, ChangeOfSize) {
    Sweep(ChangeSize(), kEngineRows);
}

TEST_F(FailureSweep, Frame) {
    Sweep(Frame(), kEngineRows);
}

TEST_F(FailureSweep, Close) {
    Sweep(Close(), {{{"ID3D12CommandQueue::Signal", "ID3D12Fence::SetEventOnCompletion", "WaitForSingleObjectEx"},
                     Stage::kIgnored,
                     {}}});
}

TEST_F(FailureSweep, CheckSupported) {
    const auto row = [](const std::set<std::string>& calls, int status, const std::string& line) {
        return Row{calls, Stage::kOther, {line, "device not support dml, status:" + std::to_string(status)}};
    };
    Sweep(CheckSupported(),
          {{{"GetModuleHandleW"},
            Stage::kOther,
            {"HWD|Failed to get ntdll.dll handle", "HWD|windows system too old, major:0, minor:0, build:0",
             "device not support dml, status:12"}},
           // Without the one function the other is asked, which tells programs like this one that it is Windows 8.
           row({"GetProcAddress"}, 12, "HWD|windows system too old, major:6, minor:2, build:9200"),
           row({"LoadLibraryW"}, 1, "Failed to load dxgi.dll"),
           row({"GetProcAddress"}, 4, "HWD|CreateDXGIFactory2 not found in dxgi.dll"),
           row({"CreateDXGIFactory2"}, 7, "HWD|fail to CreateDXGIFactory"),
           row({kEnumAdapters, "IDXGIAdapter1::GetDesc1"}, 8, "HWD|Failed to enumerate any suitable adapter"),
           row({"LoadLibraryW"}, 2, "Failed to load d3d12.dll"),
           row({"GetProcAddress"}, 5, "HWD|D3D12CreateDevice not found in d3d12.dll"),
           row({"D3D12CreateDevice"}, 9, "HWD|unsupport D3D12"),
           row({"LoadLibraryW"}, 3, "Failed to load DirectML.dll"),
           row({"GetProcAddress"}, 6, "HWD|DMLCreateDevice not found in DirectML.dll"),
           {{"malloc"}, Stage::kThrown, {"std::bad_alloc"}},
           {{kEnumAdapters, "IDXGIAdapter1::GetDesc1", "malloc"}, Stage::kIgnored, {}}});
}

// What a removed device says of itself, and what the log says of it.
const std::map<HRESULT, std::string> kRemovedReasons{
    {DXGI_ERROR_DEVICE_REMOVED, "DXGI_ERROR_DEVICE_REMOVED - GPU driver crashed or device was physically removed"},
    {DXGI_ERROR_DEVICE_RESET, "DXGI_ERROR_DEVICE_RESET - GPU driver was reset"},
    {DXGI_ERROR_DEVICE_HUNG, "DXGI_ERROR_DEVICE_HUNG - GPU hung and couldn't recover"},
    {DXGI_ERROR_DRIVER_INTERNAL_ERROR, "DXGI_ERROR_DRIVER_INTERNAL_ERROR - Internal driver error"},
    {DXGI_ERROR_INVALID_CALL, "DXGI_ERROR_INVALID_CALL - Invalid API call"},
    {E_OUTOFMEMORY, ""},
};

std::string Hex(HRESULT hr) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned int>(hr));
    return text.data();
}

TEST_F(FailureSweep, RemovedDeviceIsNamedAtTheNextOpenAndInTheFrame) {
    for (const auto& [reason, explanation] : kRemovedReasons) {
        SCOPED_TRACE(explanation);
        Operation open = Open();
        m_injector.Arm("ID3D12Device::GetDeviceRemovedReason", 1, reason);
        Outcome outcome = Run(open);
        ASSERT_TRUE(m_injector.Disarm());
        EXPECT_EQ(outcome.code, -1);
        EXPECT_EQ(outcome.lines.front(), "Device already removed before resource creation, reason: " + Hex(reason));

        for (const char* const call : {"ID3D12Device::GetDeviceRemovedReason", "IDMLDevice::GetDeviceRemovedReason"}) {
            const Operation frame = Frame();
            frame.prepare();
            m_injector.Arm(call, 1, reason);
            outcome = Run(frame);
            ASSERT_TRUE(m_injector.Disarm());
            EXPECT_EQ(outcome.code, ORVANE_ERROR_FAILED);
            EXPECT_EQ(outcome.lines, (Lines{"Operation failed: GetDeviceRemovedReason, HRESULT: " + Hex(reason),
                                            "Failed to Infer, error code: -1"}));
            orvane_close(m_handle);
        }
        ExpectWhole();
    }
}

// Only a failure of m_modelOutput is explained.
TEST_F(FailureSweep, RemovedDeviceIsNamedWhereABufferFails) {
    const std::map<std::string, std::string> reasonLines{
        {"m_modelInput", "Device removal reason after m_modelInput failure: "},
        {"m_modelOutput", "Device removal reason after m_modelOutput failure: "},
        {"m_modelIntermediateResult", "Device removal reason: "}};
    for (const auto& [reason, explanation] : kRemovedReasons) {
        std::set<std::string> met;
        for (int n = 1; met.size() < reasonLines.size(); ++n) {
            m_injector.Arm("ID3D12Device::CreateCommittedResource", n, E_OUTOFMEMORY, reason);
            const Outcome outcome = Run(Open());
            ASSERT_TRUE(m_injector.Disarm());
            for (const auto& [buffer, line] : reasonLines) {
                if (outcome.thrown || outcome.lines.front() != "Operation failed: CreateCommittedResource " + buffer +
                                                                   ", HRESULT: 0x8007000E") {
                    continue;
                }
                met.insert(buffer);
                ASSERT_GE(outcome.lines.size(), 4U);
                EXPECT_EQ(outcome.lines[2], line + Hex(reason));
                const bool isExplained = buffer == "m_modelOutput" && !explanation.empty();
                EXPECT_EQ(outcome.lines[3],
                          isExplained ? explanation : "Failed to CreateDirectMLResources, error code: -1");
            }
        }
        ExpectWhole();
    }
}

}  // namespace
}  // namespace orvane::test
