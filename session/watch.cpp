#include "watch.hpp"

#include <algorithm>
#include <utility>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

watch::watch(std::chrono::milliseconds patience, std::function<bool()> cancelled)
    : patience_(patience), cancelled_(std::move(cancelled))
{
    restart();
}

void watch::observe(core::curl_ptr& handle)
{
    handle_ = handle.get();
    core::set_option(handle, CURLOPT_XFERINFODATA, this);
    core::set_option(handle, CURLOPT_XFERINFOFUNCTION, reinterpret_cast<void (*)()>(&progress));
    core::set_option(handle, CURLOPT_NOPROGRESS, 0LL);
}

void watch::await_server(core::curl_ptr& handle)
{
    awaits_server_ = true;
    core::set_option(handle, CURLOPT_SOCKOPTDATA, this);
    core::set_option(handle, CURLOPT_SOCKOPTFUNCTION, reinterpret_cast<void (*)()>(&note_socket));
}

int watch::note_socket(void* self, curl_socket_t, curlsocktype purpose) noexcept
{
    if (purpose == CURLSOCKTYPE_ACCEPT)
        static_cast<watch*>(self)->server_came_ = true;
    return CURL_SOCKOPT_OK;
}

void watch::restart()
{
    before_ = {};
    uploaded_ = 0;
    downloaded_ = 0;
    note_movement();
    ended_ = ending::none;
}

int watch::progress(void* self, curl_off_t, curl_off_t downloaded, curl_off_t,
                    curl_off_t uploaded) noexcept
{
    auto& the_watch = *static_cast<watch*>(self);
    try {
        state now;
        now.bytes = downloaded + uploaded;
        curl_easy_getinfo(the_watch.handle_, CURLINFO_RESPONSE_CODE, &now.reply);
        curl_easy_getinfo(the_watch.handle_, CURLINFO_TOTAL_TIME_T, &now.time);
        the_watch.downloaded_ = std::max(the_watch.downloaded_, downloaded);
        the_watch.uploaded_ = std::max(the_watch.uploaded_, uploaded);
        the_watch.ended_ = the_watch.judge(now);
    } catch (...) {
        // libcurl's C frames are below; the caller who cannot be asked has cancelled.
        the_watch.ended_ = ending::cancelled;
    }
    return the_watch.ended_ == ending::none ? 0 : 1;
}

/// A reply is a movement, and so is the start of a request, in which libcurl's clock begins anew.
bool watch::has_moved(const state& now) const
{
    return now.bytes != before_.bytes || now.reply != before_.reply || now.time < before_.time;
}

watch::ending watch::judge(const state& now)
{
    if (ended_ != ending::none)
        return ended_;
    if (cancelled_ && cancelled_())
        return ending::cancelled;
    if (has_moved(now))
        note_movement();
    before_ = now;
    const auto idle = std::chrono::steady_clock::now() - last_move_;
    return idle > patience_ ? ending::stalled : ending::none;
}

} // namespace tarnix::ftp
