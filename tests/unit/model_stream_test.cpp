// The block cipher, its container, and model files with all extensions.
#include "model/model_stream.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "apps/models/encrypt.h"
#include "model/keys.h"
#include "model/tea.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_folder.h"

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
    // Encrypted by a script written for this test. Bytes above 127 reveal a wrong sign extension.
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

TEST(TeaDecryptBuffer, KnownContainer) {
    // Encrypted with kFileKey by the same script; 5 bytes of padding.
    const Bytes container{0x09, 0x8A, 0x78, 0x5F, 0x19, 0x06, 0xDB, 0xAB, 0x6F, 0xD7, 0x60, 0xB7,
                          0x1C, 0x1B, 0xFE, 0x95, 0x18, 0x20, 0x03, 0xB3, 0x5F, 0x99, 0x2F, 0x4E};
    for (const int32_t capacity : {std::numeric_limits<int32_t>::min(), -1, 0, 8, 9, 99}) {
        Bytes plain(9);
        int32_t length = capacity;
        EXPECT_EQ(TeaDecryptBuffer(container.data(), 24, plain.data(), length, kFileKey), capacity >= 9) << capacity;
        EXPECT_EQ(length, capacity >= 9 ? 9 : capacity);
        EXPECT_EQ(std::string(plain.begin(), plain.end()), capacity >= 9 ? "twice as " : std::string(9, '\0'));
    }
}

Bytes Encrypt(const Bytes& plain, std::string_view key) {
    std::mt19937 random(1);
    return tool::EncryptContainer(plain, key, random);
}
Bytes Once(const Bytes& plain) {
    return Encrypt(plain, kFileKey);
}

// The 7 bytes before the last one of the plain content become the trailer.
Bytes WithoutLastBlock(Bytes container) {
    container.resize(container.size() - 8);
    return container;
}

TEST(TeaDecryptBuffer, EveryByteOfTheTrailerMustBeZero) {
    for (size_t damaged = 0; damaged <= 7; ++damaged) {
        Bytes content{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0, 0, 0};
        content[6 + damaged] = 0x10;  // the last one is in the block that is dropped
        const Bytes container = WithoutLastBlock(Once(content));
        int32_t length = 6;
        Bytes body(6);
        const auto inputLength = static_cast<int32_t>(container.size());
        EXPECT_EQ(TeaDecryptBuffer(container.data(), inputLength, body.data(), length, kFileKey), damaged == 7)
            << damaged;
        EXPECT_TRUE(std::equal(body.begin(), body.end(), content.begin())) << damaged;
    }
}

TEST(OpenModelStream, ReadsAFileAsItsExtensionSays) {
    const Bytes text{'a', '\r', '\n', 'b', '\n', 0, 0x1A, 0xFF, 0, 'z'};  // all bytes that a text mode changes
    const Bytes once = Once(text);
    const Bytes twice = Encrypt(once, kOuterKey);
    const Bytes damaged = WithoutLastBlock(Once({1, 2, 3, 4, 5, 6, 7, 8, 9, 1}));
    struct Case {
        const char* file;
        Bytes content;
        Bytes stream;
    };
    const Case cases[] = {{"model.bin", text, text},
                          {"model", text, text},
                          {"model.EN", once, once},
                          {"model.en3", once, once},
                          {"dir.en2/model", twice, twice},
                          {"dir.en2/model.x.en", once, text},
                          {"model.en", Once({}), {}},
                          {"model.en", {}, {}},
                          {"model.en", Bytes(15, 1), Bytes(15)},
                          {"model.en", Bytes(20, 1), Bytes(20)},
                          {"model.en", WithoutLastBlock(Once(Bytes(7))), Bytes(16)},  // a body of -1 bytes
                          {"model.en", damaged, {1, 2}},
                          {"model.en2", twice, text},
                          {"model.en2", Encrypt(Bytes(13, 1), kOuterKey), Bytes(13)},
                          {"model.en2", Encrypt({}, kOuterKey), {}},
                          {"model.en2", Encrypt(damaged, kOuterKey), {1, 2}}};
    const TempFolder folder;
    LogCapture log;
    for (const auto& [file, content, expected] : cases) {
        std::stringstream stream("before", std::ios::in | std::ios::out | std::ios::ate);
        EXPECT_TRUE(OpenModelStream(folder.Write(file, content).string(), stream));
        EXPECT_EQ(stream.str(), "before" + std::string(expected.begin(), expected.end()))
            << file << " of " << content.size() << " bytes";
        EXPECT_EQ(log.Take(), LogEntries{});
    }
}

TEST(OpenModelStream, LogsWhatIsMissing) {
    const std::pair<std::string, LogEntries> cases[] = {
        {"", {{0, "create custom net without net file"}}},
        {"none.bin", {{0, "open the none.bin file failed"}}},
        {"none.en",
         {{0, "[decryptFileToStream]: Open file(none.en) failed."}, {0, "open and decrypt the none.en file failed"}}},
        {"none.en2",
         {{0, "[decryptFileTwiceToStream]: Open file(none.en2) failed."},
          {0, "open and twice_decrypt the none.en2 file failed"}}}};
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
