// Every call of the system that an export makes and that can fail is made to fail, at its first, second, ...
// occurrence, until the export comes through. The codes and the lines of the log must be those of tests/transcripts,
// nothing may stay behind, and the next open, frame and close must succeed.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <optional>

#include "tests/hooks/faults.h"
#include "tests/hooks/holdings.h"
#include "tests/hooks/pretended.h"
#include "tests/hooks/system_hooks.h"
#include "tests/support/host.h"

namespace orvane::test {
namespace {

using Lines = std::vector<std::string>;

struct Outcome {
    int code = 0;
    std::optional<std::string> thrown;
    Lines lines;

    bool Succeeded() const { return code == 0 && !thrown; }
    // A row of the transcript from its third column on.
    std::string Text() const {
        Lines all = lines;
        all.insert(all.end(), thrown ? 1 : 0, thrown.value_or(""));
        return (thrown ? "throws" : std::to_string(code)) + "\t" + Joined(all);
    }
};

struct Operation {
    const char* name;
    std::function<void()> prepare;
    std::function<int()> call;  // one export; 0 when it succeeded
    // Checks what the call left, and closes what is open.
    std::function<void(const Outcome&)> finish;
};

// How often these are called is the compiler's or the machine's affair.
bool IsNumbered(const std::string& call) {
    return call != "malloc" && !call.starts_with("IDXGIFactory1::") && !call.starts_with("IDXGIAdapter1::");
}

class FailureSweep : public testing::Test {
protected:
    static void SetUpTestSuite() { InstallHooks(); }

    void ExpectGoodFrame(const Image& image) { ExpectUpscaled(m_handle, m_network, image); }

    // Nothing is left, and the next open, frame and close succeed and leave nothing either.
    void ExpectWhole() {
        EXPECT_EQ(Held(), "");
        EXPECT_EQ(CallOpen(), 0);
        ExpectGoodFrame(m_image);
        EXPECT_EQ(orvane_close(m_handle), ORVANE_OK);
        EXPECT_EQ(Held(), "");
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
        for (std::string& line : outcome.lines) {  // the folder has another name every time
            if (const size_t path = line.find(m_model.string()); path != std::string::npos) {
                line.replace(path, m_model.string().size(), m_model.filename().string());
            }
        }
        return outcome;
    }

    // Every call whose name ends with one of `endings` is the fault's in turn.
    void Sweep(const Operation& operation, const std::string& transcript, Fault fault = {},
               const Lines& endings = {""}) {
        operation.prepare();
        Arm();
        const Outcome undisturbed = Run(operation);
        Disarm();
        ASSERT_TRUE(undisturbed.Succeeded()) << undisturbed.Text();
        operation.finish(undisturbed);

        int points = 0;
        std::string text = "call\tnumber\tresult\tlog\n";
        const CallCounts calls = CountedCalls();
        for (const auto& [call, count] : calls) {
            const auto endsCall = [name = call](const std::string& ending) { return name.ends_with(ending); };
            if (std::any_of(endings.begin(), endings.end(), endsCall)) {
                fault.call = call;
                text += SweepCall(operation, fault, points);
            }
        }
        ExpectTranscript(transcript, text);
        std::printf("%s: %d failure points of %zu calls\n", operation.name, points, calls.size());
    }

    // Returns the rows of the fault's call and adds its points.
    std::string SweepCall(const Operation& operation, Fault fault, int& points) {
        std::string rows;
        for (fault.number = 1;; ++fault.number, ++points) {
            SCOPED_TRACE(std::string(operation.name) + " with failing " + fault.call + " number " +
                         std::to_string(fault.number));
            operation.prepare();
            Arm(fault);
            const Outcome outcome = Run(operation);
            const bool wasMet = Disarm();
            EXPECT_TRUE(wasMet || outcome.Succeeded()) << outcome.Text();
            operation.finish(outcome);
            ExpectWhole();
            if (!wasMet) {
                return rows;
            }
            const std::string number = IsNumbered(fault.call) ? std::to_string(fault.number) : "any";
            const std::string row = fault.call + '\t' + number + '\t' + outcome.Text() + '\n';
            rows += rows.find(row) == std::string::npos ? row : "";
        }
    }

    int CallOpen() {
        const orvane_open_param param = OpenParam(8, 6, m_network, m_model);
        m_handle = orvane_open(&param);
        return m_handle != nullptr ? 0 : -1;
    }

    int CallProcess(const Image& image) {
        int result = 1;
        Process(m_handle, image, result);
        return result;
    }

    Operation Open() {
        return {"orvane_open", [] {}, [this] { return CallOpen(); },
                [this](const Outcome& outcome) {
                    if (outcome.Succeeded()) {
                        ExpectGoodFrame(m_image);
                        orvane_close(m_handle);
                    }
                }};
    }

    Operation ChangeSize() {
        return {"orvane_process with a change of size", [this] { CallOpen(); },
                [this] { return CallProcess(m_larger); }, [this](const Outcome& outcome) { FinishChange(outcome); }};
    }

    void FinishChange(const Outcome& outcome) {
        if (outcome.Succeeded()) {
            ExpectGoodFrame(m_larger);
        } else if (!outcome.lines.empty() && outcome.lines.back().starts_with("Failed to re-initialize sample")) {
            // The library has closed it, and says no more of it.
            EXPECT_EQ(Held(), "");
            EXPECT_EQ(CallProcess(m_larger), ORVANE_ERROR_INVALID);
            EXPECT_EQ(m_log.TakeTexts(), Lines{});
        } else {
            if (outcome.thrown && outcome.thrown != "std::bad_alloc") {
                // It is as it was left, and can still be changed.
                EXPECT_EQ(CallProcess(m_larger), ORVANE_ERROR_INVALID);
                EXPECT_EQ(m_log.TakeTexts(),
                          Lines{"sample is null or not initialized, possibly after a resolution change failed."});
            }
            ExpectGoodFrame(m_image);
        }
        orvane_close(m_handle);
    }

    Operation Frame() {
        return {"orvane_process", [this] { CallOpen(); }, [this] { return CallProcess(m_image); },
                [this](const Outcome&) {
                    ExpectGoodFrame(m_another);
                    orvane_close(m_handle);
                }};
    }

    Operation Close() {
        return {"orvane_close", [this] { CallOpen(); }, [this] { return orvane_close(m_handle); },
                [](const Outcome&) {}};
    }

    static Operation CheckSupported() {
        const auto check = [] {
            orvane_check_result result{};
            return orvane_check_supported(&result, nullptr);
        };
        return {"orvane_check_supported", [] {}, check, [](const Outcome&) {}};
    }

    LibraryLog m_log;
    TempFolder m_folder;
    ReferenceNetwork m_network = MakeRandomNetwork(4, 0, 1);
    std::filesystem::path m_model = WriteModel(m_folder, "model.en2", m_network);
    Image m_image = MakeRandomImage(8, 6, 1);
    Image m_another = MakeRandomImage(8, 6, 2);
    Image m_larger = MakeRandomImage(9, 7, 3);
    orvane_handle m_handle = nullptr;
};

TEST_F(FailureSweep, Open) {
    // The initializer binds its temporary memory and the persistent memory of the layers, every layer both of its own.
    const int before = PretendedBindings();
    ExpectWhole();
    EXPECT_EQ(PretendedBindings() - before, 1 + 3 * static_cast<int>(m_network.layers.size()));

    Sweep(Open(), "open_failures.tsv");
}

TEST_F(FailureSweep, ChangeOfSize) {
    Sweep(ChangeSize(), "change_of_size_failures.tsv");
}

TEST_F(FailureSweep, Frame) {
    Sweep(Frame(), "frame_failures.tsv");
}

TEST_F(FailureSweep, Close) {
    Sweep(Close(), "close_failures.tsv");
}

TEST_F(FailureSweep, SupportCheck) {
    Sweep(CheckSupported(), "support_check_failures.tsv");
}

TEST_F(FailureSweep, RemovedDevice) {
    const Lines calls{"::GetDeviceRemovedReason", "::CreateCommittedResource"};
    const Fault hung{"", 0, DXGI_ERROR_DEVICE_HUNG, DXGI_ERROR_DEVICE_HUNG};
    Sweep(Open(), "open_on_removed_device.tsv", hung, calls);
    Sweep(Frame(), "frame_on_removed_device.tsv", hung, calls);
}

TEST_F(FailureSweep, DeviceWithoutHalfPrecisionIsRefused) {
    Arm({"IDMLDevice::CheckFeatureSupport", 1, S_OK});  // and nothing is written
    const Outcome outcome = Run(Open());
    ASSERT_TRUE(Disarm());
    EXPECT_EQ(outcome.code, -1);
    EXPECT_EQ(outcome.lines.front(), "can't support fp16: 0");
    ExpectWhole();
}

TEST_F(FailureSweep, WaitThatEndsEarlyIsRepeated) {
    CallOpen();
    Arm({"WaitForSingleObjectEx", 1, S_OK});
    ExpectGoodFrame(m_image);
    ASSERT_TRUE(Disarm());
    orvane_close(m_handle);
    ExpectWhole();
}

}  // namespace
}  // namespace orvane::test
