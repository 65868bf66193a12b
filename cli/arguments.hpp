#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnix::cli {

/// What stands on the command line.
struct arguments {
    std::string url;
    std::string command;
    std::vector<std::string> operands;

    std::optional<std::uint16_t> port;
    std::optional<std::string> user;
    bool active_mode = false;
    bool text_mode = false;
    bool use_proxy = false;
    std::string starting_folder;

    std::optional<std::string> tls;
    std::string ca_file;
    bool verify_certificate = true;
    bool verify_host_name = true;
    bool verify_end = true;

    std::string private_key_file;
    std::string public_key_file;
    std::string password_file;
    std::string passphrase_file;
    bool ask_passphrase = false;

    std::string known_hosts_file;
    std::string host_key_fingerprint;
    bool verify_host_key = true;

    std::optional<double> connect_timeout; ///< this and the following in seconds
    std::optional<double> transfer_timeout;
    std::optional<int> reply_timeout;
    std::optional<long> low_speed_limit; ///< bytes per second
    std::optional<int> low_speed_time;

    unsigned trace_levels = 0;
};

/// A command line that cannot be understood.
class usage_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the command line; none when a text was asked for (help, version), which is in `answer`.
/// Raises usage_error; its text may repeat any of it.
std::optional<arguments> read_arguments(int count, const char* const* values, std::string& answer);

/// `text` for showing it, with everything made unreadable that may be the user or the password of a
/// URL: a password may hold any character, so that is all from the first "//" to the last "@".
std::string without_logins(const std::string& text);

} // namespace tarnix::cli
