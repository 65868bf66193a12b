#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>

#include <support/loopback_socket.hpp>
#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <fcntl.h>
#include <sys/socket.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>

namespace tarnix::test {
namespace {

using ftp::failure_kind;
using testing::ElementsAre;
using testing::IsEmpty;

template <auto Release>
using released_with = std::integral_constant<decltype(Release), Release>;
using tls_settings = std::unique_ptr<SSL_CTX, released_with<&SSL_CTX_free>>;
using tls_connection = std::unique_ptr<SSL, released_with<&SSL_free>>;

void require(bool done, const std::string& what)
{
    if (!done)
        throw disconnected(what);
}

/// With a key and a certificate that nobody else knows.
tls_settings make_tls_settings()
{
    constexpr long hour = 3600;
    tls_settings settings(SSL_CTX_new(TLS_server_method()));
    const std::unique_ptr<EVP_PKEY, released_with<&EVP_PKEY_free>> key(EVP_EC_gen("P-256"));
    const std::unique_ptr<X509, released_with<&X509_free>> certificate(X509_new());
    require(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -hour) &&
                X509_gmtime_adj(X509_getm_notAfter(certificate.get()), hour) &&
                X509_set_pubkey(certificate.get(), key.get()) == 1 &&
                X509_sign(certificate.get(), key.get(), EVP_sha256()) != 0 &&
                SSL_CTX_use_certificate(settings.get(), certificate.get()) == 1 &&
                SSL_CTX_use_PrivateKey(settings.get(), key.get()) == 1,
            "no certificate can be made");
    return settings;
}

/// The end of TLS on a socket; every wait is bounded.
class encrypted_stream {
public:
    encrypted_stream(tcp_stream socket, SSL_CTX* settings)
        : socket_(std::move(socket)), tls_(SSL_new(settings))
    {
        const auto number = socket_.descriptor_number();
        const timeval patience{20, 0};
        require(::fcntl(number, F_SETFL, 0) == 0 &&
                    ::setsockopt(number, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) == 0,
                "the socket cannot be set up");
        require(SSL_set_fd(tls_.get(), number) == 1 && SSL_accept(tls_.get()) == 1, "no handshake");
    }

    void write(const std::string& text)
    {
        require(SSL_write(tls_.get(), text.data(), static_cast<int>(text.size())) > 0, "no write");
    }
    std::string read_line()
    {
        std::string line;
        for (char c = 0; c != '\n'; line += c)
            require(SSL_read(tls_.get(), &c, 1) == 1, "no line");
        return line.substr(0, line.find('\r'));
    }
    void announce_end() { SSL_shutdown(tls_.get()); }

private:
    tcp_stream socket_;
    tls_connection tls_;
};

/// One client's FTP server with TLS. Whether it says so when its data ends is for the test to say.
class encrypted_server {
public:
    explicit encrypted_server(bool announces_ends)
        : announces_ends_(announces_ends), thread_([this] { converse(); })
    {
    }
    ~encrypted_server()
    {
        stop_.raise();
        thread_.join();
    }
    encrypted_server(const encrypted_server&) = delete;
    encrypted_server& operator=(const encrypted_server&) = delete;

    unsigned short port() const { return control_.port(); }

private:
    void converse()
    {
        try {
            for (;;) {
                auto plain = control_.accept();
                plain.write("220 ready\r\n");
                std::string command;
                while (!command.ends_with("\r\n")) {
                    const auto piece = plain.read_some();
                    require(!piece.empty(), "no command");
                    command += piece;
                }
                plain.write("234 go ahead\r\n");
                encrypted_stream client(std::move(plain), tls_.get());
                try {
                    for (;;)
                        answer(client, client.read_line());
                } catch (const disconnected&) {
                    // It may come again.
                }
            }
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the test is over
        }
    }

    void answer(encrypted_stream& client, const std::string& command)
    {
        static const std::map<std::string, std::string> answers{{"USER", "331 password"},
                                                                {"PASS", "230 in"},
                                                                {"PBSZ", "200 ok"},
                                                                {"PROT", "200 ok"},
                                                                {"PWD", "257 \"/\""},
                                                                {"CWD", "250 there"},
                                                                {"TYPE", "200 ok"},
                                                                {"NOOP", "200 ok"},
                                                                {"QUIT", "221 bye"},
                                                                {"SIZE", "502 what"},
                                                                {"EPSV", ""},
                                                                {"LIST", ""},
                                                                {"NLST", ""},
                                                                {"RETR", ""}};
        const auto verb = command.substr(0, command.find(' '));
        const auto known = answers.find(verb);
        if (known == answers.end())
            return client.write("500 what\r\n");
        if (!known->second.empty())
            return client.write(known->second + "\r\n");
        if (verb == "EPSV")
            return client.write("229 (|||" + std::to_string(data_.port()) + "|)\r\n");
        client.write("150 here it comes\r\n");
        {
            encrypted_stream data(data_.accept(), tls_.get());
            data.write("one\r\ntwo\r\n");
            if (announces_ends_)
                data.announce_end();
        }
        client.write("226 done\r\n");
    }

    stop_signal stop_;
    tls_settings tls_ = make_tls_settings();
    tcp_listener control_{stop_};
    tcp_listener data_{stop_};
    bool announces_ends_;
    std::thread thread_;
};

class UnannouncedEndTest : public testing::Test {
protected:
    static ftp::session connect_to(const encrypted_server& server, bool verify_end = true)
    {
        auto url = ftp::parse_url("ftpes://ada@127.0.0.1");
        url.port = server.port();
        ftp::session_options options;
        options.password = "secret";
        options.verify_peer = false;
        options.verify_host = false;
        options.verify_end = verify_end;
        return ftp::session(url, options);
    }

    static void expect_lost_connection(const std::function<void()>& operation)
    {
        try {
            operation();
            ADD_FAILURE() << "did not fail";
        } catch (const ftp::failure& failure) {
            EXPECT_EQ(failure.kind(), failure_kind::connection) << failure.what();
        }
    }

    std::filesystem::path local() const { return folder_.path() / "local"; }

private:
    host::standalone host_;
    temporary_folder folder_;
};

TEST_F(UnannouncedEndTest, announced_end_of_encrypted_data_is_the_end)
{
    const encrypted_server server(true);
    auto session = connect_to(server);
    EXPECT_EQ(session.list(), "one\ntwo\n");
    EXPECT_THAT(session.names(), ElementsAre("one", "two"));
    session.download("file", local());
    EXPECT_EQ(std::filesystem::file_size(local()), 10U);
    session.download("file", local(), ftp::transfer_mode::text);
    EXPECT_EQ(std::filesystem::file_size(local()), 8U);
}

TEST_F(UnannouncedEndTest, listing_whose_encrypted_connection_just_ends_is_a_failure)
{
    const encrypted_server server(false);
    auto session = connect_to(server);
    expect_lost_connection([&] { session.list(); });
    expect_lost_connection([&] { session.names(); });
}

TEST_F(UnannouncedEndTest, download_whose_encrypted_connection_just_ends_leaves_no_file)
{
    const encrypted_server server(false);
    auto session = connect_to(server);
    for (const auto mode : {ftp::transfer_mode::binary, ftp::transfer_mode::text}) {
        expect_lost_connection([&] { session.download("file", local(), mode); });
        EXPECT_TRUE(std::filesystem::is_empty(local().parent_path()));
    }
}

TEST_F(UnannouncedEndTest, any_end_is_taken_for_one_when_asked_to)
{
    const encrypted_server server(false);
    auto session = connect_to(server, false);
    EXPECT_THAT(session.names(), ElementsAre("one", "two"));
    session.download("file", local());
    EXPECT_EQ(std::filesystem::file_size(local()), 10U);
}

} // namespace
} // namespace tarnix::test
