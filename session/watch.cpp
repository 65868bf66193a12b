#include "watch.hpp"

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

watch::watch(std::chrono::seconds patience, std::function<bool()> cancelled)
    : patience_(patience), cancelled_(std::move(cancelled))
{
    restart();
}

void watch::observe(core::curl_ptr& handle)
{
    core::set_option(handle, CURLOPT_XFERINFODATA, this);
    core::set_option(handle, CURLOPT_XFERINFOFUNCTION, reinterpret_cast<void (*)()>(&progress));
    core::set_option(handle, CURLOPT_NOPROGRESS, 0LL);
}

void watch::restart()
{
    moved_ = 0;
    last_move_ = std::chrono::steady_clock::now();
    ended_ = ending::none;
}

int watch::progress(void* self, curl_off_t, curl_off_t downloaded, curl_off_t,
                    curl_off_t uploaded) noexcept
{
    auto& the_watch = *static_cast<watch*>(self);
    try {
        the_watch.ended_ = the_watch.judge(downloaded + uploaded);
    } catch (...) {
        // libcurl's C frames are below; the caller who cannot be asked has cancelled.
        the_watch.ended_ = ending::cancelled;
    }
    return the_watch.ended_ == ending::none ? 0 : 1;
}

watch::ending watch::judge(curl_off_t moved)
{
    if (ended_ != ending::none)
        return ended_;
    if (cancelled_ && cancelled_())
        return ending::cancelled;
    const auto now = std::chrono::steady_clock::now();
    if (moved != moved_) {
        moved_ = moved;
        last_move_ = now;
    }
    return now - last_move_ > patience_ ? ending::stalled : ending::none;
}

} // namespace tarnix::ftp
