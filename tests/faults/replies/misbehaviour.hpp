#pragma once

#include <support/scripted_server.hpp>

#include <chrono>
#include <functional>

namespace tarnix::test {

/// No client may stay longer with a server that misbehaves.
constexpr std::chrono::seconds longest_meeting{20};

/// How a server is set up to misbehave; the operation's first step is number 0.
struct misbehaviour {
    std::function<void(scripted_server&)> arm{};
    /// The server will keep a client waiting: the client's patience is one second.
    bool is_silent = false;
};

} // namespace tarnix::test
