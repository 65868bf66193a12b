#include "core_session.hpp"

#include <support/identifier_matchers.hpp>

#include <gmock/gmock.h>

using namespace tarnix::test;

namespace {

class ConnectSftpTest : public core_session {
protected:
    ConnectSftpTest() { reset(server_); }

    const live_server& server() const { return server_; }
    sftp_login login() const { return sftp_login(server_); }
    sftp_login login_with_key(const std::string& key = "private_key") const
    {
        auto result = login();
        result.private_key_file = server_[key];
        return result;
    }
    std::string url() { return core::current_remote_url(session()); }
    std::string port() const { return std::to_string(server_.port()); }

    /// libcurl names folders with the slash of its URLs.
    std::string home() const { return server_.root().string() + "/"; }

    void expect_root_with_warning(const std::string& folder)
    {
        EXPECT_EQ(folder, "/");
        ASSERT_EQ(warnings().size(), 1u);
        EXPECT_TRUE(same_id(warnings().front(), id_of<ids::CouldNotDetermineHomeFolder>()));
    }

private:
    const live_server& server_ = running_server("sshd");
};

TEST_F(ConnectSftpTest, starts_in_the_home_folder)
{
    EXPECT_EQ(connect_with_password(session(), login()), home());
    EXPECT_EQ(url(), "sftp://127.0.0.1/~");
    EXPECT_THAT(warnings(), testing::IsEmpty());
}

TEST_F(ConnectSftpTest, tilde_means_the_home_folder)
{
    auto tilde = login();
    tilde.starting_folder = "/~/";
    EXPECT_EQ(connect_with_password(session(), tilde), home());
}

TEST_F(ConnectSftpTest, starts_at_the_root_when_asked_to)
{
    auto at_root = login();
    at_root.start_at_root = true;
    EXPECT_EQ(connect_with_password(session(), at_root), "/");
    EXPECT_EQ(url(), "sftp://127.0.0.1/");
}

TEST_F(ConnectSftpTest, starting_folder_outranks_the_root)
{
    auto both = login();
    both.start_at_root = true;
    both.starting_folder = server().root();
    EXPECT_EQ(connect_with_password(session(), both), home());
}

TEST_F(ConnectSftpTest, starting_folder_may_hold_blanks_and_other_letters)
{
    const auto folder = server().root() / "über dem Zaun";
    make_folder(folder);
    auto there = login();
    there.starting_folder = folder;
    EXPECT_EQ(connect_with_password(session(), there), folder.string() + "/");
}

TEST_F(ConnectSftpTest, relative_starting_folder_is_meant_from_the_root)
{
    make_folder(server().root() / "data");
    auto relative = login();
    relative.starting_folder = (server().root() / "data").relative_path();
    EXPECT_EQ(connect_with_password(session(), relative), home() + "data/");
    EXPECT_EQ(url(), "sftp://127.0.0.1" + home() + "data/");
}

TEST_F(ConnectSftpTest, missing_starting_folder_means_the_root_with_a_warning)
{
    auto to_missing = login();
    to_missing.starting_folder = server().root() / "missing";
    expect_root_with_warning(connect_with_password(session(), to_missing));
}

TEST_F(ConnectSftpTest, wrong_password_is_a_bad_login)
{
    auto wrong = login();
    wrong.password += "x";
    EXPECT_ERROR_ID(connect_with_password(session(), wrong),
                    id_of<ids::BadLogin>("sftp://127.0.0.1"));
}

TEST_F(ConnectSftpTest, wrong_password_with_a_starting_folder_is_a_bad_login_at_the_host)
{
    auto wrong = login();
    wrong.password += "x";
    wrong.starting_folder = server().root();
    EXPECT_ERROR_ID(connect_with_password(session(), wrong), id_of<ids::BadLogin>("127.0.0.1"));
}

TEST_F(ConnectSftpTest, closed_port_is_no_connection)
{
    const taken_port closed(taken_port::state::closed);
    auto to_closed = login();
    to_closed.port = closed.number();
    const auto number = std::to_string(closed.number());
    EXPECT_ERROR_ID(connect_with_password(session(), to_closed),
                    id_of<ids::NoConnection>("sftp://127.0.0.1", number));
    to_closed.starting_folder = "/data";
    EXPECT_ERROR_ID(connect_with_password(session(), to_closed),
                    id_of<ids::NoConnection>("sftp://127.0.0.1", number));
}

TEST_F(ConnectSftpTest, timeouts_bound_the_wait_for_a_silent_server)
{
    const taken_port silent(taken_port::state::silent);
    auto to_silent = login();
    to_silent.port = silent.number();
    const auto no_connection =
        id_of<ids::NoConnection>("sftp://127.0.0.1", std::to_string(silent.number()));
    core::transfer_timeout(session(), 200);
    EXPECT_ERROR_ID(connect_with_password(session(), to_silent), no_connection);
    core::transfer_timeout(session(), 0);
    core::connection_timeout(session(), 200);
    EXPECT_ERROR_ID(connect_with_password(session(), to_silent), no_connection);
}

TEST_F(ConnectSftpTest, name_that_does_not_resolve_is_no_connection)
{
    // Too long for a label of a name, so nobody is asked.
    auto nowhere = login();
    nowhere.host = std::string(64, 'x') + ".invalid";
    EXPECT_ERROR_ID(connect_with_password(session(), nowhere),
                    id_of<ids::NoConnection>("sftp://" + nowhere.host, port()));
}

TEST_F(ConnectSftpTest, name_that_does_not_resolve_with_a_starting_folder)
{
    auto nowhere = login();
    nowhere.host = std::string(64, 'x') + ".invalid";
    nowhere.starting_folder = "/data";
    EXPECT_ERROR_ID(connect_with_password(session(), nowhere),
                    id_of<ids::NoConnectionToStartingFolder>(nowhere.host, port()));
}

TEST_F(ConnectSftpTest, use_proxy_without_any_proxy_connects_directly)
{
    auto asking = login();
    asking.use_proxy = true;
    EXPECT_EQ(connect_with_password(session(), asking), home());
}

TEST_F(ConnectSftpTest, right_known_host_is_accepted)
{
    core::set_option(session(), CURLOPT_SSH_KNOWNHOSTS, server()["known_hosts"].c_str());
    EXPECT_EQ(connect_with_password(session(), login()), home());
}

TEST_F(ConnectSftpTest, wrong_known_host_is_no_connection)
{
    core::set_option(session(), CURLOPT_SSH_KNOWNHOSTS, server()["wrong_known_hosts"].c_str());
    EXPECT_ERROR_ID(connect_with_password(session(), login()),
                    id_of<ids::NoConnection>("sftp://127.0.0.1", port()));
}

TEST_F(ConnectSftpTest, key_alone_is_enough)
{
    EXPECT_EQ(connect_with_keys(session(), login_with_key()), home());
}

TEST_F(ConnectSftpTest, key_with_its_public_file)
{
    auto both = login_with_key();
    both.public_key_file = server()["public_key"];
    EXPECT_EQ(connect_with_keys(session(), both), home());
}

TEST_F(ConnectSftpTest, encrypted_key_with_its_passphrase)
{
    auto encrypted = login_with_key("encrypted_private_key");
    encrypted.passphrase = server()["passphrase"];
    EXPECT_EQ(connect_with_keys(session(), encrypted), home());
}

TEST_F(ConnectSftpTest, wrong_passphrase_is_a_bad_login)
{
    auto encrypted = login_with_key("encrypted_private_key");
    encrypted.passphrase = server()["passphrase"] + "x";
    EXPECT_ERROR_ID(connect_with_keys(session(), encrypted),
                    id_of<ids::BadLogin>("sftp://127.0.0.1"));
}

TEST_F(ConnectSftpTest, key_that_the_server_does_not_know_is_a_bad_login)
{
    EXPECT_ERROR_ID(connect_with_keys(session(), login_with_key("unknown_private_key")),
                    id_of<ids::BadLogin>("sftp://127.0.0.1"));
}

TEST_F(ConnectSftpTest, password_is_not_offered_beside_keys)
{
    core::set_option(session(), CURLOPT_PASSWORD, server().password().c_str());
    EXPECT_ERROR_ID(connect_with_keys(session(), login_with_key("unknown_private_key")),
                    id_of<ids::BadLogin>("sftp://127.0.0.1"));
}

TEST_F(ConnectSftpTest, key_with_a_starting_folder)
{
    make_folder(server().root() / "data");
    auto there = login_with_key();
    there.starting_folder = server().root() / "data";
    EXPECT_EQ(connect_with_keys(session(), there), home() + "data/");
}

} // namespace
