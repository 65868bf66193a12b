#pragma once

#include "farewell.hpp"
#include "host_key.hpp"
#include "settings.hpp"
#include "watch.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <optional>
#include <string>

namespace tarnix::ftp {

/// One logged-in handle with what must live as long as it.
class connection {
public:
    /// Connects and logs in. Raises failures that say what went wrong.
    explicit connection(const settings& wanted);

    io::ftp::core::curl_ptr& handle() { return handle_; }
    watch& watching() { return watch_; }

    /// What is asked next makes a new connection. Makes none where none is open.
    void close();

    /// FTP over TLS.
    bool is_secured_by_tls() const { return is_secured_by_tls_; }

    /// Absolute.
    const std::string& login_folder() const { return login_folder_; }

private:
    void set_options(const settings& wanted);
    void set_login(const settings& wanted);
    void set_tls(const settings& wanted);
    void verify_host_key(const settings& wanted);
    void log_in(const settings& wanted);
    [[noreturn]] void raise_failure(const settings& wanted, CURLcode code,
                                    const std::string& text) const;
    void raise_if_ended(const std::string& server) const;
    std::string enter_login_folder(const settings& wanted);
    std::string connect_core(const settings& wanted);
    bool has_missed_login_folder() const;

    host_key_judge host_key_;
    watch watch_;
    io::ftp::core::curl_ptr handle_;
    std::optional<farewell> farewell_;
    std::string login_folder_;
    bool is_secured_by_tls_;
};

} // namespace tarnix::ftp
