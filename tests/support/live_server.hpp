#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace tarnix::test {

/// What a client needs to know about a real server that runs on this machine. `root` is the folder
/// that a session starts in: the server's absolute path and the test's own are the same.
class live_server {
public:
    explicit live_server(std::map<std::string, std::string> values) : values_(std::move(values)) {}

    /// A value by its name in the description that servers.py prints, e.g. "ca_file". Raises
    /// `std::out_of_range` when this kind of server has no such value.
    const std::string& operator[](const std::string& key) const { return values_.at(key); }

    std::string host() const { return values_.at("host"); }
    long port() const { return std::stol(values_.at("port")); }
    std::string user() const { return values_.at("user"); }
    std::string password() const { return values_.at("password"); }
    std::filesystem::path root() const { return values_.at("root"); }

private:
    std::map<std::string, std::string> values_;
};

/// The running server of a kind that servers.py knows, e.g. "vsftpd-tls" or "squid". The first
/// call in a test program starts it; it ends with the last test. Raises `std::runtime_error` with
/// the server's log when it does not start in time. For the main thread.
const live_server& running_server(const std::string& kind);

} // namespace tarnix::test
