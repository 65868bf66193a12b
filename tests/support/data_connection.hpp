#pragma once

#include <support/loopback_socket.hpp>

#include <optional>
#include <string>
#include <variant>

namespace tarnix::test {

/// The second connection of an FTP transfer: awaited (passive) or made by the server (active).
class data_connection {
public:
    /// Listens at once, so that the client may connect before it asks for the transfer.
    static data_connection passive(const stop_signal& stop, const std::string& address);
    static data_connection active(unsigned short port, const stop_signal& stop);

    /// Of whichever side listens.
    unsigned short port() const;
    /// The connection itself.
    tcp_stream open();
    /// Makes an active one now rather than when it is needed.
    void connect_early();
    /// Sends `bytes`, as slowly as `how` says, and closes.
    void send(const std::string& bytes, const pacing& how);
    /// Everything up to the end of the stream.
    std::string receive();

private:
    using peer = std::variant<tcp_listener, unsigned short>;

    data_connection(peer client, const stop_signal& stop);

    peer client_;
    std::optional<tcp_stream> made_;
    const stop_signal* stop_;
};

} // namespace tarnix::test
