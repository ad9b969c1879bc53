// The exports of liborvane.dll: codes, log lines, bad input, changes of size, threads.
#include <array>
#include <atomic>
#include <climits>
#include <cstring>
#include <gtest/gtest.h>
#include <objbase.h>
#include <string_view>
#include <thread>
#include <winver.h>

#include <windows.h>

#include "tests/support/host.h"
#include "tools/hooks/function_tables.h"

namespace orvane::test {
namespace {

using Lines = std::vector<std::string>;

// COM is in the multithreaded mode on this thread exactly while instances are counted: another mode is refused then.
bool ComIsInitialised() {
    const HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (SUCCEEDED(hr)) {
        CoUninitialize();
    }
    return hr == RPC_E_CHANGED_MODE;
}

class Exports : public testing::Test {
protected:
    orvane_open_param Param(uint32_t width, uint32_t height) const {
        return OpenParam(width, height, m_network, m_model);
    }

    LibraryLog m_log;
    TempFolder m_folder;
    ReferenceNetwork m_network = MakeRandomNetwork(4, 1, 1);
    std::filesystem::path m_model = WriteModel(m_folder, "model.bin", m_network);
};

TEST_F(Exports, AnswersWithoutAnInstance) {
    EXPECT_STREQ(orvane_get_version(), ORVANE_VERSION);
    EXPECT_EQ(orvane_uninit(nullptr), 0);
    EXPECT_EQ(orvane_open(nullptr), nullptr);
    EXPECT_EQ(orvane_close(nullptr), ORVANE_ERROR_INVALID);
    EXPECT_EQ(m_log.TakeTexts(), Lines{});

    Image image(1, 1);
    Image upscaled(2, 2);
    const orvane_frame input = InputFrame(image);
    orvane_frame output = OutputFrame(upscaled);
    const auto unknown = reinterpret_cast<orvane_handle>(&image);
    EXPECT_EQ(orvane_process(nullptr, &output, &input), ORVANE_ERROR_INVALID);
    EXPECT_EQ(orvane_process(unknown, nullptr, &input), ORVANE_ERROR_INVALID);
    EXPECT_EQ(orvane_process(unknown, &output, nullptr), ORVANE_ERROR_INVALID);
    EXPECT_EQ(m_log.TakeTexts(), Lines(3, "input param is null"));
    EXPECT_EQ(orvane_process(unknown, &output, &input), ORVANE_ERROR_INVALID);
    EXPECT_EQ(orvane_close(unknown), ORVANE_OK);
    EXPECT_EQ(m_log.TakeTexts(), Lines{});
}

TEST_F(Exports, TickCountIsThePerformanceCounterInMicroseconds) {
    LARGE_INTEGER frequency{};
    LARGE_INTEGER before{};
    LARGE_INTEGER after{};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&before);
    const int64_t ticks = orvane_getickcount();
    QueryPerformanceCounter(&after);
    EXPECT_LE(before.QuadPart * 1'000'000 / frequency.QuadPart, ticks);
    EXPECT_GE(after.QuadPart * 1'000'000 / frequency.QuadPart, ticks);
}

LONGLONG g_counter = 0;
LONGLONG g_frequency = 0;
BOOL WINAPI AnswerCounter(LARGE_INTEGER* counter) {
    counter->QuadPart = g_counter;
    return TRUE;
}
BOOL WINAPI AnswerFrequency(LARGE_INTEGER* frequency) {
    frequency->QuadPart = g_frequency;
    return TRUE;
}

// What the library asks the performance counter is answered by the test, or by the system again.
void AnswerPerformanceCounter(bool byTest) {
    ForEachImport(GetModuleHandleW(L"liborvane.dll"), [byTest](std::string_view name, void** entry) {
        for (const auto& [function, answer] : {std::pair{"QueryPerformanceCounter", Address(&AnswerCounter)},
                                               {"QueryPerformanceFrequency", Address(&AnswerFrequency)}}) {
            if (name == function) {
                ReplaceEntry(entry, byTest ? answer : Original(entry));
            }
        }
    });
}

// The product of the counter and a million is meant to wrap.
TEST_F(Exports, TickCountWrapsWithTheProduct) {
    constexpr LONGLONG kUsual = 10'000'000;
    const std::array<LONGLONG, 3> cases[] = {{19, kUsual, 1},
                                             {9'223'372'036'854, kUsual, 922'337'203'685},
                                             {9'223'372'036'855, kUsual, -922'337'203'685},
                                             {18'446'744'073'709, kUsual, 0},
                                             {3'153'600'000'000'017, kUsual, -79'323'660'431},
                                             {3'153'600'000'000'017, 3'579'545, -221'602'635'060}};
    AnswerPerformanceCounter(true);
    for (const auto& [counter, frequency, ticks] : cases) {
        g_counter = counter;
        g_frequency = frequency;
        EXPECT_EQ(orvane_getickcount(), ticks) << counter << " at " << frequency;
    }
    AnswerPerformanceCounter(false);
}

// CTest looks at what is printed (tests/CMakeLists.txt).
TEST_F(Exports, PrintsEverythingWithoutAnInitRecord) {
    EXPECT_EQ(orvane_init(nullptr), ORVANE_OK);
    EXPECT_EQ(orvane_process(nullptr, nullptr, nullptr), ORVANE_ERROR_INVALID);
    orvane_check_result result{};
    EXPECT_EQ(orvane_check_supported(&result, nullptr), ORVANE_OK);
}

TEST_F(Exports, FileSaysWhatItIs) {
    std::array<wchar_t, 1024> path{};
    GetModuleFileNameW(GetModuleHandleW(L"liborvane.dll"), path.data(), static_cast<DWORD>(path.size()));
    std::vector<uint8_t> block(GetFileVersionInfoSizeW(path.data(), nullptr));
    ASSERT_TRUE(GetFileVersionInfoW(path.data(), 0, static_cast<DWORD>(block.size()), block.data()));
    const auto find = [&block](const std::wstring& name) {
        void* value = nullptr;
        UINT size = 0;
        EXPECT_TRUE(VerQueryValueW(block.data(), name.c_str(), &value, &size)) << std::string(name.begin(), name.end());
        return value;
    };
    const auto* const numbers = static_cast<const VS_FIXEDFILEINFO*>(find(L"\\"));
    ASSERT_NE(numbers, nullptr);
    for (const auto& [high, low] : {std::pair{numbers->dwFileVersionMS, numbers->dwFileVersionLS},
                                    {numbers->dwProductVersionMS, numbers->dwProductVersionLS}}) {
        const auto text = [](DWORD part) { return std::to_string(part); };
        EXPECT_EQ(text(high >> 16) + '.' + text(high & 0xFFFF) + '.' + text(low >> 16), ORVANE_VERSION);
    }
    EXPECT_EQ(numbers->dwFileType, DWORD{VFT_DLL});
    const std::string version = ORVANE_VERSION;
    for (const auto& [name, text] : {std::pair{L"FileVersion", version},
                                     {L"ProductVersion", version},
                                     {L"InternalName", "liborvane"},
                                     {L"OriginalFilename", "liborvane.dll"},
                                     {L"ProductName", "Orvane"},
                                     {L"CompanyName", "The Orvane authors"}}) {
        const auto* const found =
            static_cast<const wchar_t*>(find(std::wstring(L"\\StringFileInfo\\040904B0\\") + name));
        ASSERT_NE(found, nullptr) << text;
        EXPECT_EQ(found, std::wstring(text.begin(), text.end()));
    }
}

TEST_F(Exports, RefusesOpensWithTheReasonAndLeavesComAlone) {
    const std::string good = m_model.string();
    const std::string longest(sizeof(orvane_open_param::modelPath) - 1, 'x');
    struct Case {
        uint32_t width;
        uint32_t height;
        int32_t channels;
        int32_t depth;
        const char* pathName;  // in the transcript
        std::string path;
    };
    // The network fits any size that memory allows, the upscaled image does not.
    const Case cases[] = {{8, 8, 0, 1, "good", good},
                          {8, 8, -1, 1, "good", good},
                          {8, 8, 1025, 1, "good", good},
                          {8, 8, 4, 15, "good", good},
                          {8, 8, 4, -2, "good", good},
                          {8, 8, 4, INT_MAX, "good", good},
                          {8, 8, 4, INT_MIN, "good", good},
                          {0, 4, 4, 1, "good", good},
                          {4, 0, 4, 1, "good", good},
                          {0xFFFFFFFC, 4, 4, 1, "good", good},
                          {8193, 1, 4, 1, "good", good},
                          {1, 8193, 4, 1, "good", good},
                          {8192, 8192, 4, 1, "none", ""},
                          {8, 8, 4, 1, "longest", longest},
                          {8, 8, 4, 1, "unterminated", longest + 'y'},
                          {8, 8, 5, 1, "short", good}};
    std::string text = "size\tchannels\tdepth\tpath\tlog\n";
    for (const auto& [width, height, channels, depth, pathName, path] : cases) {
        orvane_open_param param = Param(width, height);
        param.modelChannels = channels;
        param.modelDepth = depth;
        std::memset(param.modelPath, 0, sizeof(param.modelPath));
        path.copy(param.modelPath, sizeof(param.modelPath));
        EXPECT_EQ(orvane_open(&param), nullptr) << pathName;
        EXPECT_FALSE(ComIsInitialised());
        std::string lines = Joined(m_log.TakeTexts());
        for (size_t at = 0; !path.empty() && (at = lines.find(path)) != std::string::npos;) {
            lines.replace(at, path.size(), "PATH");
        }
        text += std::to_string(width) + " x " + std::to_string(height) + '\t' + std::to_string(channels) + '\t' +
                std::to_string(depth) + '\t' + pathName + '\t' + lines + '\n';
    }
    ExpectTranscript("refused_opens.tsv", text);
    // What an engine has used stays. Asked here, because the libraries also stay after two instances at once.
    for (const wchar_t* const library : {L"dxgi.dll", L"d3d12.dll", L"DirectML.dll"}) {
        EXPECT_NE(GetModuleHandleW(library), nullptr);
    }
}

TEST_F(Exports, FillsTheOutputFrameAndSurvivesFramesThatItRefuses) {
    const Instance instance(Param(8, 8));
    const Image image = MakeRandomImage(8, 8, 1);
    Image upscaled(16, 16);
    orvane_frame input = InputFrame(image);
    input.userValue = 0x1122334455667788;
    input.format = 7;
    orvane_frame output = OutputFrame(upscaled);
    std::memset(output.reserved, 0x5A, sizeof(output.reserved));
    output.width = -3;
    output.height = -4;
    orvane_frame expected = output;
    expected.userValue = input.userValue;
    expected.format = 0xC0FFEE;

    orvane_frame noData = input;
    noData.data = nullptr;
    EXPECT_EQ(orvane_process(instance.Handle(), &output, &noData), ORVANE_ERROR_INVALID);
    EXPECT_EQ(orvane_process(instance.Handle(), &noData, &input), ORVANE_ERROR_INVALID);
    orvane_frame bottomUp = output;
    bottomUp.stride = -bottomUp.stride;
    EXPECT_EQ(orvane_process(instance.Handle(), &bottomUp, &input), ORVANE_ERROR_FAILED);
    EXPECT_EQ(m_log.TakeTexts(),
              (Lines{"input param is null", "input param is null", "Negative output stride is not supported: -64",
                     "Failed to Infer, error code: -1"}));

    ASSERT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_OK);
    EXPECT_EQ(Difference(upscaled, UpscaleImage(m_network, image)), "");
    EXPECT_EQ(std::memcmp(&output, &expected, sizeof(output)), 0);
}

TEST_F(Exports, ClosesAnInstanceThatCannotChangeItsSizeAndLeavesOthersAlone) {
    struct Case {
        const char* name;
        int32_t stride;
        int32_t height;
    };
    const Case cases[] = {{"less than a pixel", 3, 8},  {"negative stride", -32, 8},
                          {"least stride", INT_MIN, 8}, {"wider than any texture", 8193 * 4, 1},
                          {"no height", 32, 0},         {"least height", 32, INT_MIN}};
    const Instance other(Param(5, 3));
    const Image image = MakeRandomImage(5, 3, 1);
    std::vector<uint8_t> pixels(1 << 20);
    for (const auto& [name, stride, height] : cases) {
        SCOPED_TRACE(name);
        const Instance instance(Param(8, 8));
        ASSERT_NE(instance.Handle(), nullptr);
        orvane_frame frame{};
        frame.width = 8;
        frame.height = height;
        frame.stride = stride;
        frame.data = pixels.data();
        orvane_frame output = frame;
        EXPECT_EQ(orvane_process(instance.Handle(), &output, &frame), ORVANE_ERROR_FAILED);
        EXPECT_TRUE(Joined(m_log.TakeTexts()).ends_with("Failed to re-initialize sample, error code: -1"));

        // The handle is dead, without a word.
        EXPECT_EQ(orvane_process(instance.Handle(), &output, &frame), ORVANE_ERROR_INVALID);
        EXPECT_EQ(m_log.TakeTexts(), Lines{});
        ExpectUpscaled(other.Handle(), m_network, image);
    }
}

TEST_F(Exports, FollowsEveryChangeOfSizeWithoutReadingTheModelAgain) {
    LibraryLog log(ORVANE_LOG_INFO);
    const Instance instance(Param(8, 8));
    ASSERT_NE(instance.Handle(), nullptr);
    std::filesystem::remove(m_model);
    for (const auto& [width, height] : {std::pair{9U, 8U}, {9U, 7U}, {1U, 1U}, {40U, 2U}, {8U, 8U}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        log.Take();
        ExpectUpscaled(instance.Handle(), m_network, MakeRandomImage(width, height, width));
        const Lines lines = log.TakeTexts();
        const auto number = [](uint32_t value) { return std::to_string(value); };
        ASSERT_GE(lines.size(), 2U);
        // The frame's own width, which does not count, is 1.
        EXPECT_EQ(lines[0], "Re-initializing new input resolution 1x" + number(height) +
                                ", stride:" + number(width * 4) + ", output resolution: " + number(width * 2) + "x" +
                                number(height * 2) + ", stride: " + number(width * 8));
        EXPECT_EQ(lines[1], "Re-initializing with new resolution: " + number(width) + "x" + number(height));
    }
}

TEST_F(Exports, InitialisesComFromTheFirstInstanceToTheLast) {
    EXPECT_FALSE(ComIsInitialised());
    Instance first(Param(8, 8));
    const Instance second(Param(8, 8));
    EXPECT_TRUE(ComIsInitialised());
    first.Close();
    EXPECT_TRUE(ComIsInitialised());
    // Closed by the library, because it cannot change to this size.
    orvane_frame input = InputFrame(Image(8, 8));
    std::array<uint8_t, 64> pixels{};
    input.data = pixels.data();
    input.height = 0;
    orvane_frame output = input;
    EXPECT_EQ(orvane_process(second.Handle(), &output, &input), ORVANE_ERROR_FAILED);
    EXPECT_FALSE(ComIsInitialised());

    // Another mode of the host's own is no obstacle.
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    const Instance third(Param(8, 8));
    EXPECT_NE(third.Handle(), nullptr);
}

// A callback that asks for what is always allowed, and that silences the log at some line.
struct CuriousHost {
    int lines = 0;
    int silencedAt = 0;

    static void Receive(void* userData, int32_t /*level*/, const char* /*format*/, va_list /*arguments*/) {
        auto& host = *static_cast<CuriousHost*>(userData);
        EXPECT_STREQ(orvane_get_version(), ORVANE_VERSION);
        EXPECT_GT(orvane_getickcount(), 0);
        EXPECT_EQ(orvane_uninit(nullptr), ORVANE_OK);
        if (++host.lines == host.silencedAt) {
            const orvane_init_param silence{-1, nullptr, nullptr};
            EXPECT_EQ(orvane_init(&silence), ORVANE_OK);
        }
    }
};

TEST_F(Exports, CanBeAskedAndSilencedFromTheLogCallback) {
    for (const int silencedAt : {0, 1, 4}) {
        CuriousHost host{0, silencedAt};
        const orvane_init_param param{ORVANE_LOG_DEBUG, &CuriousHost::Receive, &host};
        EXPECT_EQ(orvane_init(&param), ORVANE_OK);
        const Instance instance(Param(8, 8));
        ExpectUpscaled(instance.Handle(), m_network, MakeRandomImage(5, 3, 1));  // logged under the lock
        EXPECT_TRUE(silencedAt == 0 ? host.lines > 4 : host.lines == silencedAt) << host.lines;
    }
}

// Opens another instance while a change of size holds a frame up, and looks whether that open can end before the frame.
struct OpensUnderAFrame {
    orvane_open_param param{};
    std::jthread opener;
    std::atomic<bool> hasBuilt = false;
    std::atomic<orvane_handle> opened = nullptr;
    bool endedBeforeTheFrame = false;

    static void Receive(void* userData, int32_t /*level*/, const char* format, va_list /*arguments*/) {
        auto& host = *static_cast<OpensUnderAFrame*>(userData);
        const std::string_view line = format;
        if (line.starts_with("Re-initializing with")) {
            host.opener = std::jthread([&host] { host.opened = orvane_open(&host.param); });
            host.WaitForTheOpen();
        } else if (line.starts_with("Total GPU memory")) {
            host.hasBuilt = true;  // little is left for the open to do
        }
    }

    void WaitForTheOpen() {
        while (!hasBuilt) {
            std::this_thread::yield();
        }
        for (int i = 0; i < 20 && !endedBeforeTheFrame; ++i) {
            Sleep(100);
            endedBeforeTheFrame = opened != nullptr;
        }
    }
};

TEST_F(Exports, PublishesAnInstanceOnlyBetweenFrames) {
    const Instance instance(Param(8, 8));
    OpensUnderAFrame host;
    host.param = Param(4, 4);
    const orvane_init_param param{ORVANE_LOG_INFO, &OpensUnderAFrame::Receive, &host};
    orvane_init(&param);
    ExpectUpscaled(instance.Handle(), m_network, MakeRandomImage(5, 3, 1));
    EXPECT_FALSE(host.endedBeforeTheFrame);
    host.opener.join();
    ExpectUpscaled(host.opened, m_network, MakeRandomImage(4, 4, 1));
    EXPECT_EQ(orvane_close(host.opened), ORVANE_OK);
}

// What the header calls "not read" may hold anything.
TEST_F(Exports, FieldsThatAreNotReadDoNotMatter) {
    orvane_open_param param = Param(8, 8);
    const size_t length = std::strlen(param.modelPath);
    std::memset(param.modelPath + length + 1, 0xFF, sizeof(param.modelPath) - length - 1);
    param.outputWidth = param.outputHeight = param.reserved0 = param.reserved1 = 0xFFFFFFFF;
    const Instance instance(param);
    std::memset(&param, 0xFF, sizeof(param));  // the library has a copy
    const Image image = MakeRandomImage(8, 8, 3);
    Image upscaled(16, 16);
    orvane_frame input = InputFrame(image);
    input.width = INT_MIN;
    std::memset(input.reserved, 0xFF, sizeof(input.reserved));
    orvane_frame output;
    std::memset(&output, 0xFF, sizeof(output));
    output.stride = 64;
    output.data = upscaled.pixels.data();
    ASSERT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_OK);
    EXPECT_EQ(Difference(upscaled, UpscaleImage(m_network, image)), "");

    orvane_check_class untouched{77, 88};
    EXPECT_EQ(orvane_check_supported(nullptr, &untouched), ORVANE_ERROR_INVALID);
    EXPECT_EQ(untouched.performanceClass * 100 + untouched.libraryConstant, 7788U);
}

// With sizes that differ now and then, so that it is rebuilt under the others' feet.
TEST_F(Exports, SharesAnInstanceBetweenThreadsUntilItIsClosed) {
    constexpr int kFrames = 30;
    for (int round = 0; round < 3; ++round) {
        Instance instance(Param(7, 5));
        std::atomic<int> frames = 0;
        std::atomic<int> running = 4;
        std::vector<std::jthread> threads;
        threads.reserve(4);
        for (uint32_t seed = 0; seed < 4; ++seed) {
            threads.emplace_back([&, seed, handle = instance.Handle()] {
                int result = 1;
                for (uint32_t i = seed;; ++i, ++frames) {
                    const Image image = MakeRandomImage(i % 4 == 3 ? 4 : 7, 5, i);
                    const Image upscaled = Process(handle, image, result);
                    if (result != ORVANE_OK) {
                        break;
                    }
                    EXPECT_EQ(Difference(upscaled, UpscaleImage(m_network, image)), "");
                }
                EXPECT_EQ(result, ORVANE_ERROR_INVALID);
                --running;
            });
        }
        while (frames < kFrames && running == 4) {
            std::this_thread::yield();
        }
        instance.Close();
        EXPECT_GE(frames, kFrames);
    }
}

// The program must end all the same, which destroying the instance then would prevent.
TEST_F(Exports, LeavesAnInstanceThatIsNeverClosedToTheSystem) {
    const orvane_open_param param = Param(4, 4);
    EXPECT_NE(orvane_open(&param), nullptr);
}

}  // namespace
}  // namespace orvane::test
