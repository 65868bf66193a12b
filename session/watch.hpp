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
    watch(std::chrono::seconds patience, std::function<bool()> cancelled);
    watch(const watch&) = delete;
    watch& operator=(const watch&) = delete;

    void observe(io::ftp::core::curl_ptr& handle);

    /// At the start of each operation.
    void restart();

    bool was_cancelled() const { return ended_ == ending::cancelled; }
    bool has_stalled() const { return ended_ == ending::stalled; }

private:
    enum class ending { none, cancelled, stalled };

    static int progress(void* self, curl_off_t, curl_off_t downloaded, curl_off_t,
                        curl_off_t uploaded) noexcept;
    ending judge(curl_off_t moved);

    std::chrono::seconds patience_;
    std::function<bool()> cancelled_;
    curl_off_t moved_ = 0;
    std::chrono::steady_clock::time_point last_move_;
    ending ended_ = ending::none;
};

} // namespace tarnix::ftp
