// Whole frames through liborvane.dll on the real DirectML, compared with plain arithmetic. Built twice: CTest runs one
// program on the software adapter as it is (NCHW tensors) and one on an adapter that says it is NVIDIA's (NHWC).
#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <ostream>

#include "tests/host.h"

namespace orvane::test {
namespace {

struct FrameCase {
    const char* name;
    uint32_t width;
    uint32_t height;
    int32_t channels;
    int32_t depth;
    const char* modelFile;
};

void PrintTo(const FrameCase& c, std::ostream* out) {
    *out << c.width << " x " << c.height << ", " << c.channels << " channels, depth " << c.depth << ", " << c.modelFile;
}

#if defined(ORVANE_EXPECT_NVIDIA)
TEST(Adapter, IsOneOfNvidias) {
    LibraryLog log(ORVANE_LOG_INFO);
    orvane_check_result result{};
    EXPECT_EQ(orvane_check_supported(&result, nullptr), ORVANE_OK);
    std::string all;
    for (const std::string& line : log.TakeTexts()) {
        all += line + '\n';
    }
    EXPECT_NE(all.find("VendorId = 0x10de"), std::string::npos) << all;
}
#endif

class Frames : public testing::TestWithParam<FrameCase> {};

TEST_P(Frames, AreDoubledAsTheNetworkSays) {
    const FrameCase& c = GetParam();
    const TempFolder folder;
    const ReferenceNetwork network = MakeRandomNetwork(c.channels, c.depth, c.width * 31 + c.height);
    const auto model = WriteModel(folder, c.modelFile, network);
    const Instance instance(OpenParam(c.width, c.height, network, model));
    ASSERT_NE(instance.Handle(), nullptr);

    // Two frames: the second must not show the first.
    for (uint32_t seed = 0; seed < 2; ++seed) {
        const Picture picture = MakeRandomPicture(c.width, c.height, seed);
        int result = 1;
        const Picture doubled = Process(instance.Handle(), picture, result);
        EXPECT_EQ(result, ORVANE_OK);
        EXPECT_EQ(Difference(doubled, DoublePicture(network, picture)), "") << "frame " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Frames,
                         testing::Values(FrameCase{"OnePixel", 1, 1, 8, 2, "model.bin"},        //
                                         FrameCase{"Ragged", 33, 17, 32, 2, "model.en"},        //
                                         FrameCase{"Default", 64, 36, 32, 2, "model.en2"},      //
                                         FrameCase{"Tall", 3, 70, 5, 1, "model"},               //
                                         FrameCase{"Wide", 150, 2, 7, 0, "model.EN"},           //
                                         FrameCase{"OneChannel", 9, 9, 1, 3, "model.weights"},  //
                                         FrameCase{"Deepest", 10, 12, 6, 14, "model.bin"},      //
                                         FrameCase{"OneLayer", 20, 11, 12, -1, "model.bin"}),
                         [](const testing::TestParamInfo<FrameCase>& test) { return std::string(test.param.name); });

// A gradient in each direction: pictures turned, mirrored or with swapped colours would show.
TEST(FrameRows, PaddedInputIsProcessedAsPicture) {
    const TempFolder folder;
    const ReferenceNetwork network = MakeRandomNetwork(8, 1, 5);
    const Instance instance(OpenParam(20, 10, network, WriteModel(folder, "model.bin", network)));
    ASSERT_NE(instance.Handle(), nullptr);

    Picture padded(24, 10);
    for (uint32_t y = 0; y < padded.height; ++y) {
        for (uint32_t x = 0; x < padded.width; ++x) {
            uint8_t* const pixel = padded.At(x, y);
            pixel[0] = static_cast<uint8_t>(x * 10);
            pixel[1] = static_cast<uint8_t>(y * 25);
            pixel[2] = static_cast<uint8_t>(255 - x * 5 - y * 5);
        }
    }
    Picture doubled(48, 20);
    orvane_frame input = InputFrame(padded);
    input.width = 20;
    orvane_frame output = OutputFrame(doubled);
    ASSERT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_OK);
    EXPECT_EQ(Difference(doubled, DoublePicture(network, padded)), "");

    // The width field alone changes nothing.
    input.width = 1;
    ASSERT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_OK);
    EXPECT_EQ(Difference(doubled, DoublePicture(network, padded)), "");
}

struct StrideCase {
    const char* name;
    uint32_t width;  // of the input
    int32_t stride;  // of the output
};

void PrintTo(const StrideCase& c, std::ostream* out) {
    *out << "input width " << c.width << ", output stride " << c.stride;
}

class OutputStrides : public testing::TestWithParam<StrideCase> {};

TEST_P(OutputStrides, RowsAreTruncatedOrLeaveTheRestAlone) {
    constexpr uint8_t kUntouched = 0xA5;
    constexpr uint32_t kHeight = 3;
    const StrideCase& c = GetParam();
    const TempFolder folder;
    const ReferenceNetwork network = MakeRandomNetwork(4, 0, 9);
    const Instance instance(OpenParam(c.width, kHeight, network, WriteModel(folder, "model.bin", network)));
    ASSERT_NE(instance.Handle(), nullptr);
    const Picture picture = MakeRandomPicture(c.width, kHeight, 3);
    const Picture expected = DoublePicture(network, picture);

    const uint32_t rowBytes = c.width * 2 * 4;
    const uint32_t readbackPitch = (rowBytes + 255) / 256 * 256;
    const auto stride = static_cast<size_t>(c.stride);
    std::vector<uint8_t> rows(stride * kHeight * 2 + 64, kUntouched);
    const orvane_frame input = InputFrame(picture);
    orvane_frame output{};
    output.stride = c.stride;
    output.data = rows.data();
    ASSERT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_OK);

    Picture seen = expected;
    for (size_t y = 0; y < kHeight * 2; ++y) {
        std::copy_n(&rows[y * stride], std::min<size_t>(rowBytes, stride), &seen.pixels[y * rowBytes]);
        for (size_t i = readbackPitch; i < stride; ++i) {
            ASSERT_EQ(rows[y * stride + i], kUntouched) << "row " << y << ", byte " << i;
        }
    }
    EXPECT_EQ(Difference(seen, expected), "");
    EXPECT_TRUE(std::all_of(rows.end() - 64, rows.end(), [](uint8_t byte) { return byte == kUntouched; }));
}

INSTANTIATE_TEST_SUITE_P(All, OutputStrides,
                         testing::Values(StrideCase{"Nothing", 5, 0},            //
                                         StrideCase{"BelowPicture", 5, 13},      //
                                         StrideCase{"Picture", 5, 40},           //
                                         StrideCase{"BetweenBoth", 5, 100},      //
                                         StrideCase{"ReadbackPitch", 5, 256},    //
                                         StrideCase{"AboveBoth", 5, 300},        //
                                         StrideCase{"PictureIsPitch", 32, 256},  //
                                         StrideCase{"BelowPitch", 32, 252},      //
                                         StrideCase{"AbovePitch", 32, 260}),
                         [](const testing::TestParamInfo<StrideCase>& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace orvane::test
