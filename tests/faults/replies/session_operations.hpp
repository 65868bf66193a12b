#pragma once

#include <tarnix/ftp/session.hpp>

#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

class scripted_server;

/// What an operation has to work with.
struct session_setting {
    scripted_server& server;
    ftp::session_options options;
    /// None for operations that connect.
    std::optional<ftp::session> session{};
    /// Of this meeting only.
    std::filesystem::path local;
};

/// One operation of a session on one server.
struct session_operation {
    std::string name;
    bool connects;
    /// Returns what came out, and what became of the server's files, as text.
    std::function<std::string(session_setting&)> run;
};

inline std::ostream& operator<<(std::ostream& out, const session_operation& operation)
{
    return out << operation.name;
}

const std::vector<session_operation>& session_operations();

ftp::url url_of(const scripted_server& server);

} // namespace tarnix::test
