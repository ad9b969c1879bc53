// The picture program as a whole: a picture from a file, through the library, into a file.
#include "apps/orvane/upscale.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

#include "apps/model_tool/bilinear_model.h"
#include "apps/orvane/picture_reader.h"
#include "apps/orvane/wic.h"
#include "apps/utils/failure.h"
#include "apps/utils/utf8_path.h"
#include "tests/reference_network.h"
#include "tests/temp_folder.h"

namespace orvane::tool {
namespace {

std::filesystem::path g_programs;
std::filesystem::path g_picture;

TEST(Upscale, IsBilinearToTheEdgesOrLeavesNothingBehind) {
    const TempFolder folder;
    UpscaleOptions options;
    options.input = g_picture;
    options.output = folder.Path() / "doubled.png";
    options.model.model = Utf8FromPath(folder.Write("bilinear.bin", MakeBilinearModel(32, 2)));
    Upscale(options);

    const ComScope com;
    const Picture input = ReadPicture(options.input);
    const Picture output = ReadPicture(options.output);
    ASSERT_EQ(output.width, 2 * input.width);
    ASSERT_EQ(output.height, 2 * input.height);
    test::Picture picture(input.width, input.height);
    test::Picture doubled(output.width, output.height);
    picture.pixels = input.pixels;
    doubled.pixels = output.pixels;
    EXPECT_LE(test::DistanceFromBilinear(doubled, picture), 1.0);

    options.output = folder.Path() / "none.png";
    options.model.model = Utf8FromPath(folder.Write("short.bin", std::vector<uint8_t>(100)));
    EXPECT_THROW(Upscale(options), Failure);
    EXPECT_FALSE(std::filesystem::exists(options.output));
}

// A TIFF file of 2 x 3 half transparent pixels, whose red is their number, with a colour profile. It may claim a width.
std::vector<uint8_t> TiffFile(uint16_t width = 2, uint16_t orientation = 1, uint16_t colourSpace = 0x4752) {
    const std::vector<uint16_t> words{
        0x4949, 42,  8,      0,   10, 256, 3, 1,           0,      width, 0,      257,         3,      1,   0,      3,
        0,      258, 3,      4,   0,  134, 0, 262,         3,      1,     0,      2,           0,      273, 3,      1,
        0,      142, 0,      274, 3,  1,   0, orientation, 0,      277,   3,      1,           0,      4,   0,      279,
        3,      1,   0,      24,  0,  338, 3, 1,           0,      2,     0,      34675,       7,      20,  0,      166,
        0,      0,   0,      8,   8,  8,   8, 1,           0x8000, 2,     0x8000, 3,           0x8000, 4,   0x8000, 5,
        0x8000, 6,   0x8000, 0,   0,  0,   0, 0,           0,      0,     0,      colourSpace, 0x2042};
    const auto* const bytes = reinterpret_cast<const uint8_t*>(words.data());
    return {bytes, bytes + words.size() * 2};
}

TEST(ReadPicture, TurnsItUprightAndKeepsAnRgbProfile) {
    const TempFolder folder;
    const std::vector<std::string> upright{"2143652", "6543212", "5634122", "1352463", "5316423", "6425313", "2461353"};
    for (uint16_t orientation = 2; orientation <= 8; ++orientation) {
        const std::vector<uint8_t> file = TiffFile(2, orientation);
        const Picture picture = ReadPicture(folder.Write("turned.tif", file));
        std::string numbers;
        for (size_t i = 0; i < picture.pixels.size(); i += 4) {
            numbers += std::to_string(picture.pixels[i]);
        }
        EXPECT_EQ(numbers + std::to_string(picture.width), upright[orientation - 2U]) << "orientation " << orientation;
        EXPECT_EQ(picture.colourProfile, std::vector<uint8_t>(file.end() - 20, file.end()));
    }
    EXPECT_TRUE(ReadPicture(folder.Write("other.tif", TiffFile(2, 1, 0x4747))).colourProfile.empty());
    EXPECT_THROW(ReadPicture(folder.Write("wide.tif", TiffFile(9000))), Failure);
}

TEST(Programs, SayWhatTheyDidOrWhatIsWrong) {
    const TempFolder folder;
    folder.Write("in.tif", TiffFile());
    const std::vector<std::tuple<std::wstring, int, std::string>> cases{
        {L"orvane model new a.bin --channels 27 --depth 1", 0, "(20544 bytes)"},
        {L"orvane model seal a.bin \u6A21.en2", 0, "Wrote: \u6A21.en2"},
        {L"orvane upscale in.tif a.png --model \u6A21.en2 --channels 27 --depth 1 --repeat 2", 0, "2x3 -> 4x6"},
        {L"orvane upscale in.tif a.png --model a.bin --verbose", 0, "info: run on the device"},
        {L"orvane upscale in.tif a.png --model a.bin --channels 28", 1, "too short for --channels 28 --depth 1"},
        {L"orvane upscale in.tif a.jpg --model a.bin", 2, "must end in .png"},
        {L"orvane upscale in.tif b/a.png --model a.bin", 1, "There is no folder"},
        {L"orvane upscale b.png a.png --model a.bin", 1, "There is no file"},
        {L"orvane upscale a.bin a.png --model a.bin", 1, "is not a picture"},
    };
    for (int number = 0; const auto& [command, exitCode, text] : cases) {  // one log each: Wine may keep the first open
        const std::filesystem::path log = folder.Path() / std::to_string(++number);
        const std::wstring line = L"cd /d " + folder.Path().wstring() + L" && " + (g_programs / command).wstring();
        EXPECT_EQ(_wsystem((line + L" > " + log.wstring() + L" 2>&1").c_str()), exitCode) << text;
        const std::string output{std::istreambuf_iterator<char>(std::ifstream(log).rdbuf()), {}};
        EXPECT_NE(output.find(text), std::string::npos) << output;
    }
    EXPECT_EQ(ReadPicture(folder.Path() / "a.png").pixels[0], 1);
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: upscale_test PICTURE\n");
        return 2;
    }
    orvane::tool::g_programs = std::filesystem::absolute(argv[0]).parent_path();
    orvane::tool::g_picture = argv[1];
    const orvane::tool::ComScope com;
    return RUN_ALL_TESTS();
}
