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
enum class Stage { kDevice, kNetwork, kBindings, kTextures, kFrame, kOther, kThrown, kIgnored };
using enum Stage;

// Calls that have the same consequences. A call stands in several rows when its occurrences have different ones.
struct Row {
    Lines calls;  // the ends of their names
    Stage stage;
    // Up to those of the stage; for an exception its text. '*' stands for any text, '%' for the result of the failing
    // call, '#' for its name without the interface.
    Lines lines;
};

const std::string kFailed = "Operation failed: #, HRESULT: 0x%";

std::string Failed(const std::string& what) {
    return "Operation failed: " + what + ", HRESULT: 0x%";
}

std::string FailedTo(const std::string& what) {
    return "Failed to " + what + ", error code: -1";
}

std::string Checking(const std::string& what) {
    return "Failed to create " + what + " resource, checking device state...";
}

// In the order in which the library works.
const std::vector<Row> kEngineRows{
    {{"malloc"}, kOther, {"Failed to create sample"}},
    {{"malloc"}, kThrown, {"std::bad_alloc"}},
    {{"LoadLibraryW", "GetProcAddress", "CreateDXGIFactory2"},
     kDevice,
     {Failed("CreateDXGIFactory2"), FailedTo("CreateDXGIFactory2")}},
    {{"EnumAdapters1", "GetDesc1"}, kDevice, {"Failed to selected Adapter"}},
    {{"LoadLibraryW", "GetProcAddress", "D3D12CreateDevice"}, kDevice, {Failed("D3D12CreateDevice")}},
    {{"CreateCommandQueue", "CreateCommandAllocator", "CreateCommandList", "CreateFence"}, kDevice, {kFailed}},
    {{"CreateEventExW"}, kDevice, {"Failed to CreateEventEx"}},

    {{"LoadLibraryW", "GetProcAddress", "DMLCreateDevice"},
     kNetwork,
     {Failed("DMLCreateDevice"), FailedTo("DMLCreateDevice")}},
    {{"EnumAdapterByLuid"}, kNetwork, {Failed("GetAdapterLuid"), FailedTo("GetAdapterLuid")}},
    {{"DMLDevice::CheckFeatureSupport", "CreateCommandRecorder", "D3D12SerializeRootSignature", "CreateRootSignature",
      "CreateComputePipelineState", "CreateDescriptorHeap", "CreateOperator", "CompileOperator"},
     kNetwork,
     {kFailed}},
    {{"GetProcAddress"}, kNetwork, {Failed("D3D12SerializeRootSignature")}},
    {{"fopen", "fseek", "ftell"},
     kNetwork,
     {"[decryptFileTwiceToStream]: Open file(*model.en2) failed.", "open and twice_decrypt the *model.en2 file failed",
      "Failed to open or decrypt model file: *model.en2", FailedTo("LoadWeights")}},
    {{"malloc", "fread"},
     kNetwork,
     {"* weights stream err for weights of layer 0", "Failed to ReadLayerWeights for layer 0",
      FailedTo("LoadWeights")}},
    {{"malloc"},
     kNetwork,
     {"Memory allocation failed for layer * weights", "Failed to ReadLayerWeights for layer *",
      FailedTo("LoadWeights")}},
    {{"malloc"},
     kNetwork,
     {"Memory allocation failed for layer * bias", "Failed to ReadLayerWeights for layer *", FailedTo("LoadWeights")}},
    {{"CreateCommittedResource"},
     kBindings,
     {kFailed, FailedTo("CreateCommittedResource"), "Weights of layer * are not on the GPU"}},
    {{"CreateCommandAllocator", "CreateCommandList", "CreateCommittedResource", "List::Close", "CreateFence", "Signal",
      "SetEventOnCompletion", "WaitForSingleObject"},
     kThrown,
     {"Failure with HRESULT of %"}},
    {{"HeapAlloc", "Map"}, kThrown, {"Failure with HRESULT of 80004005"}},
    {{"CreateEventExW"}, kThrown, {"CreateEventEx"}},
    {{"_beginthreadex"}, kThrown, {"Resource temporarily unavailable"}},
    {{"D3D12Device::GetDeviceRemovedReason"},
     kNetwork,
     {"Device already removed before resource creation, reason: 0x%"}},
    {{"CreateCommittedResource"},
     kNetwork,
     {Failed("# m_modelInput"), Checking("m_modelInput"),
      "Device removal reason after m_modelInput failure: 0x00000000"}},
    {{"CreateCommittedResource"},
     kNetwork,
     {Failed("# m_modelOutput"), Checking("m_modelOutput"),
      "Device removal reason after m_modelOutput failure: 0x00000000"}},
    {{"CreateCommittedResource"},
     kNetwork,
     {Failed("# m_modelIntermediateResult"), "Failed to create intermediate resource *, checking device state...",
      "Device removal reason: 0x00000000"}},

    {{"CoInitializeEx"}, kOther, {"Failed to CoInitializeEx"}},
    {{"Allocator::Reset"}, kBindings, {Failed("ResetCommandAllocator")}},
    {{"List::Reset"}, kBindings, {Failed("ResetCommandList")}},
    {{"CreateOperatorInitializer", "CreateDescriptorHeap", "CreateCommittedResource", "CreateBindingTable"},
     kBindings,
     {kFailed}},
    {{"Table::Reset"}, kBindings, {Failed("ResetBindingTable")}},
    {{"CreateCommittedResource"},
     kBindings,
     {kFailed, FailedTo("CreateCommittedResource"), FailedTo("BindTempResourceIfNeeded for conv")}},
    {{"List::Close"}, kBindings, {kFailed}},
    {{"Signal", "SetEventOnCompletion", "WaitForSingleObjectEx"}, kBindings, {FailedTo("WaitForGpu")}},
    // A layer's temporary memory.
    {{"CreateCommittedResource"}, kIgnored, {kFailed, FailedTo("CreateCommittedResource")}},
    {{"CreateCommittedResource"}, kTextures, {kFailed, FailedTo("CreateCommittedResource")}},
    {{"CreateDescriptorHeap"}, kTextures, {kFailed}},

    {{"Allocator::Reset"}, kFrame, {Failed("ResetCommandAllocator")}},
    {{"List::Reset"}, kFrame, {Failed("ResetCommandList")}},
    {{"HeapAlloc", "Map"}, kFrame, {"Operation failed: UpdateSubresources, HRESULT: 0x80004005"}},
    {{"List::Close"}, kFrame, {"Copy output texture to CPU failed! hr=0x%"}},
    {{"Signal", "SetEventOnCompletion", "WaitForSingleObjectEx"}, kFrame, {FailedTo("WaitForGpu")}},
    {{"GetDeviceRemovedReason"}, kFrame, {kFailed}},
    {{"Map"}, kFrame, {Failed("m_outputTextureReadback"), FailedTo("m_outputTextureReadback")}},

    {{"Device::SetName", "Queue::SetName", "Allocator::SetName", "List::SetName", "Fence::SetName", "Resource::SetName",
      "RootSignature::SetName", "PipelineState::SetName", "D3D12Device::CheckFeatureSupport", "EnumAdapters1",
      "GetDesc1", "List::Close", "Signal", "SetEventOnCompletion", "WaitForSingleObjectEx",
      "malloc"},  // a sort does without its buffer
     kIgnored,
     {}},
};

const std::vector<Row> kCheckRows = [] {
    const auto row = [](const Lines& calls, const std::string& line, const std::string& status) {
        return Row{calls, kOther, {line, "device not support dml, status:" + status}};
    };
    return std::vector<Row>{
        {{"GetModuleHandleW"},
         kOther,
         {"HWD|Failed to get ntdll.dll handle", "HWD|windows system too old, major:0, minor:0, build:0",
          "device not support dml, status:12"}},
        // Without RtlGetVersion another function is asked, which tells programs like this one that it is Windows 8.
        row({"GetProcAddress"}, "HWD|windows system too old, major:6, minor:2, build:9200", "12"),
        row({"LoadLibraryW"}, "Failed to load dxgi.dll", "1"),
        row({"GetProcAddress"}, "HWD|CreateDXGIFactory2 not found in dxgi.dll", "4"),
        row({"CreateDXGIFactory2"}, "HWD|fail to CreateDXGIFactory", "7"),
        row({"EnumAdapters1", "GetDesc1"}, "HWD|Failed to enumerate any suitable adapter", "8"),
        row({"LoadLibraryW"}, "Failed to load d3d12.dll", "2"),
        row({"GetProcAddress"}, "HWD|D3D12CreateDevice not found in d3d12.dll", "5"),
        row({"D3D12CreateDevice"}, "HWD|unsupport D3D12", "9"),
        row({"LoadLibraryW"}, "Failed to load DirectML.dll", "3"),
        row({"GetProcAddress"}, "HWD|DMLCreateDevice not found in DirectML.dll", "6"),
        {{"malloc"}, kThrown, {"std::bad_alloc"}},
        {{"EnumAdapters1", "GetDesc1", "malloc"}, kIgnored, {}},
    };
}();

void ReplaceFirst(std::string& text, char placeholder, const std::string& by) {
    if (const size_t at = text.find(placeholder); at != std::string::npos) {
        text.replace(at, 1, by);
    }
}

// Whether the parts of the pattern between '*' stand in the text in this order, the first one at its beginning and the
// last one at its end.
bool Matches(const std::string& pattern, const std::string& text) {
    size_t at = 0;
    size_t start = 0;
    for (size_t star = pattern.find('*'); star != std::string::npos; star = pattern.find('*', start)) {
        at = text.find(pattern.substr(start, star - start), at);
        if (at == std::string::npos || (start == 0 && at != 0)) {
            return false;
        }
        at += star - start;
        start = star + 1;
    }
    const std::string rest = pattern.substr(start);
    return start == 0 ? text == rest : text.size() >= at + rest.size() && text.ends_with(rest);
}

bool Matches(const Lines& patterns, const Lines& lines, const std::string& call) {
    static const std::map<std::string, std::string> results{
        {"LoadLibraryW", "8007007E"}, {"GetProcAddress", "8007007F"}, {"WaitForSingleObject", "80070006"}};
    const auto result = results.find(call);
    const auto matches = [&](std::string pattern, const std::string& line) {
        ReplaceFirst(pattern, '%', result != results.end() ? result->second : "8007000E");
        ReplaceFirst(pattern, '#', call.substr(call.rfind(':') + 1));
        return Matches(pattern, line);
    };
    return std::equal(patterns.begin(), patterns.end(), lines.begin(), lines.end(), matches);
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
    std::set<Stage> stages;          // that a failing call may belong to
    std::set<Stage> metStages;       // whose rows must all be met, by each of their calls
    std::map<Stage, Lines> endings;  // the lines that follow a row's own
    int failureCode;
    std::function<void()> prepare;
    std::function<int()> call;  // one export; 0 when it succeeded
    // Checks what the call left, and closes what is open.
    std::function<void(const Outcome&)> finish;
};

// The entry of a row's calls that names the call, or null.
const std::string* FindCall(const Row& row, const std::string& call) {
    const auto found =
        std::find_if(row.calls.begin(), row.calls.end(), [&](const std::string& end) { return call.ends_with(end); });
    return found != row.calls.end() ? &*found : nullptr;
}

bool IsRow(const Operation& operation, const Row& row, const std::string& call, const Outcome& outcome) {
    if (FindCall(row, call) == nullptr || !operation.stages.contains(row.stage)) {
        return false;
    }
    if (row.stage == kThrown) {
        return outcome.thrown && Matches(row.lines, {*outcome.thrown}, call);
    }
    Lines lines = row.lines;
    if (const auto ending = operation.endings.find(row.stage); ending != operation.endings.end()) {
        lines.insert(lines.end(), ending->second.begin(), ending->second.end());
    }
    const int code = row.stage == kIgnored ? 0 : operation.failureCode;
    return !outcome.thrown && outcome.code == code && Matches(lines, outcome.lines, call);
}

class FailureSweep : public testing::Test {
protected:
    void ExpectGoodFrame(const Picture& picture) {
        EXPECT_EQ(CallProcess(picture), ORVANE_OK);
        EXPECT_EQ(Difference(m_doubled, DoublePicture(m_network, picture)), "");
    }

    // Nothing is left, and the next open, frame and close succeed and leave nothing either.
    void ExpectWhole() {
        EXPECT_EQ(m_injector.Held(), "");
        EXPECT_EQ(CallOpen(), 0);
        ExpectGoodFrame(m_picture);
        EXPECT_EQ(orvane_close(m_handle), ORVANE_OK);
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

    void Sweep(const Operation& operation, const std::vector<Row>& rows) {
        operation.prepare();
        m_injector.Arm();
        const Outcome undisturbed = Run(operation);
        m_injector.Disarm();
        ASSERT_TRUE(undisturbed.Succeeded()) << undisturbed;
        operation.finish(undisturbed);

        int points = 0;
        std::set<const std::string*> met;
        const FaultInjector::CallCounts calls = m_injector.Calls();
        for (const auto& [call, count] : calls) {
            points += SweepCall(operation, rows, call, met);
        }
        for (const Row& row : rows) {
            for (const std::string& call : row.calls) {
                EXPECT_TRUE(!operation.metStages.contains(row.stage) || met.contains(&call))
                    << operation.name << " never gave " << testing::PrintToString(row.lines) << " after a failing "
                    << call;
            }
        }
        std::printf("%s: %d failure points of %zu calls\n", operation.name, points, calls.size());
    }

    // Returns how many points there were.
    int SweepCall(const Operation& operation, const std::vector<Row>& rows, const std::string& call,
                  std::set<const std::string*>& met) {
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
            if (row->stage != kIgnored && metByCall.insert(&*row).second) {
                EXPECT_EQ(&*row, *metByCall.rbegin()) << "too late: " << outcome;
            }
            met.insert(FindCall(*row, call));
        }
    }

    int CallOpen() {
        const orvane_open_param param = OpenParam(8, 6, m_network, m_model);
        m_handle = orvane_open(&param);
        return m_handle != nullptr ? 0 : -1;
    }

    int CallProcess(const Picture& picture) {
        int result = 1;
        m_doubled = Process(m_handle, picture, result);
        return result;
    }

    Operation Open() {
        const std::string network = FailedTo("create device");
        const std::string resources = FailedTo("initialize resources");
        return {"orvane_open",
                {kDevice, kNetwork, kBindings, kTextures, kOther, kThrown, kIgnored},
                {kDevice, kNetwork, kBindings, kTextures, kOther, kThrown, kIgnored},
                {{kDevice, {FailedTo("CreateDeviceResources"), network}},
                 {kNetwork, {FailedTo("CreateDirectMLResources"), network}},
                 {kBindings, {"fail InitializeDirectMLResources, error code: -1", resources}},
                 {kTextures, {"fail InitTextureResource, error code: -1", resources}}},
                -1,
                [] {},
                [this] { return CallOpen(); },
                [this](const Outcome& outcome) {
                    if (outcome.Succeeded()) {
                        ExpectGoodFrame(m_picture);
                        orvane_close(m_handle);
                    }
                }};
    }

    Operation ChangeSize() {
        const std::string last = FailedTo("re-initialize sample");
        const std::string resources = FailedTo("InitResources on Reinit");
        return {"orvane_process with a change of size",
                {kNetwork, kBindings, kTextures, kFrame, kThrown, kIgnored},
                {kFrame},
                {{kNetwork, {FailedTo("CreateDirectMLResources on Reinit"), last}},
                 {kBindings, {"fail InitializeDirectMLResources, error code: -1", resources, last}},
                 {kTextures, {"fail InitTextureResource, error code: -1", resources, last}},
                 {kFrame, {FailedTo("Infer")}}},
                ORVANE_ERROR_FAILED,
                [this] { CallOpen(); },
                [this] { return CallProcess(m_larger); },
                [this](const Outcome& outcome) { FinishChange(outcome); }};
    }

    void FinishChange(const Outcome& outcome) {
        if (outcome.Succeeded()) {
            EXPECT_EQ(Difference(m_doubled, DoublePicture(m_network, m_larger)), "");
        } else if (!outcome.lines.empty() && outcome.lines.back() == FailedTo("re-initialize sample")) {
            // The library has closed it, and says no more of it.
            EXPECT_EQ(m_injector.Held(), "");
            EXPECT_EQ(CallProcess(m_larger), ORVANE_ERROR_INVALID);
            EXPECT_EQ(m_log.TakeTexts(), Lines{});
        } else {
            if (outcome.thrown && outcome.thrown != "std::bad_alloc") {
                // It is as it was left, and can still be changed.
                EXPECT_EQ(CallProcess(m_larger), ORVANE_ERROR_INVALID);
                EXPECT_EQ(m_log.TakeTexts(),
                          Lines{"sample is null or not initialized, possibly after a resolution change failed."});
            }
            ExpectGoodFrame(m_picture);
        }
        orvane_close(m_handle);
    }

    Operation Frame() {
        return {"orvane_process",
                {kFrame, kThrown},
                {kFrame},
                {{kFrame, {FailedTo("Infer")}}},
                ORVANE_ERROR_FAILED,
                [this] { CallOpen(); },
                [this] { return CallProcess(m_picture); },
                [this](const Outcome&) {
                    ExpectGoodFrame(m_another);
                    orvane_close(m_handle);
                }};
    }

    Operation Close() {
        return {"orvane_close",
                {kIgnored},
                {kIgnored},
                {},
                0,
                [this] { CallOpen(); },
                [this] { return orvane_close(m_handle); },
                [](const Outcome&) {}};
    }

    Operation CheckSupported() {
        return {"orvane_check_supported",
                {kOther, kThrown, kIgnored},
                {kOther, kThrown, kIgnored},
                {},
                ORVANE_ERROR_UNSUPPORTED,
                [] {},
                [this] { return orvane_check_supported(&(m_support = {}), nullptr); },
                [this](const Outcome& outcome) {
                    EXPECT_EQ(m_support.supported, outcome.Succeeded() ? 1U : 0U);
                    EXPECT_TRUE(outcome.lines.empty() ||
                                outcome.lines.back().ends_with(":" + std::to_string(m_support.status)));
                }};
    }

    LibraryLog m_log;
    TempFolder m_folder;
    ReferenceNetwork m_network = MakeRandomNetwork(4, 0, 1);
    std::filesystem::path m_model = WriteModel(m_folder, "model.en2", m_network);
    Picture m_picture = MakeRandomPicture(8, 6, 1);
    Picture m_another = MakeRandomPicture(8, 6, 2);
    Picture m_larger = MakeRandomPicture(9, 7, 3);
    FaultInjector m_injector;
    orvane_handle m_handle = nullptr;
    Picture m_doubled;
    orvane_check_result m_support{};
};

TEST_F(FailureSweep, Open) {
    // The initializer binds its temporary memory and the persistent memory of the layers, every layer both of its own.
    const int before = m_injector.PretendedBindings();
    ExpectWhole();
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
    Sweep(Close(), {{{"Signal", "SetEventOnCompletion", "WaitForSingleObjectEx"}, kIgnored, {}}});
}

TEST_F(FailureSweep, CheckSupported) {
    Sweep(CheckSupported(), kCheckRows);
}

TEST_F(FailureSweep, DeviceWithoutHalfPrecisionIsRefused) {
    m_injector.Arm("IDMLDevice::CheckFeatureSupport", 1, S_OK);  // and nothing is written
    const Outcome outcome = Run(Open());
    ASSERT_TRUE(m_injector.Disarm());
    EXPECT_EQ(outcome.code, -1);
    EXPECT_EQ(outcome.lines,
              (Lines{"can't support fp16: 0", FailedTo("CreateDirectMLResources"), FailedTo("create device")}));
    ExpectWhole();
}

// What a removed device says of itself, and how the log explains it.
const std::map<HRESULT, std::string> kRemovedReasons{
    {DXGI_ERROR_DEVICE_REMOVED, "DXGI_ERROR_DEVICE_REMOVED - GPU driver crashed or device was physically removed"},
    {DXGI_ERROR_DEVICE_RESET, "DXGI_ERROR_DEVICE_RESET - GPU driver was reset"},
    {DXGI_ERROR_DEVICE_HUNG, "DXGI_ERROR_DEVICE_HUNG - GPU hung and couldn't recover"},
    {DXGI_ERROR_DRIVER_INTERNAL_ERROR, "DXGI_ERROR_DRIVER_INTERNAL_ERROR - Internal driver error"},
    {DXGI_ERROR_INVALID_CALL, "DXGI_ERROR_INVALID_CALL - Invalid API call"},
    {E_OUTOFMEMORY, ""},
};

TEST_F(FailureSweep, RemovedDeviceGivesItsReason) {
    for (const auto& [reason, explanation] : kRemovedReasons) {
        std::array<char, 16> text{};
        std::snprintf(text.data(), text.size(), "0x%08X", static_cast<unsigned int>(reason));
        const std::string hex = text.data();
        SCOPED_TRACE(hex);
        const auto runWith = [&, removed = reason](const Operation& operation, const std::string& call, int n,
                                                   HRESULT result) {
            operation.prepare();
            m_injector.Arm(call, n, result, removed);
            const Outcome outcome = Run(operation);
            EXPECT_TRUE(m_injector.Disarm());
            orvane_close(m_handle);
            return outcome.thrown ? Lines{*outcome.thrown} : outcome.lines;
        };
        const Lines notOpened = runWith(Open(), "ID3D12Device::GetDeviceRemovedReason", 1, reason);
        EXPECT_EQ(notOpened.front(), "Device already removed before resource creation, reason: " + hex);
        for (const char* const device : {"ID3D12Device", "IDMLDevice"}) {
            const Lines noFrame = runWith(Frame(), std::string(device) + "::GetDeviceRemovedReason", 1, reason);
            EXPECT_EQ(noFrame, (Lines{"Operation failed: GetDeviceRemovedReason, HRESULT: " + hex, FailedTo("Infer")}));
        }

        // Asked for after a buffer could not be made; only one buffer's failure is explained.
        std::map<std::string, std::string> reasonLines{
            {"m_modelInput", "Device removal reason after m_modelInput failure: " + hex},
            {"m_modelOutput", "Device removal reason after m_modelOutput failure: " + hex},
            {"m_modelIntermediateResult", "Device removal reason: " + hex}};
        for (int n = 1; !reasonLines.empty() && !HasFailure(); ++n) {
            const Lines lines = runWith(Open(), "ID3D12Device::CreateCommittedResource", n, E_OUTOFMEMORY);
            for (const auto& [buffer, line] : reasonLines) {
                if (lines.front().find(" " + buffer + ",") != std::string::npos) {
                    const bool isExplained = buffer == "m_modelOutput" && !explanation.empty();
                    EXPECT_EQ(lines[2], line);
                    EXPECT_EQ(lines[3], isExplained ? explanation : FailedTo("CreateDirectMLResources"));
                    reasonLines.erase(buffer);
                    break;
                }
            }
        }
        ExpectWhole();
    }
}

}  // namespace
}  // namespace orvane::test
