#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>

#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <system_error>

namespace tarnix::test {
namespace {

using namespace std::chrono_literals;
using ftp::failure_kind;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// As long as it lives, no file of this process grows beyond 1000 bytes.
class little_room {
public:
    little_room()
    {
        if (::getrlimit(RLIMIT_FSIZE, &usual_) != 0)
            throw std::system_error(errno, std::system_category(), "getrlimit");
        const rlimit small{1000, usual_.rlim_max};
        if (::setrlimit(RLIMIT_FSIZE, &small) != 0)
            throw std::system_error(errno, std::system_category(), "setrlimit");
    }
    ~little_room()
    {
        ::setrlimit(RLIMIT_FSIZE, &usual_);
        std::signal(SIGXFSZ, usual_handling_);
    }
    little_room(const little_room&) = delete;
    little_room& operator=(const little_room&) = delete;

private:
    void (*usual_handling_)(int) = std::signal(SIGXFSZ, SIG_IGN);
    rlimit usual_{};
};

class MisbehavingServerTest : public testing::Test {
protected:
    ftp::url url() const
    {
        auto server = ftp::parse_url("ftp://127.0.0.1");
        server.port = server_.port();
        return server;
    }

    ftp::session connect() const { return ftp::session(url(), options_); }

    static std::string failure_of_kind(failure_kind expected,
                                       const std::function<void()>& operation)
    {
        try {
            operation();
            ADD_FAILURE() << "did not fail";
        } catch (const ftp::failure& failure) {
            EXPECT_EQ(failure.kind(), expected) << failure.what();
            return failure.what();
        }
        return "";
    }

    auto count_of(const std::string& word) const
    {
        const auto received = server_.received();
        return std::count_if(received.begin(), received.end(),
                             [&](const auto& line) { return line.starts_with(word); });
    }

    const host::standalone host_;
    scripted_server server_{"/home"};
    ftp::session_options options_;
    temporary_folder local_;
};

TEST_F(MisbehavingServerTest, one_login_serves_the_whole_session)
{
    auto session = connect();
    session.make_folder("a");
    session.change_folder("a");
    EXPECT_THAT(session.names(), IsEmpty());
    EXPECT_EQ(count_of("PASS"), 1);
}

TEST_F(MisbehavingServerTest, a_password_is_tried_once)
{
    server_.reply_to("PASS", 530, "no");
    EXPECT_THAT(failure_of_kind(failure_kind::login, [&] { connect(); }), HasSubstr("530 no"));
    EXPECT_EQ(count_of("PASS"), 1);
}

TEST_F(MisbehavingServerTest, a_server_that_is_full_is_no_refused_login)
{
    server_.reply_to(scripted_server::greeting(), 421, "too many connections");
    EXPECT_THAT(failure_of_kind(failure_kind::connection, [&] { connect(); }),
                HasSubstr("421 too many"));
}

TEST_F(MisbehavingServerTest, a_working_folder_with_a_control_character_is_refused)
{
    server_.reply_to("PWD", 257, "\"/home\rDELE x\" is it");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { connect(); }),
                HasSubstr("control character"));
}

TEST_F(MisbehavingServerTest, a_farewell_reads_nothing_before_it_sends)
{
    connect();
    EXPECT_EQ(count_of("NOOP"), 1);
    EXPECT_EQ(count_of("QUIT"), 1);
}

TEST_F(MisbehavingServerTest, the_root_is_no_file)
{
    auto session = connect();
    EXPECT_THROW(session.download("/.", local_ / "root"), ftp::invalid_input);
    EXPECT_THROW(session.upload(write_bytes(local_ / "file", "x"), "a/../.."), ftp::invalid_input);
}

TEST_F(MisbehavingServerTest, no_password_goes_to_a_server_without_tls)
{
    auto server = url();
    server.scheme = ftp::protocol::ftpes;
    failure_of_kind(failure_kind::security, [&] { ftp::session(server, options_); });
    EXPECT_THAT(server_.received(), Not(Contains(StartsWith("PASS"))));
    EXPECT_THAT(server_.received(), Not(Contains(StartsWith("USER"))));
}

TEST_F(MisbehavingServerTest, silence_at_the_greeting_ends)
{
    server_.stay_silent_on(scripted_server::greeting());
    options_.connect_timeout = 1s;
    failure_of_kind(failure_kind::connection, [&] { connect(); });
}

TEST_F(MisbehavingServerTest, silence_ends)
{
    options_.reply_timeout = 1s;
    server_.tree().add_file("/home/file", "x");
    auto session = connect();
    server_.stay_silent_on("RETR");
    failure_of_kind(failure_kind::connection, [&] { session.download("file", local_ / "x"); });
    server_.clear_script();
    EXPECT_TRUE(session.exists("file"));
}

TEST_F(MisbehavingServerTest, a_server_that_does_not_take_leave_is_left)
{
    server_.stay_silent_on("QUIT");
    const auto begin = std::chrono::steady_clock::now();
    connect();
    EXPECT_EQ(count_of("QUIT"), 1);
    server_.reply_to("PWD", 500, "what?");
    EXPECT_THAT(failure_of_kind(failure_kind::connection, [&] { connect(); }),
                HasSubstr("does not tell the login folder"));
    // libcurl's own patience is two minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 60s);
}

TEST_F(MisbehavingServerTest, leave_is_taken_of_no_server_that_has_gone)
{
    {
        const auto session = connect();
        server_.drop_connections();
        server_.take_received();
    }
    EXPECT_THAT(server_.received(), IsEmpty());
}

TEST_F(MisbehavingServerTest, a_transfer_in_which_nothing_moves_ends)
{
    options_.reply_timeout = 1s;
    server_.tree().add_file("/home/file", std::string(1000, 'x'));
    auto session = connect();
    pacing slow;
    slow.piece = 100;
    slow.gap = 1h;
    server_.pace_data(slow);
    EXPECT_THAT(
        failure_of_kind(failure_kind::connection, [&] { session.download("file", local_ / "x"); }),
        HasSubstr("does not answer"));
}

TEST_F(MisbehavingServerTest, slow_replies_that_each_come_in_time_are_waited_for)
{
    options_.reply_timeout = 2s;
    pacing slow;
    slow.piece = 16;
    slow.gap = 700ms;
    server_.pace_control(slow);
    options_.connect_timeout = 30s;
    auto session = connect();
    const auto begin = std::chrono::steady_clock::now();
    session.exists("file");
    EXPECT_GT(std::chrono::steady_clock::now() - begin, options_.reply_timeout);
}

TEST_F(MisbehavingServerTest, a_session_can_be_cancelled)
{
    auto cancel = false;
    options_.cancelled = [&] { return cancel || count_of("RETR") > 0; };
    server_.tree().add_file("/home/file", "x");
    server_.stay_silent_on("RETR");
    auto session = connect();
    failure_of_kind(failure_kind::cancelled, [&] { session.download("file", local_ / "x"); });
    cancel = true;
    failure_of_kind(failure_kind::cancelled, [&] { connect(); });
}

TEST_F(MisbehavingServerTest, commands_name_absolute_paths)
{
    auto session = connect();
    server_.tree().add_folder("/home/jobs");
    session.change_folder("jobs");
    // The next command comes on a new connection, which begins in the login folder.
    server_.close_after("PWD");
    session.exists("x");
    server_.clear_script();
    session.make_folder("new");
    EXPECT_THAT(server_.received(), Contains("MKD /home/jobs/new"));
    EXPECT_TRUE(server_.tree().is_folder("/home/jobs/new"));
    session.remove_folder("new");
    EXPECT_THAT(server_.received(), Contains("RMD /home/jobs/new"));
}

TEST_F(MisbehavingServerTest, files_exist_on_servers_that_know_no_size)
{
    server_.tree().add_file("/home/file", "x");
    server_.reply_to("SIZE", 502, "what?");
    auto session = connect();
    EXPECT_TRUE(session.exists("file"));
    EXPECT_TRUE(session.exists("/home"));
    EXPECT_FALSE(session.exists("missing"));
}

TEST_F(MisbehavingServerTest, a_listing_that_fails_is_no_empty_folder)
{
    auto session = connect();
    server_.reply_to("NLST", 451, "no memory");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { session.names(); }),
                HasSubstr("451 no memory"));
    server_.reply_to("LIST", 550, "not for you");
    EXPECT_THAT(failure_of_kind(failure_kind::permission, [&] { session.list(); }),
                HasSubstr("550 not for you"));
}

TEST_F(MisbehavingServerTest, a_listing_without_matches_is_an_empty_folder)
{
    auto session = connect();
    server_.reply_to("NLST", 450, "no files found");
    EXPECT_THAT(session.names(), IsEmpty());
    server_.reply_to("NLST", 450, ".: No such file or directory");
    EXPECT_THAT(session.names(), IsEmpty());
    server_.reply_to("LIST", 550, "No files found.");
    EXPECT_EQ(session.list(), "");
}

TEST_F(MisbehavingServerTest, a_listing_that_is_refused_is_no_empty_folder)
{
    auto session = connect();
    server_.reply_to("NLST", 450, "Permission denied");
    EXPECT_THAT(failure_of_kind(failure_kind::permission, [&] { session.names(); }),
                HasSubstr("450 Permission denied"));
    server_.reply_to("LIST", 450, "Permission denied");
    failure_of_kind(failure_kind::permission, [&] { session.list(); });
}

TEST_F(MisbehavingServerTest, a_look_that_fails_is_no_no)
{
    auto session = connect();
    server_.reply_to("NLST", 425, "no data connection");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { session.exists("x"); }),
                HasSubstr("425 no data"));
    server_.close_on("NLST");
    failure_of_kind(failure_kind::connection, [&] { session.exists("x"); });
    server_.reply_to("NLST", 450, "x: No such file or directory");
    EXPECT_FALSE(session.exists("x"));
}

TEST_F(MisbehavingServerTest, the_servers_words_reach_the_caller)
{
    auto session = connect();
    server_.reply_to("MKD", 552, "quota exceeded");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { session.make_folder("x"); }),
                HasSubstr("552 quota exceeded"));
    server_.reply_to("STOR", 553, "name not allowed");
    EXPECT_THAT(failure_of_kind(failure_kind::permission,
                                [&] { session.upload(write_bytes(local_ / "x", "x"), "x"); }),
                HasSubstr("553 name not allowed"));
    server_.reply_to("RMD", 550, "not yours");
    server_.tree().add_folder("/home/theirs");
    EXPECT_THAT(failure_of_kind(failure_kind::permission, [&] { session.remove_folder("theirs"); }),
                HasSubstr("550 not yours"));
}

TEST_F(MisbehavingServerTest, only_done_is_done)
{
    server_.tree().add_file("/home/file", "x");
    auto session = connect();
    server_.reply_to("DELE", 202, "not implemented");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { session.remove_file("file"); }),
                HasSubstr("202 not implemented"));
    server_.reply_to("MKD", 350, "more, please");
    failure_of_kind(failure_kind::transfer, [&] { session.make_folder("new"); });
    EXPECT_TRUE(session.exists("file"));
}

TEST_F(MisbehavingServerTest, a_refusal_that_speaks_of_files_is_no_empty_folder)
{
    auto session = connect();
    server_.reply_to("LIST", 550, "/casino files: Permission denied");
    failure_of_kind(failure_kind::permission, [&] { session.list(); });
}

/// The server converts nothing in text mode, and libcurl 7.88 takes the two for one line end. The
/// session sees neither of them.
TEST_F(MisbehavingServerTest, a_text_may_lose_its_first_line_feed_after_one_that_ended_in_a_return)
{
    server_.tree().add_file("/home/first", "one\r");
    server_.tree().add_file("/home/second", "\ntwo\n");
    server_.reply_to("TYPE", 200, "So be it.");
    auto session = connect();
    const auto arrives = [&](const std::string& name) {
        session.download(name, local_ / "down", ftp::transfer_mode::text);
        return read_bytes(local_ / "down");
    };
    EXPECT_EQ(arrives("first"), "one\n");
    EXPECT_EQ(arrives("second"), "two\n");
    arrives("first");
    session.download("second", local_ / "down");
    EXPECT_EQ(read_bytes(local_ / "down"), "\ntwo\n");
    session.names("..");
    EXPECT_EQ(arrives("second"), "\ntwo\n");
}

TEST_F(MisbehavingServerTest, a_text_that_does_not_fit_on_the_disk_is_told_from_a_lost_connection)
{
    server_.tree().add_file("/home/file", std::string(100'000, 'x'));
    auto session = connect();
    const little_room room;
    failure_of_kind(failure_kind::local_file,
                    [&] { session.download("file", local_ / "x", ftp::transfer_mode::text); });
}

TEST_F(MisbehavingServerTest, the_hosts_handling_of_broken_pipes_stays)
{
    const auto before = std::signal(SIGPIPE, SIG_DFL);
    {
        auto session = connect();
        session.names();
        server_.drop_connections();
        session.names();
    }
    EXPECT_EQ(std::signal(SIGPIPE, before), SIG_DFL);
}

TEST_F(MisbehavingServerTest, a_lost_connection_is_no_refusal)
{
    server_.tree().add_file("/home/file", "x");
    server_.tree().add_folder("/home/folder");
    const auto file = write_bytes(local_ / "sent", "x");
    auto session = connect();
    for (const auto* word : {"MKD", "RMD", "DELE", "STOR", "RETR"})
        server_.close_on(word);
    const auto lost = [&](const std::function<void()>& operation) {
        EXPECT_THAT(failure_of_kind(failure_kind::connection, operation), HasSubstr("lost"));
    };
    lost([&] { session.make_folder("new"); });
    lost([&] { session.remove_folder("folder"); });
    lost([&] { session.remove_file("file"); });
    lost([&] { session.upload(file, "new"); });
    lost([&] { session.download("file", local_ / "x"); });
    server_.clear_script();
    server_.close_on(scripted_server::end_of("STOR"));
    server_.close_on(scripted_server::end_of("RETR"));
    lost([&] { session.upload(file, "new"); });
    lost([&] { session.download("file", local_ / "x"); });
}

TEST_F(MisbehavingServerTest, what_was_refused_on_the_way_is_no_reason)
{
    server_.tree().add_folder("/home/folder");
    auto session = connect();
    server_.reply_to("EPSV", 500, "EPSV?");
    server_.reply_to("STOR", 553, "name not allowed");
    const auto file = write_bytes(local_ / "x", "x");
    EXPECT_THAT(
        failure_of_kind(failure_kind::permission, [&] { session.upload(file, "folder/x"); }),
        HasSubstr("553 name"));
    server_.close_on("STOR");
    EXPECT_THAT(
        failure_of_kind(failure_kind::connection, [&] { session.upload(file, "folder/x"); }),
        Not(HasSubstr("EPSV")));
}

TEST_F(MisbehavingServerTest, a_connection_that_breaks_while_it_is_secured_is_lost)
{
    server_.reply_to("AUTH", 234, "go on");
    // What TLS says first holds the byte that ends a command.
    server_.drop_connections_at_command(2);
    auto server = url();
    server.scheme = ftp::protocol::ftpes;
    failure_of_kind(failure_kind::connection, [&] { ftp::session(server, options_); });
    server_.close_on(scripted_server::greeting());
    server.scheme = ftp::protocol::sftp;
    options_.user = "user";
    options_.password = "password";
    options_.verify_host_key = false;
    failure_of_kind(failure_kind::connection, [&] { ftp::session(server, options_); });
}

TEST_F(MisbehavingServerTest, a_local_file_that_cannot_grow_is_told_from_a_lost_connection)
{
    server_.tree().add_file("/home/file", std::string(100'000, 'x'));
    auto session = connect();
    const little_room room;
    failure_of_kind(failure_kind::local_file, [&] { session.download("file", local_ / "x"); });
}

TEST_F(MisbehavingServerTest, a_download_that_is_cut_off_fails)
{
    server_.tree().add_file("/home/file", std::string(100'000, 'x'));
    auto session = connect();
    pacing cut;
    cut.cut_after = 50'000;
    server_.pace_data(cut);
    failure_of_kind(failure_kind::connection, [&] { session.download("file", local_ / "x"); });
}

TEST_F(MisbehavingServerTest, an_upload_that_is_refused_at_its_end_fails)
{
    auto session = connect();
    server_.reply_to(scripted_server::end_of("STOR"), 452, "disk full");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer,
                                [&] { session.upload(write_bytes(local_ / "x", "x"), "x"); }),
                HasSubstr("452 disk full"));
}

TEST_F(MisbehavingServerTest, a_file_is_known_without_sizes)
{
    server_.tree().add_file("/home/file", "x");
    server_.reply_to("SIZE", 502, "what?");
    auto session = connect();
    EXPECT_TRUE(session.is_file("file"));
    EXPECT_FALSE(session.is_file("missing"));
    EXPECT_FALSE(session.is_file("/home"));
    server_.reply_to("RETR", 550, "not yours");
    EXPECT_THAT(failure_of_kind(failure_kind::permission, [&] { session.is_file("file"); }),
                HasSubstr("550 not yours"));
}

TEST_F(MisbehavingServerTest, a_rename_that_only_seems_to_go_well_fails)
{
    server_.tree().add_file("/home/file", "x");
    auto session = connect();
    server_.reply_to("RNTO", 452, "disk full");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { session.rename("file", "new"); }),
                HasSubstr("452 disk full"));
    server_.close_on("RNTO");
    EXPECT_THROW(session.rename("file", "new"), ftp::failure);
    server_.reply_to("RNTO", 250, "done");
    EXPECT_THROW(session.rename("file", "new"), ftp::failure);
    server_.clear_script();
    session.rename("file", "new");
    EXPECT_TRUE(server_.tree().is_file("/home/new"));
    EXPECT_FALSE(server_.tree().is_file("/home/file"));
}

TEST_F(MisbehavingServerTest, the_system_is_what_the_server_says)
{
    auto session = connect();
    server_.reply_to("SYST", 215, "OTHER 215 x");
    EXPECT_EQ(session.system_type(), "OTHER 215 x");
    server_.reply_to("SYST", 502, "not told");
    EXPECT_THAT(failure_of_kind(failure_kind::transfer, [&] { session.system_type(); }),
                HasSubstr("502"));
    server_.close_on("SYST");
    failure_of_kind(failure_kind::connection, [&] { session.system_type(); });
}

TEST_F(MisbehavingServerTest, quotes_in_the_login_folder_are_understood)
{
    scripted_server server("/ho\"me and #1");
    auto where = url();
    where.port = server.port();
    ftp::session session(where, options_);
    EXPECT_EQ(session.working_folder(), "/ho\"me and #1");
    session.make_folder("new");
    EXPECT_TRUE(server.tree().is_folder("/ho\"me and #1/new"));
}

} // namespace
} // namespace tarnix::test
