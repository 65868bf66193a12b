#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarnix::ftp {

/// The FTP server's replies while a request runs. None over SFTP.
class replies {
public:
    /// libcurl's header callback; `self` is a `replies`.
    static std::size_t collect(char* data, std::size_t size, std::size_t count,
                               void* self) noexcept;

    void add(std::string_view line);

    /// Lets the running request close its connection at its end when a transfer began that has not
    /// come to its end: libcurl 7.88 in active mode may forget one, and leaves its last reply
    /// behind.
    void close_without_end(io::ftp::core::curl_ptr& handle) { handle_ = &handle; }

    /// The same, when the last reply is a refusal, and when a transfer was prepared that has not
    /// come to its end. Over TLS a server may close the data connection as it refuses, and one that
    /// breaks while it is secured looks the same: libcurl 7.88 then asks for another one, takes the
    /// next reply for the answer, and leaves a reply behind, which the next request on that
    /// connection takes for the answer to its own command, or reads with a pointer into freed
    /// memory, and might never return.
    void close_after_refusal(io::ftp::core::curl_ptr& handle);

    /// The last reply, without its line end, when it refused something (4xx, 5xx). What was refused
    /// earlier the client found another way for. Cut short where it is very long.
    const std::optional<std::string>& refusal() const { return refusal_; }

    /// The last reply that was neither a refusal nor "done": the library takes all of them for
    /// success, but for an operation of one's own it is none. None when nothing was said.
    const std::optional<std::string>& doubtful_end() const { return doubtful_end_; }

    /// The last reply neither refused something nor ended a transfer: there should be another one.
    bool lack_an_end() const { return !refusal_ && !transfer_ended_; }

    bool transfer_began() const { return transfer_began_; }

    /// The server awaited a data connection.
    bool has_way_to_data() const { return has_way_to_data_; }

    /// A SIZE was answered.
    bool has_file_size() const { return has_file_size_; }
    /// What it was answered with, when that is a number.
    std::optional<std::uintmax_t> file_size() const { return file_size_; }
    bool says_folder_unreadable() const { return folder_unreadable_; }

private:
    bool may_be_out_of_step() const;

    io::ftp::core::curl_ptr* handle_ = nullptr;
    bool closes_after_refusal_ = false;
    std::optional<std::string> refusal_;
    std::optional<std::string> doubtful_end_;
    bool has_way_to_data_ = false;
    bool transfer_began_ = false;
    bool transfer_ended_ = false;
    bool has_file_size_ = false;
    std::optional<std::uintmax_t> file_size_;
    bool folder_unreadable_ = false;
};

/// The replies to an operation of the library, without those to the requests that it makes
/// afterwards, which bring the session back. libcurl keeps the address of this object.
class recording {
public:
    recording() = default;
    recording(const recording&) = delete;
    recording& operator=(const recording&) = delete;

    /// As long as `scope` lives.
    void observe(io::ftp::core::scoped_request& scope);
    void close_without_end(io::ftp::core::curl_ptr& handle);
    void close_after_refusal(io::ftp::core::curl_ptr& handle);

    const replies& heard() const { return heard_; }

private:
    static std::size_t collect(char* data, std::size_t size, std::size_t count,
                               void* self) noexcept;

    replies heard_;
    io::ftp::core::curl_ptr* handle_ = nullptr;
    int requests_ = 0;
    std::array<char, CURL_ERROR_SIZE> error_{};
};

} // namespace tarnix::ftp
