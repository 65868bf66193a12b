#include "wire_test.hpp"

#include <support/temporary_folder.hpp>

namespace tarnix::test {

namespace {

class ListingTest : public WireTest {
protected:
    void SetUp() override
    {
        server().tree().add_file("/home/u/b.txt", "12345");
        server().tree().add_folder("/home/u/a folder");
        start_session();
    }

    /// The next listing is this text, whatever is asked for.
    void script_listing(const std::string& text) { server().list_as(text); }
};

TEST_F(ListingTest, list_is_the_text_of_the_server)
{
    EXPECT_EQ(list(session(), ""), "drwxr-xr-x 2 u u 4096 Jan 02 2020 a folder\n"
                                   "-rw-r--r-- 1 u u 5 Jan 02 2020 b.txt\n");
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "LIST "));
    expect_usable_session();
}

TEST_F(ListingTest, nlst_is_the_text_of_the_server)
{
    EXPECT_EQ(nlst(session(), ""), "a folder\nb.txt\n");
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "NLST "));
    expect_usable_session();
}

TEST_F(ListingTest, second_listing_needs_no_type)
{
    nlst(session(), "");
    server().take_received();
    list(session(), "");
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "LIST "));
}

TEST_F(ListingTest, path_is_sent_as_given)
{
    server().tree().add_file("/srv/x#y%20/file", "");
    EXPECT_EQ(nlst(session(), "/srv/x#y%20"), "file\n");
    EXPECT_EQ(nlst(session(), "a folder"), "");
    EXPECT_THAT(list(session(), "b.txt"), testing::HasSubstr(" 5 "));
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "NLST /srv/x#y%20", "EPSV",
                                                 "NLST a folder", "EPSV", "LIST b.txt"));
    expect_usable_session();
}

TEST_F(ListingTest, line_end_in_a_path_begins_another_command)
{
    EXPECT_EQ(nlst(session(), "\r\nDELE b.txt"), "a folder\nb.txt\n");
    // Nobody asked for the second reply, so it is taken for that to the next command.
    EXPECT_ERROR_ID(
        pwd(session()),
        id_of<ids::InternalError>(
            "PWD", "Could not match any server responses to the PWD command: 250 Deleted.\r\n"));
    EXPECT_THAT(server().received(), testing::Contains("DELE b.txt"));
    EXPECT_FALSE(server().tree().is_file("/home/u/b.txt"));
}

TEST_F(ListingTest, dir_gives_each_name)
{
    EXPECT_THAT(dir(session(), ""), ElementsAre("a folder", "b.txt"));
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A", "NLST "));
    expect_usable_session();
}

TEST_F(ListingTest, dir_skips_only_empty_names)
{
    script_listing("z\r\n\r\n.\r\n..\r\n b \r\nz\r\n");
    EXPECT_THAT(dir(session(), ""), ElementsAre("z", ".", "..", " b ", "z"));
}

TEST_F(ListingTest, dir_of_nothing_or_of_empty_lines_is_empty)
{
    script_listing("");
    EXPECT_THAT(dir(session(), ""), IsEmpty());
    script_listing("\r\n\r\n");
    EXPECT_THAT(dir(session(), ""), IsEmpty());
}

TEST_F(ListingTest, line_ends_of_the_server_arrive_as_line_feeds)
{
    script_listing("a\r\nb\nc\rd\r\n");
    EXPECT_EQ(nlst(session(), ""), "a\nb\nc\nd\n");
}

TEST_F(ListingTest, refused_passive_mode_falls_back_to_the_older_command)
{
    server().reply_to("EPSV", 500, "What?");
    EXPECT_EQ(nlst(session(), ""), "a folder\nb.txt\n");
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "PASV", "TYPE A", "NLST "));
    server().take_received();
    nlst(session(), "");
    EXPECT_THAT(server().received(), ElementsAre("PASV", "NLST "));
}

TEST_F(ListingTest, refused_text_type_gives_an_empty_text_and_the_reply_code)
{
    server().reply_to("TYPE", 504, "refused");
    EXPECT_THAT(dir(session(), ""), IsEmpty());
    EXPECT_EQ(last_response_code(session()), 504);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "TYPE A"));
}

TEST_F(ListingTest, refused_passive_modes_give_an_empty_text_and_the_reply_code)
{
    server().reply_to("EPSV", 500, "refused");
    server().reply_to("PASV", 425, "refused");
    EXPECT_THAT(dir(session(), ""), IsEmpty());
    EXPECT_EQ(last_response_code(session()), 425);
    EXPECT_THAT(server().received(), ElementsAre("EPSV", "PASV"));
    expect_usable_session();
}

class ListingCommandReplyTest : public ListingTest, public testing::WithParamInterface<int> {};

TEST_P(ListingCommandReplyTest, refusal_gives_an_empty_text_and_the_reply_code)
{
    server().reply_to("LIST", GetParam(), "refused");
    server().reply_to("NLST", GetParam(), "refused");
    EXPECT_EQ(list(session(), "x"), "");
    EXPECT_EQ(last_response_code(session()), GetParam());
    EXPECT_EQ(nlst(session(), "x"), "");
    EXPECT_EQ(last_response_code(session()), GetParam());
    EXPECT_THAT(dir(session(), "x"), IsEmpty());
    EXPECT_THAT(server().received(),
                ElementsAre("EPSV", "TYPE A", "LIST x", "EPSV", "NLST x", "EPSV", "NLST x"));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Replies, ListingCommandReplyTest,
                         testing::Values(425, 450, 500, 501, 530, 550));

TEST_F(ListingTest, listing_that_breaks_off_gives_what_had_arrived)
{
    server().pace_data({.piece = 1, .gap = std::chrono::milliseconds(0), .cut_after = 5});
    EXPECT_EQ(nlst(session(), ""), "a fol");
    EXPECT_EQ(last_response_code(session()), 426);
    expect_usable_session();
}

TEST_F(ListingTest, listing_without_a_good_end_is_given_all_the_same)
{
    server().reply_to(scripted_server::end_of("NLST"), 451, "Lost it.");
    EXPECT_THAT(dir(session(), ""), ElementsAre("a folder", "b.txt"));
    EXPECT_EQ(last_response_code(session()), 451);
    expect_usable_session();
}

TEST_F(ListingTest, listing_on_a_connection_that_dies_is_empty)
{
    server().close_on("NLST");
    EXPECT_THAT(dir(session(), ""), IsEmpty());
    expect_usable_session();
}

TEST_F(ListingTest, listing_after_a_dropped_connection_is_of_the_working_folder)
{
    server().tree().add_file("/home/u/a folder/inside", "");
    cd(session(), std::string(home_url) + "a%20folder");
    server().take_received();
    server().drop_connections();
    EXPECT_EQ(nlst(session(), ""), "inside\n");
    EXPECT_EQ(server().received(),
              login() + home_levels() + sent("CWD a folder", "EPSV", "TYPE A", "NLST "));
}

TEST_F(ListingTest, long_listing_arrives_whole)
{
    std::string text;
    std::vector<std::string> names;
    for (int number = 0; number < 5000; ++number) {
        names.push_back("a name that is not short, number " + std::to_string(number));
        text += names.back() + "\r\n";
    }
    script_listing(text);
    EXPECT_EQ(dir(session(), ""), names);
}

} // namespace

} // namespace tarnix::test
