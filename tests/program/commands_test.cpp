// The commands model, check and bench, run from a folder with a non-ASCII name.
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "tests/program/run_command.h"
#include "tests/support/temp_folder.h"

namespace orvane {
namespace {

struct Case {
    std::wstring arguments;
    int exitCode;
    std::string text;  // a part of the output
};

void Expect(const std::filesystem::path& folder, const std::vector<Case>& cases) {
    for (const Case& test : cases) {
        const Outcome outcome = RunOrvane(folder, test.arguments);
        EXPECT_EQ(outcome.exitCode, test.exitCode) << test.text << " in\n" << outcome.text;
        EXPECT_NE(outcome.text.find(test.text), std::string::npos) << test.text << " is not in\n" << outcome.text;
    }
}

class Commands : public testing::Test {
protected:
    Commands() { std::filesystem::create_directory(m_folder); }

    nlohmann::json Json(const std::wstring& arguments) const {
        const Outcome outcome = RunOrvane(m_folder, arguments);
        const size_t start = outcome.text.find('{');
        EXPECT_EQ(outcome.exitCode, 0) << outcome.text;
        return nlohmann::json::parse(outcome.text.substr(start, outcome.text.rfind('}') + 1 - start));
    }

    const TempFolder m_temporary;
    const std::filesystem::path m_folder = m_temporary.Path() / L"\u6A21 \u00FC";
};

TEST_F(Commands, ModelsAreCreatedEncryptedDecryptedAndInspected) {
    std::filesystem::create_directory(m_folder / "weights");
    std::ofstream(m_folder / "weights/planted.en") << "never looked at";
    Expect(m_folder, {
                         {L"model new a.bin --channels 27 --depth 1", 0, "a.json"},
                         {L"model new a.bin", 1, "\"a.bin\" exists already; --force"},
                         {L"model new b.bin --channels 26", 2, "--channels: Value 26 not in range"},
                         {L"model new none/b.bin", 1, "There is no folder \"none\""},
                         {L"model encrypt a.bin a.txt", 2, "must be .en (encrypted once) or .en2"},
                         {L"model encrypt a.bin \u6A21.en2", 0, "Wrote: \u6A21.en2 (20576 bytes)"},
                         {L"model seal a.bin old.en", 0, "Wrote: old.en (20560 bytes)"},
                         {L"model info \u6A21.en2", 0, "Complete, and every value is finite."},
                         {L"model decrypt \u6A21.en2 b.en", 2, "is that of an encrypted file"},
                         {L"model decrypt a.bin b.bin", 2, "must be .en or .en2"},
                         {L"model decrypt \u6A21.en2 b.bin", 0, "Wrote: b.bin (20544 bytes)"},
                         {L"model open old.en old.bin", 0, "Wrote: old.bin (20544 bytes)"},
                         {L"model info b.bin --depth 2", 1, "13176 bytes are missing"},
                         {L"model info 1.log", 1, "No network has this length"},
                         {L"model info none.en", 1, "There is no file \"none.en\""},
                         {L"model info planted", 1, "There is no model \"planted\""},
                         {L"model decrypt weights/planted.en c.bin", 1, "is damaged, or it is not a model"},
                         {L"bench --model b.bin --channels 28", 1, "is too short for --channels 28 --depth 1"},
                         {L"bench --size 64", 2, "not a size such as 640x360"},
                     });
    EXPECT_FALSE(std::filesystem::exists(m_folder / "c.bin"));
    const auto info = Json(L"model info a.bin --json");
    EXPECT_EQ(info["layers"][2]["filter"]["highest"], 0.5625);
    EXPECT_EQ(info["card"]["reach"], 1);
    const auto models = Json(L"model list --json")["models"];
    EXPECT_TRUE(
        std::any_of(models.begin(), models.end(), [](auto& model) { return model["name"] == "interpolating"; }));
    EXPECT_TRUE(std::none_of(models.begin(), models.end(), [](auto& model) { return model.contains("problem"); }));
}

TEST_F(Commands, CheckAndBenchReportWhatTheyFind) {
    const auto check = Json(L"check --json");
    EXPECT_EQ(check["supported"], true) << check;
    EXPECT_EQ(std::count_if(check["adapters"].begin(), check["adapters"].end(), [](auto& a) { return a["used"]; }), 1);
    EXPECT_NE(check["directml"]["path"].get<std::string>().find("DirectML.dll"), std::string::npos);

    const auto bench = Json(L"bench --json --model interpolating --size 16x9 --size 9x16 --seconds 0.1");
    ASSERT_EQ(bench["results"].size(), 2U) << bench;
    for (const auto& result : bench["results"]) {
        EXPECT_GE(result["frames"], 3) << result;
        EXPECT_LE(result["minMilliseconds"], result["medianMilliseconds"]) << result;
        EXPECT_LE(result["medianMilliseconds"], result["p95Milliseconds"]) << result;
        EXPECT_GT(result["firstFrameMilliseconds"], 0) << result;
        EXPECT_GT(result["openMilliseconds"], 0) << result;
    }
}

// A tile above 3344 can exceed the frame limit of the library.
TEST_F(Commands, TakeTheSameFrameOptions) {
    const std::vector<std::pair<std::wstring, bool>> values{{L"--tile 63", false},
                                                            {L"--tile 3344", true},
                                                            {L"--tile 3345", false},
                                                            {L"--passes 0", false},
                                                            {L"--passes 4", false}};
    for (const std::wstring command : {L"upscale none.png -o out ", L"video none.mp4 out.mp4 ", L"stream < nul "}) {
        for (const auto& [value, isValid] : values) {
            const Outcome outcome = RunOrvane(m_folder, command + value);
            EXPECT_EQ(outcome.exitCode != 2, isValid) << outcome.text;
            EXPECT_TRUE(isValid || outcome.text.find("not in range") != std::string::npos) << outcome.text;
        }
    }
}

TEST_F(Commands, HelpFitsAScreenHasAnExampleAndHidesOldNames) {
    for (const std::wstring command : {L"upscale", L"video", L"stream", L"check", L"bench", L"model", L"model info",
                                       L"model new", L"model encrypt", L"model decrypt"}) {
        const Outcome outcome = RunOrvane(m_folder, command + L" --help");
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_LE(std::count(outcome.text.begin(), outcome.text.end(), '\n'), 30) << outcome.text;
        EXPECT_NE(outcome.text.find("orvane ", outcome.text.find("Example: ")), std::string::npos) << outcome.text;
        EXPECT_EQ(outcome.text.find("seal"), std::string::npos) << outcome.text;
        EXPECT_EQ(outcome.text.find("open"), std::string::npos) << outcome.text;
    }
}

}  // namespace
}  // namespace orvane
