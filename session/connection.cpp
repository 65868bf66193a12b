#include "connection.hpp"

#include "callbacks.hpp"
#include "libcurl_version.hpp"
#include "paths.hpp"
#include "replies.hpp"
#include "requests.hpp"
#include "tls_ends.hpp"

#include <tarnix/ftp/errors.hpp>

#include <foundation/core/except.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <optional>
#include <string_view>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

constexpr std::chrono::seconds longest_farewell{5};

/// A text that libcurl does not take is as if it had never been set: no user, no proxy instead of
/// none at all, no file of known host keys. So, unlike the library, this looks at the answer.
void set_text(core::curl_ptr& handle, CURLoption option, const std::string& text)
{
    switch (curl_easy_setopt(handle.get(), option, text.c_str())) {
    case CURLE_OK:
        return;
    case CURLE_OUT_OF_MEMORY:
        throw std::bad_alloc();
    default:
        throw invalid_input("a text that is meant for the connection is too long for libcurl");
    }
}

curl_usessl tls_level(const std::string& tls)
{
    if (tls == "strict")
        return CURLUSESSL_ALL;
    return tls == "opportunistic" ? CURLUSESSL_TRY : CURLUSESSL_NONE;
}

std::string server_name(const settings& wanted)
{
    return wanted.host + " port " + std::to_string(wanted.port);
}

/// Why a server that took the login cannot be used.
std::string reason_for(std::optional<failure_kind> kind)
{
    if (kind == failure_kind::not_found)
        return "the login folder cannot be entered";
    if (kind == failure_kind::connection)
        return "the connection was lost";
    return "the server does not tell the login folder";
}

} // namespace

connection::connection(const settings& wanted)
    : watch_(std::max<std::chrono::milliseconds>(wanted.options.reply_timeout,
                                                 wanted.options.connect_timeout),
             wanted.options.cancelled),
      is_secured_by_tls_(!wanted.is_sftp() && wanted.tls != "none")
{
    set_options(wanted);
    log_in(wanted);
    farewell_.emplace(handle_, std::min(wanted.options.reply_timeout, longest_farewell),
                      wanted.host, wanted.port);
    watch_.set_patience(wanted.options.reply_timeout);
    // Old libcurls let the first bytes of a TLS data connection lie until this timer fires. Not set
    // earlier, because it is meant for the choice between the server's addresses.
    if (libcurl_is_before(8, 10))
        core::set_option(handle_, CURLOPT_HAPPY_EYEBALLS_TIMEOUT_MS, 1LL);
    login_folder_ = absolute_path("/", undouble_quotes(enter_login_folder(wanted)));
    if (wanted.is_sftp() && has_missed_login_folder())
        throw failure(failure_kind::connection, "cannot connect to " + server_name(wanted) +
                                                    ": the login folder cannot be entered");
    // The library's connect has set these anew, and has not seen whether it could.
    set_login(wanted);
}

/// As the farewell does: over FTP there may be a reply that nobody has asked for any more, which
/// libcurl must not meet in a request that sends nothing.
void connection::close()
{
    const core::slist first{"*NOOP"};
    const auto is_ftp = core::current_remote_url(handle_).starts_with("ftp://");
    core::scoped_request(handle_)
        .setopt(CURLOPT_OPENSOCKETFUNCTION, reinterpret_cast<void (*)()>(&refuse_socket), nullptr)
        .setopt(CURLOPT_QUOTE, is_ftp ? first.get() : nullptr, nullptr)
        .setopt(CURLOPT_FORBID_REUSE, 1, 0)
        .setopt(CURLOPT_WRITEFUNCTION, &discard, nullptr)
        .setopt(CURLOPT_NOBODY, 1, 0)
        .perform();
}

/// What the library's connect has no parameter for, and what the first request needs: the same
/// values as connect sets, so that it finds that request's connection fit for reuse.
void connection::set_options(const settings& wanted)
{
    const auto& options = wanted.options;
    // Without this libcurl takes a proxy from the environment, which sees FTP in clear text.
    set_text(handle_, CURLOPT_PROXY, "");
    if (options.use_proxy)
        core::configure_proxy(handle_);
    core::connection_timeout(handle_, static_cast<long>(options.connect_timeout.count()));
    core::transfer_timeout(handle_, static_cast<long>(options.transfer_timeout.count()));
    core::set_option(handle_, CURLOPT_SERVER_RESPONSE_TIMEOUT, options.reply_timeout.count());
    watch_.observe(handle_);
    if (options.active_mode)
        watch_.await_server(handle_);
    // With it libcurl would save and restore the process's handling of SIGPIPE, which is lost when
    // two threads do so at once.
    core::set_option(handle_, CURLOPT_NOSIGNAL, 1LL);
    // A name server that is silent must not outlast the time-outs.
    core::set_option(handle_, CURLOPT_QUICK_EXIT, 1LL);

    core::set_option(handle_, CURLOPT_PORT, wanted.port);
    core::set_option(handle_, CURLOPT_SSL_VERIFYHOST, options.verify_host);
    core::set_option(handle_, CURLOPT_SSL_VERIFYPEER, options.verify_peer);
    if (!options.ca_file.empty())
        core::set_option(handle_, CURLOPT_CAPATH, static_cast<const void*>(nullptr));
    if (wanted.is_sftp()) {
        verify_host_key(wanted);
        // SFTP moves one buffer per round trip.
        constexpr auto buffer_size = 2LL * 1024 * 1024;
        core::set_option(handle_, CURLOPT_BUFFERSIZE, buffer_size);
        core::set_option(handle_, CURLOPT_UPLOAD_BUFFERSIZE, buffer_size);
    } else {
        set_tls(wanted);
    }
    set_login(wanted);
}

void connection::set_login(const settings& wanted)
{
    const auto& options = wanted.options;
    set_text(handle_, CURLOPT_USERNAME, wanted.user);
    set_text(handle_, CURLOPT_CAINFO, wanted.ca_file);
    if (wanted.with_key) {
        core::set_option(handle_, CURLOPT_SSH_AUTH_TYPES, CURLSSH_AUTH_PUBLICKEY);
        set_text(handle_, CURLOPT_SSH_PRIVATE_KEYFILE, options.private_key_file);
        if (!options.public_key_file.empty())
            set_text(handle_, CURLOPT_SSH_PUBLIC_KEYFILE, options.public_key_file);
        if (!options.passphrase.empty())
            set_text(handle_, CURLOPT_KEYPASSWD, options.passphrase);
    } else {
        core::set_option(handle_, CURLOPT_SSH_AUTH_TYPES, CURLSSH_AUTH_PASSWORD);
        set_text(handle_, CURLOPT_PASSWORD, wanted.password);
    }
}

void connection::set_tls(const settings& wanted)
{
    core::set_option(handle_, CURLOPT_USE_SSL, tls_level(wanted.tls));
    if (wanted.options.verify_end)
        refuse_unannounced_ends(handle_);
    // Before 8.10 libcurl closes the data connection of an upload without reading the tickets that
    // a TLS 1.3 server sends in it; the reset that follows can cut the file short on the server.
    const auto highest =
        libcurl_is_before(8, 10) ? CURL_SSLVERSION_MAX_TLSv1_2 : CURL_SSLVERSION_MAX_DEFAULT;
    core::set_option(handle_, CURLOPT_SSLVERSION,
                     static_cast<long long>(CURL_SSLVERSION_TLSv1_2) | highest);
}

/// libcurl checks an SSH server's key only when it is given something to check it with.
void connection::verify_host_key(const settings& wanted)
{
    if (!wanted.options.verify_host_key)
        return;
    if (!wanted.fingerprint.empty()) {
        set_text(handle_, CURLOPT_SSH_HOST_PUBLIC_KEY_SHA256, wanted.fingerprint);
        return;
    }
    set_text(handle_, CURLOPT_SSH_KNOWNHOSTS, wanted.options.known_hosts_file);
    host_key_.observe(handle_, wanted.options.known_hosts_file);
}

/// The first request is made here and not by the library's connect, which reports no reason and
/// tries a wrong password more than once.
void connection::log_in(const settings& wanted)
{
    std::array<char, CURL_ERROR_SIZE> error{};
    replies server;
    set_text(handle_, CURLOPT_URL, wanted.server_url() + '/');
    const auto code = core::scoped_request(handle_)
                          .setopt(CURLOPT_ERRORBUFFER, error.data(), nullptr)
                          .setopt(CURLOPT_HEADERDATA, &server, nullptr)
                          .setopt(CURLOPT_HEADERFUNCTION, &replies::collect, nullptr)
                          .setopt(CURLOPT_WRITEFUNCTION, &discard, nullptr)
                          .setopt(CURLOPT_NOBODY, 1, 0)
                          .perform()
                          .first;
    if (code != CURLE_OK)
        raise_failure(wanted, code,
                      decisive_refusal(code, server)
                          .value_or(error.front() ? error.data() : curl_easy_strerror(code)));
}

void connection::raise_failure(const settings& wanted, CURLcode code, const std::string& text) const
{
    const auto server = server_name(wanted);
    raise_if_ended(server);
    if (host_key_.is_unknown())
        throw failure(failure_kind::security, "the host key of " + server +
                                                  " is not among the known ones in \"" +
                                                  wanted.options.known_hosts_file + '"');
    if (host_key_.is_other())
        throw failure(failure_kind::security, "the host key of " + server +
                                                  " is not the one in \"" +
                                                  wanted.options.known_hosts_file +
                                                  "\": another server may be posing as it");
    if (host_key_.is_revoked())
        throw failure(failure_kind::security, "the host key of " + server + " is revoked in \"" +
                                                  wanted.options.known_hosts_file + '"');
    if (code == CURLE_USE_SSL_FAILED)
        throw failure(failure_kind::security, server + " offers no TLS");
    const auto kind = kind_of_first(code, text);
    if (kind == failure_kind::login)
        throw failure(kind, server + " refuses the login of \"" + wanted.user + "\": " + text);
    throw failure(kind, "cannot connect to " + server + ": " + text);
}

void connection::raise_if_ended(const std::string& server) const
{
    if (watch_.was_cancelled())
        throw failure(failure_kind::cancelled, "cancelled while connecting to " + server);
    if (watch_.has_stalled())
        throw failure(failure_kind::connection, server + " does not answer");
}

/// Returns its name as the server gives it.
std::string connection::enter_login_folder(const settings& wanted)
{
    try {
        return connect_core(wanted);
    } catch (const foundation::core::except::IMsgIDException& error) {
        const auto server = server_name(wanted);
        raise_if_ended(server);
        const auto* standard = dynamic_cast<const std::exception*>(&error);
        const auto kind = standard ? kind_of(*standard) : std::nullopt;
        std::throw_with_nested(failure(failure_kind::connection,
                                       "cannot connect to " + server + ": " + reason_for(kind)));
    }
}

/// The library goes to the root, with no more than a warning, when libcurl has no memory for the
/// URL of the login folder.
bool connection::has_missed_login_folder() const
{
    const char* entered = nullptr;
    curl_easy_getinfo(handle_.get(), CURLINFO_FTP_ENTRY_PATH, &entered);
    return login_folder_ == "/" && entered && std::string_view(entered) != login_folder_;
}

/// Over the connection that is there. Always to the login folder: the library's connect goes
/// elsewhere, with no more than a warning, when a starting folder cannot be entered.
std::string connection::connect_core(const settings& wanted)
{
    const auto& options = wanted.options;
    const auto low_speed_time = static_cast<long>(options.low_speed_time.count());
    if (!wanted.is_sftp())
        return core::connect(handle_, wanted.server_url() + '/', wanted.user, wanted.password,
                             wanted.port, options.active_mode ? "active" : "passive", wanted.tls,
                             options.use_proxy, wanted.ca_file, options.verify_peer,
                             options.verify_host, options.low_speed_limit, low_speed_time);
    const std::string login_folder;
    const auto start_at_root = false;
    if (wanted.with_key)
        return core::connect_with_keys(handle_, wanted.host, wanted.user, wanted.port,
                                       options.public_key_file, options.private_key_file,
                                       options.passphrase, options.use_proxy, login_folder,
                                       wanted.ca_file, options.verify_peer, options.verify_host,
                                       options.low_speed_limit, low_speed_time, start_at_root);
    return core::connect_with_password(handle_, wanted.host, wanted.user, wanted.port,
                                       wanted.password, options.use_proxy, login_folder,
                                       wanted.ca_file, options.verify_peer, options.verify_host,
                                       options.low_speed_limit, low_speed_time, start_at_root);
}

} // namespace tarnix::ftp
