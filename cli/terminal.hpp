#pragma once

#include <string>

namespace tarnix::cli {

/// Asks for a secret on the terminal of the process, without echo, and waits until the user has
/// typed it. Raises usage_error with `advice` when there is no terminal or the user gives none.
std::string ask_on_terminal(const std::string& question, const std::string& advice);

} // namespace tarnix::cli
