// The command orvane upscale.
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/models/bilinear_model.h"
#include "apps/orvane/images/wic.h"
#include "tests/program/image_files.h"
#include "tests/program/run_command.h"
#include "tests/support/reference_network.h"
#include "tests/support/temp_folder.h"

namespace orvane::tool {
namespace {

namespace fs = std::filesystem;

// Changes backslashes in the output to slashes.
Outcome RunWithSlashes(const fs::path& folder, const std::wstring& arguments) {
    Outcome outcome = RunOrvane(folder, arguments);
    std::replace(outcome.text.begin(), outcome.text.end(), '\\', '/');
    return outcome;
}

struct Case {
    std::wstring arguments;
    int exitCode;
    std::vector<std::string> texts;  // none: there must be no output
};

// Cases without --model get `model`.
void RunCases(const fs::path& folder, const std::vector<Case>& cases, const std::wstring& model) {
    for (const Case& test : cases) {
        const bool hasModel = test.arguments.find(L"--model") != std::wstring::npos;
        const Outcome outcome = RunWithSlashes(folder, L"upscale " + test.arguments + (hasModel ? L"" : model));
        EXPECT_EQ(outcome.exitCode, test.exitCode) << outcome.text;
        for (const std::string& text : test.texts) {
            EXPECT_NE(outcome.text.find(text), std::string::npos) << text << " is not in:\n" << outcome.text;
        }
        EXPECT_TRUE(!test.texts.empty() || outcome.text.empty()) << outcome.text;
    }
}

// The reference result for the image with the rim that the program adds, and with the rim removed again.
Image Expected(const test::ReferenceNetwork& network, const Image& image) {
    const auto rim = static_cast<uint32_t>(network.depth + 2);
    const auto mirrored = [](int64_t position, int64_t length) {
        while (position < 0 || position >= length) {
            position = position < 0 ? -1 - position : 2 * length - 1 - position;
        }
        return static_cast<uint32_t>(position);
    };
    test::Image framed(image.width + 2 * rim, image.height + 2 * rim);
    for (uint32_t y = 0; y < framed.height; ++y) {
        for (uint32_t x = 0; x < framed.width; ++x) {
            const uint32_t column = mirrored(int64_t{x} - rim, image.width);
            std::copy_n(image.Row(mirrored(int64_t{y} - rim, image.height)) + 4 * column, 4, framed.At(x, y));
        }
    }
    const test::Image upscaled = test::UpscaleImage(network, framed);
    Image expected;
    expected.width = 2 * image.width;
    expected.height = 2 * image.height;
    for (uint32_t y = 0; y < expected.height; ++y) {
        const uint8_t* row = upscaled.At(2 * rim, y + 2 * rim);
        expected.pixels.insert(expected.pixels.end(), row, row + expected.RowBytes());
    }
    return expected;
}

// The number of bytes that differ, inside and outside the columns and rows from `from` to `to`.
struct Differences {
    int largest = 0;
    size_t inside = 0;
    size_t insidePixels = 0;
    size_t outside = 0;
    size_t outsidePixels = 0;
};

Differences Compare(const Image& a, const Image& b, uint32_t from = 0, uint32_t to = 0) {
    Differences result;
    for (uint32_t y = 0; y < a.height; ++y) {
        for (uint32_t x = 0; x < a.width; ++x) {
            const bool isInside = (x >= from && x < to) || (y >= from && y < to);
            ++(isInside ? result.insidePixels : result.outsidePixels);
            for (uint32_t channel = 0; channel < 4; ++channel) {
                const int difference = std::abs(a.Row(y)[4 * x + channel] - b.Row(y)[4 * x + channel]);
                result.largest = std::max(result.largest, difference);
                (isInside ? result.inside : result.outside) += difference != 0 ? 1 : 0;
            }
        }
    }
    return result;
}

TEST(Upscale, FolderAgainstTheReferenceAndInTiles) {
    const TempFolder folder;
    const test::ReferenceNetwork network = test::MakeRandomNetwork(8, 1, 5);
    folder.Write("m.bin", test::ModelFile(network));
    const fs::path images = folder.Path() / L"\u6A21\u578B \u00E9" / "in";
    fs::create_directories(images / "deep");
    const Image first = RandomImage(100, 90, 1);
    const Image smallImage = RandomImage(3, 1, 2);
    WriteImage(LongPath(images / "first.png"), first, {}, IgnoreWarning);
    WriteImage(LongPath(images / "deep" / L"\u00FC.bmp"), smallImage, {ImageFormat::kBmp}, IgnoreWarning);
    const std::wstring command = L"upscale in --model ../m.bin --channels 8 --depth 1 --json -o ";

    const Outcome whole = RunWithSlashes(images.parent_path(), command + L"out");
    ASSERT_EQ(whole.exitCode, 0) << whole.text;
    const auto summary = nlohmann::json::parse(whole.text.substr(whole.text.rfind(R"({"event":"summary")")));
    EXPECT_EQ(summary["done"], 2) << whole.text;
    const Image result = Read(images.parent_path() / "out/first.png");
    const Differences fromReference = Compare(result, Expected(network, first));
    EXPECT_LE(fromReference.largest, 2);
    EXPECT_LE(Compare(Read(images.parent_path() / L"out/deep/\u00FC.png"), Expected(network, smallImage)).largest, 2);

    // Without mirrored edges, as in the library.
    ASSERT_EQ(RunWithSlashes(images.parent_path(), command + L"raw --raw-edges").exitCode, 0);
    test::Image source(first.width, first.height);
    source.pixels = first.pixels;
    Image expected = result;
    expected.pixels = test::UpscaleImage(network, source).pixels;
    EXPECT_LE(Compare(Read(images.parent_path() / "raw/first.png"), expected).largest, 2);

    // Two by two tiles with seams in the middle.
    ASSERT_EQ(RunWithSlashes(images.parent_path(), command + L"tiled --tile 64").exitCode, 0);
    const Image tiled = Read(images.parent_path() / "tiled/first.png");
    const Differences seams = Compare(tiled, result, 84, 108);
    EXPECT_LE(seams.largest, 1);
    EXPECT_LE(seams.inside * seams.outsidePixels, 2 * seams.outside * seams.insidePixels + seams.outsidePixels * 8);
}

TEST(Upscale, ContinuesAfterABrokenImageAndWithMissingResults) {
    const TempFolder folder;
    folder.Write("m.bin", MakeBilinearModel(27, 1));
    folder.Write("in/a.tif", Tiff().Bytes());
    folder.Write("in/b.png", {'t', 'e', 'x', 't'});
    folder.Write("in/c.bmp", {});
    std::vector<uint8_t> cut = Tiff().Bytes();
    cut.resize(cut.size() - 10);
    folder.Write("in/d.tif", cut);
    folder.Write("list", {'i', 'n', '/', 'a', '.', 't', 'i', 'f', '\r', '\n', '\n', 'x', '.', 'p', 'n', 'g'});
    folder.Write("twins/a.png", {});
    folder.Write("twins/A.jpg", {});
    folder.Write("blocked", {});
    fs::create_directories(folder.Path() / "taken/a.png");
    const std::wstring model = L" --model m.bin --channels 27 --depth 1";
    const std::vector<Case> cases{
        {L"in -o out",
         1,
         {"Wrote: out/a.png (4 x 6, 1 frame", "in/b.png: This is not an image", "in/c.bmp: This is not",
          "in/d.tif: This is not", "1 image done, 3 failed", "orvane: 3 of 4 images failed"}},
        {L"in/a.tif -o out", 0, {"Skipped: out/a.png", "0 images done, 1 skipped"}},
        {L"in/a.tif -o out/a.png --force --quiet", 0, {}},
        {L"in/a.tif -o large.jpg --passes 2", 0, {"Wrote: large.jpg (8 x 12, 2 frames"}},
        {L"--list list -o listed", 1, {"Wrote: listed/in/a.png", "x.png: There is no such file"}},
        {L"--list - < list -o listed", 1, {"Skipped: listed/in/a.png", "x.png: There is no such file"}},
        {L"twins -o out", 2, {"would both become"}},
        {L"in/a.tif -o in --format same", 2, {"would replace the image"}},
        {L"in/a.tif -o a.webp", 2, {"cannot be written"}},
        {L"in/a.tif -o a.png --format jpeg", 2, {"does not match --format"}},
        {L"in/a.tif -o blocked/x", 1, {"cannot be created"}},
        {L"in/a.tif -o taken --force", 1, {"exists and is not a file that can be replaced"}},
        {L"-o out", 2, {"--list"}},
        {L"in/a.tif -o out --passes 4", 2, {"--passes"}},
        {L"blocked.d -o out", 1, {"There is no such file"}},
        {L"in/a.tif --model m.bin --channels 28 --depth 1 -o none", 1, {"too short for --channels 28 --depth 1"}},
        {L"in/a.tif -o out --force --verbose", 0, {"info: run on the device"}},
        {L"in/a.tif --model none.bin -o none", 1, {"There is no file"}},
    };
    RunCases(folder.Path(), cases, model);
    EXPECT_FALSE(fs::exists(folder.Path() / "none"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path() / "out"), {}), 1);  // no temporary files are left
    EXPECT_EQ(Read(folder.Path() / "large.jpg").width, 8U);
}

// Visible red on the left, transparent black on the right. No black may get into the visible part.
TEST(Upscale, TransparencyIsUpscaledAndDarkensNothing) {
    const TempFolder folder;
    Tiff tiff{.width = 12, .height = 10};
    tiff.value = [](uint32_t x, uint32_t /*y*/, uint32_t channel) { return channel % 3 == 0 && x < 6 ? 255U : 0U; };
    folder.Write("a.tif", tiff.Bytes());
    folder.Write("m.bin", MakeBilinearModel(27, 1));
    const Outcome outcome =
        RunWithSlashes(folder.Path(), L"upscale a.tif -o b.png --model m.bin --channels 27 --depth 1");
    ASSERT_EQ(outcome.exitCode, 0) << outcome.text;
    const Image result = Read(folder.Path() / "b.png");
    for (uint32_t x = 0; x < 24; ++x) {
        const uint8_t* pixel = result.Row(9) + 4 * x;
        EXPECT_TRUE(pixel[3] == 0 || (pixel[0] >= 254 && pixel[1] <= 1 && pixel[2] <= 1)) << "column " << x;
        // The Catmull-Rom filter overshoots by 6 and by 18 of 255 next to the edge, which is clipped.
        EXPECT_EQ(pixel[3], x < 11 ? 255 : (x == 11 ? 203 : (x == 12 ? 52 : 0))) << "column " << x;
    }
    EXPECT_NEAR(result.dpiX, 300, 0.1);
}

}  // namespace
}  // namespace orvane::tool

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const orvane::tool::ComScope com;
    GetDesktopWindow();  // Wine starts its desktop process now, which would otherwise keep the first log open
    return RUN_ALL_TESTS();
}
