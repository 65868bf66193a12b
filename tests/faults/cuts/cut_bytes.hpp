#pragma once

#include <string>

namespace tarnix::test {

/// After which bytes connections are cut: of those to the server and to the client on control
/// connections, or of both on data connections.
enum class cut_bytes { commands, replies, data };

inline std::string name_of(cut_bytes which)
{
    switch (which) {
    case cut_bytes::commands:
        return "commands";
    case cut_bytes::replies:
        return "replies";
    default:
        return "data";
    }
}

} // namespace tarnix::test
