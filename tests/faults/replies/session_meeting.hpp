#pragma once

#include "misbehaviour.hpp"
#include "session_operations.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// What one operation of a session on one misbehaving server came to.
struct session_meeting {
    /// What was returned, or the text of what was raised.
    std::string outcome;
    bool raised = false;
    /// Of what was raised; none for what is no failure of a session.
    std::optional<ftp::failure_kind> kind{};
    /// What the server was asked for.
    std::vector<std::string> steps;
    std::chrono::milliseconds duration{};
    /// There is something under the local name.
    bool has_local_file = false;
    /// What the same session, or a new one, finds when the server behaves again.
    std::string names_later;
};

session_meeting meet(const session_operation& operation, const misbehaviour& how,
                     const std::filesystem::path& local);

} // namespace tarnix::test
