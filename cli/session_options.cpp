#include "session_options.hpp"

#include "interrupts.hpp"
#include "local_files.hpp"
#include "secrets.hpp"
#include "terminal.hpp"

#include <chrono>
#include <cstdlib>

namespace tarnix::cli {

namespace {

const std::string password_advice =
    "no password: set TARNIX_FTP_PASSWORD, give --password-file FILE, or type it on a terminal";
const std::string passphrase_advice =
    "no passphrase: set TARNIX_FTP_PASSPHRASE, give --passphrase-file FILE, or type it on a "
    "terminal";

ftp::tls_mode tls_mode_of(const std::string& name)
{
    if (name == "none")
        return ftp::tls_mode::none;
    if (name == "opportunistic")
        return ftp::tls_mode::opportunistic;
    if (name == "strict")
        return ftp::tls_mode::strict;
    throw usage_error("--tls: there is no mode \"" + name +
                      "\", only none, opportunistic and strict");
}

std::string users_known_hosts()
{
    const auto* home = std::getenv("HOME");
    return home && *home ? std::string(home) + "/.ssh/known_hosts" : "";
}

std::chrono::milliseconds milliseconds_of(double seconds)
{
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

void set_times(ftp::session_options& options, const arguments& given)
{
    if (given.connect_timeout)
        options.connect_timeout = milliseconds_of(*given.connect_timeout);
    if (given.transfer_timeout)
        options.transfer_timeout = milliseconds_of(*given.transfer_timeout);
    if (given.reply_timeout)
        options.reply_timeout = std::chrono::seconds(*given.reply_timeout);
    if (given.low_speed_limit)
        options.low_speed_limit = *given.low_speed_limit;
    if (given.low_speed_time)
        options.low_speed_time = std::chrono::seconds(*given.low_speed_time);
}

bool needs_password(const ftp::session_options& options, const ftp::url& server)
{
    const auto& user = server.user ? server.user : options.user;
    if (server.scheme == ftp::protocol::sftp)
        return user && options.private_key_file.empty();
    return user && *user != "anonymous";
}

} // namespace

ftp::url read_url(const std::string& text)
{
    auto server = ftp::parse_url(text);
    if (server.has_password)
        throw usage_error("the URL holds a password, which everyone on this machine can see while "
                          "the program runs, and later in the shell's history; leave it out and "
                          "set TARNIX_FTP_PASSWORD, give --password-file FILE, or type it when "
                          "asked");
    return server;
}

ftp::session_options make_session_options(const arguments& given)
{
    ftp::session_options options;
    options.port = given.port;
    options.user = given.user;
    options.active_mode = given.active_mode;
    options.use_proxy = given.use_proxy;
    options.starting_folder = given.starting_folder;
    if (given.tls)
        options.tls = tls_mode_of(*given.tls);
    options.ca_file = given.ca_file;
    options.verify_peer = given.verify_certificate;
    options.verify_host = given.verify_certificate && given.verify_host_name;
    options.verify_end = given.verify_end;
    options.private_key_file = given.private_key_file;
    options.public_key_file = given.public_key_file;
    options.known_hosts_file =
        given.known_hosts_file.empty() ? users_known_hosts() : given.known_hosts_file;
    options.host_key_fingerprint = given.host_key_fingerprint;
    options.verify_host_key = given.verify_host_key;
    set_times(options, given);
    for (const auto* file :
         {&given.ca_file, &given.private_key_file, &given.public_key_file, &given.known_hosts_file})
        if (!file->empty())
            check_readable(*file);
    options.cancelled = &interrupted;
    return options;
}

void add_secrets(ftp::session_options& options, const arguments& given, const ftp::url& server)
{
    if (needs_password(options, server))
        options.password = find_secret({given.password_file, "TARNIX_FTP_PASSWORD", [] {
                                            return ask_on_terminal("Password: ", password_advice);
                                        }});
    if (options.private_key_file.empty())
        return;
    secret_sources sources{given.passphrase_file, "TARNIX_FTP_PASSPHRASE", {}};
    if (given.ask_passphrase)
        sources.prompt = [] { return ask_on_terminal("Passphrase: ", passphrase_advice); };
    options.passphrase = find_secret(sources).value_or("");
}

} // namespace tarnix::cli
