#include "raise.hpp"
#include "trace.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <cstddef>
#include <string_view>

namespace tarnix::io::ftp::core {

namespace {

constexpr auto source = "src/connect";

/// Skipped by count: callers pass nothing but FTP URLs.
constexpr std::string_view ftp_scheme = "ftp://";

std::size_t discard_body(void*, std::size_t size, std::size_t count, void*)
{
    return size * count;
}

[[noreturn]] void raise_connection_failure(CURLcode code, const std::string& where, long port)
{
    if (code == CURLE_LOGIN_DENIED)
        raise<ids::BadLogin>(where);
    raise<ids::NoConnection>(where, std::to_string(port));
}

CURLcode probe(curl_ptr& handle)
{
    return scoped_request(handle).setopt(CURLOPT_NOBODY, 1L, 0).perform().first;
}

/// Leaves the session at the server's root and warns that this is not where it was to go.
void connect_to_root_folder(curl_ptr& handle, const std::string& root_url, long port, bool is_ftp)
{
    set_option(handle, CURLOPT_URL, root_url.c_str());
    const auto code = probe(handle);
    write_record(level::information,
                 "Response from second request to connect to root folder: ", code);
    if (code != CURLE_OK)
        raise_connection_failure(code, root_url, port);
    if (is_ftp)
        warn<ids::CouldNotLoginToRemoteFolder>();
    else
        warn<ids::CouldNotDetermineHomeFolder>();
}

curl_usessl tls_level(const std::string& tls_mode)
{
    if (tls_mode == "none")
        return CURLUSESSL_NONE;
    if (tls_mode == "opportunistic")
        return CURLUSESSL_TRY;
    if (tls_mode == "strict")
        return CURLUSESSL_ALL;
    raise<ids::InternalError>("TLSMode", "Unrecognized option: " + tls_mode);
}

/// The folder that `url` names could not be entered: goes to the login folder, by way of the root.
void connect_to_login_folder(curl_ptr& handle, const std::string& url, long port)
{
    const auto authority_end = url.find('/', ftp_scheme.size());
    if (authority_end == std::string::npos)
        raise_connection_failure(CURLE_REMOTE_ACCESS_DENIED, url, port);
    const auto root_url =
        std::string(ftp_scheme) + url.substr(ftp_scheme.size(), authority_end - ftp_scheme.size());
    connect_to_root_folder(handle, root_url, port, true);
    const auto home = pwd(handle);
    cd(handle, add_trailing_slash(root_url) + add_trailing_slash(home));
}

/// The path part of the URL of a starting folder: always from the server's root.
std::string starting_path(curl_ptr& handle, const std::string& folder)
{
    return (folder.starts_with('/') ? "" : "/") +
           percent_encode_path(handle, add_trailing_slash(folder));
}

/// Judges the check of the starting folder, which tells more than the first request.
void enter_starting_folder(curl_ptr& handle, const std::string& host, long port,
                           const std::string& base, const std::string& folder)
{
    const auto code = sftp_is_folder(handle, starting_path(handle, folder), true).first;
    write_record(level::information, "Response from request to connect to login folder: ", code);
    switch (code) {
    case CURLE_OK:
        return;
    case CURLE_LOGIN_DENIED:
        raise<ids::BadLogin>(host);
    case CURLE_COULDNT_RESOLVE_HOST:
        raise<ids::NoConnectionToStartingFolder>(host, std::to_string(port));
    default:
        connect_to_root_folder(handle, base, port, false);
    }
}

} // namespace

std::string connect(curl_ptr& handle, const std::string& url, const std::string& username,
                    const std::string& password, const long port,
                    const std::string& connection_mode, const std::string& tls_mode,
                    const bool use_proxy, const std::string& ca_file, const bool verify_peer,
                    const bool verify_host, const long low_speed_limit, const long low_speed_time)
{
    const function_scope scope{
        getLogger(),
        "std::string tarnix::io::ftp::core::connect(curl_ptr &, const std::string &, const "
        "std::string &, const std::string &, const long, const std::string &, const std::string &, "
        "const bool, const std::string &, const bool, const bool, const long, const long)",
        source, 120};
    handle.throw_if_null();
    if (use_proxy)
        configure_proxy(handle);
    if (connection_mode == "active")
        set_option(handle, CURLOPT_FTPPORT, "-");
    set_option(handle, CURLOPT_URL, add_trailing_slash(url).c_str());
    set_option(handle, CURLOPT_USERNAME, username.c_str());
    set_option(handle, CURLOPT_PASSWORD, password.c_str());
    set_option(handle, CURLOPT_PORT, port);
    set_option(handle, CURLOPT_SSL_VERIFYHOST, verify_host);
    set_option(handle, CURLOPT_SSL_VERIFYPEER, verify_peer);
    set_option(handle, CURLOPT_LOW_SPEED_LIMIT, low_speed_limit);
    set_option(handle, CURLOPT_LOW_SPEED_TIME, low_speed_time);
    set_option(handle, CURLOPT_CAINFO, ca_file.c_str());
    set_option(handle, CURLOPT_USE_SSL, tls_level(tls_mode));
    const auto code = scoped_request(handle)
                          .setopt(CURLOPT_NOBODY, 1L, 0)
                          .setopt(CURLOPT_WRITEFUNCTION, &discard_body, nullptr)
                          .perform()
                          .first;
    if (code == CURLE_REMOTE_ACCESS_DENIED)
        connect_to_login_folder(handle, url, port);
    else if (code != CURLE_OK)
        raise_connection_failure(code, url, port);
    const auto folder = pwd(handle);
    const auto has_path = url.find('/', ftp_scheme.size()) != std::string::npos;
    return cd(handle, add_trailing_slash(url) + (has_path ? "" : add_trailing_slash(folder)));
}

std::string connect_with_password(curl_ptr& handle, const std::string& host,
                                  const std::string& username, const long port,
                                  const std::string& password, const bool use_proxy,
                                  const std::string& starting_folder, const std::string& ca_file,
                                  const bool verify_peer, const bool verify_host,
                                  const long low_speed_limit, const long low_speed_time,
                                  const bool start_at_root)
{
    set_option(handle, CURLOPT_SSH_AUTH_TYPES, CURLSSH_AUTH_PASSWORD);
    set_option(handle, CURLOPT_PASSWORD, password.c_str());
    return connect_helper(handle, host, username, port, use_proxy, starting_folder, ca_file,
                          verify_peer, verify_host, low_speed_limit, low_speed_time, start_at_root);
}

std::string connect_with_keys(curl_ptr& handle, const std::string& host,
                              const std::string& username, const long port,
                              const std::string& public_key_file,
                              const std::string& private_key_file, const std::string& passphrase,
                              const bool use_proxy, const std::string& starting_folder,
                              const std::string& ca_file, const bool verify_peer,
                              const bool verify_host, const long low_speed_limit,
                              const long low_speed_time, const bool start_at_root)
{
    set_option(handle, CURLOPT_SSH_AUTH_TYPES, CURLSSH_AUTH_PUBLICKEY);
    if (!passphrase.empty())
        set_option(handle, CURLOPT_KEYPASSWD, passphrase.c_str());
    if (!public_key_file.empty())
        set_option(handle, CURLOPT_SSH_PUBLIC_KEYFILE, public_key_file.c_str());
    set_option(handle, CURLOPT_SSH_PRIVATE_KEYFILE, private_key_file.c_str());
    return connect_helper(handle, host, username, port, use_proxy, starting_folder, ca_file,
                          verify_peer, verify_host, low_speed_limit, low_speed_time, start_at_root);
}

std::string connect_helper(curl_ptr& handle, const std::string& host, const std::string& username,
                           const long port, const bool use_proxy,
                           const std::string& starting_folder, const std::string& ca_file,
                           const bool verify_peer, const bool verify_host,
                           const long low_speed_limit, const long low_speed_time,
                           const bool start_at_root)
{
    const function_scope scope{
        getLogger(),
        "std::string tarnix::io::ftp::core::connect_helper(curl_ptr &, const std::string &, const "
        "std::string &, const long, const bool, const std::string &, const std::string &, const "
        "bool, const bool, const long, const long, const bool)",
        source, 195};
    handle.throw_if_null();
    if (use_proxy)
        configure_proxy(handle);
    const auto base = "sftp://" + host;
    const bool folder_given = !starting_folder.empty() && starting_folder != "/~/";
    auto url = base;
    if (folder_given)
        url += starting_path(handle, starting_folder);
    else if (!start_at_root)
        url += "/~";
    set_option(handle, CURLOPT_URL, url.c_str());
    set_option(handle, CURLOPT_USERNAME, username.c_str());
    set_option(handle, CURLOPT_PORT, port);
    set_option(handle, CURLOPT_SSL_VERIFYHOST, verify_host);
    set_option(handle, CURLOPT_SSL_VERIFYPEER, verify_peer);
    set_option(handle, CURLOPT_CAINFO, ca_file.c_str());
    set_option(handle, CURLOPT_LOW_SPEED_LIMIT, low_speed_limit);
    set_option(handle, CURLOPT_LOW_SPEED_TIME, low_speed_time);
    set_option(handle, CURLOPT_DIRLISTONLY, 1);
    const auto code = probe(handle);
    write_record(level::information,
                 "Response from first request to connect to home folder: ", code);
    if (folder_given)
        enter_starting_folder(handle, host, port, base, starting_folder);
    else if (code != CURLE_OK)
        connect_to_root_folder(handle, base, port, false);
    const auto folder = pwd(handle);
    write_record(level::information, "Current working folder on SFTP server:  ", folder);
    return folder;
}

void transfer_timeout(curl_ptr& handle, const long milliseconds)
{
    const function_scope scope{
        getLogger(), "void tarnix::io::ftp::core::transfer_timeout(curl_ptr &, const long)", source,
        340};
    set_option(handle, CURLOPT_TIMEOUT_MS, milliseconds);
}

void connection_timeout(curl_ptr& handle, const long milliseconds)
{
    const function_scope scope{
        getLogger(), "void tarnix::io::ftp::core::connection_timeout(curl_ptr &, const long)",
        source, 349};
    set_option(handle, CURLOPT_CONNECTTIMEOUT_MS, milliseconds);
}

} // namespace tarnix::io::ftp::core
