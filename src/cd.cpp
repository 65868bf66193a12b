#include "raise.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

namespace tarnix::io::ftp::core {

namespace {

constexpr auto source = "src/cd";

} // namespace

CURLcode unsafe_cd(curl_ptr& handle, const std::string& url)
{
    const function_scope scope{
        getLogger(), "CURLcode tarnix::io::ftp::core::unsafe_cd(curl_ptr &, const std::string &)",
        source, 18};
    const auto target = add_trailing_slash(url);
    set_option(handle, CURLOPT_URL, target.c_str());
    const auto [code, reply] = scoped_request(handle).setopt(CURLOPT_NOBODY, 1L, 0).perform();
    write_record(level::information, "unsafe_cd on path \"", url, "\" returned curl code: ", code,
                 " and reply code: ", reply);
    return code;
}

std::string cd(curl_ptr& handle, const std::string& url)
{
    const function_scope scope{
        getLogger(), "std::string tarnix::io::ftp::core::cd(curl_ptr &, const std::string &)",
        source, 33};
    const auto saved = current_remote_url(handle);
    if (unsafe_cd(handle, url) != CURLE_OK) {
        unsafe_cd(handle, saved);
        raise<ids::NoSuchDirectory>(url);
    }
    return pwd(handle);
}

} // namespace tarnix::io::ftp::core
