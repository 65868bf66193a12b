#include "settings.hpp"

#include "libcurl_version.hpp"
#include "text_checks.hpp"

#include <tarnix/ftp/errors.hpp>

#include <curl/curl.h>

#include <limits>

namespace tarnix::ftp {

namespace {

/// One value given in two places must be the same in both.
template <typename Value>
std::optional<Value> only_one(const std::optional<Value>& in_url,
                              const std::optional<Value>& in_options, const std::string& name)
{
    if (in_url && in_options && *in_url != *in_options)
        throw invalid_input("the URL and the options give different " + name + "s");
    return in_url ? in_url : in_options;
}

void refuse_control_characters(const std::string& text, const std::string& name)
{
    if (has_control_character(text))
        throw invalid_input("the " + name + " holds a control character");
}

void check_texts(const url& server, const session_options& options)
{
    refuse_control_characters(server.host, "host name");
    refuse_control_characters(server.path, "path of the URL");
    refuse_control_characters(server.user.value_or(""), "user name");
    refuse_control_characters(options.user.value_or(""), "user name");
    refuse_control_characters(options.password.value_or(""), "password");
    refuse_control_characters(options.passphrase, "passphrase");
    refuse_control_characters(options.starting_folder, "starting folder");
    for (const auto* file : {&options.ca_file, &options.private_key_file, &options.public_key_file,
                             &options.known_hosts_file})
        refuse_control_characters(*file, "name of a file");
    if (server.host.empty())
        throw invalid_input("there is no host name");
}

void check_bounds(const session_options& options)
{
    if (options.port == 0)
        throw invalid_input("the port is not a number from 1 to 65535");
    if (options.connect_timeout.count() <= 0 || options.reply_timeout.count() <= 0)
        throw invalid_input("the time-outs for connecting and for replies must be above 0");
    if (options.transfer_timeout.count() < 0 || options.low_speed_limit < 0 ||
        options.low_speed_time.count() < 0)
        throw invalid_input("time-outs and speed limits must not be below 0");
    constexpr auto longest = std::chrono::milliseconds(std::numeric_limits<int>::max());
    if (options.reply_timeout > std::chrono::duration_cast<std::chrono::seconds>(longest) ||
        options.connect_timeout > longest || options.transfer_timeout > longest)
        throw invalid_input("a time-out is too long");
}

std::string tls_text(protocol scheme, const std::optional<tls_mode>& asked)
{
    const auto mode = asked.value_or(scheme == protocol::ftpes ? tls_mode::strict : tls_mode::none);
    if (scheme == protocol::ftpes && mode != tls_mode::strict)
        throw invalid_input("ftpes:// demands TLS, the options do not");
    switch (mode) {
    case tls_mode::none:
        return "none";
    case tls_mode::opportunistic:
        return "opportunistic";
    case tls_mode::strict:
        return "strict";
    }
    throw invalid_input("there is no such TLS mode");
}

std::string system_ca_file()
{
    const auto* file = curl_version_info(CURLVERSION_NOW)->cainfo;
    return file ? file : "";
}

void check_sftp(const session_options& options)
{
    if (options.active_mode)
        throw invalid_input("active mode is for FTP only");
    if (options.tls)
        throw invalid_input("TLS is for FTP only; SFTP is always encrypted");
    if (options.private_key_file.empty() && !options.password)
        throw invalid_input("SFTP needs a password or a private key");
    if (options.verify_host_key && options.known_hosts_file.empty() &&
        options.host_key_fingerprint.empty())
        throw invalid_input("nothing is given to verify the server's host key with");
}

void check_ftp(const settings& all)
{
    if (!all.options.private_key_file.empty() || !all.options.public_key_file.empty())
        throw invalid_input("key files are for SFTP only");
    if (all.tls != "none" && all.options.verify_peer && all.ca_file.empty())
        throw invalid_input("there is no file of trusted certificates");
    // It leaves TLS out of the connections that the server opens, and sends files in clear text.
    if (all.options.active_mode && all.tls != "none" && libcurl_is_before(8, 0))
        throw invalid_input("active mode with TLS is not safe with this libcurl; passive mode is");
}

/// libcurl wants the base64 text alone.
std::string bare_fingerprint(const std::string& text)
{
    constexpr std::string_view prefix = "SHA256:";
    constexpr std::size_t length_of_sha256 = 43;
    auto bare = text.starts_with(prefix) ? text.substr(prefix.size()) : text;
    if (bare.ends_with('='))
        bare.pop_back();
    const auto valid = bare.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                              "0123456789+/") == std::string::npos;
    if (!text.empty() && (!valid || bare.size() != length_of_sha256))
        throw invalid_input("the host key's fingerprint is not of the form SHA256:... with 43 "
                            "characters");
    return bare;
}

void fill_in_login(settings& all, const std::optional<std::string>& user)
{
    constexpr auto anonymous = "anonymous";
    if (!user && all.is_sftp())
        throw invalid_input("SFTP needs a user name: sftp://user@host");
    all.user = user.value_or(anonymous);
    if (all.user.empty())
        throw invalid_input("the user name is empty");
    if (all.options.password)
        all.password = *all.options.password;
    else if (all.user == anonymous)
        all.password = "anonymous@";
    else if (!all.is_sftp())
        throw invalid_input("there is no password for this user");
}

} // namespace

settings make_settings(const url& server, const session_options& options)
{
    constexpr std::uint16_t ftp_port = 21;
    constexpr std::uint16_t ssh_port = 22;
    check_texts(server, options);
    check_bounds(options);
    settings all{};
    all.options = options;
    all.scheme = server.scheme;
    all.host = server.host;
    all.port =
        only_one(server.port, options.port, "port").value_or(all.is_sftp() ? ssh_port : ftp_port);
    all.starting_folder =
        options.starting_folder.empty() ? server.folder() : options.starting_folder;
    all.ca_file = options.ca_file.empty() ? system_ca_file() : options.ca_file;
    all.fingerprint = bare_fingerprint(options.host_key_fingerprint);
    all.with_key = !options.private_key_file.empty();
    fill_in_login(all, only_one(server.user, options.user, "user name"));
    if (all.is_sftp()) {
        check_sftp(options);
    } else {
        all.tls = tls_text(server.scheme, options.tls);
        check_ftp(all);
    }
    return all;
}

} // namespace tarnix::ftp
