#pragma once

#include <tarnix/ftp/export.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnix::ftp {

/// `ftpes` is FTP that must be secured by TLS before the login.
enum class protocol { ftp, ftpes, sftp };

/// The parts of a URL, percent-decoded.
struct url {
    protocol scheme = protocol::ftp;
    std::optional<std::string> user;
    /// The URL carried a password. It is not kept: a URL is no place for one.
    bool has_password = false;
    /// A name or an address; IPv6 in brackets.
    std::string host;
    std::optional<std::uint16_t> port;
    /// What follows the host, its first "/" included; empty when nothing follows. Over FTP the
    /// first "/" only separates, so "/a" is in the login folder and "//a" is absolute; over SFTP
    /// "/a" is absolute and "/~/a" is in the login folder.
    std::string path;

    /// The path as a session takes folders: relative to the login folder where it is not absolute.
    std::string folder() const
    {
        return path.empty() || scheme == protocol::sftp ? path : path.substr(1);
    }
};

/// Reads `scheme://[user@]host[:port][/path]` with the scheme ftp, ftpes or sftp in any case.
/// A "?" or "#" in it must be written %3F or %23. Raises invalid_url with a text that says what is
/// wrong and repeats neither user nor password.
TARNIX_SESSION_EXPORT url parse_url(std::string_view text);

} // namespace tarnix::ftp
