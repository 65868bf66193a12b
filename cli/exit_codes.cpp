#include "exit_codes.hpp"

#include "arguments.hpp"
#include "local_files.hpp"
#include "output.hpp"

#include <tarnix/ftp/errors.hpp>

namespace tarnix::cli {

namespace {

exit_code exit_code_of(ftp::failure_kind kind)
{
    using ftp::failure_kind;
    switch (kind) {
    case failure_kind::connection:
        return exit_code::connection;
    case failure_kind::security:
        return exit_code::security;
    case failure_kind::login:
        return exit_code::login;
    case failure_kind::not_found:
        return exit_code::not_found;
    case failure_kind::permission:
        return exit_code::permission;
    case failure_kind::conflict:
        return exit_code::conflict;
    case failure_kind::transfer:
    case failure_kind::cancelled:
        return exit_code::transfer;
    case failure_kind::local_file:
        return exit_code::local_file;
    }
    return exit_code::internal;
}

template <typename Type>
bool is(const std::exception& error)
{
    return dynamic_cast<const Type*>(&error) != nullptr;
}

} // namespace

exit_code exit_code_of(const std::exception& error)
{
    if (is<usage_error>(error) || is<ftp::invalid_url>(error) || is<ftp::invalid_input>(error))
        return exit_code::usage;
    if (is<local_file_error>(error))
        return exit_code::local_file;
    if (is<output_error>(error))
        return exit_code::output;
    if (const auto kind = ftp::kind_of(error))
        return exit_code_of(*kind);
    return exit_code::internal;
}

std::string exit_code_help()
{
    return "Exit codes:\n"
           "   0  done; exists, is-file: yes\n"
           "   1  exists, is-file: no\n"
           "   2  the command line cannot be used\n"
           "   3  no connection, or it was lost\n"
           "   4  the server refuses the login\n"
           "   5  no such file or folder on the server\n"
           "   6  the server refuses access\n"
           "   7  the transfer failed for another reason\n"
           "   8  a local file cannot be read or written\n"
           "   9  the server is not the one that was meant, or offers no TLS\n"
           "  10  the name is taken, or the folder is not empty\n"
           "  11  the result could not be written to standard output\n"
           "  12  an error inside the program\n";
}

} // namespace tarnix::cli
