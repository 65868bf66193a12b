// Uses the installed core: refused connection, caught by its identifier across the libraries.
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <iostream>

namespace core = tarnix::io::ftp::core;

int main()
{
    const tarnix::host::standalone host;
    core::curl_ptr handle;
    try {
        // Port 1 of the loopback interface: nothing listens there.
        core::connect(handle, "ftp://127.0.0.1/", "anonymous", "guest", 1, "passive", "none", false,
                      "", true, true, 0, 0);
    } catch (const core::error<core::ids::NoConnection>& failure) {
        std::cout << tarnix::host::message_text(failure.message_id()) << '\n';
        return 0;
    }
    std::cerr << "the connection should have been refused\n";
    return 1;
}
