// The block cipher, its container, and model files of every ending.
#include "model/model_stream.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "apps/model_tool/encipher.h"
#include "model/keys.h"
#include "model/tea.h"
#include "tests/log_capture.h"
#include "tests/temp_folder.h"

namespace orvane {
namespace {

using Bytes = std::vector<uint8_t>;
using Block = std::array<uint8_t, 8>;

TEST(TeaDecryptBlock, KnownBlocks) {
    struct Case {
        std::string_view key;
        Block cipher;
        Block plain;
    };
    // Enciphered by a script written for this test. Bytes above 127 show a sign that is extended.
    const std::string_view highKey = "\xFF\xFF\xFF\xFF_\x80\x80\x80\x80_\x7F\x7F\x7F\x7F_\xFE\xFE\xFE\xFE_";
    const Block high{0xFF, 0xFE, 0x80, 0x00, 0x00, 0x01, 0x7F, 0xFF};
    const Case cases[] = {
        {kFileKey, {0xBF, 0x42, 0xBA, 0x55, 0x43, 0x0B, 0x25, 0x4A}, {'f', 'r', 'a', 'm', 'e', ' ', 'b', 'y'}},
        {kOuterKey, {0x8B, 0xAF, 0x08, 0x72, 0xFD, 0xD0, 0x23, 0xD2}, high},
        {highKey, {0xF4, 0x9D, 0xFC, 0xD1, 0xCB, 0xF2, 0x55, 0xA1}, high}};
    for (const Case& test : cases) {
        Block block = test.cipher;
        TeaDecryptBlock(block.data(), test.key, block.data());
        EXPECT_EQ(block, test.plain);
        for (size_t i = 0; i < test.key.size(); ++i) {
            std::string key(test.key);
            key[i] = static_cast<char>(key[i] ^ 1);
            TeaDecryptBlock(test.cipher.data(), key, block.data());
            EXPECT_EQ(block == test.plain, i % 5 == 4) << test.key << ", character " << i;
        }
    }
}

Bytes Encipher(const Bytes& plain, std::string_view key) {
    std::mt19937 random(1);
    return tool::EncipherContainer(plain, key, random);
}
Bytes Once(const Bytes& plain) {
    return Encipher(plain, kFileKey);
}

Bytes WithoutLastBlock(Bytes container) {
    container.resize(container.size() - 8);
    return container;
}

Bytes RandomBytes(size_t count) {
    std::mt19937 random(static_cast<uint32_t>(count));
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random() & 0xFF); });
    return bytes;
}

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST(TeaDecryptBuffer, KnownContainer) {
    // Enciphered with kFileKey by the same script; 5 bytes of padding.
    const Bytes container{0x09, 0x8A, 0x78, 0x5F, 0x19, 0x06, 0xDB, 0xAB, 0x6F, 0xD7, 0x60, 0xB7,
                          0x1C, 0x1B, 0xFE, 0x95, 0x18, 0x20, 0x03, 0xB3, 0x5F, 0x99, 0x2F, 0x4E};
    Bytes plain(9);
    int32_t length = 9;
    EXPECT_TRUE(TeaDecryptBuffer(container.data(), 24, plain.data(), length, kFileKey));
    EXPECT_EQ(std::string(plain.begin(), plain.end()), "twice as ");
}

TEST(TeaDecryptBuffer, LengthsAndCapacities) {
    constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
    struct Case {
        const char* name;
        size_t plainBytes;
        int32_t inputLength;
        int32_t capacity;
        bool succeeds;
        int32_t length;  // afterwards
        std::ptrdiff_t written;
    };
    // 20 plain bytes give 32: head, 2 of padding, 2 of salt, the plain bytes from 5 to 25, trailer.
    const Case cases[] = {{"exact capacity", 20, 32, 20, true, 20, 20},
                          {"capacity one short", 20, 32, 19, false, 19, 0},
                          {"negative capacity", 20, 32, -1, false, -1, 0},
                          {"lowest capacity", 20, 32, kLowest, false, kLowest, 0},
                          {"cut in the last block", 20, 31, 99, false, 19, 19},
                          {"cut after a block", 20, 24, 99, false, 12, 12},
                          {"cut before a block's end", 20, 23, 99, false, 11, 11},
                          {"15 bytes", 20, 15, 99, false, 99, 0},
                          {"nothing", 20, 0, 99, false, 99, 0},
                          {"negative length", 20, -8, 99, false, 99, 0},
                          {"lowest length", 20, kLowest, 99, false, 99, 0},
                          {"no body", 0, 16, 0, true, 0, 0},
                          {"7 bytes of padding", 7, 24, 7, true, 7, 7},
                          {"7 bytes of padding in 16", 7, 16, 99, false, 99, 0}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const Bytes plain = RandomBytes(test.plainBytes);
        Bytes input = Once(plain);
        input.resize(static_cast<size_t>(std::max(test.inputLength, 0)));
        input.shrink_to_fit();  // a sanitizer sees a read past it
        Bytes expected(99, 0xEE);
        Bytes output = expected;
        std::copy_n(plain.begin(), test.written, expected.begin());
        int32_t length = test.capacity;
        EXPECT_EQ(TeaDecryptBuffer(input.data(), test.inputLength, output.data(), length, kFileKey), test.succeeds);
        EXPECT_EQ(length, test.length);
        EXPECT_EQ(output, expected);
    }
}

// A container without its last block has the 7 bytes before the plain content's last one as its trailer.
TEST(TeaDecryptBuffer, EveryByteOfTheTrailerMustBeZero) {
    const Bytes body{1, 2, 3, 4, 5, 6};
    for (size_t damaged = 0; damaged <= 7; ++damaged) {
        Bytes trailer(8);
        trailer[damaged] = 0x10;  // the eighth byte lies in the block that is dropped
        const Bytes container = WithoutLastBlock(Once(body + trailer));
        Bytes output(body.size());
        int32_t length = 6;
        const auto inputLength = static_cast<int32_t>(container.size());
        EXPECT_EQ(TeaDecryptBuffer(container.data(), inputLength, output.data(), length, kFileKey), damaged == 7)
            << damaged;
        EXPECT_EQ(output, body) << damaged;
    }
}

TEST(GetFileExtension, FollowsTheLastDot) {
    for (const auto& [path, extension] : std::map<std::string, std::string>{
             {"", ""}, {"model", ""}, {"a.en.", ""}, {".en", "en"}, {"a.b.en2", "en2"}, {"dir.en2/m", "en2/m"}}) {
        EXPECT_EQ(GetFileExtension(path), extension) << path;
    }
}

class ModelFiles : public testing::Test {
protected:
    std::string PathOf(const std::string& name) const { return (m_folder.Path() / name).string(); }
    std::string Write(const std::string& name, const Bytes& content) const {
        return m_folder.Write(name, content).string();
    }

private:
    TempFolder m_folder;
};

TEST_F(ModelFiles, AreReadAsTheirEndingSays) {
    const Bytes text{'a', '\r', '\n', 'b', '\n', 0, 0x1A, 0xFF, 0, 'z'};  // everything that a text mode alters
    const Bytes large = RandomBytes(70001);
    const Bytes twice = Encipher(Once(text), kOuterKey);
    const Bytes badTrailer = WithoutLastBlock(Once(text + Bytes(8, 1)));
    struct Case {
        const char* name;
        const char* file;
        Bytes content;
        Bytes stream;
    };
    const Case cases[] = {
        {"plain", "model.bin", text, text},
        {"plain, no ending", "model", text, text},
        {"upper case", "model.EN", Once(text), Once(text)},
        {"longer ending", "model.en3", Once(text), Once(text)},
        {"the folder's ending", "dir.en2/model", twice, twice},
        {"once", "model.en", Once(text), text},
        {"once, in a folder with an ending", "dir.en2/model.en", Once(text), text},
        {"once, large", "model.en", Once(large), large},
        {"once, no body", "model.en", Once({}), {}},
        {"once, empty", "model.en", {}, {}},
        {"once, 8 bytes", "model.en", RandomBytes(8), Bytes(8)},
        {"once, 15 bytes", "model.en", RandomBytes(15), Bytes(15)},
        {"once, 20 bytes", "model.en", RandomBytes(20), Bytes(20)},
        {"once, a byte too many", "model.en", Once(large) + text, Bytes(Once(large).size() + text.size())},
        {"once, negative body", "model.en", WithoutLastBlock(Once(RandomBytes(7))), Bytes(16)},
        {"once, damaged trailer", "model.en", badTrailer, text},
        {"twice", "model.en2", twice, text},
        {"twice, 20 bytes", "model.en2", RandomBytes(20), Bytes(20)},
        {"twice, inner layer of 13 bytes", "model.en2", Encipher(RandomBytes(13), kOuterKey), Bytes(13)},
        {"twice, no inner layer", "model.en2", Encipher({}, kOuterKey), {}},
        {"twice, inner trailer damaged", "model.en2", Encipher(badTrailer, kOuterKey), text},
    };
    LogCapture log;
    for (const Case& test : cases) {
        SCOPED_TRACE(testing::Message() << test.name << ", " << test.file << ", " << test.content.size());
        std::stringstream stream("before", std::ios::in | std::ios::out | std::ios::ate);
        EXPECT_TRUE(OpenModelStream(Write(test.file, test.content), stream));
        EXPECT_TRUE(stream.str() == "before" + std::string(test.stream.begin(), test.stream.end()));
        EXPECT_EQ(log.Take(), LogEntries{});
    }
}

TEST_F(ModelFiles, MissingOnesAreLogged) {
    const std::string plain = PathOf("missing.bin");
    const std::string once = PathOf("missing.en");
    const std::string twice = PathOf("missing.en2");
    const std::map<std::string, LogEntries> cases = {
        {"", {{0, "create custom net without net file"}}},
        {plain, {{0, "open the " + plain + " file failed"}}},
        {once,
         {{0, "[decryptFileToStream]: Open file(" + once + ") failed."},
          {0, "open and decrypt the " + once + " file failed"}}},
        {twice,
         {{0, "[decryptFileTwiceToStream]: Open file(" + twice + ") failed."},
          {0, "open and twice_decrypt the " + twice + " file failed"}}}};
    LogCapture log;
    for (const auto& [path, messages] : cases) {
        std::stringstream stream;
        EXPECT_FALSE(OpenModelStream(path, stream)) << path;
        EXPECT_EQ(log.Take(), messages);
        EXPECT_EQ(stream.str(), "");
    }
}

}  // namespace
}  // namespace orvane
