#pragma once

#include "arguments.hpp"
#include "exit_codes.hpp"

#include <tarnix/ftp/session.hpp>

#include <string>
#include <vector>

namespace tarnix::cli {

/// Raises usage_error when there is no such command, when it takes another number of operands, or
/// when one of them is empty, as an unset variable of a script is.
void check_command(const std::string& name, const std::vector<std::string>& operands);

/// Runs the command of a checked command line; its result goes to standard output.
exit_code run_command(ftp::session& session, const arguments& given);

/// The list for the help text.
std::string command_help();

} // namespace tarnix::cli
