// Copying rows to the host, and the performance counter in microseconds.
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
