#include <support/loopback_socket.hpp>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <system_error>
#include <vector>

namespace tarnix::test {

namespace {

constexpr int longest_wait_ms = 600'000;

int checked(int result, const char* what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

pollfd waiting_for(int number, short events)
{
    return {number, events, 0};
}

/// Waits for any of `wanted`, whose `revents` then tell which.
void wait(std::vector<pollfd>& wanted, const stop_signal& stop)
{
    wanted.push_back(waiting_for(stop.readable_when_raised(), POLLIN));
    const auto ready = poll(wanted.data(), wanted.size(), longest_wait_ms);
    if (ready == 0)
        throw disconnected("nothing happened for too long");
    if (ready < 0 && errno != EINTR)
        throw std::system_error(errno, std::generic_category(), "poll");
    if (wanted.back().revents != 0)
        throw disconnected("the server is being stopped");
    wanted.pop_back();
}

void wait_for(int number, short events, const stop_signal& stop)
{
    std::vector<pollfd> wanted{waiting_for(number, events)};
    do {
        wait(wanted, stop);
    } while (wanted.front().revents == 0);
}

/// A pause between two pieces; a stop ends it early.
void pause(std::chrono::milliseconds time, const stop_signal& stop)
{
    auto stopped = waiting_for(stop.readable_when_raised(), POLLIN);
    if (poll(&stopped, 1, static_cast<int>(time.count())) > 0)
        throw disconnected("the server is being stopped");
}

sockaddr_in socket_address(const std::string& address, unsigned short port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    if (inet_pton(AF_INET, address.c_str(), &result.sin_addr) != 1)
        throw std::invalid_argument(address + " is no address");
    return result;
}

// The socket functions take every address family through one pointer type.
const sockaddr* generic(const sockaddr_in& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

void switch_on(int number, int level, int option)
{
    const int on = 1;
    checked(setsockopt(number, level, option, &on, sizeof on), "setsockopt");
}

descriptor new_socket()
{
    descriptor made(
        checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket"));
    // The ports of connections that are over come free at once, not after a minute: thousands of
    // short connections would use them all up.
    switch_on(made.number(), SOL_SOCKET, SO_REUSEADDR);
    return made;
}

bool would_block()
{
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

} // namespace

std::string new_loopback()
{
    static std::atomic<unsigned> count = 0;
    const auto number = ++count;
    return "127." + std::to_string(1 + getpid() % 254) + '.' + std::to_string(number / 254 % 256) +
           '.' + std::to_string(1 + number % 254);
}

descriptor& descriptor::operator=(descriptor&& other) noexcept
{
    std::swap(number_, other.number_);
    return *this;
}

descriptor::~descriptor()
{
    if (number_ >= 0)
        ::close(number_);
}

stop_signal::stop_signal() : event_(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {}

void stop_signal::raise()
{
    checked(eventfd_write(event_.number(), 1), "eventfd_write");
}

tcp_stream::tcp_stream(descriptor socket, const stop_signal& stop)
    : socket_(std::move(socket)), stop_(&stop)
{
    // Two small replies in a row shall not wait for each other's acknowledgement.
    switch_on(socket_.number(), IPPROTO_TCP, TCP_NODELAY);
}

tcp_stream tcp_stream::connect_to(unsigned short port, const stop_signal& stop,
                                  const std::string& address)
{
    auto socket = new_socket();
    if (address != usual_loopback) {
        // From there too, so that no port of the usual address is used.
        const auto source = socket_address(address, 0);
        switch_on(socket.number(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT);
        checked(bind(socket.number(), generic(source), sizeof source), "bind");
    }
    const auto target = socket_address(address, port);
    if (::connect(socket.number(), generic(target), sizeof target) != 0) {
        if (errno != EINPROGRESS)
            throw disconnected("nobody listens there");
        wait_for(socket.number(), POLLOUT, stop);
        int error = 0;
        socklen_t size = sizeof error;
        checked(getsockopt(socket.number(), SOL_SOCKET, SO_ERROR, &error, &size), "getsockopt");
        if (error != 0)
            throw disconnected("nobody listens there");
    }
    return {std::move(socket), stop};
}

std::string tcp_stream::read_some()
{
    std::array<char, 16UL << 10> buffer;
    for (;;) {
        wait_for(socket_.number(), POLLIN, *stop_);
        const auto count = recv(socket_.number(), buffer.data(), buffer.size(), 0);
        if (count >= 0)
            return {buffer.data(), static_cast<std::size_t>(count)};
        if (!would_block())
            throw disconnected("the peer is gone");
    }
}

void tcp_stream::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (pacing_.cut_after == std::size_t{0})
            throw disconnected("cut as scripted");
        auto size = std::min(bytes.size(), pacing_.piece);
        if (pacing_.cut_after)
            size = std::min(size, *pacing_.cut_after);
        const auto sent = write_piece(bytes.substr(0, size));
        if (pacing_.cut_after)
            *pacing_.cut_after -= sent;
        bytes.remove_prefix(sent);
        if (pacing_.gap.count() > 0 && !bytes.empty())
            pause(pacing_.gap, *stop_);
    }
}

void tcp_stream::hold_back()
{
    switch_on(socket_.number(), IPPROTO_TCP, TCP_CORK);
}

void tcp_stream::reset_when_closed()
{
    const linger at_once{1, 0};
    checked(setsockopt(socket_.number(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once),
            "setsockopt");
}

void tcp_stream::set_pacing(const pacing& how)
{
    pacing_ = how;
}

std::size_t tcp_stream::write_piece(std::string_view bytes)
{
    for (;;) {
        wait_for(socket_.number(), POLLOUT, *stop_);
        const auto count = send(socket_.number(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (!would_block())
            throw disconnected("the peer is gone");
    }
}

bound_port::bound_port(const std::string& address) : socket_(new_socket()), number_(0)
{
    auto bound = socket_address(address, 0);
    checked(bind(socket_.number(), generic(bound), sizeof bound), "bind");
    socklen_t size = sizeof bound;
    checked(getsockname(socket_.number(), reinterpret_cast<sockaddr*>(&bound), &size),
            "getsockname");
    number_ = ntohs(bound.sin_port);
}

tcp_listener::tcp_listener(const stop_signal& stop, const std::string& address)
    : port_(address), stop_(&stop)
{
    // Two sockets may get the same port as long as neither listens.
    while (listen(port_.descriptor_number(), SOMAXCONN) != 0) {
        if (errno != EADDRINUSE)
            throw std::system_error(errno, std::generic_category(), "listen");
        port_ = bound_port(address);
    }
}

tcp_stream tcp_listener::accept()
{
    for (;;) {
        wait_for(port_.descriptor_number(), POLLIN, *stop_);
        descriptor accepted(
            accept4(port_.descriptor_number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (accepted.number() >= 0)
            return {std::move(accepted), *stop_};
        if (!would_block() && errno != ECONNABORTED)
            throw std::system_error(errno, std::generic_category(), "accept");
    }
}

void relay(tcp_stream& one, tcp_stream& other, const stop_signal& stop)
{
    const auto pass = [](tcp_stream& from, tcp_stream& to) {
        const auto bytes = from.read_some();
        to.write(bytes);
        return !bytes.empty();
    };
    for (bool open = true; open;) {
        std::vector<pollfd> wanted{waiting_for(one.descriptor_number(), POLLIN),
                                   waiting_for(other.descriptor_number(), POLLIN)};
        wait(wanted, stop);
        if (wanted[0].revents != 0)
            open = pass(one, other);
        if (open && wanted[1].revents != 0)
            open = pass(other, one);
    }
}

} // namespace tarnix::test
