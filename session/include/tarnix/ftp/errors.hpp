#pragma once

#include <tarnix/ftp/export.hpp>

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>

namespace tarnix::ftp {

/// A URL that cannot be used.
class TARNIX_SESSION_EXPORT invalid_url : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

/// Options, credentials or names that cannot be used. Nothing was sent.
class TARNIX_SESSION_EXPORT invalid_input : public std::invalid_argument {
public:
    using std::invalid_argument::invalid_argument;
};

enum class failure_kind {
    connection, ///< no connection, or it was lost
    security,   ///< certificate, host key, or no TLS where it is demanded
    login,      ///< the server does not accept the credentials
    not_found,  ///< no such file or folder on the server
    permission, ///< the server refuses
    conflict,   ///< the name exists already, or the folder is not empty
    transfer,   ///< everything else that can befall a request
    local_file, ///< the file on this side
    cancelled   ///< `session_options::cancelled` said so
};

/// A request that failed; `what()` says which and why. Where an operation of the library below
/// raised first, its identifier exception is nested inside (`std::rethrow_if_nested`).
class TARNIX_SESSION_EXPORT failure : public std::runtime_error {
public:
    /// Control characters in `text`, which may be a server's, become question marks.
    failure(failure_kind kind, const std::string& text);

    failure_kind kind() const noexcept { return kind_; }

private:
    failure_kind kind_;
};

/// What kind of failure an exception of the session is, be it a `failure` or one of the library's
/// identifier exceptions (they pass through where the session knows nothing to add, as for local
/// files); none for any other exception.
TARNIX_SESSION_EXPORT std::optional<failure_kind> kind_of(const std::exception& error);

} // namespace tarnix::ftp
