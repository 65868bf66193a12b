#include "wire_test.hpp"

namespace tarnix::test {

namespace {

class SystTest : public WireTest {
protected:
    void SetUp() override { start_session(); }
};

TEST_F(SystTest, is_one_command_and_gives_the_reply_as_it_came)
{
    EXPECT_EQ(syst(session()), "215 UNIX Type: L8\r\n");
    EXPECT_THAT(server().received(), ElementsAre("SYST"));
    expect_usable_session();
}

TEST_F(SystTest, gives_every_line_of_the_reply)
{
    server().reply_raw("SYST", "215-one\r\n two\r\n215 three\r\n");
    EXPECT_EQ(syst(session()), "215-one\r\n two\r\n215 three\r\n");
    expect_usable_session();
}

TEST_F(SystTest, stands_behind_the_replies_to_what_libcurl_sent_before)
{
    server().drop_connections();
    EXPECT_EQ(syst(session()), "220 Ready.\r\n"
                               "331 Password, please.\r\n"
                               "230 Logged in.\r\n"
                               "257 \"/home/u\" is the working folder.\r\n"
                               "250 Moved.\r\n250 Moved.\r\n250 Moved.\r\n"
                               "215 UNIX Type: L8\r\n");
    EXPECT_EQ(server().received(), login_again() + sent("SYST"));
    expect_usable_session();
}

TEST_F(SystTest, is_over_after_its_request)
{
    syst(session());
    dir(session(), "");
    pwd(session());
    EXPECT_THAT(server().received(), ElementsAre("SYST", "EPSV", "TYPE A", "NLST ", "PWD"));
}

class RefusedSystTest : public SystTest, public testing::WithParamInterface<int> {};

TEST_P(RefusedSystTest, gives_an_empty_text)
{
    server().reply_to("SYST", GetParam(), "refused");
    EXPECT_EQ(syst(session()), "");
    EXPECT_EQ(last_response_code(session()), GetParam());
    EXPECT_THAT(server().received(), ElementsAre("SYST"));
    expect_usable_session();
}

INSTANTIATE_TEST_SUITE_P(Replies, RefusedSystTest, testing::Values(421, 450, 500, 502, 530, 550));

TEST_F(SystTest, any_reply_below_400_counts_as_an_answer)
{
    server().reply_to("SYST", 200, "Whatever.");
    EXPECT_EQ(syst(session()), "200 Whatever.\r\n");
    expect_usable_session();
}

TEST_F(SystTest, on_a_connection_that_dies_it_gives_an_empty_text)
{
    server().close_on("SYST");
    EXPECT_EQ(syst(session()), "");
    EXPECT_THAT(server().received(), ElementsAre("SYST"));
    expect_usable_session();
}

TEST_F(SystTest, after_an_idle_time_out_it_gives_an_empty_text)
{
    server().time_out_connections();
    EXPECT_EQ(syst(session()), "");
    EXPECT_EQ(last_response_code(session()), 421);
    expect_usable_session();
}

TEST_F(SystTest, without_an_answer_it_gives_an_empty_text_once_the_time_out_is_over)
{
    transfer_timeout(session(), 200);
    server().stay_silent_on("SYST");
    EXPECT_EQ(syst(session()), "");
    transfer_timeout(session(), 0);
    expect_usable_session();
}

} // namespace

} // namespace tarnix::test
