#include <support/scripted_server.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

namespace tarnix::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A client that says just what it is told.
class raw_client {
public:
    explicit raw_client(const scripted_server& server)
        : stream_(tcp_stream::connect_to(server.port(), stop_))
    {
    }

    void send(const std::string& bytes) { stream_.write(bytes); }

    /// The next line, without its end; empty when the server has closed.
    std::string line()
    {
        while (unread_.find("\r\n") == std::string::npos) {
            const auto bytes = stream_.read_some();
            if (bytes.empty())
                return {};
            unread_ += bytes;
        }
        const auto end = unread_.find("\r\n");
        const auto line = unread_.substr(0, end);
        unread_.erase(0, end + 2);
        return line;
    }

    std::string ask(const std::string& command)
    {
        send(command + "\r\n");
        return line();
    }

    const stop_signal& stop() const { return stop_; }

private:
    stop_signal stop_;
    tcp_stream stream_;
    std::string unread_;
};

class ScriptedServerTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(server_.faults(), IsEmpty()); }

    scripted_server& server() { return server_; }

private:
    scripted_server server_{"/home/u"};
};

TEST_F(ScriptedServerTest, greets_and_moves_about_its_tree)
{
    server().tree().add_folder("/srv");
    raw_client client(server());
    EXPECT_EQ(client.line(), "220 Ready.");
    EXPECT_EQ(client.ask("PWD"), "257 \"/home/u\" is the working folder.");
    EXPECT_EQ(client.ask("CWD ../../srv/./"), "250 Moved.");
    EXPECT_EQ(client.ask("pwd"), "257 \"/srv\" is the working folder.");
    EXPECT_EQ(client.ask("CDUP"), "250 Moved.");
    EXPECT_EQ(client.ask("CWD nowhere"), "550 Refused.");
    EXPECT_EQ(client.ask("PWD"), "257 \"/\" is the working folder.");
    EXPECT_EQ(client.ask("XYZ"), "500 Unknown command.");
    EXPECT_EQ(client.ask("QUIT"), "221 Goodbye.");
    EXPECT_EQ(client.line(), "");
}

TEST_F(ScriptedServerTest, changes_its_tree_as_a_file_system_would)
{
    raw_client client(server());
    client.line();
    EXPECT_EQ(client.ask("MKD a"), "257 \"/home/u/a\" created.");
    EXPECT_EQ(client.ask("MKD a"), "550 Refused.");
    EXPECT_EQ(client.ask("MKD a/\"b"), "257 \"/home/u/a/\"\"b\" created.");
    EXPECT_EQ(client.ask("RMD a"), "550 Refused.");
    EXPECT_EQ(client.ask("RNFR a"), "350 To what?");
    EXPECT_EQ(client.ask("RNTO a/inside"), "550 Refused.");
    EXPECT_EQ(client.ask("RNTO c"), "250 Renamed.");
    EXPECT_TRUE(server().tree().is_folder("/home/u/c/\"b"));
    EXPECT_EQ(client.ask("RMD c/\"b"), "250 Removed.");
    EXPECT_EQ(client.ask("RMD c"), "250 Removed.");
    server().tree().add_file("/home/u/f", "12345");
    EXPECT_EQ(client.ask("SIZE f"), "213 5");
    EXPECT_EQ(client.ask("MDTM f"), "213 20200102030405");
    EXPECT_EQ(client.ask("DELE f"), "250 Deleted.");
    EXPECT_EQ(client.ask("DELE f"), "550 Refused.");
    EXPECT_EQ(client.ask("RNFR f"), "550 Refused.");
    EXPECT_THAT(server().tree().names("/home/u"), IsEmpty());
}

TEST_F(ScriptedServerTest, records_lines_with_their_connection)
{
    raw_client one(server());
    one.line();
    one.ask("NOOP");
    raw_client two(server());
    two.line();
    two.ask("NOOP two");
    one.ask("SYST");
    EXPECT_THAT(server().received(), ElementsAre("NOOP", "NOOP two", "SYST"));
    EXPECT_THAT(server().received_on(1), ElementsAre("NOOP", "SYST"));
    EXPECT_THAT(server().received_on(2), ElementsAre("NOOP two"));
    EXPECT_THAT(server().take_received(), testing::SizeIs(3));
    EXPECT_THAT(server().received(), IsEmpty());
}

TEST_F(ScriptedServerTest, answers_for_one_occurrence_go_first)
{
    raw_client client(server());
    client.line();
    server().reply_to("NOOP", 500, "always");
    server().reply_to("NOOP", 501, "second", 2);
    EXPECT_EQ(client.ask("NOOP"), "500 always");
    EXPECT_EQ(client.ask("NOOP"), "501 second");
    EXPECT_EQ(client.ask("NOOP"), "500 always");
    server().clear_script();
    EXPECT_EQ(client.ask("NOOP"), "200 Done nothing.");
}

TEST_F(ScriptedServerTest, silence_and_ends_happen_as_scripted)
{
    raw_client client(server());
    client.line();
    server().stay_silent_on("NOOP", 1);
    client.send("NOOP\r\n");
    EXPECT_EQ(client.ask("SYST"), "215 UNIX Type: L8");
    server().close_after("SYST", 1);
    EXPECT_EQ(client.ask("SYST"), "215 UNIX Type: L8");
    EXPECT_EQ(client.line(), "");
    server().close_on("SYST", 1);
    raw_client second(server());
    second.line();
    EXPECT_EQ(second.ask("SYST"), "");
}

TEST_F(ScriptedServerTest, idle_connections_end_with_421)
{
    raw_client client(server());
    client.line();
    client.ask("NOOP");
    server().time_out_connections();
    EXPECT_EQ(client.line(), "421 Idle for too long.");
    EXPECT_EQ(client.line(), "");
}

TEST_F(ScriptedServerTest, connections_drop_at_a_given_command)
{
    server().drop_connections_at_command(2);
    for (int connection = 0; connection < 2; ++connection) {
        raw_client client(server());
        client.line();
        EXPECT_EQ(client.ask("NOOP"), "200 Done nothing.");
        EXPECT_EQ(client.ask("NOOP"), "");
    }
}

TEST_F(ScriptedServerTest, replies_come_in_pieces_and_are_cut_where_scripted)
{
    server().pace_control({.piece = 1, .gap = std::chrono::milliseconds(1), .cut_after = 14});
    raw_client client(server());
    EXPECT_EQ(client.line(), "220 Ready.");
    client.send("NOOP\r\n");
    EXPECT_EQ(client.line(), ""); // "20" and the end
}

TEST_F(ScriptedServerTest, data_goes_both_ways_passive_and_active)
{
    raw_client client(server());
    client.line();
    client.ask("TYPE I");
    tcp_listener own(client.stop());
    EXPECT_EQ(client.ask("EPRT |1|127.0.0.1|" + std::to_string(own.port()) + '|'),
              "200 I shall connect.");
    EXPECT_EQ(client.ask("STOR f"), "150 Here we go.");
    own.accept().write("content");
    EXPECT_EQ(client.line(), "226 Transfer complete.");
    EXPECT_THAT(server().received_data(), ElementsAre("content"));

    const auto reply = client.ask("EPSV");
    ASSERT_TRUE(reply.starts_with("229 Connect to me (|||"));
    auto data = tcp_stream::connect_to(static_cast<unsigned short>(std::stoi(reply.substr(22))),
                                       client.stop());
    EXPECT_EQ(client.ask("RETR f"), "150 Here we go.");
    EXPECT_EQ(data.read_some(), "content");
    EXPECT_EQ(client.line(), "226 Transfer complete.");
    EXPECT_EQ(client.ask("RETR f"), "425 Which data connection?");
}

TEST_F(ScriptedServerTest, port_and_pasv_agree_on_the_address)
{
    raw_client client(server());
    client.line();
    const auto reply = client.ask("PASV");
    ASSERT_TRUE(reply.starts_with("227 Connect to me (127,0,0,1,"));
    EXPECT_EQ(client.ask("PORT 127,0,0,1,4,1"), "200 I shall connect.");
    EXPECT_EQ(client.ask("PORT 10,0,0,1,4,1"), "501 Only 127.0.0.1.");
    EXPECT_EQ(client.ask("EPRT |1|10.0.0.1|1025|"), "522 Only 127.0.0.1.");
}

TEST(ScriptedServerStopTest, ends_at_once_whatever_the_clients_do)
{
    auto server = std::make_unique<scripted_server>();
    raw_client silent(*server);
    silent.line();
    raw_client waiting(*server);
    waiting.line();
    waiting.ask("EPSV");
    EXPECT_EQ(waiting.ask("RETR nothing"), "550 No such file.");
    server->tree().add_file("/f", std::string(20'000'000, 'x'));
    // No data connection will be made.
    waiting.ask("EPSV");
    EXPECT_EQ(waiting.ask("RETR f"), "150 Here we go.");
    // This one is made, and nothing is read from it.
    raw_client stuck(*server);
    stuck.line();
    const auto reply = stuck.ask("EPSV");
    const auto data = tcp_stream::connect_to(
        static_cast<unsigned short>(std::stoi(reply.substr(22))), stuck.stop());
    EXPECT_EQ(stuck.ask("RETR f"), "150 Here we go.");
    server.reset();
    EXPECT_EQ(silent.line(), "");
}

} // namespace

} // namespace tarnix::test
