#include "text_checks.hpp"

#include <tarnix/ftp/errors.hpp>
#include <tarnix/ftp/url.hpp>

#include <boost/algorithm/string/case_conv.hpp>

#include <curl/curl.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <new>

namespace tarnix::ftp {

namespace {

struct url_release {
    void operator()(CURLU* parts) const noexcept { curl_url_cleanup(parts); }
    void operator()(char* text) const noexcept { curl_free(text); }
};

using curl_parts = std::unique_ptr<CURLU, url_release>;

protocol scheme_of(std::string_view name)
{
    const auto scheme = boost::algorithm::to_lower_copy(std::string(name));
    if (scheme == "ftp")
        return protocol::ftp;
    if (scheme == "ftpes")
        return protocol::ftpes;
    if (scheme == "sftp")
        return protocol::sftp;
    if (scheme == "ftps")
        throw invalid_url("ftps:// (TLS from the first byte) is not supported; for TLS on the "
                          "ordinary port write ftpes://");
    throw invalid_url("the scheme of the URL is not ftp, ftpes or sftp");
}

std::string decode(std::string_view text, const std::string& part)
{
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        const auto digits = text.substr(i + 1, 2);
        unsigned char byte = 0;
        const auto [stop, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (error != std::errc() || stop != digits.data() + 2)
            throw invalid_url("a \"%\" in the " + part +
                              " of the URL is not followed by two hexadecimal digits; write %25 "
                              "for the character itself");
        decoded += static_cast<char>(byte);
        i += 2;
    }
    if (has_control_character(decoded))
        throw invalid_url("the " + part + " of the URL holds a control character");
    return decoded;
}

std::string get(CURLU* parts, CURLUPart part)
{
    char* text = nullptr;
    const auto code = curl_url_get(parts, part, &text, 0);
    if (code == CURLUE_OUT_OF_MEMORY)
        throw std::bad_alloc();
    const std::unique_ptr<char, url_release> owned(text);
    return owned ? owned.get() : "";
}

/// libcurl reads the authority (user, host with all its forms, port); the rest is read here,
/// because libcurl knows no ftpes, takes a "?" for a query and normalises the path.
curl_parts parse_authority(const std::string& authority)
{
    curl_parts parts(curl_url());
    if (!parts)
        throw std::bad_alloc();
    switch (curl_url_set(parts.get(), CURLUPART_URL, ("ftp://" + authority).c_str(),
                         CURLU_PATH_AS_IS)) {
    case CURLUE_OK:
        return parts;
    case CURLUE_OUT_OF_MEMORY:
        throw std::bad_alloc();
    case CURLUE_BAD_PORT_NUMBER:
        throw invalid_url("the port in the URL is not a number from 1 to 65535");
    case CURLUE_NO_HOST:
        throw invalid_url("the URL has no host");
    case CURLUE_BAD_IPV6:
        throw invalid_url("the address in brackets in the URL is not an IPv6 address");
    default:
        throw invalid_url("the host in the URL is not a host name or address");
    }
}

std::string host_of(CURLU* parts)
{
    auto host = get(parts, CURLUPART_HOST);
    if (const auto zone = get(parts, CURLUPART_ZONEID); !zone.empty())
        host.insert(host.size() - 1, "%25" + zone);
    return host;
}

std::optional<std::uint16_t> port_of(const std::string& digits)
{
    if (digits.empty())
        return std::nullopt;
    std::uint16_t port = 0;
    const auto end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, port);
    if (error != std::errc() || stop != end || port == 0)
        throw invalid_url("the port in the URL is not a number from 1 to 65535");
    return port;
}

} // namespace

url parse_url(std::string_view text)
{
    constexpr std::string_view separator = "://";
    const auto scheme_end = text.find(separator);
    if (scheme_end == std::string_view::npos)
        throw invalid_url("not a URL; write ftp://, ftpes:// or sftp:// and the host");
    url result;
    result.scheme = scheme_of(text.substr(0, scheme_end));
    text.remove_prefix(scheme_end + separator.size());
    if (text.find_first_of("?#") != std::string_view::npos)
        throw invalid_url("a \"?\" or \"#\" in the URL must be written %3F or %23");
    const auto path_start = std::min(text.find('/'), text.size());
    const std::string authority(text.substr(0, path_start));
    if (authority.empty())
        throw invalid_url("the URL has no host");
    if (has_control_character(authority))
        throw invalid_url("the URL holds a control character");
    const auto at = authority.find('@');
    if (at != authority.rfind('@'))
        throw invalid_url("an \"@\" in the user name must be written %40");
    // libcurl would decode it, and decode it again when it gets the host in a URL. An address in
    // brackets has a "%" before its zone.
    const auto host = authority.substr(at == std::string::npos ? 0 : at + 1);
    if (!host.starts_with('[') && host.find('%') != std::string::npos)
        throw invalid_url("a \"%\" in the host of the URL is not supported");

    const auto parts = parse_authority(authority);
    result.host = host_of(parts.get());
    result.port = port_of(get(parts.get(), CURLUPART_PORT));
    if (at != std::string::npos) {
        const auto login = std::string_view(authority).substr(0, at);
        const auto colon = login.find(':');
        result.has_password = colon != std::string_view::npos;
        if (auto user = decode(login.substr(0, colon), "user name"); !user.empty())
            result.user = std::move(user);
    }
    result.path = decode(text.substr(path_start), "path");
    return result;
}

} // namespace tarnix::ftp
