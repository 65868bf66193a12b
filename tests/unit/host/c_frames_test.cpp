#include "recorded_log.hpp"

#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace {

using namespace tarnix::io::ftp::core;

/// A port of this machine where nobody listens, kept from others.
class closed_port {
public:
    closed_port() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (socket_ < 0 || ::bind(socket_, generic, size) != 0 ||
            ::getsockname(socket_, generic, &size) != 0)
            throw std::runtime_error("no port");
        number_ = ntohs(address.sin_port);
    }
    ~closed_port() { ::close(socket_); }
    closed_port(const closed_port&) = delete;
    closed_port& operator=(const closed_port&) = delete;

    int number() const { return number_; }

private:
    int socket_;
    int number_ = 0;
};

class c_frames_test : public testing::Test {
protected:
    ~c_frames_test() override { getLogger().set_levels(0); }

    CURLcode perform()
    {
        const auto url = "ftp://127.0.0.1:" + std::to_string(port_.number()) + "/";
        set_option(session_, CURLOPT_PROXY, "");
        set_option(session_, CURLOPT_URL, url.c_str());
        return session_.perform();
    }

    tarnix::host::standalone host_;
    closed_port port_;
    curl_ptr session_;
};

TEST_F(c_frames_test, what_a_log_sink_raises_during_a_request_does_not_reach_libcurl)
{
    const raising_log sink;
    getLogger().set_levels(1 | 4 | 8 | 256);
    EXPECT_EQ(perform(), CURLE_COULDNT_CONNECT);
    EXPECT_GT(sink.raised(), 0);
}

TEST_F(c_frames_test, what_a_log_sink_raises_on_leaving_a_function_is_dropped)
{
    const raising_log sink;
    getLogger().set_levels(32);
    EXPECT_THROW(perform(), std::runtime_error) << "entering a function passes it on";
    EXPECT_EQ(getLogger().depth(), 0);
    getLogger().set_levels(64 | 128);
    EXPECT_EQ(perform(), CURLE_COULDNT_CONNECT) << "without entries there are no exits";
    getLogger().set_levels(0);
}

} // namespace
