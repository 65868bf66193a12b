#include "session_on_server.hpp"

#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

namespace tarnix::test {
namespace {

using ftp::failure_kind;
using testing::HasSubstr;

class LoginTest : public testing::Test {
protected:
    std::string folder_reached(const std::string& kind, const ftp::session_options& options)
    {
        return ftp::session(url_of(kind), options).working_folder();
    }

    /// The text of the failure, which must be of this kind.
    std::string refusal(const std::string& kind, const ftp::session_options& options,
                        failure_kind expected)
    {
        return refusal(url_of(kind), options, expected);
    }

    static std::string refusal(const ftp::url& server, const ftp::session_options& options,
                               failure_kind expected)
    {
        try {
            const ftp::session session(server, options);
            ADD_FAILURE() << "was let in";
        } catch (const ftp::failure& failure) {
            EXPECT_EQ(failure.kind(), expected) << failure.what();
            return failure.what();
        }
        return "";
    }

    const host::standalone host_;
};

TEST_F(LoginTest, wrong_passwords_are_refused)
{
    for (const std::string kind : {"vsftpd", "vsftpd-tls", "sshd"}) {
        auto options = login_to(kind);
        options.password = "wrong";
        const auto text = refusal(kind, options, failure_kind::login);
        EXPECT_THAT(text, HasSubstr(running_server(kind).user()));
        EXPECT_THAT(text, testing::Not(HasSubstr("wrong")));
    }
}

TEST_F(LoginTest, unknown_certificates_are_refused)
{
    auto options = login_to("vsftpd-tls");
    options.ca_file = running_server("vsftpd-tls")["other_ca_file"];
    EXPECT_THAT(refusal("vsftpd-tls", options, failure_kind::security), HasSubstr("certificate"));
    options.ca_file.clear();
    EXPECT_THAT(refusal("vsftpd-tls", options, failure_kind::security), HasSubstr("certificate"));
    options.verify_peer = false;
    EXPECT_EQ(folder_reached("vsftpd-tls", options), running_server("vsftpd-tls").root());
}

TEST_F(LoginTest, certificates_of_other_hosts_are_refused)
{
    // The certificate names localhost and 127.0.0.1 only, but this is the same server.
    auto server = url_of("vsftpd-tls");
    auto options = login_to("vsftpd-tls");
    server.host = "127.0.0.1";
    EXPECT_EQ(ftp::session(server, options).working_folder(), running_server("vsftpd-tls").root());
    server.host = "localhost";
    EXPECT_EQ(ftp::session(server, options).working_folder(), running_server("vsftpd-tls").root());
    server.host = "[::ffff:127.0.0.1]";
    refusal(server, options, failure_kind::security);
    options.verify_host = false;
    EXPECT_EQ(ftp::session(server, options).working_folder(), running_server("vsftpd-tls").root());
}

TEST_F(LoginTest, a_missing_file_of_certificates_is_a_matter_of_security)
{
    auto options = login_to("vsftpd-tls");
    options.ca_file = "/nonexistent/ca.pem";
    EXPECT_THAT(refusal("vsftpd-tls", options, failure_kind::security), HasSubstr("ca.pem"));
}

TEST_F(LoginTest, strict_tls_goes_to_no_server_without_it)
{
    auto server = url_of("vsftpd");
    server.scheme = ftp::protocol::ftpes;
    EXPECT_THAT(refusal(server, login_to("vsftpd"), failure_kind::security), HasSubstr("no TLS"));
}

TEST_F(LoginTest, opportunistic_tls_goes_without_where_there_is_none)
{
    auto options = login_to("vsftpd");
    options.tls = ftp::tls_mode::opportunistic;
    EXPECT_EQ(folder_reached("vsftpd", options), running_server("vsftpd").root());
}

TEST_F(LoginTest, opportunistic_tls_still_refuses_unknown_certificates)
{
    auto server = url_of("vsftpd-tls");
    server.scheme = ftp::protocol::ftp;
    auto options = login_to("vsftpd-tls");
    options.tls = ftp::tls_mode::opportunistic;
    options.ca_file = running_server("vsftpd-tls")["other_ca_file"];
    refusal(server, options, failure_kind::security);
}

TEST_F(LoginTest, changed_host_keys_are_refused)
{
    auto options = login_to("sshd");
    options.known_hosts_file = running_server("sshd")["wrong_known_hosts"];
    EXPECT_THAT(refusal("sshd", options, failure_kind::security), HasSubstr("posing"));
}

TEST_F(LoginTest, revoked_host_keys_are_refused)
{
    const temporary_folder folder;
    auto options = login_to("sshd");
    const auto known = read_bytes(options.known_hosts_file);
    const auto key = known.substr(known.find(' '), known.find('\n') - known.find(' '));
    options.known_hosts_file = folder / "known_hosts";
    write_bytes(options.known_hosts_file, known + "@revoked *" + key + " lost in May\n");
    EXPECT_THAT(refusal("sshd", options, failure_kind::security), HasSubstr("revoked"));
    write_bytes(options.known_hosts_file, known + "@revoked * ssh-ed25519 AAAA\n");
    EXPECT_EQ(folder_reached("sshd", options), running_server("sshd").root());
}

TEST_F(LoginTest, unknown_host_keys_are_refused)
{
    auto options = login_to("sshd");
    for (const auto* file : {"/dev/null", "/nonexistent/known_hosts"}) {
        options.known_hosts_file = file;
        EXPECT_THAT(refusal("sshd", options, failure_kind::security), HasSubstr("not among"));
    }
    options.verify_host_key = false;
    EXPECT_EQ(folder_reached("sshd", options), running_server("sshd").root());
}

TEST_F(LoginTest, fingerprints_decide_too)
{
    auto options = login_to("sshd");
    options.known_hosts_file.clear();
    options.host_key_fingerprint = "SHA256:" + running_server("sshd")["host_key_sha256"];
    EXPECT_EQ(folder_reached("sshd", options), running_server("sshd").root());
    options.host_key_fingerprint = std::string(43, 'A');
    refusal("sshd", options, failure_kind::security);
}

TEST_F(LoginTest, nothing_unverified_by_default)
{
    auto options = login_to("sshd");
    options.known_hosts_file.clear();
    EXPECT_THROW(folder_reached("sshd", options), ftp::invalid_input);
}

TEST_F(LoginTest, keys_open_the_door)
{
    const auto& server = running_server("sshd");
    auto options = login_to("sshd");
    options.password.reset();
    options.private_key_file = server["private_key"];
    EXPECT_EQ(folder_reached("sshd", options), server.root());
    options.public_key_file = server["public_key"];
    EXPECT_EQ(folder_reached("sshd", options), server.root());
}

TEST_F(LoginTest, encrypted_keys_need_their_passphrase)
{
    const auto& server = running_server("sshd");
    auto options = login_to("sshd");
    options.private_key_file = server["encrypted_private_key"];
    options.passphrase = server["passphrase"];
    EXPECT_EQ(folder_reached("sshd", options), server.root());
    options.passphrase = "wrong";
    refusal("sshd", options, failure_kind::login);
    options.passphrase.clear();
    refusal("sshd", options, failure_kind::login);
}

TEST_F(LoginTest, unknown_keys_are_refused)
{
    auto options = login_to("sshd");
    options.private_key_file = running_server("sshd")["unknown_private_key"];
    refusal("sshd", options, failure_kind::login);
}

TEST_F(LoginTest, says_when_nobody_answers)
{
    auto server = url_of("vsftpd");
    server.host = "name.invalid";
    EXPECT_THAT(refusal(server, login_to("vsftpd"), failure_kind::connection),
                HasSubstr("name.invalid"));
}

/// Proxies of the environment, for one test.
class environment_proxy {
public:
    environment_proxy()
    {
        for (const auto* name : names)
            ::setenv(name, "http://127.0.0.1:1", 1);
    }
    ~environment_proxy()
    {
        for (const auto* name : names)
            ::unsetenv(name);
    }
    environment_proxy(const environment_proxy&) = delete;
    environment_proxy& operator=(const environment_proxy&) = delete;

private:
    static constexpr const char* names[] = {"ftp_proxy", "FTP_PROXY", "all_proxy", "ALL_PROXY"};
};

TEST_F(LoginTest, the_environment_chooses_no_proxy)
{
    const environment_proxy proxy;
    for (const std::string kind : {"vsftpd", "vsftpd-tls", "sshd"})
        EXPECT_EQ(folder_reached(kind, login_to(kind)), running_server(kind).root());
}

TEST_F(LoginTest, the_starting_folder_may_stand_in_the_url)
{
    auto server = url_of("vsftpd");
    server.path = "//";
    EXPECT_EQ(ftp::session(server, login_to("vsftpd")).working_folder(), "/");
    server = url_of("sshd");
    server.path = "/";
    EXPECT_EQ(ftp::session(server, login_to("sshd")).working_folder(), "/");
    server.path = "/~/";
    EXPECT_EQ(ftp::session(server, login_to("sshd")).working_folder(),
              running_server("sshd").root());
}

} // namespace
} // namespace tarnix::test
