#pragma once

#include "core_operations.hpp"
#include "misbehaviour.hpp"

#include <support/scripted_server.hpp>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tarnix::test {

/// What one operation on one misbehaving server came to.
struct core_meeting {
    /// What was returned, or the identifier that was raised.
    std::string outcome;
    bool raised = false;
    /// With "server" for the server's address.
    std::string url_before;
    std::string url_after;
    /// The options afterwards, except for the URL.
    std::map<std::string, std::string> options;
    /// What the server was asked for.
    std::vector<std::string> steps;
    std::chrono::milliseconds duration{};
    /// What the same handle, connected to another server, then says of its folder.
    std::string folder_elsewhere;
};

core_meeting meet(const core_operation& operation, const misbehaviour& how,
                  const std::filesystem::path& local);

} // namespace tarnix::test
