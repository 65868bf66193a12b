#include "session_on_server.hpp"

#include <support/cutting_gate.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace tarnix::test {
namespace {

using namespace std::chrono_literals;
using ftp::failure_kind;
using testing::Contains;
using testing::HasSubstr;

/// A session with OpenSSH through a gate that breaks the connection at the next answer.
class LostSftpConnectionTest : public testing::TestWithParam<cutting_gate::breaking> {
protected:
    LostSftpConnectionTest()
        : server_(running_server("sshd")),
          gate_("127.0.0.1", static_cast<unsigned short>(server_.port()),
                cutting_gate::speech::opaque),
          session_(url(), options())
    {
    }

    /// Also lets the connection hear "no" once, which libssh2 remembers.
    void break_connection()
    {
        EXPECT_FALSE(session_.exists("/not there"));
        gate_.start(cutting_gate::cut{.where = cutting_gate::channel::control,
                                      .way = cutting_gate::direction::to_client,
                                      .after = 0,
                                      .how = GetParam()});
    }

    ftp::session& session() { return session_; }

private:
    ftp::url url() const
    {
        auto server = ftp::parse_url("sftp://127.0.0.1");
        server.port = gate_.port();
        return server;
    }

    ftp::session_options options() const
    {
        ftp::session_options given;
        given.user = server_.user();
        given.password = server_.password();
        given.host_key_fingerprint = "SHA256:" + server_["host_key_sha256"];
        return given;
    }

    const host::standalone host_;
    const live_server& server_;
    cutting_gate gate_;
    ftp::session session_;
};

TEST_P(LostSftpConnectionTest, a_look_is_taken_again)
{
    break_connection();
    EXPECT_TRUE(session().exists("/etc"));
    break_connection();
    EXPECT_TRUE(session().is_folder("/etc"));
    break_connection();
    EXPECT_FALSE(session().is_file("/etc"));
    break_connection();
    EXPECT_THAT(session().names("/"), Contains("etc"));
}

TEST_P(LostSftpConnectionTest, a_change_fails_for_that_reason)
{
    break_connection();
    EXPECT_EQ(failure_of([&] { session().make_folder("new"); }), failure_kind::connection);
    break_connection();
    EXPECT_EQ(failure_of([&] { session().remove_file("not there"); }), failure_kind::connection);
    temporary_folder local;
    break_connection();
    EXPECT_EQ(failure_of([&] { session().download("/etc/passwd", local / "x"); }),
              failure_kind::connection);
    break_connection();
    const auto file = write_bytes(local / "y", "content");
    EXPECT_EQ(failure_of([&] { session().upload(file, "x"); }), failure_kind::connection);
}

TEST_P(LostSftpConnectionTest, a_refusal_stays_a_refusal)
{
    EXPECT_EQ(failure_of([&] { session().remove_file("not there"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { session().make_folder("/etc"); }), failure_kind::conflict);
}

TEST_P(LostSftpConnectionTest, a_transfer_names_the_server_without_room_as_the_other_reason)
{
    temporary_folder local;
    const auto file = write_bytes(local / "x", "content");
    try {
        session().upload(file, "/dev/full");
        ADD_FAILURE() << "did not fail";
    } catch (const ftp::failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("or the server could not go on"));
    }
}

INSTANTIATE_TEST_SUITE_P(Breakings, LostSftpConnectionTest,
                         testing::Values(cutting_gate::breaking::closed,
                                         cutting_gate::breaking::reset),
                         [](const auto& how) {
                             return how.param == cutting_gate::breaking::closed ? "closed"
                                                                                : "reset";
                         });

} // namespace
} // namespace tarnix::test
