// The exports of liborvane.dll: codes, log lines, bad input, changes of size, threads.
#include <array>
#include <atomic>
#include <climits>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <objbase.h>
#include <thread>

#include <windows.h>

#include "tests/host.h"

namespace orvane::test {
namespace {

using Lines = std::vector<std::string>;

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
    EXPECT_STREQ(orvane_get_version(), "1.0.0");
    EXPECT_EQ(orvane_uninit(nullptr), 0);
    EXPECT_EQ(orvane_open(nullptr), nullptr);
    EXPECT_EQ(orvane_close(nullptr), ORVANE_ERROR_INVALID);
    EXPECT_EQ(m_log.TakeTexts(), Lines{});

    Picture picture(1, 1);
    Picture doubled(2, 2);
    orvane_frame input = InputFrame(picture);
    orvane_frame output = OutputFrame(doubled);
    const auto unknown = reinterpret_cast<orvane_handle>(&picture);
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

// Opens that fail, with the last lines that they log, and what they change in a good record.
struct RefusedOpen {
    const char* name;
    std::function<void(orvane_open_param&)> change;
    Lines lastLines;
};

void SetPath(orvane_open_param& param, const std::string& path) {
    std::memset(param.modelPath, 0, sizeof(param.modelPath));
    std::memcpy(param.modelPath, path.data(), std::min(path.size(), sizeof(param.modelPath)));
}

RefusedOpen InvalidNetwork(const char* name, int32_t channels, int32_t depth) {
    return {name,
            [=](orvane_open_param& param) {
                param.modelChannels = channels;
                param.modelDepth = depth;
            },
            {"Invalid network configuration", "Failed to create device, error code: -1"}};
}

RefusedOpen InvalidSize(const char* name, uint32_t width, uint32_t height) {
    return {name,
            [=](orvane_open_param& param) {
                param.inputWidth = width;
                param.inputHeight = height;
            },
            {"Operation failed: CreateOperator, HRESULT: 0x80070057",
             "Failed to CreateDirectMLResources, error code: -1", "Failed to create device, error code: -1"}};
}

// The network fits any size that memory allows, the doubled picture does not.
RefusedOpen InvalidTexture(const char* name, uint32_t width, uint32_t height) {
    RefusedOpen refused = InvalidSize(name, width, height);
    refused.lastLines = {"Operation failed: CreateCommittedResource, HRESULT: 0x80070057",
                         "Failed to CreateCommittedResource, error code: -1",
                         "fail InitTextureResource, error code: -1", "Failed to initialize resources, error code: -1"};
    return refused;
}

RefusedOpen InvalidModel(const char* name, const std::string& path, Lines lines) {
    for (const char* const line :
         {"Failed to LoadWeights, error code: -1", "Failed to CreateDirectMLResources, error code: -1",
          "Failed to create device, error code: -1"}) {
        lines.emplace_back(line);
    }
    return {name, [=](orvane_open_param& param) { SetPath(param, path); }, lines};
}

bool EndsWith(const Lines& lines, const Lines& end) {
    return lines.size() >= end.size() && std::equal(end.rbegin(), end.rend(), lines.rbegin());
}

TEST_F(Exports, RefusesOpensWithTheReasonAndGoesOn) {
    const std::string folder = m_folder.Path().string();
    const std::string shortModel = m_folder.Write("short.bin", std::vector<uint8_t>(100)).string();
    const std::string emptyModel = m_folder.Write("empty.bin", {}).string();
    const std::string emptyEnciphered = m_folder.Write("empty.en", {}).string();
    const std::string endless(sizeof(orvane_open_param::modelPath), 'x');
    const std::string longest(sizeof(orvane_open_param::modelPath) - 1, 'x');
    const auto cannotOpen = [](const std::string& path) {
        return Lines{"open the " + path + " file failed", "Failed to open or decrypt model file: " + path};
    };

    const std::vector<RefusedOpen> cases{
        InvalidNetwork("no channels", 0, 1),
        InvalidNetwork("1025 channels", 1025, 1),
        InvalidNetwork("negative channels", -1, 1),
        InvalidNetwork("17 layers", 4, 15),
        InvalidNetwork("no layers", 4, -2),
        InvalidNetwork("-98 layers", 4, -100),
        InvalidNetwork("2^31 + 1 layers", 4, INT_MAX),
        InvalidNetwork("-2^31 + 2 layers", 4, INT_MIN),
        InvalidSize("no width", 0, 4),
        InvalidSize("no height", 4, 0),
        InvalidSize("no size", 0, 0),
        InvalidSize("negative width", static_cast<uint32_t>(-4), 4),
        InvalidSize("negative height", 4, static_cast<uint32_t>(-4)),
        InvalidTexture("wider than any texture", 8193, 1),
        InvalidTexture("higher than any texture", 1, 8193),
        InvalidModel("no path", "", {"create custom net without net file", "Failed to open or decrypt model file: "}),
        InvalidModel("missing file", folder + "\\none.bin", cannotOpen(folder + "\\none.bin")),
        InvalidModel("missing enciphered file", folder + "\\none.en",
                     {"[decryptFileToStream]: Open file(" + folder + "\\none.en) failed.",
                      "open and decrypt the " + folder + "\\none.en file failed",
                      "Failed to open or decrypt model file: " + folder + "\\none.en"}),
        InvalidModel("missing twice enciphered file", folder + "\\none.en2",
                     {"[decryptFileTwiceToStream]: Open file(" + folder + "\\none.en2) failed.",
                      "open and twice_decrypt the " + folder + "\\none.en2 file failed",
                      "Failed to open or decrypt model file: " + folder + "\\none.en2"}),
        InvalidModel("folder", folder, cannotOpen(folder)),
        InvalidModel("longest path", longest, cannotOpen(longest)),
        InvalidModel("path without a terminator", endless, cannotOpen(endless)),
        InvalidModel("short file", shortModel,
                     {"read weights stream err for weights of layer 0", "Failed to ReadLayerWeights for layer 0"}),
        InvalidModel("empty file", emptyModel,
                     {"seek weights stream err for weights of layer 0", "Failed to ReadLayerWeights for layer 0"}),
        InvalidModel("empty enciphered file", emptyEnciphered,
                     {"read weights stream err for weights of layer 0", "Failed to ReadLayerWeights for layer 0"}),
    };
    for (const RefusedOpen& c : cases) {
        SCOPED_TRACE(c.name);
        orvane_open_param param = Param(8, 8);
        c.change(param);
        EXPECT_EQ(orvane_open(&param), nullptr);
        const Lines lines = m_log.TakeTexts();
        EXPECT_TRUE(EndsWith(lines, c.lastLines)) << testing::PrintToString(lines);
    }

    const Instance instance(Param(8, 8));
    int result = 1;
    Process(instance.Handle(), Picture(8, 8), result);
    EXPECT_EQ(result, ORVANE_OK);
}

TEST_F(Exports, FillsTheOutputFrame) {
    const Instance instance(Param(8, 8));
    const Picture picture(8, 8);
    Picture doubled(16, 16);
    orvane_frame input = InputFrame(picture);
    input.userValue = 0x1122334455667788;
    input.format = 7;
    orvane_frame output = OutputFrame(doubled);
    std::memset(output.reserved, 0x5A, sizeof(output.reserved));
    output.width = -3;
    output.height = -4;
    const orvane_frame before = output;
    ASSERT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_OK);
    EXPECT_EQ(output.userValue, input.userValue);
    EXPECT_EQ(output.format, 0xC0FFEEU);
    EXPECT_EQ(output.width, before.width);
    EXPECT_EQ(output.height, before.height);
    EXPECT_EQ(output.stride, before.stride);
    EXPECT_EQ(output.data, before.data);
    EXPECT_EQ(std::memcmp(output.reserved, before.reserved, sizeof(before.reserved)), 0);
}

TEST_F(Exports, SurvivesFramesThatItRefuses) {
    const Instance instance(Param(8, 8));
    const Picture picture = MakeRandomPicture(8, 8, 1);
    Picture doubled(16, 16);
    const orvane_frame input = InputFrame(picture);
    const orvane_frame output = OutputFrame(doubled);

    orvane_frame noData = input;
    noData.data = nullptr;
    orvane_frame result = output;
    EXPECT_EQ(orvane_process(instance.Handle(), &result, &noData), ORVANE_ERROR_INVALID);
    EXPECT_EQ(orvane_process(instance.Handle(), &noData, &input), ORVANE_ERROR_INVALID);
    orvane_frame bottomUp = output;
    bottomUp.stride = -bottomUp.stride;
    EXPECT_EQ(orvane_process(instance.Handle(), &bottomUp, &input), ORVANE_ERROR_FAILED);
    EXPECT_EQ(m_log.TakeTexts(),
              (Lines{"input param is null", "input param is null", "Negative output stride is not supported: -64",
                     "Failed to Infer, error code: -1"}));

    ASSERT_EQ(orvane_process(instance.Handle(), &result, &input), ORVANE_OK);
    EXPECT_EQ(Difference(doubled, DoublePicture(m_network, picture)), "");
}

struct RefusedSize {
    const char* name;
    int32_t stride;
    int32_t height;
};

TEST_F(Exports, ClosesAnInstanceThatCannotChangeItsSizeAndLeavesOthersAlone) {
    const std::array cases{RefusedSize{"no stride", 0, 8},
                           RefusedSize{"less than a pixel", 3, 8},
                           RefusedSize{"negative stride", -32, 8},
                           RefusedSize{"least stride", INT_MIN, 8},
                           RefusedSize{"wider than any texture", 8193 * 4, 1},
                           RefusedSize{"no height", 32, 0},
                           RefusedSize{"negative height", 32, -8},
                           RefusedSize{"least height", 32, INT_MIN}};
    const Instance other(Param(5, 3));
    const Picture picture = MakeRandomPicture(5, 3, 1);
    const Picture expected = DoublePicture(m_network, picture);
    std::vector<uint8_t> pixels(1 << 20);
    for (const RefusedSize& c : cases) {
        SCOPED_TRACE(c.name);
        const Instance instance(Param(8, 8));
        ASSERT_NE(instance.Handle(), nullptr);
        orvane_frame input{};
        input.width = 8;
        input.height = c.height;
        input.stride = c.stride;
        input.data = pixels.data();
        orvane_frame output{};
        output.stride = 64;
        output.data = pixels.data();
        EXPECT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_ERROR_FAILED);
        EXPECT_TRUE(EndsWith(m_log.TakeTexts(), {"Failed to re-initialize sample, error code: -1"}));

        // The handle is dead, without a word.
        EXPECT_EQ(orvane_process(instance.Handle(), &output, &input), ORVANE_ERROR_INVALID);
        EXPECT_EQ(m_log.TakeTexts(), Lines{});

        int result = 1;
        EXPECT_EQ(Difference(Process(other.Handle(), picture, result), expected), "");
        EXPECT_EQ(result, ORVANE_OK);
    }
}

TEST_F(Exports, FollowsEveryChangeOfSizeWithoutReadingTheModelAgain) {
    LibraryLog log(ORVANE_LOG_INFO);
    const Instance instance(Param(8, 8));
    ASSERT_NE(instance.Handle(), nullptr);
    std::filesystem::remove(m_model);
    for (const auto& [width, height] : {std::pair{9U, 8U}, {9U, 7U}, {1U, 1U}, {40U, 2U}, {8U, 8U}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        const Picture picture = MakeRandomPicture(width, height, width);
        log.Take();
        int result = 1;
        const Picture doubled = Process(instance.Handle(), picture, result);
        EXPECT_EQ(result, ORVANE_OK);
        EXPECT_EQ(Difference(doubled, DoublePicture(m_network, picture)), "");

        const Lines lines = log.TakeTexts();
        const auto number = [](uint32_t value) { return std::to_string(value); };
        ASSERT_GE(lines.size(), 2U);
        EXPECT_EQ(lines[0], "Re-initializing new input resolution " + number(width) + "x" + number(height) +
                                ", stride:" + number(width * 4) + ", output resolution: " + number(width * 2) + "x" +
                                number(height * 2) + ", stride: " + number(width * 8));
        EXPECT_EQ(lines[1], "Re-initializing with new resolution: " + number(width) + "x" + number(height));
    }
}

// COM is in the multithreaded mode on this thread exactly while instances are counted: another mode is refused then.
bool ComIsInitialised() {
    const HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (SUCCEEDED(hr)) {
        CoUninitialize();
    }
    return hr == RPC_E_CHANGED_MODE;
}

TEST_F(Exports, InitialisesComFromTheFirstInstanceToTheLast) {
    EXPECT_FALSE(ComIsInitialised());
    orvane_open_param unusable = Param(8, 8);
    unusable.modelChannels = 0;
    EXPECT_EQ(orvane_open(&unusable), nullptr);
    EXPECT_FALSE(ComIsInitialised());

    Instance first(Param(8, 8));
    Instance second(Param(8, 8));
    EXPECT_TRUE(ComIsInitialised());
    first.Close();
    EXPECT_TRUE(ComIsInitialised());
    // Closed by the library, because it cannot change to this size.
    orvane_frame input = InputFrame(Picture(8, 8));
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

TEST_F(Exports, RunsTwoModelsFromManyThreads) {
    constexpr int kFrames = 12;
    const ReferenceNetwork deeper = MakeRandomNetwork(6, 3, 2);
    const std::array<const ReferenceNetwork*, 2> networks{&m_network, &deeper};
    const Instance first(Param(7, 5));
    const Instance second(OpenParam(7, 5, deeper, WriteModel(m_folder, "deeper.en", deeper)));
    const std::array handles{first.Handle(), second.Handle()};

    std::atomic<int> wrong = 0;
    const auto work = [&](uint32_t seed) {
        for (uint32_t i = 0; i < kFrames; ++i) {
            const size_t which = (seed + i) % 2;
            // Sizes differ between the threads now and then, so that instances are rebuilt under each other's feet.
            const Picture picture = MakeRandomPicture(i % 4 == 3 ? 4 : 7, 5, seed * 100 + i);
            int result = 1;
            const Picture doubled = Process(handles[which], picture, result);
            wrong += result != 0 || !Difference(doubled, DoublePicture(*networks[which], picture)).empty() ? 1 : 0;
        }
    };
    std::vector<std::thread> threads;
    for (uint32_t seed = 0; seed < 4; ++seed) {
        threads.emplace_back(work, seed);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Exports, ClosesWhileAnotherThreadProcesses) {
    for (int round = 0; round < 5; ++round) {
        Instance instance(Param(8, 8));
        const orvane_handle handle = instance.Handle();
        std::atomic<bool> started = false;
        int last = 1;
        std::thread thread([&] {
            const Picture picture(8, 8);
            do {
                Process(handle, picture, last);
                started = true;
            } while (last == ORVANE_OK);
        });
        while (!started) {
            std::this_thread::yield();
        }
        instance.Close();
        thread.join();
        EXPECT_EQ(last, ORVANE_ERROR_INVALID);
    }
}

}  // namespace
}  // namespace orvane::test
