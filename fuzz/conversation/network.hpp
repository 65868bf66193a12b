#pragma once

#include "scripted_server.hpp"

#include <chrono>

namespace tarnix::fuzz {

/// While it lives, each connection that this process makes leads to `server`, which runs when the
/// client looks for news, in the client's thread; and where the client would wait, its clock is put
/// forward instead. One at a time. It stands in for connect, poll, getpeername and clock_gettime,
/// so for all libraries of the process too.
class network {
public:
    explicit network(scripted_server& server);
    ~network();
    network(const network&) = delete;
    network& operator=(const network&) = delete;

    /// How long clients would have waited, since the start of the process.
    static std::chrono::milliseconds waited();
};

} // namespace tarnix::fuzz
