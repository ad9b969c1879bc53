// The ranking and classification of adapters, and the check of the Windows version.
#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "gpu/adapter_classes.h"
#include "gpu/adapter_limits.h"
#include "gpu/adapter_ranking.h"
#include "gpu/vendors.h"
#include "gpu/windows_version.h"

namespace orvane {
namespace {

constexpr uint64_t kMiB = 1024 * 1024;
constexpr uint64_t kGiB = 1024 * kMiB;
constexpr uint32_t kOther = 0x1414;

TEST(AdapterLimits, ViewElementsByVendor) {
    // 0x10005 is Mesa's software adapter. 0 is an adapter without a vendor.
    const std::map<uint32_t, int> exponents{{0x10DE, 29}, {0x1002, 29}, {0x1022, 29},  {0x8086, 29}, {0x1414, 29},
                                            {0x5143, 27}, {0x13B5, 27}, {0x10005, 27}, {0xFFFF, 27}, {0, 27}};
    for (const auto& [vendor, exponent] : exponents) {
        EXPECT_EQ(MaxTypedViewElements(vendor), uint64_t{1} << exponent) << vendor;
    }
}

TEST(AdapterRanking, DiscreteAndScore) {
    struct Case {
        AdapterTraits adapter;
        bool isDiscrete;
        uint64_t score;
    };
    const Case cases[] = {{{L"", kOther, 2 * kGiB + 1}, true, 12048},
                          {{L"NVIDIA Tegra", kVendorNvidia, 2 * kGiB + 1}, true, 13048},
                          {{L"AMD APU", kVendorAmd, 2 * kGiB + 1}, true, 12548},
                          // AMD: names, then the size unless it is an APU.
                          {{L"Radeon RX 580", kVendorAmd, 0}, true, 10500},
                          {{L"Radeon RX", kVendorAmd, 0}, false, 500},
                          {{L"Radeon Pro W5500", kVendorAmd, 0}, true, 10500},
                          {{L"AMD Radeon VII", kVendorAmd, 0}, true, 10500},
                          {{L"Radeon Vega 64", kVendorAmd, 0}, true, 10500},
                          {{L"Radeon Vega 56", kVendorAmd, 0}, true, 10500},
                          {{L"Radeon Vega 8", kVendorAmd, 512 * kMiB}, false, 1012},
                          {{L"Radeon Vega 8", kVendorAmd, 512 * kMiB + 1}, true, 11012},
                          {{L"AMD APU", kVendorAmd, 2 * kGiB}, false, 2548},
                          {{L"AMD APU RX 1", kVendorAmd, 0}, true, 10500},
                          {{L"Arc", kVendorAmd, 0}, false, 500},
                          // NVIDIA: all except Tegra.
                          {{L"NVIDIA GeForce GT 710", kVendorNvidia, 0}, true, 11000},
                          {{L"NVIDIA Tegra X1", kVendorNvidia, 2 * kGiB}, false, 3048},
                          {{L"GeForce", kVendorNvidia, 12 * kGiB}, true, 12288 + 11000},
                          // Intel: names, then the size.
                          {{L"Intel Arc A310", kVendorIntel, 0}, true, 10100},
                          {{L"Intel Iris Xe MAX Graphics", kVendorIntel, 512 * kMiB}, true, 10612},
                          {{L"Intel(R) Iris(R) Xe MAX Graphics", kVendorIntel, 512 * kMiB}, false, 612},
                          {{L"Intel UHD", kVendorIntel, kGiB}, false, 1124},
                          {{L"Intel UHD", kVendorIntel, kGiB + 1}, true, 11124},
                          // Others: only the size.
                          {{L"Radeon RX 580", kOther, kGiB}, false, 1024},
                          {{L"Tegra", kOther, kGiB + 1}, true, 11024},
                          {{L"", kOther, kMiB - 1}, false, 0},
                          {{L"", kOther, 4096 * kGiB}, true, 4'204'304},
                          // Not real ones.
                          {{L"A Basic Adapter", kVendorNvidia, 8 * kGiB}, true, 0},
                          {{L"A Software Adapter", kVendorNvidia, 8 * kGiB}, true, 0},
                          {{L"A Microsoft Adapter", kVendorNvidia, 8 * kGiB}, true, 0},
                          {{L"basic software microsoft", kVendorNvidia, 8 * kGiB}, true, 19192}};
    for (auto [adapter, isDiscrete, score] : cases) {
        SCOPED_TRACE(testing::Message() << std::wstring(adapter.description) << ", vendor " << std::hex
                                        << adapter.vendorId << ", memory 0x" << adapter.dedicatedVideoMemory);
        EXPECT_EQ(IsDiscreteAdapter(adapter), isDiscrete);
        EXPECT_EQ(ScoreAdapter(adapter), score);
        EXPECT_EQ(RankAdapter(adapter).isDiscrete, isDiscrete);
        EXPECT_EQ(RankAdapter(adapter).score, score);
        adapter.isSoftware = true;
        EXPECT_EQ(ScoreAdapter(adapter), isDiscrete && score >= 10000 ? score - 10000 : score);
        EXPECT_FALSE(RankAdapter(adapter).isDiscrete);
        EXPECT_EQ(RankAdapter(adapter).score, 0U);
    }
}

TEST(AdapterRanking, OrdersDiscreteFirstThenByScore) {
    EXPECT_TRUE(RanksBefore({true, 0}, {false, 99'999}));
    EXPECT_FALSE(RanksBefore({false, 99'999}, {true, 0}));
    EXPECT_TRUE(RanksBefore({true, 8}, {true, 7}));
    EXPECT_FALSE(RanksBefore({true, 7}, {true, 7}));
}

TEST(AdapterClasses, VendorAndPerformanceOfNames) {
    using Classes = std::pair<int32_t, int32_t>;  // vendor and performance
    // Only the first 127 bytes of a name count.
    const std::map<Classes, std::vector<std::string>> cases{
        {{0, 0}, {"", "Microsoft Basic Render Driver", "RX580", "\xC3\x84\xFF 3080", std::string(122, '-') + "NVIDIA"}},
        {{1, 3},
         {"NVIDIA GeForce RTX 4070", "RTX 3050 Laptop GPU", "gtx 3051", "GTX 900, RTX 5000", "GeForce 1650, 3050",
          "GeForce 4090", "GeForce 3070", "GeForce 3080", "GeForce 3090", "GeForce 3060", "GeForce 3050",
          "NVIDIA" + std::string(117, '-') + "3080"}},
        {{1, 4},
         {"NVIDIA GeForce GTX 1660 SUPER", "NVIDIA GeForce RTX 2060", "NVIDIA RTX 3049", "NVIDIA GTX 1051",
          "GeForce 1660", "GeForce 1650", "GeForce 1050"}},
        {{1, 0},
         {"NVIDIA GeForce GT 710", "GTX 1049", "GTX 980", "RTX A6000", "RTX -5000", "Quadro RTX", "Quadro RTX ",
          "GTX1080", "RTX5090", "GTX 5000, RTX 900", "nvidia intel amd", std::string(121, '-') + "NVIDIA",
          "NVIDIA" + std::string(118, '-') + "3080"}},
        {{2, 4}, {"INTEL(R) ARC(TM) A770", "Arc", "UHD Iris Arc"}},
        {{2, 5}, {"Intel(R) Iris(R) Xe Graphics", "Iris", "UHD Iris"}},
        {{2, 6}, {"Intel(R) UHD Graphics 730", "UHD730"}},
        {{2, 0}, {"Intel(R) HD Graphics 4600", "intel radeon rx 7900"}},
        {{3, 3}, {"AMD Radeon RX 7900 XTX", "AMD Radeon RX 6600", "Radeon 7900"}},
        {{3, 4}, {"AMD Radeon RX 7800 XT", "AMD Radeon RX 6000", "AMD RXx6800", "Sapphire RX 6700"}},
        {{3, 0},
         {"AMD Radeon RX 580", "AMD Radeon RX 5999", "AMD Radeon rx6800", "AMD Radeon RX Vega",
          "AMD Radeon Graphics with RX", "AMD", "AMD Radeon(TM) Graphics"}}};
    for (const auto& [classes, names] : cases) {
        for (const std::string& name : names) {
            SCOPED_TRACE(name);
            EXPECT_EQ(ClassifyVendor(name), classes.first);
            EXPECT_EQ(ClassifyPerformance(name, classes.first), classes.second);
            EXPECT_EQ(ClassifyPerformance(name, 0), 0);
            EXPECT_EQ(ClassifyPerformance(name, 4), 0);
        }
    }
    EXPECT_EQ(ClassifyPerformance("NVIDIA GeForce RTX 4070", kVendorClassIntel), 0);
}

TEST(WindowsVersion, From1903) {
    const std::pair<WindowsVersion, bool> cases[] = {{{0, 0, 0}, false},      {{9, 255, 65535}, false},
                                                     {{10, 0, 18361}, false}, {{10, 0, 18362}, true},
                                                     {{10, 1, 0}, true},      {{11, 0, 0}, true}};
    for (const auto& [version, isSupported] : cases) {
        EXPECT_EQ(IsSupportedWindows(version), isSupported) << version.major << '.' << version.minor;
    }
}

}  // namespace
}  // namespace orvane
