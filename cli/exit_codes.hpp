#pragma once

#include <exception>
#include <string>

namespace tarnix::cli {

/// What the process ends with; part of the interface, see docs/command-line.md.
enum class exit_code {
    ok = 0,
    no = 1,
    usage = 2,
    connection = 3,
    login = 4,
    not_found = 5,
    permission = 6,
    transfer = 7,
    local_file = 8,
    security = 9,
    conflict = 10,
    output = 11,
    internal = 12,
};

exit_code exit_code_of(const std::exception& error);

/// The list for the help text.
std::string exit_code_help();

} // namespace tarnix::cli
