// The log call, the default sink and the check of platform results.
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include "tests/support/log_capture.h"

namespace orvane {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

// The output of the default sink for one message per level.
std::string PrintedOfEveryLevel() {
    testing::internal::CaptureStdout();
    for (const int32_t level : {kLowest, -1, 0, 1, 2, 3, 4, kHighest}) {
        LogMessage(level, "frame %d of %s", level, "clip");
    }
    return testing::internal::GetCapturedStdout();
}

// Printed before a test configures the log.
const std::string kPrintedUnconfigured = PrintedOfEveryLevel();

TEST(LogMessage, PassesLevelsUpToTheConfiguredOne) {
    const std::pair<int32_t, LogEntries> cases[] = {
        {-1, {{kLowest, "frame -2147483648"}, {-1, "frame -1"}}},
        {0, {{kLowest, "frame -2147483648"}, {-1, "frame -1"}, {0, "frame 0"}}},
        {2, {{kLowest, "frame -2147483648"}, {-1, "frame -1"}, {0, "frame 0"}, {2, "frame 2"}}}};
    for (const auto& [configured, passed] : cases) {
        LogCapture log(configured);
        for (const int32_t level : {kLowest, -1, 0, 2, 3, kHighest}) {
            LogMessage(level, "%s %d", "frame", level);
        }
        EXPECT_EQ(log.Take(), passed) << "configured " << configured;
    }
    SetLogConfiguration({ORVANE_LOG_DEBUG, nullptr, nullptr});
    EXPECT_EQ(PrintedOfEveryLevel(), "");
    EXPECT_EQ(kPrintedUnconfigured, "");
}

TEST(DefaultLogSink, PrintsLinesOfKnownLevelsOnly) {
    SetLogConfiguration({kHighest, DefaultLogSink, nullptr});
    EXPECT_EQ(PrintedOfEveryLevel(),
              "[Orvane ERROR] frame 0 of clip\n[Orvane WARNING] frame 1 of clip\n"
              "[Orvane INFO] frame 2 of clip\n[Orvane DEBUG] frame 3 of clip\n");
    SetLogConfiguration({-1, nullptr, nullptr});
}

TEST(CheckHResult, LogsFailuresAsErrors) {
    const std::tuple<uint32_t, const char*, LogEntries> cases[] = {
        {0, "S_OK", {}},
        {0x7FFFFFFF, nullptr, {}},
        {0x80000000, nullptr, {{0, "Operation failed with HRESULT: 0x80000000"}}},
        {0xFFFFFFFF, nullptr, {{0, "Operation failed with HRESULT: 0xFFFFFFFF"}}},
        {0x887A000A, "CreateOperator", {{0, "Operation failed: CreateOperator, HRESULT: 0x887A000A"}}},
    };
    LogCapture log;
    for (const auto& [result, what, messages] : cases) {
        EXPECT_EQ(CheckHResult(static_cast<int32_t>(result), what), messages.empty() ? 0 : -1) << result;
        EXPECT_EQ(log.Take(), messages);
    }
}

}  // namespace
}  // namespace orvane
