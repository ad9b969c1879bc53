// Whole frames through liborvane.dll on the real DirectML, compared with the CPU reference. Built twice: CTest runs
// one program on the software adapter (NCHW tensors) and one on an adapter that claims to be NVIDIA's (NHWC).
#include <algorithm>
#include <gtest/gtest.h>

#include "tests/support/host.h"

namespace orvane::test {
namespace {

struct FrameCase {
    const char* name;
    uint32_t width;
    uint32_t height;
    int32_t channels;
    int32_t depth;
    const char* modelFile;
    size_t stride;  // of the upscaled image
};

// What the library says of the adapter that it would choose.
std::string ChosenAdapter() {
    LibraryLog log(ORVANE_LOG_INFO);
    orvane_check_result result{};
    EXPECT_EQ(orvane_check_supported(&result, nullptr), ORVANE_OK);
    std::string all;
    for (const std::string& line : log.TakeTexts()) {
        all += line + '\n';
    }
    return all;
}

#if defined(ORVANE_EXPECT_NVIDIA)
TEST(Adapter, IsOneOfNvidias) {
    const std::string adapter = ChosenAdapter();
    EXPECT_NE(adapter.find("VendorId = 0x10de"), std::string::npos) << adapter;
}
#endif

// 2^27 elements of the last tensor, and one row more.
TEST(Adapter, IsNotTrustedWithLargerViewsThanItsVendorIsKnownFor) {
    const std::string adapter = ChosenAdapter();
    const auto vendors = {"0x1002", "0x1022", "0x10de", "0x1414", "0x8086"};
    const bool isKnown = std::any_of(vendors.begin(), vendors.end(), [&](const char* vendor) {
        return adapter.find(std::string("VendorId = ") + vendor + ",") != std::string::npos;
    });
    const TempFolder folder;
    const ReferenceNetwork network = MakeRandomNetwork(1024, -1, 1);
    const auto model = WriteModel(folder, "model.bin", network);
    const std::vector<std::string> refusal{"Operation failed: CreateCommittedResource, HRESULT: 0x80070057",
                                           "Failed to CreateCommittedResource, error code: -1",
                                           "fail InitTextureResource, error code: -1",
                                           "Failed to initialize resources, error code: -1"};
    for (const uint32_t height : {256U, 257U}) {
        LibraryLog log;
        const bool isAccepted = isKnown || height == 256;
        const Instance instance(OpenParam(512, height, network, model));
        EXPECT_EQ(instance.Handle() != nullptr, isAccepted) << height;
        EXPECT_EQ(log.TakeTexts(), isAccepted ? std::vector<std::string>{} : refusal) << height;
    }
}

class Frames : public testing::TestWithParam<FrameCase> {};

TEST_P(Frames, AreUpscaledAsTheNetworkSays) {
    const FrameCase& c = GetParam();
    const TempFolder folder;
    const ReferenceNetwork network = MakeRandomNetwork(c.channels, c.depth, c.width * 31 + c.height);
    const auto model = WriteModel(folder, c.modelFile, network);
    const Instance instance(OpenParam(c.width, c.height, network, model));
    ASSERT_NE(instance.Handle(), nullptr);

    // The second frame must not show the first.
    for (const uint32_t seed : {1U, 2U}) {
        ExpectUpscaled(instance.Handle(), network, MakeRandomImage(c.width, c.height, seed), c.stride);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Frames,
                         testing::Values(FrameCase{"OnePixel", 1, 1, 8, 2, "model.bin", 8},
                                         FrameCase{"Ragged", 33, 17, 32, 2, "model.en", 600},
                                         FrameCase{"Default", 64, 36, 32, 2, "model.en2", 512},
                                         FrameCase{"Tall", 3, 70, 5, 1, "model", 13},
                                         FrameCase{"Wide", 150, 2, 7, 0, "model.EN", 1200},
                                         FrameCase{"OneChannel", 9, 9, 1, 3, "model.weights", 100},
                                         FrameCase{"Deepest", 10, 12, 6, 14, "model.bin", 256},
                                         FrameCase{"OneLayer", 20, 11, 12, -1, "model.bin", 160},
                                         FrameCase{"Widest", 8192, 1, 4, 0, "model.bin", 65536},
                                         FrameCase{"Tallest", 1, 8192, 4, 0, "model.bin", 8}),
                         [](const testing::TestParamInfo<FrameCase>& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace orvane::test
