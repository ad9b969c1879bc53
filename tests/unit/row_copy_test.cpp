// Copying rows to the host, streamed or not, and the performance counter in microseconds.
#include "engine/row_copy.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <vector>

#include "engine/performance_clock.h"

namespace orvane {
namespace {

TEST(CopyRows, WritesWhatFitsAndNothingElse) {
    struct Case {
        uint32_t rowPitch;
        int32_t stride;
        uint32_t height;
        size_t sourceBytes;
        size_t copied;  // of every row except the last
        size_t copiedLastRow;
    };
    // Rows of 12 bytes. The last one usually has no padding: 3 rows of pitch 16 are 44 bytes.
    const Case cases[] = {{12, 12, 3, 36, 12, 12}, {12, 8, 3, 36, 8, 8},    {12, 20, 3, 36, 12, 12},
                          {16, 8, 3, 44, 8, 8},    {16, 12, 3, 44, 12, 12}, {16, 14, 3, 44, 14, 12},
                          {16, 16, 3, 44, 16, 12}, {16, 16, 3, 48, 16, 16}, {16, 20, 3, 44, 16, 12},
                          {16, 20, 3, 48, 16, 16}, {16, 20, 1, 12, 12, 12}, {16, 0, 3, 44, 0, 0},
                          {16, 20, 0, 44, 0, 0}};
    for (const Case& test : cases) {
        std::vector<uint8_t> source(test.sourceBytes);
        std::iota(source.begin(), source.end(), uint8_t{1});
        const auto stride = static_cast<size_t>(test.stride);
        std::vector<uint8_t> expected(test.height * stride + 40, 0xEE);
        std::vector<uint8_t> target = expected;
        for (size_t row = 0; row < test.height; ++row) {
            const size_t copied = row + 1 == test.height ? test.copiedLastRow : test.copied;
            std::copy_n(&source[row * test.rowPitch], copied, &expected[row * stride]);
        }
        CopyRows(source, test.rowPitch, target.data(), test.stride, 12, test.height);
        EXPECT_EQ(target, expected) << test.height << " rows, pitch " << test.rowPitch << ", stride " << test.stride;
    }
}

std::vector<uint8_t> Numbered(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 2654435761U >> 24);  // no short period
    }
    return bytes;
}

TEST(StreamBytes, CopiesWhateverTheAlignmentAndTheLength) {
    const std::vector<uint8_t> source = Numbered(200);
    for (size_t from = 0; from <= 16; ++from) {
        for (size_t to = 0; to <= 16; ++to) {
            for (size_t size = 0; size <= 100; ++size) {
                std::vector<uint8_t> expected(150, 0xEE);
                std::vector<uint8_t> target = expected;
                std::copy_n(&source[from], size, &expected[to]);
                StreamBytes(&target[to], &source[from], size);
                ASSERT_EQ(target, expected) << size << " bytes from " << from << " to " << to;
            }
        }
    }
}

// Images of about the size from which rows are streamed, below and above it.
TEST(CopyRows, CopiesLargeImagesAsItDoesSmallOnes) {
    constexpr uint32_t kRowBytes = 8188;  // 2047 pixels
    struct Case {
        uint32_t rowPitch;
        int32_t stride;
        uint32_t height;
        size_t offset;  // of the host's first row
    };
    const Case cases[] = {{8188, 8188, 2050, 0}, {8188, 8188, 2050, 1}, {8192, 8192, 2048, 16}, {8192, 8192, 2047, 3},
                          {8192, 8188, 2100, 5}, {8192, 8193, 2100, 0}, {8192, 9001, 2100, 15}, {8188, 8001, 2200, 7}};
    for (const auto& [rowPitch, stride, height, offset] : cases) {
        SCOPED_TRACE(testing::Message() << height << " rows, pitch " << rowPitch << ", stride " << stride);
        const std::vector<uint8_t> source = Numbered(size_t{rowPitch} * (height - 1) + kRowBytes);
        const auto pitch = static_cast<size_t>(stride);
        std::vector<uint8_t> expected(offset + height * pitch + 64, 0xEE);
        std::vector<uint8_t> target = expected;
        for (size_t row = 0; row < height; ++row) {
            const size_t rest = source.size() - row * rowPitch;
            std::copy_n(&source[row * rowPitch], std::min({size_t{rowPitch}, pitch, rest}),
                        &expected[offset + row * pitch]);
        }
        CopyRows(source, rowPitch, &target[offset], stride, kRowBytes, height);
        EXPECT_TRUE(target == expected);  // printing them would take long
    }
}

TEST(CounterToMicroseconds, IsExactForLargeCounters) {
    constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();
    const std::array<int64_t, 3> cases[] = {
        // counter, frequency, microseconds
        {0, 10'000'000, 0},
        {19, 10'000'000, 1},
        {5, 3, 1'666'666},
        {28'636'359, 3'579'545, 7'999'999},
        {14'999'999'999, 3'000'000'000, 4'999'999},
        // Ten years at 10 MHz: the whole counter times a million would overflow.
        {3'153'600'000'000'017, 10'000'000, 315'360'000'000'001},
        {kLargest, 10'000'000, 922'337'203'685'477'580},
        {kLargest, 1'000'000, kLargest},
    };
    for (const auto& [counter, frequency, microseconds] : cases) {
        EXPECT_EQ(CounterToMicroseconds(counter, frequency), microseconds) << counter << " at " << frequency;
    }
}

}  // namespace
}  // namespace orvane
