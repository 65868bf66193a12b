#include "require.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

// The functions that put names into URLs and read them back, and those that build URLs from them.

namespace {

namespace core = tarnix::io::ftp::core;

using tarnix::fuzz::require;

bool is_unreserved(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

int digit_value(char c)
{
    const std::string digits = "0123456789abcdefABCDEF";
    const auto found = digits.find(c);
    if (found == std::string::npos)
        return -1;
    return static_cast<int>(found < 16 ? found : found - 6);
}

/// In another way than libcurl: what lies between two percent signs at a time.
std::string decoded_by_hand(const std::string& text)
{
    std::string result;
    std::size_t rest = 0;
    while (rest < text.size()) {
        const auto percent = text.find('%', rest);
        result += text.substr(rest, percent - rest);
        if (percent == std::string::npos)
            break;
        const auto has_two = text.size() - percent > 2;
        const auto high = has_two ? digit_value(text[percent + 1]) : -1;
        const auto low = has_two ? digit_value(text[percent + 2]) : -1;
        const auto valid = high >= 0 && low >= 0;
        result += valid ? static_cast<char>(high * 16 + low) : '%';
        rest = percent + (valid ? 3 : 1);
    }
    return result;
}

void check_encoding(core::curl_ptr& handle, const std::string& text)
{
    const auto encoded = core::percent_encode(handle, text);
    require(core::percent_decode(handle, encoded) == text, "decoding undoes encoding");
    for (const char c : encoded)
        require(is_unreserved(c) || c == '%', "an encoded text needs no more encoding");
    require(core::percent_decode(handle, text) == decoded_by_hand(text),
            "'%XX' is a byte, and everything else stays");
}

void check_path(core::curl_ptr& handle, const std::string& path)
{
    const auto encoded = core::percent_encode_path(handle, path);
    std::string joined;
    std::size_t start = 0;
    for (;;) {
        const auto end = encoded.find('/', start);
        joined += core::percent_decode(handle, encoded.substr(start, end - start));
        if (end == std::string::npos)
            break;
        joined += '/';
        start = end + 1;
    }
    require(joined == path, "the segments of an encoded path are the ones of the path");
}

void check_trailing_slash(const std::string& text)
{
    const auto folder = core::add_trailing_slash(text);
    require(core::add_trailing_slash(folder) == folder, "one slash at the end is enough");
    require(folder.empty() == text.empty(), "an empty text stays empty");
    require(folder == text || folder == text + '/', "nothing but a slash is added");
}

/// With another view of a URL: what lies between "://" and the next "/" is the server.
void check_url(core::curl_ptr& handle, const std::string& base, const std::string& path)
{
    const auto separator = base.find("://");
    try {
        const auto url = core::make_absolute_url(handle, base, path, false);
        require(separator != std::string::npos, "a base without a scheme is refused");
        auto server = base;
        if (const auto slash = base.find('/', separator + 3); slash != std::string::npos)
            server.resize(slash);
        require(url.starts_with(server), "the server stays");
        auto rest = url.substr(server.size());
        if (base.substr(0, 7) != "sftp://" && !server.ends_with('/')) {
            require(rest.starts_with('/'), "an absolute FTP path has one slash more");
            rest.erase(0, 1);
        }
        const auto absolute = !path.empty() && path.front() == '/' ? path : "/";
        require(rest == core::percent_encode_path(handle, absolute), "the path follows, encoded");
        require(core::make_absolute_url(handle, base, rest, true) == url,
                "what is encoded is not encoded again");
    } catch (const foundation::core::except::IMsgIDException& error) {
        require(separator == std::string::npos, "a base with a scheme is taken");
        require(error.message_id().id == "InternalError", "a base without a scheme is an error");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static core::curl_ptr handle(false);
    const std::string text(data, data + size);
    check_encoding(handle, text);
    check_path(handle, text);
    check_trailing_slash(text);
    const auto line_end = text.find('\n');
    if (line_end != std::string::npos)
        check_url(handle, text.substr(0, line_end), text.substr(line_end + 1));
    return 0;
}
