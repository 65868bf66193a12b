#pragma once

#include <tarnix/io/ftp/core.hpp>

#include <chrono>
#include <functional>

namespace tarnix::ftp {

/// Ends requests in which nothing moves any more, and those that the caller cancels. libcurl's own
/// limits cover neither an SFTP server that falls silent between transfers nor a cancelling user.
/// libcurl keeps the address of this object.
class watch {
public:
    /// `patience` is how long nothing may move.
    watch(std::chrono::milliseconds patience, std::function<bool()> cancelled);
    watch(const watch&) = delete;
    watch& operator=(const watch&) = delete;

    void observe(io::ftp::core::curl_ptr& handle);
    /// In active mode, where libcurl 7.88 now and then takes a transfer for done that it has only
    /// begun: notes whether the server has made the data connection.
    void await_server(io::ftp::core::curl_ptr& handle);
    bool awaits_server() const { return awaits_server_; }
    void forget_server() { server_came_ = false; }
    bool has_missed_server() const { return awaits_server_ && !server_came_; }

    /// At the start of each operation.
    void restart();

    void set_patience(std::chrono::milliseconds patience) { patience_ = patience; }

    /// Something arrived that libcurl does not count, as the entries of an SFTP listing.
    void note_movement() { last_move_ = std::chrono::steady_clock::now(); }

    /// In the request that sent, or received, most since the restart.
    curl_off_t bytes_uploaded() const { return uploaded_; }
    curl_off_t bytes_downloaded() const { return downloaded_; }

    bool was_cancelled() const { return ended_ == ending::cancelled; }
    bool has_stalled() const { return ended_ == ending::stalled; }

private:
    enum class ending { none, cancelled, stalled };

    static int progress(void* self, curl_off_t, curl_off_t downloaded, curl_off_t,
                        curl_off_t uploaded) noexcept;
    static int note_socket(void* self, curl_socket_t, curlsocktype purpose) noexcept;
    /// What changes when something moves.
    struct state {
        curl_off_t bytes = 0;
        long reply = 0;
        curl_off_t time = 0;
    };

    ending judge(const state& now);
    bool has_moved(const state& now) const;

    std::chrono::milliseconds patience_;
    std::function<bool()> cancelled_;
    CURL* handle_ = nullptr;
    bool awaits_server_ = false;
    bool server_came_ = false;
    state before_;
    curl_off_t uploaded_ = 0;
    curl_off_t downloaded_ = 0;
    std::chrono::steady_clock::time_point last_move_;
    ending ended_ = ending::none;
};

} // namespace tarnix::ftp
