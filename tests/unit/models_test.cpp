// Creating, reading and finding model files.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "apps/models/bilinear_model.h"
#include "apps/models/half.h"
#include "apps/models/model_card.h"
#include "apps/models/model_file.h"
#include "apps/models/model_inspection.h"
#include "apps/models/model_lookup.h"
#include "apps/models/network_size.h"
#include "apps/utils/failure.h"
#include "apps/utils/files/atomic_file.h"
#include "apps/utils/files/utf8_path.h"
#include "model/model_stream.h"
#include "tests/support/failure_of.h"
#include "tests/support/reference_network.h"
#include "tests/support/temp_folder.h"

namespace orvane::tool {
namespace {

TEST(Half, EveryPatternConvertsToItsValueAndBack) {
    for (uint32_t pattern = 0; pattern <= 0xFFFF; ++pattern) {
        const auto half = static_cast<uint16_t>(pattern);
        const float value = FloatFromHalf(half);
        if ((half & 0x7FFF) > 0x7C00) {
            EXPECT_TRUE(std::isnan(value)) << pattern;
            EXPECT_GT(HalfFromFloat(value) & 0x7FFF, 0x7C00) << pattern;
            continue;
        }
        if ((half & 0x7FFF) == 0x7C00) {
            EXPECT_TRUE(std::isinf(value)) << pattern;
        } else {
            EXPECT_EQ(static_cast<double>(value), test::DecodeHalf(half)) << pattern;
        }
        EXPECT_EQ(std::signbit(value), (half & 0x8000) != 0) << pattern;
        EXPECT_EQ(HalfFromFloat(value), half);
    }
}

TEST(Half, RoundsToNearestAndTiesToEven) {
    for (uint16_t pattern = 0; pattern < 0x7C00; ++pattern) {
        // The step above the largest finite half has the same size and ends at infinity.
        const double low = test::DecodeHalf(pattern);
        const double high = pattern == 0x7BFF ? 65536.0 : test::DecodeHalf(static_cast<uint16_t>(pattern + 1));
        const auto middle = static_cast<float>((low + high) / 2);
        const int even = pattern + pattern % 2;
        EXPECT_EQ(HalfFromFloat(middle), even);
        EXPECT_EQ(HalfFromFloat(-middle), even | 0x8000);
        EXPECT_EQ(HalfFromFloat(std::nextafter(middle, 0.0F)), pattern);
        EXPECT_EQ(HalfFromFloat(std::nextafter(middle, 1e6F)), pattern + 1);
    }
    EXPECT_EQ(HalfFromFloat(std::numeric_limits<float>::max()), 0x7C00);
    EXPECT_EQ(HalfFromFloat(std::numeric_limits<float>::denorm_min()), 0);
}

TEST(BilinearModel, UpscalesWithClampedEdges) {
    struct Case {
        uint32_t width;
        uint32_t height;
        int32_t channels;
        int32_t depth;
    };
    const Case cases[] = {{1, 1, 32, 2}, {1, 5, 32, 2}, {5, 1, 32, 2}, {2, 2, 32, 2},
                          {7, 4, 32, 2}, {7, 4, 27, 1}, {3, 5, 40, 5}};
    for (const auto& [width, height, channels, depth] : cases) {
        SCOPED_TRACE(testing::Message() << width << "x" << height << ", " << channels << " channels, depth " << depth);
        const std::vector<uint8_t> file = MakeBilinearModel(static_cast<uint32_t>(channels), depth);
        test::ReferenceNetwork network = test::MakeRandomNetwork(channels, depth, 1);
        ASSERT_EQ(file.size(), test::ModelFile(network).size());
        test::ReadModelFile(file, network);
        const test::Image image = test::MakeRandomImage(width, height, 1);
        // Half a code value, plus an eighth for the rounding to half precision.
        EXPECT_LE(test::DistanceFromBilinear(test::UpscaleImage(network, image), image), 0.625);
    }
    EXPECT_THROW(MakeBilinearModel(26, 2), Failure);
    EXPECT_THROW(MakeBilinearModel(1025, 2), Failure);
    EXPECT_THROW(MakeBilinearModel(32, 0), Failure);
    EXPECT_THROW(MakeBilinearModel(32, 15), Failure);
}

TEST(ModelFile, ComesBackInAllFormsOrIsReportedAsDamaged) {
    const TempFolder folder;
    const std::vector<uint8_t> plain = MakeBilinearModel(27, 1);
    for (const std::string extension : {"bin", "EN", "en", "en2"}) {
        SCOPED_TRACE(extension);
        const std::filesystem::path path = folder.Path() / ("model." + extension);
        WriteModelFile(path, plain);
        EXPECT_EQ(ReadModelFile(path), plain);
        std::stringstream readByLibrary;
        EXPECT_TRUE(OpenModelStream(path.string(), readByLibrary));
        EXPECT_EQ(readByLibrary.str(), std::string(plain.begin(), plain.end()));

        std::vector<uint8_t> file = ReadWholeFile(path);
        const bool isEncrypted = EncryptionOf(path) != Encryption::kNone;
        WriteModelFile(path, plain);
        EXPECT_EQ(ReadWholeFile(path), file);
        EXPECT_EQ(file == plain, !isEncrypted);
        if (isEncrypted) {
            EXPECT_THROW(ReadModelFile(folder.Write("plain." + extension, plain)), Failure);
            file[file.size() / 2] ^= 1;
            EXPECT_THROW(ReadModelFile(folder.Write("changed." + extension, file)), Failure);
            file.resize(file.size() - 8);
            EXPECT_THROW(ReadModelFile(folder.Write("cut." + extension, file)), Failure);
            EXPECT_THROW(ReadModelFile(folder.Write("empty." + extension, {})), Failure);
        }
    }
}

TEST(ModelFile, OneChangedBitOrAMissingEndIsDetected) {
    const TempFolder folder;
    for (const size_t length : {0U, 13U}) {
        for (const std::string extension : {"en", "en2"}) {
            const std::filesystem::path path = folder.Path() / ("m." + extension);
            WriteModelFile(path, std::vector<uint8_t>(length, 7));
            const std::vector<uint8_t> whole = ReadWholeFile(path);
            for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
                std::vector<uint8_t> changed = whole;
                changed[bit / 8] = static_cast<uint8_t>(changed[bit / 8] ^ (1U << bit % 8));
                EXPECT_THROW(ReadModelFile(folder.Write("m." + extension, changed)), Failure)
                    << extension << ", bit " << bit;
            }
            for (size_t size = 0; size < whole.size(); ++size) {
                const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
                EXPECT_THROW(ReadModelFile(folder.Write("m." + extension, cut)), Failure) << extension << ", " << size;
            }
        }
    }
}

TEST(NetworkSize, EveryNetworkIsFoundByItsLengthAndFewOthers) {
    size_t mostFitting = 0;
    for (const int32_t depth : {-1, 0, 2, 14}) {
        for (const int32_t channels : {1, 12, 32, 64, 1024}) {
            const NetworkSize size{channels, depth};
            if (channels < 64) {
                const size_t bytes = test::ModelFile(test::MakeRandomNetwork(channels, depth, 1)).size();
                EXPECT_EQ(PlainModelBytes(size), bytes) << OptionsText(size);
            }
            const std::vector<NetworkSize> fitting = NetworksOfLength(PlainModelBytes(size));
            const auto found = std::count(fitting.begin(), fitting.end(), size);
            EXPECT_EQ(found, depth >= 0 || channels == 12 ? 1 : 0) << OptionsText(size);
            mostFitting = std::max(mostFitting, fitting.size());
        }
    }
    EXPECT_LE(mostFitting, 3U);
    EXPECT_EQ(OptionsText(NetworksOfLength(45720)), "--channels 32 --depth 2 or --channels 168 --depth 0");
}

TEST(InspectModel, FindsRangesMissingBytesAndWhatIsNotFinite) {
    std::vector<uint8_t> file = MakeBilinearModel(27, 1);
    const auto set = [&](size_t value, uint16_t half) {
        file[2 * value] = static_cast<uint8_t>(half & 0xFF);
        file[2 * value + 1] = static_cast<uint8_t>(half >> 8);
    };
    const size_t biasOfFirst = 27 * 27;  // values
    set(0, 0x7C00);                      // infinity
    set(1, 0xC500);                      // -5
    set(biasOfFirst, 0xFE00);            // not a number
    set(biasOfFirst + 1, 0x4700);        // 7
    const ModelInspection whole = InspectModel(file, {27, 1});
    ASSERT_EQ(whole.layers.size(), 3U);
    EXPECT_EQ(whole.missingBytes + whole.extraBytes, 0U);
    EXPECT_EQ(whole.notFinite, 2U);
    const LayerInspection& first = whole.layers[0];
    EXPECT_EQ(first.filter.notFinite + 10 * first.bias.notFinite, 11U);
    EXPECT_EQ(first.filter.lowest, -5.0F);
    EXPECT_EQ(first.filter.highest, 1.0F);
    EXPECT_EQ(first.bias.highest, 7.0F);
    EXPECT_EQ(whole.layers[2].bias.count, 12U);
    EXPECT_EQ(whole.layers[2].filter.highest, 0.5625F);

    file.insert(file.end(), 3, 0);
    EXPECT_EQ(InspectModel(file, {27, 1}).extraBytes, 3U);
    file.resize(file.size() - 3 - 12 * 2 - 1);  // the last bias and a half of the filter's last value
    const ModelInspection cut = InspectModel(file, {27, 1});
    EXPECT_EQ(cut.missingBytes, 25U);
    EXPECT_EQ(cut.layers[2].filter.count, 12U * 27 * 9 - 1);
    EXPECT_EQ(cut.layers[2].bias.count, 0U);
}

TEST(ModelCard, IsReadOrSaysWhatIsWrong) {
    const ModelCard card = ParseModelCard(R"({"purpose": "\u00e9", "depth": 2, "channels": 32, "more": [1]})");
    EXPECT_EQ(card.network, NetworkSize{});
    EXPECT_EQ(card.reach, 4);
    EXPECT_EQ(card.purpose, "\u00E9");
    const ModelCard again = ParseModelCard(ModelCardText({{64, 6}, 3, card.purpose}));
    EXPECT_EQ(again.network, (NetworkSize{64, 6}));
    EXPECT_EQ(again.reach, 3);
    EXPECT_EQ(again.purpose, card.purpose);

    const std::vector<std::pair<std::string, std::string>> broken{
        {"", "is not valid JSON"},
        {R"({"channels": 32,})", "mistake at byte 17"},
        {"[32, 2]", "not a JSON object"},
        {R"({"depth": 2})", "\"channels\" from 1 to 1024."},
        {R"({"channels": "32", "depth": 2})", "not \"32\"."},
        {R"({"channels": 32.5, "depth": 2})", "not 32.5."},
        {R"({"channels": 18446744073709551615, "depth": 2})", "from 1 to 1024, not"},
        {R"({"channels": 1e999, "depth": 2})", "number that is too large"},
        {R"({"channels": 32, "depth": 15})", "from -1 to 14, not 15."},
        {R"({"channels": 32, "depth": 2, "reach": 5})", "from 0 to 4, not 5."},
        {R"({"channels": 32, "depth": 2, "purpose": 1})", "text as \"purpose\"."},
    };
    for (const auto& entry : broken) {
        const std::string failure = FailureOf([&] { ParseModelCard(entry.first); });
        EXPECT_NE(failure.find(entry.second), std::string::npos) << entry.first << ": " << failure;
    }
}

// A weights folder with valid and broken models, and the results of options that name them.
TEST(FindModel, FindsNamesAndPathsOrSaysWhatIsWrong) {
    const TempFolder folder;
    const std::filesystem::path weights = folder.Path() / "w";
    const auto add = [&](const std::string& name, const std::vector<uint8_t>& plain, const std::string& card) {
        std::filesystem::create_directories(weights);
        WriteModelFile(weights / name, plain);
        if (!card.empty()) {
            folder.Write("w/" + name.substr(0, name.find('.')) + ".json", {card.begin(), card.end()});
        }
    };
    const std::vector<uint8_t> model = MakeBilinearModel(27, 1);
    EXPECT_NE(FailureOf([&] { FindModel({}, weights); }).find("no model \"default\""), std::string::npos);
    add("interpolating.en", model, R"({"channels": 27, "depth": 1, "reach": 1})");
    EXPECT_EQ(FindModel({}, weights).path.filename(), "interpolating.en");
    EXPECT_NE(FindModel({}, weights).note, "");
    add("default.en", MakeBilinearModel(32, 2), R"({"channels": 32, "depth": 2, "purpose": "p"})");
    add("bare.en", model, "");
    add("usual.en", MakeBilinearModel(32, 2), "");
    add("broken.en", model, "{");
    add("other.en", model, R"({"channels": 32, "depth": 2})");
    add("odd.en", std::vector<uint8_t>(100), "");
    const std::string path = Utf8FromPath(weights / "other.en");

    struct Case {
        const char* model;
        std::optional<int32_t> channels;
        std::optional<int32_t> depth;
        const char* expected;
    };
    const Case cases[] = {
        {"default", {}, {}, "--channels 32 --depth 2, 4, p, "},
        {"interpolating", {}, {}, "--channels 27 --depth 1, 1, , "},
        {"interpolating", 27, {}, "--channels 27 --depth 1, 1, , "},
        {"interpolating", 3, 0, "--channels 3 --depth 0, 2, , note"},
        {"interpolating", 28, {}, "too short for --channels 28 --depth 1"},
        {"bare", {}, {}, "--channels 27 --depth 1, 3, , "},
        {"usual", {}, {}, "--channels 32 --depth 2, 4, , "},
        {"usual", {}, 0, "--channels 168 --depth 0, 2, , "},
        {path.c_str(), 27, 1, "--channels 27 --depth 1, 3, , "},
        {path.c_str(),
         {},
         {},
         "other.json\" says --channels 32 --depth 2 (45720 bytes), but the model beside it has 20544"},
        {path.c_str(), 27, 15, "no network with"},
        {"broken", {}, {}, "broken.json\" is not valid JSON"},
        {"odd", {}, {}, "no \"odd.json\" beside it. Give --channels and --depth. Its length fits no network"},
        {"none", {}, {}, "there are: bare, broken, default, interpolating, odd, other, usual."},
        {"none.en", {}, {}, "There is no file \"none.en\""},
    };
    for (const auto& entry : cases) {
        const std::string result = FailureOf([&] {
            const FoundModel found = FindModel({entry.model, entry.channels, entry.depth}, weights);
            throw Failure(OptionsText(found.network) + ", " + std::to_string(found.reach) + ", " + found.purpose +
                          ", " + (found.note.empty() ? "" : "note"));
        });
        EXPECT_NE(result.find(entry.expected), std::string::npos) << entry.expected << "\n" << result;
    }
    std::string listed;
    for (const ListedModel& entry : ListModels(weights)) {
        listed += entry.name + (entry.problem.empty() ? "+ " : "- ");
    }
    EXPECT_EQ(listed, "bare+ broken- default+ interpolating+ odd- other- usual+ ");
}

}  // namespace
}  // namespace orvane::tool
