#pragma once

#include "arguments.hpp"

#include <tarnix/ftp/options.hpp>
#include <tarnix/ftp/url.hpp>

namespace tarnix::cli {

/// The session that the command line asks for, except for passwords.
ftp::session_options make_session_options(const arguments& given);

/// Adds the secrets that the login needs, which may ask the user. Raises usage_error when there is
/// none, local_file_error for a file that cannot be read.
void add_secrets(ftp::session_options& options, const arguments& given, const ftp::url& server);

/// Reads the URL of the command line. Raises usage_error for a URL with a password in it.
ftp::url read_url(const std::string& text);

} // namespace tarnix::cli
