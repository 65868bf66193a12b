#include "network.hpp"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace tarnix::fuzz {

namespace {

scripted_server* the_server = nullptr;
std::chrono::milliseconds time_put_forward{0};

std::uint16_t port_of(const sockaddr* address)
{
    sockaddr_in ipv4{};
    std::memcpy(&ipv4, address, sizeof ipv4);
    return ntohs(ipv4.sin_port);
}

/// The client's end gets the number that the client has for it.
int connect_to_server(int descriptor, std::uint16_t port)
{
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) != 0)
        return -1;
    ::dup2(ends[0], descriptor);
    ::close(ends[0]);
    if (the_server->accept(ends[1], port))
        return 0;
    errno = ECONNREFUSED;
    return -1;
}

int poll_now(pollfd* descriptors, nfds_t count)
{
    const timespec at_once{};
    return ::ppoll(descriptors, count, &at_once, nullptr);
}

int poll_in_time(pollfd* descriptors, nfds_t count, int milliseconds)
{
    the_server->serve();
    const auto ready = poll_now(descriptors, count);
    if (ready == 0 && milliseconds != 0)
        time_put_forward += std::chrono::milliseconds(milliseconds > 0 ? milliseconds : 1000);
    return ready;
}

} // namespace

network::network(scripted_server& server)
{
    the_server = &server;
}

network::~network()
{
    the_server = nullptr;
}

std::chrono::milliseconds network::waited()
{
    return time_put_forward;
}

} // namespace tarnix::fuzz

// Seen by the shared libraries, which then call these in place of the C library's.
#define TARNIX_FUZZ_STANDS_IN extern "C" __attribute__((visibility("default")))

TARNIX_FUZZ_STANDS_IN int connect(int descriptor, const sockaddr* address, socklen_t length)
{
    using namespace tarnix::fuzz;
    if (the_server && address->sa_family == AF_INET)
        return connect_to_server(descriptor, port_of(address));
    return static_cast<int>(::syscall(SYS_connect, descriptor, address, length));
}

/// libcurl reads here where the data connections go.
TARNIX_FUZZ_STANDS_IN int getpeername(int descriptor, sockaddr* address, socklen_t* length) noexcept
{
    const auto room = *length;
    const auto result = static_cast<int>(::syscall(SYS_getpeername, descriptor, address, length));
    if (result == 0 && address->sa_family == AF_UNIX) {
        sockaddr_in server{};
        server.sin_family = AF_INET;
        server.sin_port = htons(tarnix::fuzz::scripted_server::port);
        server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        *length = sizeof server;
        std::memcpy(address, &server, std::min<std::size_t>(room, sizeof server));
    }
    return result;
}

TARNIX_FUZZ_STANDS_IN int poll(pollfd* descriptors, nfds_t count, int milliseconds)
{
    using namespace tarnix::fuzz;
    if (the_server)
        return poll_in_time(descriptors, count, milliseconds);
    return static_cast<int>(::syscall(SYS_poll, descriptors, count, milliseconds));
}

TARNIX_FUZZ_STANDS_IN int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const auto result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_MONOTONIC) {
        using namespace std::chrono;
        const auto nanoseconds_more =
            time->tv_nsec + tarnix::fuzz::time_put_forward.count() % 1000 * 1000000;
        time->tv_sec +=
            tarnix::fuzz::time_put_forward.count() / 1000 + nanoseconds_more / 1000000000;
        time->tv_nsec = nanoseconds_more % 1000000000;
    }
    return result;
}
