// Uses the installed session layer: refused connection, caught by its own type.
#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>

#include <iostream>

int main()
{
    const tarnix::host::standalone host;
    try {
        // Port 1 of the loopback interface: nothing listens there.
        const tarnix::ftp::session session(tarnix::ftp::parse_url("ftp://127.0.0.1:1/"));
    } catch (const tarnix::ftp::failure& failure) {
        std::cout << failure.what() << '\n';
        return failure.kind() == tarnix::ftp::failure_kind::connection ? 0 : 1;
    }
    std::cerr << "the connection should have been refused\n";
    return 1;
}
