#include "arguments.hpp"

#include "commands.hpp"
#include "exit_codes.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace tarnix::cli {

namespace {

/// The help's first lines: CLI11 would show how the operands are read, not what they are.
class short_usage : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App*, std::string name) const override
    {
        return "\nUsage: " + name + " [OPTIONS] URL COMMAND [ARG...]\n";
    }
};

void add_login_options(CLI::App& app, arguments& given)
{
    app.option_defaults()->group("Login");
    app.add_option("--user", given.user, "User name; in the URL it stands before the \"@\"");
    app.add_option("--password-file", given.password_file,
                   "Read the password from the first line of FILE")
        ->option_text("FILE");
    app.add_option("--key", given.private_key_file, "SFTP: log in with this private key")
        ->option_text("FILE");
    app.add_option("--public-key", given.public_key_file,
                   "SFTP: the public half, where the private key does not hold it")
        ->option_text("FILE");
    app.add_option("--passphrase-file", given.passphrase_file,
                   "Read the passphrase of the key from the first line of FILE")
        ->option_text("FILE");
    app.add_flag("--ask-passphrase", given.ask_passphrase,
                 "Ask for the passphrase of the key on the terminal");
}

void add_security_options(CLI::App& app, arguments& given)
{
    app.option_defaults()->group("Security");
    app.add_option("--tls", given.tls, "FTP: none, opportunistic or strict (ftpes:// is strict)")
        ->option_text("MODE");
    app.add_option("--ca-file", given.ca_file,
                   "Trust the certificates in FILE instead of the system's")
        ->option_text("FILE");
    app.add_flag_callback(
        "--no-verify-certificate", [&given] { given.verify_certificate = false; },
        "Accept any certificate (not safe)");
    app.add_flag_callback(
        "--no-verify-host-name", [&given] { given.verify_host_name = false; },
        "Accept a certificate of another host (not safe)");
    app.add_flag_callback(
        "--no-verify-end", [&given] { given.verify_end = false; },
        "Accept TLS connections that just end (not safe)");
    app.add_option("--known-hosts", given.known_hosts_file,
                   "SFTP: host keys to trust (~/.ssh/known_hosts)")
        ->option_text("FILE");
    app.add_option("--fingerprint", given.host_key_fingerprint,
                   "SFTP: trust just the host key with this fingerprint")
        ->option_text("SHA256:...");
    app.add_flag_callback(
        "--no-verify-host-key", [&given] { given.verify_host_key = false; },
        "SFTP: accept any host key (not safe)");
}

void add_connection_options(CLI::App& app, arguments& given)
{
    app.option_defaults()->group("Connection");
    app.add_option("--port", given.port, "Port, for a URL without one")
        ->option_text("NUMBER")
        ->check(CLI::Range(1, 65535));
    app.add_flag("--active", given.active_mode, "FTP: let the server open the data connections");
    app.add_flag("--proxy", given.use_proxy, "Use the system's proxy");
    app.add_option("--folder", given.starting_folder, "Folder to start in, instead of the URL's")
        ->option_text("PATH");
    app.add_flag("--text", given.text_mode, "Convert line ends in transfers");
    app.add_option("--connect-timeout", given.connect_timeout, "Bound for connecting (30)")
        ->option_text("SECONDS")
        ->check(CLI::Range(0.001, 1e6));
    app.add_option("--transfer-timeout", given.transfer_timeout,
                   "Bound for a whole transfer; 0, as at the start, is none")
        ->option_text("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    app.add_option("--reply-timeout", given.reply_timeout,
                   "How long a server may keep silent that owes an answer (60)")
        ->option_text("SECONDS")
        ->check(CLI::Range(1, 1000000));
    app.add_option("--low-speed-limit", given.low_speed_limit,
                   "End transfers that stay slower than this (1) ...")
        ->option_text("BYTES/S")
        ->check(CLI::Range(0, 2147483647));
    app.add_option("--low-speed-time", given.low_speed_time, "... for this time (60)")
        ->option_text("SECONDS")
        ->check(CLI::Range(0, 1000000));
    app.add_option("--trace", given.trace_levels,
                   "Write a trace to standard error: the sum of 1 data, 4 protocol, 8 libcurl's "
                   "remarks, 32 calls, 64 returns, 128 results")
        ->option_text("LEVELS");
}

} // namespace

std::string without_logins(const std::string& text)
{
    const auto begin = text.find("//");
    const auto end = text.rfind('@');
    if (begin == std::string::npos || end == std::string::npos || end < begin)
        return text;
    return text.substr(0, begin) + "//***" + text.substr(end);
}

std::optional<arguments> read_arguments(int count, const char* const* values, std::string& answer)
{
    arguments given;
    CLI::App app("Works with files on FTP, FTPS (ftpes://) and SFTP servers.", "tarnix-ftp");
    app.footer(command_help() + '\n' + exit_code_help());
    app.formatter(std::make_shared<short_usage>());
    app.set_version_flag("--version", "tarnix-ftp " TARNIX_VERSION);
    add_login_options(app, given);
    add_security_options(app, given);
    add_connection_options(app, given);
    // The operands belong to none of these groups.
    *app.option_defaults() = {};
    app.add_option("URL", given.url, "ftp://, ftpes:// or sftp:// [user@]host[:port][/folder]")
        ->required();
    app.add_option("COMMAND", given.command, "What to do, see below")->required();
    // One option each: a list option would take "[a,b]" apart, which may be the name of a file.
    std::string first;
    std::string second;
    const auto* first_given = app.add_option("ARG", first, "What to do it with, none to two");
    const auto* second_given = app.add_option("ARG2", second)->group("");
    try {
        app.parse(count, values);
    } catch (const CLI::CallForHelp&) {
        answer = app.help();
        return std::nullopt;
    } catch (const CLI::CallForVersion& version) {
        answer = std::string(version.what()) + '\n';
        return std::nullopt;
    } catch (const CLI::ExtrasError& error) {
        // An option that does not exist may have been given a password.
        const std::string text = error.what();
        throw usage_error(text.substr(0, text.find('=')));
    } catch (const CLI::ParseError& error) {
        throw usage_error(error.what());
    }
    if (first_given->count() > 0)
        given.operands.push_back(first);
    if (second_given->count() > 0)
        given.operands.push_back(second);
    check_command(given.command, given.operands);
    return given;
}

} // namespace tarnix::cli
