#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace tarnix::cli {

/// Where a secret may come from, in the order in which they are tried.
struct secret_sources {
    std::string file;                    ///< empty: none was named
    std::string environment_variable;    ///< not set, or empty: not there
    std::function<std::string()> prompt; ///< may be empty
    /// For a file that is a pipe whose other end keeps silent.
    std::chrono::milliseconds patience = std::chrono::minutes(1);
};

/// The secret, or none when no source has it. Raises local_file_error for a file that cannot be
/// read in time; what the prompt raises passes through.
std::optional<std::string> find_secret(const secret_sources& sources);

} // namespace tarnix::cli
