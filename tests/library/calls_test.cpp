// The calls of Direct3D and DirectML, and the lines of the log, that an open, a frame and a close make, on tensors of
// both layouts. A change of them shows as a change of tests/transcripts.
#include <gtest/gtest.h>

#include "tests/hooks/call_transcript.h"
#include "tests/hooks/holdings.h"
#include "tests/hooks/pretended.h"
#include "tests/hooks/system_hooks.h"
#include "tests/support/host.h"

namespace orvane::test {
namespace {

class Calls : public testing::Test {
protected:
    static void SetUpTestSuite() { InstallHooks(); }

    template <typename Operation>
    void Record(const std::string& title, Releases releases, Operation&& operation) {
        RecordCalls(releases);
        operation();
        m_transcript += title + "\n" + TakeCalls();
        for (const std::string& line : m_log.TakeTexts()) {
            m_transcript += "log: " + line + "\n";
        }
        m_transcript += "\n";
    }

    void ExpectTranscriptOf(UINT vendorId, const std::string& fileName) {
        const ReferenceNetwork network = MakeRandomNetwork(5, 0, 1);
        const auto model = WriteModel(m_folder, "model.bin", network);
        const orvane_open_param param = OpenParam(160, 48, network, model);
        PretendVendor(vendorId);
        orvane_handle handle = nullptr;
        Record("orvane_open", Releases::kLeftOut, [&] { handle = orvane_open(&param); });
        ASSERT_NE(handle, nullptr);
        Record("orvane_process", Releases::kWrittenDown,
               [&] { ExpectUpscaled(handle, network, MakeRandomImage(160, 48, 1)); });
        Record("orvane_close", Releases::kWrittenDown, [&] { orvane_close(handle); });
        EXPECT_EQ(Held(), "");
        ExpectTranscript(fileName, m_transcript);
    }

    LibraryLog m_log{ORVANE_LOG_INFO};
    TempFolder m_folder;
    std::string m_transcript;
};

// The engine's objects may want COM to the last.
TEST_F(Calls, UninitialiseComOnceTheEngineIsGone) {
    const ReferenceNetwork network = MakeRandomNetwork(4, 0, 1);
    const orvane_open_param param = OpenParam(8, 6, network, WriteModel(m_folder, "model.bin", network));
    Image image(8, 6);
    orvane_frame noRows = OutputFrame(image);
    noRows.height = 0;
    for (const bool closesItself : {false, true}) {
        const orvane_handle handle = orvane_open(&param);
        ASSERT_NE(handle, nullptr);
        RecordCalls(Releases::kWrittenDown);
        orvane_frame output = noRows;
        EXPECT_EQ(closesItself ? orvane_process(handle, &output, &noRows) : orvane_close(handle),
                  closesItself ? ORVANE_ERROR_FAILED : ORVANE_OK);
        EXPECT_TRUE(TakeCalls().ends_with("(DXGIFactory2 1)\nCoUninitialize()\n")) << closesItself;
    }
}

TEST_F(Calls, InNchw) {
    ExpectTranscriptOf(0x8086, "nchw.txt");
}

TEST_F(Calls, InNhwc) {
    ExpectTranscriptOf(0x10DE, "nhwc.txt");
}

}  // namespace
}  // namespace orvane::test
