// The parts of orvane upscale.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

#include "apps/orvane/frames/alpha.h"
#include "apps/orvane/frames/frame_size_choice.h"
#include "apps/orvane/images/wic.h"
#include "apps/utils/failure.h"
#include "tests/program/image_files.h"
#include "tests/support/temp_folder.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

TEST(ImageReader, TurnsUprightAndRoundsWideChannels) {
    const TempFolder folder;
    const std::vector<std::string> upright{"1234562", "2143652", "6543212", "5634122",
                                           "1352463", "5316423", "6425313", "2461353"};
    for (uint16_t orientation = 1; orientation <= 8; ++orientation) {
        for (const uint16_t bits : {uint16_t{8}, uint16_t{16}}) {
            Tiff tiff{.bits = bits, .orientation = orientation};
            tiff.value = [bits](uint32_t x, uint32_t y, uint32_t channel) {
                const uint32_t value = channel == 3 ? 255 : 2 * y + x + 1;
                return bits == 8 ? value : value * 257 + (channel == 3 ? 0 : 128) - (channel == 0 ? 256 : 0);
            };
            const Image image = Read(folder.Write("turned.tif", tiff.Bytes()));
            std::string numbers;
            for (size_t i = 0; i < image.pixels.size(); i += 4) {
                numbers += std::to_string(image.pixels[i + 1]);
                EXPECT_EQ(image.pixels[i], image.pixels[i + 1]) << "almost half a code below, almost half above";
            }
            EXPECT_EQ(numbers + std::to_string(image.width), upright[orientation - 1U]) << orientation << ", " << bits;
            EXPECT_EQ(image.colourProfile.size(), 20U);
            EXPECT_EQ(image.dpiX, 150);
        }
    }
    EXPECT_TRUE(Read(folder.Write("other.tif", Tiff{.colourSpace = "CMYK"}.Bytes())).colourProfile.empty());
}

// The header of an ICC profile without tags, followed by other bytes.
std::vector<uint8_t> ColourProfile() {
    std::vector<uint8_t> profile(70000, 7);
    std::fill_n(profile.begin(), 132, uint8_t{0});
    profile[1] = 70000 >> 16;
    profile[2] = 70000 >> 8 & 0xFF;
    profile[3] = 70000 & 0xFF;
    std::copy_n("mntrRGB XYZ ", 12, profile.begin() + 12);
    std::copy_n("acsp", 4, profile.begin() + 36);
    return profile;
}

// Wine does not read profiles of JPEG files. This profile needs more than one segment.
bool HasProfileInTwoSegments(const fs::path& path) {
    const std::string text{std::istreambuf_iterator<char>(std::ifstream(path, std::ios::binary).rdbuf()), {}};
    const size_t first = text.find("ICC_PROFILE");
    return text.substr(first - 4, 4) == "\xFF\xE2\xFF\xFF" && text.substr(first + 12, 2) == "\1\2" &&
           text.substr(first + 65537, 14) == std::string("ICC_PROFILE\0\2\2", 14);
}

TEST(WriteImage, KeepsWhatTheFormatCan) {
    const TempFolder folder;
    Image image = RandomImage(20, 10, 3);
    image.colourProfile = ColourProfile();
    image.dpiX = image.dpiY = 300;
    struct Case {
        ImageFormat format;
        bool keepsAlpha;
        bool mayLoseProfile;  // as with Wine
    };
    for (const Case& test : {Case{ImageFormat::kPng, true, false}, Case{ImageFormat::kJpeg, false, false},
                             Case{ImageFormat::kTiff, true, true}, Case{ImageFormat::kBmp, false, true}}) {
        for (const bool hasAlpha : {false, true}) {
            SCOPED_TRACE(NameOf(test.format));
            image.hasAlpha = hasAlpha;
            image.pixels[3] = hasAlpha ? 0 : 255;
            size_t warnings = 0;
            const fs::path path = (folder.Path() / "x").replace_extension(ExtensionOf(test.format));
            WriteImage(path, image, {test.format, 100}, [&](const std::string& /*text*/) { ++warnings; });
            const Image back = Read(path);
            const bool keepsProfile = test.format == ImageFormat::kJpeg ? HasProfileInTwoSegments(path)
                                                                        : back.colourProfile == image.colourProfile;
            EXPECT_TRUE(keepsProfile || test.mayLoseProfile);
            EXPECT_EQ(warnings, (keepsProfile ? 0U : 1U) + (hasAlpha && !test.keepsAlpha ? 1U : 0U));
            EXPECT_EQ(back.hasAlpha, hasAlpha && test.keepsAlpha);
            EXPECT_NEAR(back.dpiX, 300, 0.1);
            EXPECT_TRUE(test.format == ImageFormat::kJpeg || (hasAlpha && !test.keepsAlpha) ||
                        back.pixels == image.pixels);
        }
    }
}

// Linux has a device that is always full.
TEST(WriteImage, FailsOnAFullDiskWhateverTheFormat) {
    const fs::path full = "Z:/dev/full";
    if (!std::ofstream(full).is_open()) {
        GTEST_SKIP() << "there is no such disk here";
    }
    Image image = RandomImage(200, 100, 1);
    image.colourProfile = ColourProfile();
    for (const ImageFormat format : {ImageFormat::kPng, ImageFormat::kJpeg, ImageFormat::kTiff, ImageFormat::kBmp}) {
        EXPECT_THROW(WriteImage(full, image, {format}, IgnoreWarning), Failure) << NameOf(format);
    }
}

Image WithRandomAlpha(uint32_t width, uint32_t height) {
    Image image = RandomImage(width, height, 5);
    const Image alpha = RandomImage(width, height, 6);
    for (size_t i = 0; i < image.pixels.size(); i += 4) {
        image.pixels[i + 3] = alpha.pixels[i] < 100 ? 0 : alpha.pixels[i];
    }
    image.hasAlpha = true;
    return image;
}

// Catmull and Rom's kernel.
double Cubic(double distance) {
    const double d = std::abs(distance);
    return d < 1 ? 1.5 * d * d * d - 2.5 * d * d + 1 : (d < 2 ? -0.5 * d * d * d + 2.5 * d * d - 4 * d + 2 : 0);
}

TEST(UpscaleAlpha, IsCubicInBothDirections) {
    for (const auto& [width, height] : {std::pair{9U, 7U}, {1U, 6U}, {5U, 1U}, {1U, 1U}}) {
        const Image input = WithRandomAlpha(width, height);
        const Image before = RandomImage(2 * width, 2 * height, 7);
        Image output = before;
        UpscaleAlpha(input, output);
        EXPECT_TRUE(output.hasAlpha);
        for (uint32_t y = 0; y < output.height; ++y) {
            for (uint32_t x = 0; x < output.width; ++x) {
                const double centreX = (x + 0.5) / 2 - 0.5;
                const double centreY = (y + 0.5) / 2 - 0.5;
                double sum = 0;
                for (int row = -2; row < static_cast<int>(height) + 2; ++row) {
                    for (int column = -2; column < static_cast<int>(width) + 2; ++column) {
                        const auto insideY =
                            static_cast<uint32_t>(std::clamp<int>(row, 0, static_cast<int>(height) - 1));
                        const auto insideX =
                            static_cast<uint32_t>(std::clamp<int>(column, 0, static_cast<int>(width) - 1));
                        sum += Cubic(row - centreY) * Cubic(column - centreX) * input.Row(insideY)[4 * insideX + 3];
                    }
                }
                const uint8_t* pixel = output.Row(y) + 4 * x;
                EXPECT_EQ(pixel[3], std::floor(std::clamp(sum, 0.0, 255.0) + 0.5)) << x << ", " << y;
                EXPECT_TRUE(std::equal(pixel, pixel + 3, before.Row(y) + 4 * x));
            }
        }
    }
}

// The number of steps to the nearest visible pixel. A diagonal step counts as one.
int DistanceToVisible(const Image& image, int x, int y) {
    int least = 1000;
    for (int row = 0; row < static_cast<int>(image.height); ++row) {
        for (int column = 0; column < static_cast<int>(image.width); ++column) {
            if (image.Row(static_cast<uint32_t>(row))[4 * column + 3] != 0) {
                least = std::min(least, std::max(std::abs(row - y), std::abs(column - x)));
            }
        }
    }
    return least;
}

TEST(SpreadColours, ReachesAsFarAsAskedAndAddsNoNewColours) {
    Image image = RandomImage(23, 15, 8);
    for (size_t i = 0; i < image.pixels.size(); i += 4) {
        const bool isVisible = i == 4 * (3 * 23 + 4) || i == 4 * (9 * 23 + 22) || i == 4 * (14 * 23);
        image.pixels[i + 3] = isVisible ? 1 : 0;
        image.pixels[i] = isVisible ? 200 : 0;  // red
    }
    const Image before = image;
    SpreadColours(image, 3);
    for (uint32_t y = 0; y < image.height; ++y) {
        for (uint32_t x = 0; x < image.width; ++x) {
            const int distance = DistanceToVisible(before, static_cast<int>(x), static_cast<int>(y));
            const uint8_t* pixel = image.Row(y) + 4 * x;
            EXPECT_EQ(pixel[0], distance <= 3 ? 200 : 0) << x << ", " << y;
            EXPECT_EQ(pixel[3], before.Row(y)[4 * x + 3]);
            const bool isLeft = distance == 0 || distance > 3;
            EXPECT_TRUE(!isLeft || std::equal(pixel, pixel + 4, before.Row(y) + 4 * x)) << x << ", " << y;
        }
    }
    Image invisible = RandomImage(3, 3, 9);
    for (size_t i = 3; i < invisible.pixels.size(); i += 4) {
        invisible.pixels[i] = 0;
    }
    const std::vector<uint8_t> pixels = invisible.pixels;
    SpreadColours(invisible, 3);  // there is no visible pixel
    EXPECT_EQ(invisible.pixels, pixels);
}

TEST(LayOnWhite, MixesByTheAlpha) {
    Image image = WithRandomAlpha(20, 20);
    const Image before = image;
    LayOnWhite(image);
    EXPECT_FALSE(image.hasAlpha);
    for (size_t i = 0; i < image.pixels.size(); ++i) {
        const double share = before.pixels[i / 4 * 4 + 3] / 255.0;
        EXPECT_EQ(image.pixels[i], i % 4 == 3 ? 255 : std::lround(before.pixels[i] * share + 255 * (1 - share)));
    }
}

TEST(Tiles, EveryPixelIsKeptOnceAndFarFromTileEdges) {
    for (const uint32_t length : {1U, 5U, 56U, 57U, 64U, 100U, 128U, 1000U}) {
        for (const uint32_t rim : {0U, 4U}) {
            const TileRules rules{4, rim, 64};
            const uint32_t best = BestFrameSide(length, rules);
            EXPECT_LE(best, 64U);
            for (const uint32_t frame : {best, 30U, 9U}) {
                const std::vector<AxisTile> tiles = SplitAxis(length, frame, rules);
                uint32_t kept = 0;
                for (const AxisTile& tile : tiles) {
                    const int64_t end = tile.frameStart + frame;
                    EXPECT_EQ(tile.keepStart, kept);
                    EXPECT_TRUE(tile.frameStart == -int64_t{rim} || tile.keepStart >= tile.frameStart + 4);
                    EXPECT_TRUE(tile.keepEnd + 4 <= end || end == int64_t{length} + rim) << length << " in " << frame;
                    kept = tile.keepEnd;
                }
                EXPECT_EQ(kept, length);
            }
            EXPECT_EQ(SplitAxis(length, best, rules).size(),
                      length + 2 * rim <= 64 ? 1 : (length + 2 * rim - 8 + 55) / 56);
        }
    }
}

TEST(FrameSizeChoice, StaysWhileThatIsCheaperThanARebuild) {
    FrameSizeChoice sizes({2, 2, 100});
    const Size large{50, 50};
    const Size smaller{40, 50};
    EXPECT_EQ(sizes.Choose(large), (Size{54, 54}));
    EXPECT_EQ(sizes.Choose(smaller), (Size{44, 54}));  // nothing has been measured yet
    sizes.FrameTook({44, 54}, 44 * 54, false);         // one millisecond per pixel
    sizes.FrameTook({54, 54}, 54 * 54 + 1200, true);
    EXPECT_EQ(sizes.Choose(large), (Size{54, 54}));    // two small frames would cost too much
    EXPECT_EQ(sizes.Choose(smaller), (Size{54, 54}));  // 540 pixels wasted
    EXPECT_EQ(sizes.Choose(smaller), (Size{54, 54}));  // 1080
    EXPECT_EQ(sizes.Choose(smaller), (Size{44, 54}));  // 1620: more than the rebuild
    FrameSizeChoice raw({2, 0, 100});
    EXPECT_EQ(raw.Choose(large), large);
    raw.FrameTook(large, 2500, false);
    raw.FrameTook(large, 1000000, true);
    EXPECT_EQ(raw.Choose(smaller), smaller);  // a larger frame would move the edge
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const orvane::tool::ComScope com;
    return RUN_ALL_TESTS();
}
