#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <chrono>
#include <string>

namespace tarnix::ftp {

/// Takes leave of the server when it goes, before the handle does: left to itself libcurl waits two
/// minutes for an FTP server's answer to QUIT. Makes no connection where none is open.
class farewell {
public:
    /// `patience` is how long the server may take to answer. The handle must live longer.
    farewell(io::ftp::core::curl_ptr& handle, std::chrono::seconds patience,
             const std::string& host, long port);
    ~farewell();
    farewell(const farewell&) = delete;
    farewell& operator=(const farewell&) = delete;

private:
    io::ftp::core::curl_ptr& handle_;
    std::chrono::seconds patience_;
    io::ftp::core::slist address_;
};

} // namespace tarnix::ftp
