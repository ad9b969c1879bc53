// orvane_check_supported on machines of several kinds. CTest runs this program once for each: with a system library
// taken away, or under another name for which Wine is set to be another Windows. The one argument is the status to
// expect.
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

#include <windows.h>

#include "tests/host.h"

namespace orvane::test {
namespace {

uint32_t g_expectedStatus = 0;
std::string g_expectedReason;

TEST(SupportCheck, SaysWhatTheMachineLacks) {
    constexpr uint32_t kUntouched = 0xABCD;
    LibraryLog log(ORVANE_LOG_INFO);
    orvane_check_class classRecord{kUntouched, kUntouched};
    EXPECT_EQ(orvane_check_supported(nullptr, &classRecord), ORVANE_ERROR_INVALID);
    EXPECT_EQ(classRecord.libraryConstant, kUntouched);

    orvane_check_result result{};
    result.status = kUntouched;
    const bool supported = g_expectedStatus == 0;
    EXPECT_EQ(orvane_check_supported(&result, &classRecord), supported ? ORVANE_OK : ORVANE_ERROR_UNSUPPORTED);
    EXPECT_EQ(result.supported, supported ? 1U : 0U);
    EXPECT_EQ(result.status, supported ? kUntouched : g_expectedStatus);
    EXPECT_EQ(classRecord.libraryConstant, 4U);

    LogEntries entries = log.Take();
    ASSERT_GE(entries.size(), 2U);
    EXPECT_EQ(entries[0],
              (LogEntries::value_type{ORVANE_LOG_INFO, std::string("HWD|Windows Version: ") + result.osVersion}));
    if (supported) {
        EXPECT_EQ(entries.back(), (LogEntries::value_type{ORVANE_LOG_INFO, "HWD|finish detect!"}));
    } else {
        EXPECT_EQ(entries.back(), (LogEntries::value_type{ORVANE_LOG_ERROR, "device not support dml, status:" +
                                                                                std::to_string(g_expectedStatus)}));
        EXPECT_EQ(entries[entries.size() - 2], (LogEntries::value_type{ORVANE_LOG_ERROR, g_expectedReason}));
    }

    // The adapter is known unless dxgi.dll is missing.
    const bool hasAdapter = g_expectedStatus != ORVANE_CHECK_NO_DXGI;
    EXPECT_EQ(result.adapterCount > 0, hasAdapter);
    EXPECT_LE(result.adapterCount, 4U);
    EXPECT_EQ(std::strlen(result.adapterName) > 0, hasAdapter);
    EXPECT_EQ(classRecord.performanceClass != kUntouched, hasAdapter);

    // Nothing stays loaded. (Windows keeps dxgi.dll itself for other reasons once it has been used.)
    EXPECT_EQ(GetModuleHandleW(L"DirectML.dll"), nullptr);
    EXPECT_EQ(GetModuleHandleW(L"d3d12.dll"), nullptr);

    // The class record may be left out.
    orvane_check_result again{};
    EXPECT_EQ(orvane_check_supported(&again, nullptr), supported ? ORVANE_OK : ORVANE_ERROR_UNSUPPORTED);
    EXPECT_STREQ(again.adapterName, result.adapterName);
}

// The library itself loads everywhere; an instance needs all three libraries, whatever the version of Windows.
TEST(SupportCheck, OpenNamesTheMissingLibrary) {
    LibraryLog log;
    const TempFolder folder;
    const ReferenceNetwork network = MakeRandomNetwork(3, 0, 1);
    const Instance instance(OpenParam(4, 4, network, WriteModel(folder, "model.bin", network)));
    const std::vector<std::string> lines = log.TakeTexts();
    const auto missing = [](const char* function) {
        return std::string("Operation failed: ") + function + ", HRESULT: 0x8007007E";
    };
    using Lines = std::vector<std::string>;
    switch (g_expectedStatus) {
        case ORVANE_CHECK_NO_DXGI:
            EXPECT_EQ(lines, (Lines{missing("CreateDXGIFactory2"), "Failed to CreateDXGIFactory2, error code: -1",
                                    "Failed to CreateDeviceResources, error code: -1",
                                    "Failed to create device, error code: -1"}));
            break;
        case ORVANE_CHECK_NO_D3D12:
            EXPECT_EQ(lines, (Lines{missing("D3D12CreateDevice"), "Failed to CreateDeviceResources, error code: -1",
                                    "Failed to create device, error code: -1"}));
            break;
        case ORVANE_CHECK_NO_DIRECTML:
            EXPECT_EQ(lines, (Lines{missing("DMLCreateDevice"), "Failed to DMLCreateDevice, error code: -1",
                                    "Failed to CreateDirectMLResources, error code: -1",
                                    "Failed to create device, error code: -1"}));
            break;
        default:
            EXPECT_EQ(lines, Lines{});
            EXPECT_NE(instance.Handle(), nullptr);
    }
}

}  // namespace
}  // namespace orvane::test

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: support_check_test STATUS REASON\n");
        return 2;
    }
    orvane::test::g_expectedStatus = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    orvane::test::g_expectedReason = argv[2];
    return RUN_ALL_TESTS();
}
