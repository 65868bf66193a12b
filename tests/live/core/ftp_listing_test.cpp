#include "ftp_flavours.hpp"

#include <gmock/gmock.h>

using namespace tarnix::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

using FtpListingTest = connected_ftp;

INSTANTIATE_TEST_SUITE_P(Vsftpd, FtpListingTest, all_ftp_flavours, name_of_flavour);

TEST_P(FtpListingTest, dir_gives_the_names)
{
    write_bytes(root() / "one", "1");
    write_bytes(root() / "two words", "2");
    make_folder(root() / "größer");
    EXPECT_THAT(core::dir(session(), ""), UnorderedElementsAre("one", "two words", "größer"));
}

TEST_P(FtpListingTest, dir_of_another_folder)
{
    make_folder(root() / "sub");
    write_bytes(root() / "sub" / "inner", "1");
    EXPECT_THAT(core::dir(session(), "sub"), ElementsAre("sub/inner"));
    EXPECT_THAT(core::dir(session(), (root() / "sub").string()),
                ElementsAre((root() / "sub" / "inner").string()));
}

TEST_P(FtpListingTest, dir_is_seen_from_the_working_folder)
{
    make_folder(root() / "sub");
    write_bytes(root() / "sub" / "inner", "1");
    core::cd(session(), root_url() + "sub/");
    EXPECT_THAT(core::dir(session(), ""), ElementsAre("inner"));
    EXPECT_THAT(core::dir(session(), ".."), ElementsAre("../sub"));
}

TEST_P(FtpListingTest, empty_folder_and_missing_name_give_nothing)
{
    EXPECT_THAT(core::dir(session(), ""), IsEmpty());
    EXPECT_THAT(core::dir(session(), "missing"), IsEmpty());
    EXPECT_EQ(core::list(session(), "missing"), "");
    EXPECT_EQ(core::pwd(session()), root());
}

TEST_P(FtpListingTest, nlst_has_one_name_a_line_without_carriage_returns)
{
    write_bytes(root() / "a", "");
    write_bytes(root() / "b", "");
    EXPECT_EQ(core::nlst(session(), ""), "a\nb\n");
}

TEST_P(FtpListingTest, list_is_the_long_listing)
{
    write_bytes(root() / "file", std::string(12345, 'x'));
    make_folder(root() / "folder");
    const auto listing = core::list(session(), "");
    const auto lines = core::parse_nlst_listing(listing);
    ASSERT_EQ(lines.size(), 3u) << listing;
    EXPECT_EQ(lines[0].front(), '-');
    EXPECT_THAT(std::string(lines[0]), HasSubstr(" 12345 "));
    EXPECT_TRUE(lines[0].ends_with(" file")) << lines[0];
    EXPECT_EQ(lines[1].front(), 'd');
    EXPECT_TRUE(lines[1].ends_with(" folder")) << lines[1];
    EXPECT_EQ(lines[2], "");
}

TEST_P(FtpListingTest, listing_of_thousands_of_names_is_complete)
{
    constexpr int count = 3000;
    for (int i = 0; i < count; ++i)
        write_bytes(root() / ("a-name-of-some-length-" + std::to_string(i)), "");
    const auto names = core::dir(session(), "");
    EXPECT_EQ(names.size(), static_cast<std::size_t>(count));
}

} // namespace
