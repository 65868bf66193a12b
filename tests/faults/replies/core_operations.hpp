#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

class scripted_server;

/// What an operation has to work with.
struct core_setting {
    io::ftp::core::curl_ptr& handle;
    scripted_server& server;
    /// Of this meeting only.
    std::filesystem::path local;
};

/// One operation of the library on one server.
struct core_operation {
    std::string name;
    /// Logs in by itself; otherwise the session stands in the login folder.
    bool connects;
    /// Returns what came out, as text.
    std::function<std::string(core_setting&)> run;
};

inline std::ostream& operator<<(std::ostream& out, const core_operation& operation)
{
    return out << operation.name;
}

const std::vector<core_operation>& core_operations();

/// Logs in without a path in the URL.
std::string connect_to(io::ftp::core::curl_ptr& handle, const scripted_server& server);

} // namespace tarnix::test
