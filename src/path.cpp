#include "raise.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <cstddef>
#include <memory>
#include <sstream>

namespace tarnix::io::ftp::core {

namespace {

constexpr auto source = "src/path";

struct curl_release {
    void operator()(char* text) const noexcept { curl_free(text); }
};

using curl_text = std::unique_ptr<char, curl_release>;

/// libcurl takes lengths as `int`.
int checked_length(const std::string& s)
{
    constexpr std::size_t limit = 2147483648;
    if (s.size() >= limit)
        raise<ids::InternalError>("Percent Encoding", "Exceeded maximum string length");
    return static_cast<int>(s.size());
}

/// Makes the logger when the library is loaded, so that it, and the thread-local state of
/// Boost.Log below it, outlive every static session handle of the program.
[[maybe_unused]] const auto& logger_at_load = getLogger();

} // namespace

logger& getLogger()
{
    static logger the_logger("tarnix::io::ftp::core");
    return the_logger;
}

std::string add_trailing_slash(const std::string& s)
{
    return s.empty() || s.ends_with('/') ? s : s + '/';
}

std::string percent_encode(curl_ptr& handle, const std::string& s)
{
    const auto length = checked_length(s);
    const curl_text encoded(curl_easy_escape(handle.get(), s.data(), length));
    if (!encoded)
        raise<ids::InternalError>("Percent Decoding", "Allocation failure");
    return encoded.get();
}

std::string percent_decode(curl_ptr& handle, const std::string& s)
{
    const auto length = checked_length(s);
    int decoded_length = 0;
    const curl_text decoded(curl_easy_unescape(handle.get(), s.data(), length, &decoded_length));
    if (!decoded || decoded_length < 0)
        raise<ids::InternalError>("Percent Decoding", "Allocation failure");
    return {decoded.get(), static_cast<std::size_t>(decoded_length)};
}

std::string percent_encode_path(curl_ptr& handle, const std::string& path)
{
    const function_scope scope{getLogger(),
                               "std::string tarnix::io::ftp::core::percent_encode_path(curl_ptr &, "
                               "const std::string &)",
                               source, __LINE__};
    std::istringstream segments(path);
    std::string segment;
    std::string encoded;
    if (std::getline(segments, segment, '/'))
        encoded = percent_encode(handle, segment);
    while (std::getline(segments, segment, '/'))
        encoded += '/' + percent_encode(handle, segment);
    if (path.ends_with('/'))
        encoded += '/';
    return encoded;
}

std::string make_absolute_url(curl_ptr& handle, const std::string& base_url,
                              const std::string& path, const bool is_encoded)
{
    const function_scope scope{getLogger(),
                               "std::string tarnix::io::ftp::core::make_absolute_url(curl_ptr &, "
                               "const std::string &, const std::string &, const bool)",
                               source, __LINE__};
    const std::string absolute = path.starts_with('/') ? path : "/";
    const auto scheme_end = base_url.find("://");
    if (scheme_end == std::string::npos)
        raise<ids::InternalError>("URL Generation", "Couldn't find URL scheme");
    const auto server = base_url.substr(0, base_url.find('/', scheme_end + 3));
    const auto encoded = is_encoded ? absolute : percent_encode_path(handle, absolute);
    // An FTP path is relative to the login folder, so there an absolute one needs a slash more.
    return (base_url.starts_with("sftp://") ? server : add_trailing_slash(server)) + encoded;
}

std::string fullurl(curl_ptr& handle, const std::string& path, const bool is_encoded)
{
    const function_scope scope{
        getLogger(),
        "std::string tarnix::io::ftp::core::fullurl(curl_ptr &, const std::string &, const bool)",
        source, __LINE__};
    const auto url = current_remote_url(handle);
    if (path.empty())
        return url;
    if (path.starts_with('/'))
        return make_absolute_url(handle, url, path, is_encoded);
    return add_trailing_slash(url) + (is_encoded ? path : percent_encode_path(handle, path));
}

std::string fullfile(curl_ptr& handle, const std::string& name)
{
    const function_scope scope{
        getLogger(), "std::string tarnix::io::ftp::core::fullfile(curl_ptr &, const std::string &)",
        source, __LINE__};
    return add_trailing_slash(pwd(handle)) + name;
}

} // namespace tarnix::io::ftp::core
