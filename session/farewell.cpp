#include "farewell.hpp"

#include "callbacks.hpp"

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

farewell::farewell(core::curl_ptr& handle, std::chrono::seconds patience, const std::string& host,
                   long port)
    : handle_(handle),
      patience_(patience),
      // Any: nothing is to be connected, and nobody to be asked for the right one.
      address_{host + ':' + std::to_string(port) + ":127.0.0.1"}
{
}

/// A request to the folder that the session is in sends nothing of itself but QUIT, which, unlike
/// that of a handle that is closed, keeps to the handle's bounds. Before that it must send
/// something: when there is a reply that was not asked for, as after a time-out of the server's,
/// libcurl 7.88 would read it with a pointer into memory that it has freed, and might never return.
farewell::~farewell()
{
    try {
        core::set_option(handle_, CURLOPT_OPENSOCKETFUNCTION,
                         reinterpret_cast<void (*)()>(&refuse_socket));
        core::set_option(handle_, CURLOPT_WRITEFUNCTION, reinterpret_cast<void (*)()>(&discard));
        core::set_option(handle_, CURLOPT_RESOLVE, address_.get());
        core::set_option(handle_, CURLOPT_FORBID_REUSE, 1LL);
        core::set_option(handle_, CURLOPT_NOBODY, 1LL);
        core::set_option(handle_, CURLOPT_SERVER_RESPONSE_TIMEOUT, patience_.count());
        // The asterisk: whatever the answer is.
        const core::slist first{"*NOOP"};
        const auto is_ftp = core::current_remote_url(handle_).starts_with("ftp://");
        core::scoped_request(handle_)
            .setopt(CURLOPT_QUOTE, is_ftp ? first.get() : nullptr, nullptr)
            .perform();
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Without a farewell, then.
    }
}

} // namespace tarnix::ftp
