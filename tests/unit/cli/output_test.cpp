#include "output.hpp"

#include <gtest/gtest.h>

#include <string>

namespace tarnix::cli {
namespace {

TEST(PrintableTest, control_characters_become_question_marks)
{
    EXPECT_EQ(printable("a\x1B[2Jb\r\x7F"), "a?[2Jb??");
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a?b");
}

TEST(PrintableTest, control_characters_beyond_ascii_become_question_marks)
{
    EXPECT_EQ(printable("a\xC2\x9B"
                        "2Jb\xC2\x80\xC2\x9F"),
              "a?2Jb??");
    EXPECT_EQ(printable("a\x9B"
                        "2J"),
              "a?2J");
    // Cut short, overlong, a surrogate, beyond the last character: no UTF-8, so single bytes.
    EXPECT_EQ(printable("\xE2\x82"), "\xE2?");
    EXPECT_EQ(printable("\xC0\x9B"), "\xC0?");
    EXPECT_EQ(printable("\xE0\x82\x9B"), "\xE0??");
    EXPECT_EQ(printable("\xED\xA0\x80"), "\xED\xA0?");
    EXPECT_EQ(printable("\xF4\x90\x80\x80"), "\xF4???");
    EXPECT_EQ(printable("\xF0\x9F\x8C"
                        "A"),
              "\xF0??A");
    EXPECT_EQ(printable("\xC2\xC2\x9B"), "\xC2?");
}

TEST(PrintableTest, everything_else_stays)
{
    for (const std::string text :
         {"a b\tc\n\xC3\xA9", "\xC2\xA0", "\xE2\x82\xAC", "\xE0\xA4\x85", "\xED\x9F\xBF",
          "\xF0\x9F\x8C\x9E", "\xF4\x8F\xBF\xBF", "caf\xE9 \xFF", ""})
        EXPECT_EQ(printable(text), text);
}

} // namespace
} // namespace tarnix::cli
