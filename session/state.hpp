#pragma once

#include "connection.hpp"
#include "explanations.hpp"
#include "remote_view.hpp"
#include "replies.hpp"
#include "settings.hpp"

#include <tarnix/ftp/session.hpp>

#include <functional>
#include <string>

namespace tarnix::ftp {

/// What a session consists of, and how each of its operations begins and runs.
struct session::state {
    using operation = std::function<void(io::ftp::core::curl_ptr&)>;
    /// Why the operation failed; raises when the server cannot be asked.
    using reasons = std::function<explanation(const replies&)>;

    explicit state(const settings& wanted);

    /// At the start of every operation: the absolute form of what the caller gave.
    std::string begin(const std::string& path);
    /// For operations to which an empty path means nothing.
    std::string begin_named(const std::string& path);
    std::string begin_transfer(const std::string& remote, transfer_mode mode);

    /// Runs an operation of the library, and turns its identifier exception into a failure that
    /// says why, when the reason lies on the server's side. Returns what the server said.
    replies run(const std::string& what, const operation& operate, const reasons& explain);
    /// The same for one command to an FTP server: libcurl takes every reply that is no refusal for
    /// success.
    void run_command(const std::string& what, const operation& operate, const reasons& explain);
    /// The same for a transfer, which libcurl 7.88 in active mode now and then takes for done when
    /// it has only begun.
    void run_transfer(const std::string& what, const operation& operate, const reasons& explain);

    /// What all of them have in common; `server` hears the replies.
    void run(recording& server, const std::string& what, const operation& operate,
             const reasons& explain);

    connection link;
    remote_view view;
    /// The working folder, absolute.
    std::string folder;
};

} // namespace tarnix::ftp
