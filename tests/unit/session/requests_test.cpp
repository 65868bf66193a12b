#include "requests.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace tarnix::ftp {
namespace {

namespace core = tarnix::io::ftp::core;
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(AskTest, ends_an_answer_that_is_too_long)
{
    core::curl_ptr handle(false);
    watch watching(60s, {});
    const auto given = ask(handle, watching, "file:///dev/zero", question::long_listing, 1000);
    EXPECT_EQ(given.code, CURLE_WRITE_ERROR);
    EXPECT_THAT(given.error, HasSubstr("longer than 1000 bytes"));
    EXPECT_LE(given.body.size(), 1000);
}

TEST(AskTest, tells_the_watch_of_what_arrives)
{
    constexpr auto patience = 1s;
    watch watching(patience, {});
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() <= end)
        std::this_thread::yield();
    // Not observed, so that libcurl's own counting does not tell the watch.
    core::curl_ptr handle(false);
    ask(handle, watching, "file:///dev/zero", question::names, 1000);
    core::curl_ptr observed(false);
    watching.observe(observed);
    core::set_option(observed, CURLOPT_URL, "file:///dev/null");
    EXPECT_EQ(observed.perform(), CURLE_OK);
}

TEST(FirstRequestTest, a_connection_that_breaks_is_no_refusal)
{
    EXPECT_EQ(kind_of_first(CURLE_FAILED_INIT, "Failed getting banner"), failure_kind::connection);
    EXPECT_EQ(kind_of_first(CURLE_SSL_CONNECT_ERROR, "OpenSSL SSL_connect: Connection reset"),
              failure_kind::connection);
    EXPECT_EQ(kind_of_first(CURLE_SSL_CONNECT_ERROR, "error:0A000126:unexpected eof while reading"),
              failure_kind::connection);
    EXPECT_EQ(kind_of_first(CURLE_SSL_CONNECT_ERROR, "error:0A00010B:wrong version number"),
              failure_kind::security);
    EXPECT_EQ(kind_of_first(CURLE_PEER_FAILED_VERIFICATION, ""), failure_kind::security);
}

TEST(RequestTest, a_connection_that_breaks_while_it_is_secured_is_no_refusal)
{
    for (const auto* text : {"OpenSSL SSL_connect: SSL_ERROR_SYSCALL", "unexpected eof",
                             "Recv failure: Connection reset by peer", "Send failure: Broken pipe"})
        EXPECT_EQ(kind_of(CURLE_SSL_CONNECT_ERROR, text), failure_kind::connection) << text;
    EXPECT_EQ(kind_of(CURLE_SSL_CONNECT_ERROR, "error:0A000410:sslv3 alert handshake failure"),
              failure_kind::security);
    EXPECT_EQ(kind_of(CURLE_REMOTE_ACCESS_DENIED, "Recv failure"), failure_kind::permission);
}

TEST(DecisiveRefusalTest, a_lost_connection_outdoes_it)
{
    replies server;
    server.add("500 EPSV?");
    EXPECT_EQ(decisive_refusal(CURLE_FTP_WEIRD_PASV_REPLY, server), "500 EPSV?");
    EXPECT_EQ(decisive_refusal(CURLE_RECV_ERROR, server), std::nullopt);
    server.add("421 bye");
    EXPECT_EQ(decisive_refusal(CURLE_RECV_ERROR, server), "421 bye");
}

TEST(DecisiveRefusalTest, a_lack_of_safety_outdoes_it)
{
    replies server;
    server.add("500 AUTH?");
    EXPECT_EQ(decisive_refusal(CURLE_USE_SSL_FAILED, server), std::nullopt);
    EXPECT_EQ(decisive_refusal(CURLE_PEER_FAILED_VERIFICATION, server), std::nullopt);
}

} // namespace
} // namespace tarnix::ftp
