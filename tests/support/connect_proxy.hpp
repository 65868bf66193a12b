#pragma once

#include <support/loopback_socket.hpp>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tarnix::test {

/// An HTTP proxy in this process that understands CONNECT to ports of 127.0.0.1, on a port that
/// the system chooses.
class connect_proxy {
public:
    struct request {
        std::string line;
        /// The value of Proxy-Authorization, empty without one.
        std::string authorization;
    };

    /// With `authorization` (as in "Basic dTpw"), requests without exactly that are refused.
    explicit connect_proxy(const std::string& authorization = "");
    ~connect_proxy();
    connect_proxy(const connect_proxy&) = delete;
    connect_proxy& operator=(const connect_proxy&) = delete;

    unsigned short port() const { return listener_.port(); }
    std::vector<request> requests() const;
    /// What went wrong in the proxy itself.
    std::vector<std::string> faults() const;

private:
    void accept_connections();
    void serve(tcp_stream client);
    void tunnel(tcp_stream& client);
    void add_fault(const std::string& what);

    const std::string authorization_;
    stop_signal stop_;
    mutable std::mutex mutex_;
    std::vector<request> requests_;
    std::vector<std::string> faults_;
    tcp_listener listener_;
    std::jthread acceptor_;
};

} // namespace tarnix::test
