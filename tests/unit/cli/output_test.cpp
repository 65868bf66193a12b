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

TEST(PrintableTest, everything_else_stays)
{
    EXPECT_EQ(printable("a b\tc\n\xC3\xA9"), "a b\tc\n\xC3\xA9");
}

} // namespace
} // namespace tarnix::cli
