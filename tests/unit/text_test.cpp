// Pieces of messages, and frame sizes as text.
#include "apps/utils/text.h"

#include <gtest/gtest.h>
#include <string>

#include "apps/utils/files/named_path.h"

namespace orvane::tool {
namespace {

TEST(Text, QuotesCountsAndFormats) {
    EXPECT_EQ(Quoted(std::string("a b")), "\"a b\"");
    EXPECT_EQ(Quoted(PathFromUtf8("\u6A21/\u00FC")), "\"\u6A21/\u00FC\"");
    EXPECT_EQ(NamedPath(PathFromUtf8("\u6A21/\u00FC")).name, "\u6A21/\u00FC");
    EXPECT_EQ(Counted(0, "frame") + Counted(1, "frame") + Counted(2, "frame"), "0 frames1 frame2 frames");
    EXPECT_EQ(Formatted("%.1f ms, %d", 2.25, -3), "2.2 ms, -3");
    EXPECT_EQ(Formatted("%s", std::string(300, 'x').c_str()), std::string(255, 'x'));
}

TEST(Text, ReadsAndWritesSizes) {
    const std::optional<Size> size = SizeFromText("320x180");
    ASSERT_TRUE(size.has_value());
    EXPECT_EQ(SizeText(*size), "320 x 180");
    for (const char* text : {"", "x", "320", "320x", "x180", "0x1", "1x0", "-1x1", "1x1 ", "1 x1", "4294967296x1"}) {
        EXPECT_FALSE(SizeFromText(text).has_value()) << text;
    }
}

}  // namespace
}  // namespace orvane::tool
