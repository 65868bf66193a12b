#pragma once

#include <tarnix/ftp/options.hpp>
#include <tarnix/ftp/url.hpp>

#include <string>

namespace tarnix::ftp {

/// Where and how to connect, all decided and checked.
struct settings {
    protocol scheme;
    std::string host;
    long port;
    std::string user;
    std::string password;
    bool with_key;
    std::string tls;         ///< as the library's connect spells it
    std::string ca_file;     ///< never empty while certificates are checked
    std::string fingerprint; ///< as libcurl reads it: without "SHA256:"
    /// As written; relative to the login folder. Empty is the login folder.
    std::string starting_folder;
    session_options options;

    bool is_sftp() const { return scheme == protocol::sftp; }
    /// What the library's URLs begin with, the host included. The core knows ftp and sftp only.
    std::string server_url() const { return (is_sftp() ? "sftp://" : "ftp://") + host; }
};

/// Brings URL and options together. Raises invalid_input where they do not fit.
settings make_settings(const url& server, const session_options& options);

} // namespace tarnix::ftp
