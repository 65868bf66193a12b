#include <support/through_gate.hpp>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>

namespace tarnix::test {

namespace {

struct way {
    cutting_gate* gate;
    unsigned short server_port;
};

thread_local std::optional<way> way_of_this_thread;

bool is_tcp(int descriptor)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM;
}

sockaddr_in through(const way& by, sockaddr_in target)
{
    const auto port = ntohs(target.sin_port);
    const auto of_gate = port == by.server_port ? by.gate->port() : by.gate->door_to(port);
    target.sin_port = htons(of_gate);
    inet_pton(AF_INET, by.gate->address().c_str(), &target.sin_addr);
    return target;
}

int real_connect(int descriptor, const sockaddr* address, socklen_t size)
{
    static const auto function =
        reinterpret_cast<int (*)(int, const sockaddr*, socklen_t)>(dlsym(RTLD_NEXT, "connect"));
    return function(descriptor, address, size);
}

} // namespace

through_gate::through_gate(cutting_gate& gate, unsigned short server_port)
{
    way_of_this_thread = way{&gate, server_port};
}

through_gate::~through_gate()
{
    way_of_this_thread.reset();
}

} // namespace tarnix::test

/// In place of the C library's, for all libraries of the test program.
extern "C" [[gnu::visibility("default")]] int connect(int descriptor, const sockaddr* address,
                                                      socklen_t size)
{
    using namespace tarnix::test;
    if (!way_of_this_thread || address->sa_family != AF_INET || !is_tcp(descriptor))
        return real_connect(descriptor, address, size);
    sockaddr_in target{};
    std::memcpy(&target, address, sizeof target);
    try {
        target = through(*way_of_this_thread, target);
    } catch (const std::exception&) {
        errno = ECONNREFUSED;
        return -1;
    }
    return real_connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target);
}
