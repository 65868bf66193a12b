#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tarnix::ftp {

enum class tls_mode {
    none,
    opportunistic, ///< clear text when the server offers no TLS
    strict
};

/// How to connect. As they stand the options never make a connection that nothing verifies, and
/// none that waits without end for a server that sends nothing.
struct session_options {
    /// For a URL without a port; must not contradict one that has it.
    std::optional<std::uint16_t> port;
    /// FTP: the server opens the data connections. Refused with TLS when libcurl is older than 8.0,
    /// because that sends the data in clear text.
    bool active_mode = false;

    /// FTP; unset means what the URL says: strict for ftpes, none (clear text!) for ftp.
    std::optional<tls_mode> tls;
    /// Certificates to trust, and only these; empty means those of the system.
    std::string ca_file;
    bool verify_peer = true;
    bool verify_host = true;
    /// A TLS connection that ends without the server's word that this is the end fails: somebody
    /// between the two may have ended it. Without this check, for servers that never say it,
    /// listings and text files may come cut short. Needs a libcurl with OpenSSL 3.
    bool verify_end = true;

    /// For a URL without a user; must not contradict one that has it. Without any, FTP logs in
    /// anonymously.
    std::optional<std::string> user;
    std::optional<std::string> password;
    /// SFTP; with a private key the password is not used. The public key file may stay empty.
    std::string private_key_file;
    std::string public_key_file;
    std::string passphrase;

    /// SFTP: the host keys to trust, in OpenSSH's format, or else the fingerprint of the one to
    /// trust as `ssh-keygen -l` prints it (SHA-256). One of them, unless `verify_host_key` is off.
    std::string known_hosts_file;
    std::string host_key_fingerprint;
    bool verify_host_key = true;

    /// Take the proxy from the host's settings. Otherwise none is used, whatever the environment.
    bool use_proxy = false;

    /// Overrides the path of the URL; relative to the login folder.
    std::string starting_folder;

    /// Also bounds how long each data connection may take to set up TLS.
    std::chrono::milliseconds connect_timeout{30000};
    /// The whole of a transfer; 0 for no bound.
    std::chrono::milliseconds transfer_timeout{0};
    /// How long the server may keep silent while it owes an answer; not 0.
    std::chrono::seconds reply_timeout{60};
    /// A transfer ends that stays below `low_speed_limit` bytes per second for `low_speed_time`.
    long low_speed_limit = 1;
    std::chrono::seconds low_speed_time{60};

    /// Asked at least once a second while a request runs, also the one that says goodbye, on the
    /// thread that runs it; true ends it. Not asked while libcurl sets up TLS.
    std::function<bool()> cancelled;
};

} // namespace tarnix::ftp
