// The picture program as a whole: a picture from a file, through the library, into a file.
#include "apps/orvane/upscale.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>

#include "apps/model_tool/bilinear_model.h"
#include "apps/orvane/picture_reader.h"
#include "apps/orvane/wic.h"
#include "apps/utils/failure.h"
#include "tests/temp_folder.h"

namespace orvane::tool {
namespace {

std::filesystem::path g_picture;

// Bilinear doubling in plain arithmetic; pixels beyond the edge are those at the edge.
double Bilinear(const Picture& picture, uint32_t x, uint32_t y, uint32_t channel) {
    const auto at = [&](int column, int row) {
        const auto clampedX = static_cast<size_t>(std::clamp(column, 0, static_cast<int>(picture.width) - 1));
        const auto clampedY = static_cast<size_t>(std::clamp(row, 0, static_cast<int>(picture.height) - 1));
        return static_cast<double>(picture.pixels[clampedY * picture.RowBytes() + clampedX * 4 + channel]);
    };
    const int nearX = static_cast<int>(x / 2);
    const int nearY = static_cast<int>(y / 2);
    const int farX = nearX + (x % 2 == 0 ? -1 : 1);
    const int farY = nearY + (y % 2 == 0 ? -1 : 1);
    return 0.75 * (0.75 * at(nearX, nearY) + 0.25 * at(farX, nearY)) +
           0.25 * (0.75 * at(nearX, farY) + 0.25 * at(farX, farY));
}

TEST(Upscale, WithTheBilinearModelIsBilinearToTheEdges) {
    const TempFolder folder;
    UpscaleOptions options;
    options.input = g_picture;
    options.output = folder.Path() / "doubled.png";
    options.model = folder.Write("bilinear.bin", MakeBilinearModel(32, 2));
    Upscale(options);

    const ComScope com;
    const Picture input = ReadPicture(options.input);
    const Picture output = ReadPicture(options.output);
    ASSERT_EQ(output.width, 2 * input.width);
    ASSERT_EQ(output.height, 2 * input.height);
    double largest = 0;
    for (uint32_t y = 0; y < output.height; ++y) {
        for (uint32_t x = 0; x < output.width; ++x) {
            const uint8_t* const pixel = &output.pixels[y * output.RowBytes() + size_t{x} * 4];
            for (uint32_t channel = 0; channel < 3; ++channel) {
                largest = std::max(largest, std::abs(pixel[channel] - Bilinear(input, x, y, channel)));
            }
            ASSERT_EQ(pixel[3], 255);
        }
    }
    EXPECT_LE(largest, 1.0);
}

TEST(Upscale, LeavesNothingBehindWhenItFails) {
    const TempFolder folder;
    UpscaleOptions options;
    options.input = g_picture;
    options.output = folder.Path() / "doubled.png";
    options.model = folder.Write("short.bin", std::vector<uint8_t>(100));
    EXPECT_THROW(Upscale(options), Failure);
    EXPECT_FALSE(std::filesystem::exists(options.output));
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: upscale_test PICTURE\n");
        return 2;
    }
    orvane::tool::g_picture = argv[1];
    return RUN_ALL_TESTS();
}
