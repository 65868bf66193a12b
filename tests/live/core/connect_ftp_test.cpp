#include "core_session.hpp"

#include <support/identifier_matchers.hpp>

#include <gmock/gmock.h>

using namespace tarnix::test;
using testing::AllOf;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

namespace {

class ConnectFtpTest : public core_session {
protected:
    ConnectFtpTest() { reset(server_); }

    const live_server& server() const { return server_; }
    ftp_login login() const { return ftp_login(server_); }
    std::string url() { return core::current_remote_url(session()); }
    std::string port() const { return std::to_string(server_.port()); }

private:
    const live_server& server_ = running_server("vsftpd");
};

class ConnectTlsTest : public core_session {
protected:
    ConnectTlsTest() { reset(server_); }

    const live_server& server() const { return server_; }
    std::string port() const { return std::to_string(server_.port()); }
    ftp_login login(const std::string& tls_mode, const std::string& ca = "ca_file") const
    {
        ftp_login result(server_);
        result.tls_mode = tls_mode;
        result.ca_file = server_[ca];
        return result;
    }

private:
    const live_server& server_ = running_server("vsftpd-tls");
};

TEST_F(ConnectFtpTest, without_path_starts_in_the_login_folder)
{
    EXPECT_EQ(connect(session(), login()), server().root());
    EXPECT_EQ(url(), "ftp://127.0.0.1/" + server().root().string() + "/");
    EXPECT_THAT(warnings(), testing::IsEmpty());
}

TEST_F(ConnectFtpTest, path_is_meant_from_the_login_folder)
{
    make_folder(server().root() / "pub");
    auto to_pub = login();
    to_pub.url += "/pub";
    EXPECT_EQ(connect(session(), to_pub), server().root() / "pub");
    EXPECT_EQ(url(), "ftp://127.0.0.1/pub/");
}

TEST_F(ConnectFtpTest, path_after_a_double_slash_is_absolute)
{
    make_folder(server().root() / "pub");
    auto to_pub = login();
    to_pub.url += "/" + (server().root() / "pub").string();
    EXPECT_EQ(connect(session(), to_pub), server().root() / "pub");
}

TEST_F(ConnectFtpTest, lone_slash_means_the_login_folder)
{
    auto to_login_folder = login();
    to_login_folder.url += "/";
    EXPECT_EQ(connect(session(), to_login_folder), server().root());
    EXPECT_EQ(url(), "ftp://127.0.0.1/");
}

TEST_F(ConnectFtpTest, missing_path_warns_and_is_then_tried_once_more)
{
    auto to_missing = login();
    to_missing.url += "/missing";
    EXPECT_ERROR_ID(connect(session(), to_missing),
                    id_of<ids::NoSuchDirectory>("ftp://127.0.0.1/missing/"));
    ASSERT_EQ(warnings().size(), 1u);
    EXPECT_TRUE(same_id(warnings().front(), id_of<ids::CouldNotLoginToRemoteFolder>()));
}

TEST_F(ConnectFtpTest, wrong_password_is_a_bad_login)
{
    auto wrong = login();
    wrong.password += "x";
    EXPECT_ERROR_ID(connect(session(), wrong), id_of<ids::BadLogin>("ftp://127.0.0.1"));
}

TEST_F(ConnectFtpTest, unknown_user_is_a_bad_login)
{
    auto unknown = login();
    unknown.user = "nobody-of-this-name";
    EXPECT_ERROR_ID(connect(session(), unknown), id_of<ids::BadLogin>("ftp://127.0.0.1"));
}

TEST_F(ConnectFtpTest, failed_login_can_be_followed_by_a_right_one)
{
    auto wrong = login();
    wrong.password += "x";
    EXPECT_ERROR_ID(connect(session(), wrong), id_of<ids::BadLogin>("ftp://127.0.0.1"));
    EXPECT_EQ(connect(session(), login()), server().root());
}

TEST_F(ConnectFtpTest, closed_port_is_no_connection)
{
    const taken_port closed(taken_port::state::closed);
    auto to_closed = login();
    to_closed.port = closed.number();
    EXPECT_ERROR_ID(connect(session(), to_closed),
                    id_of<ids::NoConnection>("ftp://127.0.0.1", std::to_string(closed.number())));
}

TEST_F(ConnectFtpTest, name_that_does_not_resolve_is_no_connection)
{
    // Too long for a label of a name, so nobody is asked.
    const auto unresolvable = "ftp://" + std::string(64, 'x') + ".invalid";
    auto nowhere = login();
    nowhere.url = unresolvable;
    EXPECT_ERROR_ID(connect(session(), nowhere), id_of<ids::NoConnection>(unresolvable, port()));
}

TEST_F(ConnectFtpTest, transfer_timeout_bounds_the_wait_for_a_silent_server)
{
    const taken_port silent(taken_port::state::silent);
    auto to_silent = login();
    to_silent.port = silent.number();
    core::transfer_timeout(session(), 200);
    EXPECT_ERROR_ID(connect(session(), to_silent),
                    id_of<ids::NoConnection>("ftp://127.0.0.1", std::to_string(silent.number())));
}

TEST_F(ConnectFtpTest, connection_timeout_bounds_the_wait_for_a_silent_server)
{
    const taken_port silent(taken_port::state::silent);
    auto to_silent = login();
    to_silent.port = silent.number();
    core::connection_timeout(session(), 200);
    EXPECT_ERROR_ID(connect(session(), to_silent),
                    id_of<ids::NoConnection>("ftp://127.0.0.1", std::to_string(silent.number())));
}

TEST_F(ConnectFtpTest, tls_mode_is_compared_exactly_and_nothing_is_sent)
{
    for (const std::string mode : {"Strict", "", "all", "none "}) {
        auto odd = login();
        odd.tls_mode = mode;
        EXPECT_ERROR_ID(connect(session(), odd),
                        id_of<ids::InternalError>("TLSMode", "Unrecognized option: " + mode));
    }
    EXPECT_THAT(commands_received(server()), testing::IsEmpty());
}

TEST_F(ConnectFtpTest, active_lets_the_server_open_data_connections)
{
    auto active = login();
    active.connection_mode = "active";
    connect(session(), active);
    core::list(session(), "");
    EXPECT_THAT(commands_received(server()),
                AllOf(Contains(StartsWith("EPRT ")), Not(Contains("EPSV"))));
}

TEST_F(ConnectFtpTest, any_other_connection_mode_is_passive)
{
    auto odd = login();
    odd.connection_mode = "Active";
    connect(session(), odd);
    core::list(session(), "");
    EXPECT_THAT(commands_received(server()),
                AllOf(Contains("EPSV"), Not(Contains(StartsWith("EPRT ")))));
}

TEST_F(ConnectFtpTest, use_proxy_without_any_proxy_connects_directly)
{
    auto asking = login();
    asking.use_proxy = true;
    EXPECT_EQ(connect(session(), asking), server().root());
}

TEST_F(ConnectFtpTest, opportunistic_falls_back_to_clear_text)
{
    auto opportunistic = login();
    opportunistic.tls_mode = "opportunistic";
    EXPECT_EQ(connect(session(), opportunistic), server().root());
    EXPECT_THAT(commands_received(server()), Contains(StartsWith("AUTH ")));
}

TEST_F(ConnectFtpTest, strict_is_no_connection_where_there_is_no_tls)
{
    auto strict = login();
    strict.tls_mode = "strict";
    EXPECT_ERROR_ID(connect(session(), strict),
                    id_of<ids::NoConnection>("ftp://127.0.0.1", port()));
    EXPECT_THAT(commands_received(server()), Not(Contains(StartsWith("USER "))));
}

TEST_F(ConnectTlsTest, strict_connects_with_the_right_authority)
{
    EXPECT_EQ(connect(session(), login("strict")), server().root());
    EXPECT_THAT(commands_received(server()),
                AllOf(Contains(StartsWith("AUTH ")), Contains("PROT P")));
}

TEST_F(ConnectTlsTest, opportunistic_uses_tls_where_it_can)
{
    EXPECT_EQ(connect(session(), login("opportunistic")), server().root());
    EXPECT_THAT(commands_received(server()),
                AllOf(Contains(StartsWith("AUTH ")), Contains("PROT P")));
}

TEST_F(ConnectTlsTest, none_does_not_ask_for_tls)
{
    EXPECT_EQ(connect(session(), login("none")), server().root());
    EXPECT_THAT(commands_received(server()), Not(Contains(StartsWith("AUTH "))));
}

TEST_F(ConnectTlsTest, unknown_authority_is_no_connection_and_no_password_is_sent)
{
    for (const auto* mode : {"strict", "opportunistic"})
        EXPECT_ERROR_ID(connect(session(), login(mode, "other_ca_file")),
                        id_of<ids::NoConnection>("ftp://127.0.0.1", port()));
    EXPECT_THAT(commands_received(server()), Not(Contains(StartsWith("PASS"))));
}

TEST_F(ConnectTlsTest, unknown_authority_passes_without_verify_peer)
{
    auto unchecked = login("strict", "other_ca_file");
    unchecked.verify_peer = false;
    EXPECT_EQ(connect(session(), unchecked), server().root());
}

TEST_F(ConnectTlsTest, missing_or_no_authority_file_is_no_connection)
{
    for (const auto& file : {std::string(), (local() / "missing.pem").string()}) {
        auto without = login("strict");
        without.ca_file = file;
        EXPECT_ERROR_ID(connect(session(), without),
                        id_of<ids::NoConnection>("ftp://127.0.0.1", port()));
    }
}

TEST_F(ConnectTlsTest, another_host_name_is_no_connection)
{
    // libcurl resolves all names below localhost to this machine; the certificate has only that.
    auto misnamed = login("strict");
    misnamed.url = "ftp://other.localhost";
    EXPECT_ERROR_ID(connect(session(), misnamed),
                    id_of<ids::NoConnection>("ftp://other.localhost", port()));
}

TEST_F(ConnectTlsTest, another_host_name_passes_without_verify_host)
{
    auto misnamed = login("strict");
    misnamed.url = "ftp://other.localhost";
    misnamed.verify_host = false;
    EXPECT_EQ(connect(session(), misnamed), server().root());
}

TEST_F(ConnectTlsTest, wrong_password_is_a_bad_login)
{
    auto wrong = login("strict");
    wrong.password += "x";
    EXPECT_ERROR_ID(connect(session(), wrong), id_of<ids::BadLogin>("ftp://127.0.0.1"));
}

} // namespace
