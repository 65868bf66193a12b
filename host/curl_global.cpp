#include "curl_global.hpp"

#include <curl/curl.h>

#include <mutex>
#include <stdexcept>
#include <string>

namespace tarnix::host {

namespace {

/// libcurl counts the calls, but its older versions do not let two threads make them at once.
std::mutex& global_calls()
{
    // Never destroyed: the last session may be one with static storage.
    static auto& instance = *new std::mutex;
    return instance;
}

class curl_global final
    : public foundation::httpclient_core::libcurlinitializer::LibCurlInitializer {
public:
    curl_global()
    {
        const std::lock_guard<std::mutex> lock(global_calls());
        const auto code = curl_global_init(CURL_GLOBAL_DEFAULT);
        if (code != CURLE_OK)
            throw std::runtime_error(std::string("libcurl could not be initialised: ") +
                                     curl_easy_strerror(code));
    }

    ~curl_global() override
    {
        const std::lock_guard<std::mutex> lock(global_calls());
        curl_global_cleanup();
    }

    curl_global(const curl_global&) = delete;
    curl_global& operator=(const curl_global&) = delete;
};

} // namespace

std::shared_ptr<foundation::httpclient_core::libcurlinitializer::LibCurlInitializer>
make_curl_initializer()
{
    return std::make_shared<curl_global>();
}

} // namespace tarnix::host
