// orvane.hpp, as a host in C++ uses it that loads the library at run time.
#include <algorithm>
#include <bit>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <objbase.h>
#include <string>
#include <utility>
#include <vector>

#include "api/orvane.hpp"
#include "apps/models/model_file.h"
#include "apps/utils/files/program_folder.h"
#include "tests/support/reference_network.h"
#include "tests/support/temp_folder.h"

namespace orvane::test {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kName = L"liborvane.dll";

const std::error_code kNotFound(ERROR_MOD_NOT_FOUND, std::system_category());

// Of the frame's image, the input's padding included.
Input InputOf(const Image& image) {
    const auto width = static_cast<int32_t>(image.width);
    return {image.pixels.data(), width, static_cast<int32_t>(image.height), width * 4, 7};
}

int LargestDifference(const Image& a, const Image& b) {
    int largest = a.pixels.size() == b.pixels.size() ? 0 : 256;
    for (size_t i = 0; largest < 256 && i < a.pixels.size(); ++i) {
        largest = std::max(largest, std::abs(a.pixels[i] - b.pixels[i]));
    }
    return largest;
}

class Wrapper : public testing::Test {
protected:
    OpenOptions Options(const fs::path& name = "m.bin", uint32_t width = 8, uint32_t height = 6) const {
        const fs::path model = m_folder.Path() / name;
        fs::create_directories(model.parent_path());
        tool::WriteModelFile(model, ModelFile(m_network));
        return {model, m_network.channels, m_network.depth, width, height, 0xC0FFEE};
    }

    // The result must be the network's, and the record that of the frame.
    void ExpectUpscaled(Instance& instance, uint32_t width, uint32_t height) const {
        const Image image = MakeRandomImage(width, height, width);
        Image upscaled(2 * width, 2 * height);
        Output output{upscaled.pixels.data(), static_cast<int32_t>(8 * width)};
        EXPECT_EQ(instance.Process(output, InputOf(image)), Result::kOk);
        EXPECT_LE(LargestDifference(upscaled, UpscaleImage(m_network, image)), 2) << width << " x " << height;
        EXPECT_EQ(output.userValue, 7U);
        EXPECT_EQ(output.format, 0xC0FFEEU);
    }

    const TempFolder m_folder;
    const ReferenceNetwork m_network = MakeRandomNetwork(4, 0, 1);
};

TEST_F(Wrapper, LoadsFromWhereItMayAndSaysWhyNot) {
    std::error_code error;
    EXPECT_FALSE(Library::Load(error, L"no-such-library.dll"));
    EXPECT_EQ(error, kNotFound);
    try {
        Library::Load(L"no-such-library.dll");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::system_error& thrown) {
        EXPECT_EQ(thrown.code(), kNotFound);
    }

    // One that lies in the current folder is not found by its name alone, and one that lacks the functions is let go.
    const fs::path program = tool::ProgramFolder();
    const fs::path planted = m_folder.Path() / L"planted-\u6A21.dll";
    fs::copy_file(program / kName, planted);
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.Path());
    EXPECT_FALSE(Library::Load(error, planted.filename()));
    EXPECT_EQ(error, kNotFound);
    fs::current_path(before);
    EXPECT_TRUE(Library::Load(error, planted));
    EXPECT_EQ(error, std::error_code());
    EXPECT_EQ(GetModuleHandleW(planted.c_str()), nullptr);
    EXPECT_FALSE(Library::Load(error, program / "DirectML.dll"));
    EXPECT_EQ(error, std::error_code(ERROR_PROC_NOT_FOUND, std::system_category()));
    EXPECT_EQ(GetModuleHandleW(L"DirectML.dll"), nullptr);
}

TEST_F(Wrapper, IsLoadedForAsLongAsAnInstanceLives) {
    std::error_code error;
    const auto lines = std::make_shared<int>(0);
    Instance instance;
    {
        const Library library = Library::Load(error);
        ASSERT_FALSE(error) << error.message();
        const Library copy = library;  // NOLINT(performance-unnecessary-copy-initialization)
        copy.SetLog([lines](LogLevel, std::string_view) { ++*lines; });
        EXPECT_EQ(lines.use_count(), 2);
        instance = library.Open(Options(), error);
        ASSERT_FALSE(error) << error.message();
    }
    const int linesOfOpen = *lines;
    EXPECT_GT(linesOfOpen, 0);
    ExpectUpscaled(instance, 5, 3);
    EXPECT_GT(*lines, linesOfOpen);
    instance.Close();
    EXPECT_FALSE(instance);
    EXPECT_EQ(lines.use_count(), 1);
    EXPECT_EQ(GetModuleHandleW(kName), nullptr);
    instance.Close();  // once more, for nothing
}

// An instance that is open then is lost, but neither waited for nor in the way of the next ones.
TEST_F(Wrapper, CanBeUnloadedUnderAnOpenInstance) {
    const OpenOptions options = Options();
    orvane_open_param param{};
    options.model.string().copy(param.modelPath, sizeof(param.modelPath) - 1);
    param.inputWidth = options.width;
    param.inputHeight = options.height;
    param.modelChannels = options.channels;
    param.modelDepth = options.depth;
    for (int round = 0; round < 3; ++round) {
        const HMODULE library = LoadLibraryW(kName);
        ASSERT_NE(library, nullptr);
        const auto open = std::bit_cast<orvane_open_fn>(GetProcAddress(library, "orvane_open"));
        EXPECT_NE(open(&param), nullptr);
        EXPECT_NE(FreeLibrary(library), 0);
        EXPECT_EQ(GetModuleHandleW(kName), nullptr);
    }
    Instance instance = Library::Load().Open(options);
    ExpectUpscaled(instance, 8, 6);
    CoUninitialize();  // what the first of them has done
    CoUninitialize();
    CoUninitialize();
}

TEST_F(Wrapper, LogsLinesUpToTheLevelUntilItIsSilenced) {
    const Library library = Library::Load();
    std::vector<std::pair<LogLevel, std::string>> lines;
    const auto log = [&](LogLevel level, std::string_view line) { lines.emplace_back(level, line); };
    OpenOptions options = Options();
    options.model = m_folder.Path() / "none.bin";
    std::error_code error;
    library.SetLog(log, LogLevel::kError);
    EXPECT_FALSE(library.Open(options, error));
    EXPECT_EQ(error, Result::kFailed);
    EXPECT_STREQ(error.category().name(), "orvane");
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], std::pair(LogLevel::kError, "open the " + options.model.string() + " file failed"));
    EXPECT_THROW(library.Open(options), std::system_error);

    lines.clear();
    library.SetLog(log);
    EXPECT_FALSE(library.CheckSupported());
    EXPECT_TRUE(std::all_of(lines.begin(), lines.end(), [](auto& line) {
        return line.first == LogLevel::kInfo && !line.second.empty() && line.second.back() != '\n';
    }));
    EXPECT_GT(lines.size(), 2U);
    lines.clear();
    library.SetLog(nullptr);
    EXPECT_FALSE(library.Open(options, error));
    EXPECT_TRUE(lines.empty());
}

// The DLL may stay for the sake of others, who must not be heard by a host that is gone.
TEST_F(Wrapper, TakesItsLogAlong) {
    const HMODULE kept = LoadLibraryW(kName);
    const auto process = std::bit_cast<orvane_process_fn>(GetProcAddress(kept, "orvane_process"));
    int lines = 0;
    {
        const Library library = Library::Load();
        library.SetLog([&lines](LogLevel, std::string_view) { ++lines; });
        EXPECT_EQ(process(nullptr, nullptr, nullptr), ORVANE_ERROR_INVALID);
        EXPECT_EQ(lines, 1);
    }
    EXPECT_EQ(process(nullptr, nullptr, nullptr), ORVANE_ERROR_INVALID);
    EXPECT_EQ(lines, 1);
    FreeLibrary(kept);
}

// The library takes paths in the system's code page and checks their extensions.
TEST_F(Wrapper, OpensModelsWhosePathsAnsiCannotExpress) {
    const Library library = Library::Load();
    for (const wchar_t* name : {L"\u6A21/a.en", L"\u6A21/a model with a long name.en", L"\u6A21\u578B.en2",
                                L"b/\u6A21\u578B with a long name.bin", L"b/plain, with a long name.EN"}) {
        Instance instance = library.Open(Options(name));
        ExpectUpscaled(instance, 8, 6);
    }
    OpenOptions options = Options();
    std::error_code error;
    options.model = m_folder.Path() / std::wstring(1100, L'x');
    EXPECT_FALSE(library.Open(options, error));
    EXPECT_EQ(error, std::error_code(ERROR_FILENAME_EXCED_RANGE, std::system_category()));
    options.model = m_folder.Path() / L"none \u6A21";
    EXPECT_FALSE(library.Open(options, error));
    EXPECT_EQ(error, std::error_code(ERROR_NO_UNICODE_TRANSLATION, std::system_category()));
}

TEST_F(Wrapper, MovedFromIsEmptyAndWhatItReplacesIsClosed) {
    const Library library = Library::Load();
    Instance first = library.Open(Options());
    Instance second = library.Open(Options());
    second = std::move(first);
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    Instance third = std::move(second);
    EXPECT_FALSE(second);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    Instance& self = third;
    third = std::move(self);
    ExpectUpscaled(third, 8, 6);
    // COM counts the instances: one that was replaced but not closed would keep it initialised.
    third.Close();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
}

TEST_F(Wrapper, FramesThatCannotBeAreRefusedAndOnlyAFailedChangeOfSizeCloses) {
    const Library library = Library::Load();
    Instance instance = library.Open(Options());
    std::vector<uint8_t> pixels(size_t{1} << 20);
    const void* const from = pixels.data();
    std::vector<uint8_t> upscaled(size_t{1} << 20);
    const Output to{upscaled.data(), 64};
    const std::pair<Input, Output> refused[] = {
        {{from, 8, 6, 28}, to},         {{from, 8, 6, 33}, to},    {{from, 8, 6, -32}, to},
        {{from, 0, 6, 32}, to},         {{from, -8, 6, 32}, to},   {{from, 8, 0, 32}, to},
        {{from, 8, INT32_MIN, 32}, to}, {{nullptr, 8, 6, 32}, to}, {{from, 8, 6, 32}, {nullptr, 64}},
        {{nullptr, 9, 7, 36}, to},      {{from, 9, 7, 36}, {}},
    };
    for (const auto& [input, output] : refused) {
        EXPECT_EQ(instance.Process(Output(output), input), Result::kInvalid) << input.stride << ", " << input.height;
    }
    // A frame that fails at the size of the one before leaves it open, also after a change of size and a move.
    EXPECT_EQ(instance.Process({upscaled.data(), -64}, {from, 8, 6, 32}), Result::kFailed);
    ExpectUpscaled(instance, 8, 6);
    ExpectUpscaled(instance, 5, 7);
    EXPECT_EQ(instance.Process({upscaled.data(), -64}, {from, 5, 7, 20}), Result::kFailed);
    EXPECT_TRUE(instance);
    Instance moved = std::move(instance);
    EXPECT_EQ(moved.Process({upscaled.data(), -64}, {from, 5, 7, 20}), Result::kFailed);
    EXPECT_TRUE(moved);
    instance = std::move(moved);
    ExpectUpscaled(instance, 8, 6);
    EXPECT_EQ(instance.Process({upscaled.data(), 64}, {from, 8193, 1, 8193 * 4}), Result::kFailed);
    EXPECT_FALSE(instance);
    EXPECT_EQ(instance.Process({upscaled.data(), 64}, {from, 8, 6, 32}), Result::kInvalid);
    instance = library.Open(Options());
    ExpectUpscaled(instance, 6, 8);
}

}  // namespace
}  // namespace orvane::test
