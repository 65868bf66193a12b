#include "require.hpp"

#include "settings.hpp"

#include <tarnix/ftp/errors.hpp>
#include <tarnix/ftp/url.hpp>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

// The URLs that users give, and what becomes of one together with options. The first line of an
// input is the URL; those after it are user name, password, starting folder and fingerprint.

namespace {

using namespace tarnix::ftp;
using tarnix::fuzz::require;

bool is_clean(std::string_view text)
{
    return std::none_of(text.begin(), text.end(),
                        [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

std::string lower(std::string text)
{
    for (auto& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string name_of(protocol scheme)
{
    if (scheme == protocol::ftp)
        return "ftp";
    return scheme == protocol::ftpes ? "ftpes" : "sftp";
}

std::string encode(const std::string& text, const std::string& kept)
{
    std::string encoded;
    for (const char c : text) {
        if (std::isalnum(static_cast<unsigned char>(c)) || kept.find(c) != std::string::npos) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        const std::string digits = "0123456789ABCDEF";
        encoded += {'%', digits[byte / 16], digits[byte % 16]};
    }
    return encoded;
}

std::string compose(const url& parts)
{
    auto text = name_of(parts.scheme) + "://";
    if (parts.user || parts.has_password)
        text += encode(parts.user.value_or(""), "") + (parts.has_password ? ":x" : "") + '@';
    text += parts.host;
    if (parts.port)
        text += ':' + std::to_string(*parts.port);
    return text + encode(parts.path, "/");
}

/// The parts between "//" and the path, found by hand.
struct authority {
    std::string login;
    std::string host;
    std::string port;
};

authority split_authority(const std::string& text)
{
    auto rest = text.substr(text.find("://") + 3);
    rest.resize(std::min(rest.find('/'), rest.size()));
    authority parts;
    if (const auto at = rest.rfind('@'); at != std::string::npos) {
        parts.login = rest.substr(0, at);
        rest.erase(0, at + 1);
    }
    const auto colon = rest.find(':', rest.starts_with('[') ? rest.find(']') : 0);
    parts.host = rest.substr(0, colon);
    if (colon != std::string::npos)
        parts.port = rest.substr(colon + 1);
    return parts;
}

/// No address in one of its many forms, nothing to decode.
bool is_plain_name(const std::string& host)
{
    const auto is_plain = [](unsigned char c) { return std::islower(c) || c == '-'; };
    return !host.empty() && std::all_of(host.begin(), host.end(), is_plain) &&
           host.find_first_not_of("abcdefx") != std::string::npos;
}

void check_parts(const std::string& text, const url& parts)
{
    require(lower(text).starts_with(name_of(parts.scheme) + "://"), "the scheme is the one given");
    require(!parts.host.empty() && is_clean(parts.host), "the host is a name");
    require(parts.host.find_first_of("/@?# ") == std::string::npos,
            "the host is nothing but a host");
    require(is_clean(parts.user.value_or("")) && is_clean(parts.path), "no part can end a command");
    require(!parts.port || *parts.port != 0, "no port is 0");
    require(parts.path.empty() || parts.path.starts_with('/'), "a path begins with a slash");
    const auto expected = split_authority(text);
    require(!is_plain_name(expected.host) || parts.host == expected.host,
            "the host is the one given");
    require(parts.port ? std::stoul(expected.port) == *parts.port : expected.port.empty(),
            "the port is the one given");
    require(parts.has_password == (expected.login.find(':') != std::string::npos),
            "a password is noticed");

    const auto again = parse_url(compose(parts));
    require(again.scheme == parts.scheme && again.user == parts.user &&
                again.has_password == parts.has_password && again.host == parts.host &&
                again.port == parts.port && again.path == parts.path,
            "the parts make a URL with the same parts: " + compose(parts));
}

std::optional<url> parse(const std::string& text)
{
    try {
        auto parts = parse_url(text);
        check_parts(text, parts);
        return parts;
    } catch (const invalid_url& error) {
        const std::string message = error.what();
        require(!message.empty() && is_clean(message), "a refused URL has a clear message");
        static std::set<std::string> messages;
        messages.insert(message);
        constexpr std::size_t ways_to_be_wrong = 24;
        require(messages.size() <= ways_to_be_wrong, "the message repeats nothing of the URL");
        return std::nullopt;
    }
}

std::optional<std::string> next_line(std::string& rest)
{
    if (rest.empty())
        return std::nullopt;
    const auto end = std::min(rest.find('\n'), rest.size());
    auto line = rest.substr(0, end);
    rest.erase(0, end + 1);
    return line;
}

void check_settings(const url& server, std::string rest)
{
    session_options options;
    options.user = next_line(rest);
    options.password = next_line(rest);
    options.starting_folder = next_line(rest).value_or("");
    options.host_key_fingerprint = next_line(rest).value_or("");
    try {
        const auto all = make_settings(server, options);
        require(is_clean(all.user) && is_clean(all.password) && is_clean(all.starting_folder),
                "no setting can end a command");
        require(!all.user.empty() && all.user == server.user.value_or(all.user),
                "the user is the one given");
        require(all.port > 0 && all.host == server.host, "the server is the one given");
        require(!all.is_sftp() || !all.fingerprint.empty(), "an SFTP server is verified");
        require(server.scheme != protocol::ftpes || all.tls == "strict", "ftpes is TLS");
    } catch (const invalid_input& error) {
        const std::string message = error.what();
        require(!message.empty() && is_clean(message), "refused options have a clear message");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string input(data, data + size);
    const auto end = std::min(input.find('\n'), size);
    const auto text = input.substr(0, end);
    input.erase(0, end + 1);
    if (const auto server = parse(text))
        check_settings(*server, input);
    return 0;
}
