#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tarnix::test {

/// The peer is gone, the server is being stopped, or nothing happened for too long: the end of the
/// conversation that it is raised in.
class disconnected : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Owns one descriptor.
class descriptor {
public:
    explicit descriptor(int number) : number_(number) {}
    descriptor(descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor& operator=(descriptor&& other) noexcept;
    ~descriptor();

    int number() const { return number_; }

private:
    int number_;
};

/// Ends the waits of all sockets that were made with it, in any thread.
class stop_signal {
public:
    stop_signal();
    void raise();

    int readable_when_raised() const { return event_.number(); }

private:
    descriptor event_;
};

/// How outgoing bytes are cut up, and after how many the connection is dropped.
struct pacing {
    std::size_t piece = 64UL << 10;
    std::chrono::milliseconds gap{0};
    std::optional<std::size_t> cut_after = std::nullopt;
};

constexpr auto usual_loopback = "127.0.0.1";
/// Another address of this machine at each call. Connections that are over keep their ports for a
/// minute: with thousands of them, all ports of one address are soon used up.
std::string new_loopback();

/// A connected stream socket on loopback. Every wait ends with `disconnected` when the stop signal
/// is raised, and after ten minutes in any case.
class tcp_stream {
public:
    tcp_stream(descriptor socket, const stop_signal& stop);

    /// Connects to a port of this machine; raises `disconnected` when nobody listens there.
    static tcp_stream connect_to(unsigned short port, const stop_signal& stop,
                                 const std::string& address = usual_loopback);

    /// The next bytes; empty at the end of the stream.
    std::string read_some();
    /// Sends everything, as slowly as the pacing says; raises `disconnected` where it cuts.
    void write(std::string_view bytes);

    /// What is written from now on may wait for more, at best until the stream closes, so that the
    /// peer finds the end together with the last bytes.
    void hold_back();
    void set_pacing(const pacing& how);
    /// Closing will break the connection instead of ending it.
    void reset_when_closed();
    int descriptor_number() const { return socket_.number(); }

private:
    std::size_t write_piece(std::string_view bytes);

    descriptor socket_;
    const stop_signal* stop_;
    pacing pacing_;
};

/// Holds a port of a loopback address that the system chooses. As long as nobody listens on the
/// descriptor, connections to it are refused.
class bound_port {
public:
    explicit bound_port(const std::string& address = usual_loopback);

    unsigned short number() const { return number_; }
    int descriptor_number() const { return socket_.number(); }

private:
    descriptor socket_;
    unsigned short number_;
};

/// Listens on a loopback address on a port that the system chooses.
class tcp_listener {
public:
    explicit tcp_listener(const stop_signal& stop, const std::string& address = usual_loopback);

    unsigned short port() const { return port_.number(); }
    int descriptor_number() const { return port_.descriptor_number(); }
    tcp_stream accept();

private:
    bound_port port_;
    const stop_signal* stop_;
};

/// Copies bytes both ways until one side ends.
void relay(tcp_stream& one, tcp_stream& other, const stop_signal& stop);

} // namespace tarnix::test
