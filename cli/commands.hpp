#pragma once

#include "arguments.hpp"
#include "exit_codes.hpp"

#include <tarnix/ftp/session.hpp>

#include <cstddef>
#include <string>

namespace tarnix::cli {

/// Raises usage_error when there is no such command or it takes another number of operands.
void check_command(const std::string& name, std::size_t operands);

/// Runs the command of a checked command line; its result goes to standard output.
exit_code run_command(ftp::session& session, const arguments& given);

/// The list for the help text.
std::string command_help();

} // namespace tarnix::cli
