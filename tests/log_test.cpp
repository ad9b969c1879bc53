// The log call, the default sink and the check of platform results.
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/log_capture.h"

namespace orvane {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

// What the default sink's stream shows of one message per level.
std::string PrintedOfEveryLevel() {
    testing::internal::CaptureStdout();
    for (const int32_t level : {kLowest, -1, 0, 1, 2, 3, 4, kHighest}) {
        LogMessage(level, "frame %d of %s", level, "clip");
    }
    return testing::internal::GetCapturedStdout();
}

// Looks before any test can have configured the log.
class BeforeConfiguration : public testing::Environment {
public:
    void SetUp() override { s_printed = PrintedOfEveryLevel(); }
    static inline std::string s_printed = "not captured";
};
[[maybe_unused]] const auto* const g_environment = testing::AddGlobalTestEnvironment(new BeforeConfiguration);

TEST(LogMessage, PrintsNothingBeforeConfiguration) {
    EXPECT_EQ(BeforeConfiguration::s_printed, "");
}

TEST(LogMessage, PassesLevelsUpToTheConfiguredOne) {
    const LogEntries all{{kLowest, "frame -2147483648"},
                         {-1, "frame -1"},
                         {0, "frame 0"},
                         {1, "frame 1"},
                         {2, "frame 2"},
                         {3, "frame 3"},
                         {4, "frame 4"}};
    const std::pair<int32_t, int> cases[] = {{-1, 2}, {0, 3}, {2, 5}, {3, 6}};
    for (const auto& [configured, passed] : cases) {
        LogCapture log(configured);
        for (const auto& entry : all) {
            LogMessage(entry.first, "%s %d", "frame", entry.first);
        }
        EXPECT_EQ(log.Take(), LogEntries(all.begin(), all.begin() + passed)) << "configured " << configured;
    }
}

TEST(LogMessage, IsSilencedByANullCallback) {
    int userData = 0;
    SetLogConfiguration({ORVANE_LOG_DEBUG, nullptr, &userData});
    EXPECT_EQ(PrintedOfEveryLevel(), "");
}

TEST(DefaultLogSink, PrintsLinesOfKnownLevelsOnly) {
    SetLogConfiguration({kHighest, DefaultLogSink, nullptr});
    EXPECT_EQ(PrintedOfEveryLevel(),
              "[Orvane ERROR] frame 0 of clip\n[Orvane WARNING] frame 1 of clip\n"
              "[Orvane INFO] frame 2 of clip\n[Orvane DEBUG] frame 3 of clip\n");
    SetLogConfiguration({-1, nullptr, nullptr});
}

TEST(CheckHResult, LogsFailuresAsErrors) {
    struct Case {
        uint32_t result;
        const char* what;
        LogEntries messages;
    };
    const Case cases[] = {
        {0, "S_OK", {}},
        {1, "S_FALSE", {}},
        {0x7FFFFFFF, nullptr, {}},
        {0x80000000, "CreateOperator", {{0, "Operation failed: CreateOperator, HRESULT: 0x80000000"}}},
        {0x887A0006, "CreateHeap", {{0, "Operation failed: CreateHeap, HRESULT: 0x887A0006"}}},
        {0xFFFFFFFF, nullptr, {{0, "Operation failed with HRESULT: 0xFFFFFFFF"}}},
    };
    LogCapture log;
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << test.result);
        EXPECT_EQ(CheckHResult(static_cast<int32_t>(test.result), test.what), test.messages.empty() ? 0 : -1);
        EXPECT_EQ(log.Take(), test.messages);
    }
}

}  // namespace
}  // namespace orvane
