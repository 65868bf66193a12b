#include "state.hpp"

#include "names.hpp"
#include "paths.hpp"
#include "requests.hpp"
#include "text_checks.hpp"

#include <tarnix/ftp/errors.hpp>

#include <foundation/core/except.hpp>

#include <exception>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

bool is_home(const std::string& path)
{
    return path == "~" || path.starts_with("~/") || path == "/~" || path.starts_with("/~/");
}

} // namespace

session::state::state(const settings& wanted)
    : link(wanted),
      view(link, wanted.server_url(), wanted.is_sftp()),
      folder(usable_folder(link.login_folder()))
{
}

std::string session::state::begin(const std::string& path)
{
    if (has_control_character(path))
        throw invalid_input("a path on the server holds a control character");
    link.watching().restart();
    // When memory is short libcurl loses the URL that it is told, and the library builds all others
    // from that one.
    if (core::current_remote_url(link.handle()).empty())
        core::set_option(link.handle(), CURLOPT_URL, view.folder_url(folder).c_str());
    // libcurl expands these too, but not in commands.
    if (view.is_sftp() && is_home(path))
        return absolute_path(link.login_folder(), path.substr(path.find('~') + 1).insert(0, "."));
    return absolute_path(folder, path);
}

std::string session::state::begin_named(const std::string& path)
{
    if (path.empty())
        throw invalid_input("the path on the server is empty");
    return begin(path);
}

std::string session::state::begin_transfer(const std::string& remote, transfer_mode mode)
{
    if (remote.ends_with('/'))
        throw invalid_input("the path on the server names a folder, not a file");
    // libcurl would put carriage returns into an upload and leave them in a download.
    if (mode == transfer_mode::text && view.is_sftp())
        throw invalid_input("SFTP knows no text mode");
    auto path = begin_named(remote);
    // As "/." does; libcurl would transfer its listing.
    if (path == "/")
        throw invalid_input("the path on the server names a folder, not a file");
    return path;
}

void session::state::run(recording& server, const std::string& what, const operation& operate,
                         const reasons& explain)
{
    try {
        core::scoped_request recorded(link.handle());
        server.observe(recorded);
        recorded.setopt(CURLOPT_FORBID_REUSE, 0, 0);
        if (link.is_secured_by_tls())
            server.close_after_refusal(link.handle());
        operate(link.handle());
    } catch (const foundation::core::except::IMsgIDException& error) {
        const auto* standard = dynamic_cast<const std::exception*>(&error);
        if (standard && kind_of(*standard) == failure_kind::local_file)
            throw;
        if (link.watching().was_cancelled())
            std::throw_with_nested(failure(failure_kind::cancelled, what + ": cancelled"));
        if (link.watching().has_stalled())
            std::throw_with_nested(
                failure(failure_kind::connection, what + ": the server does not answer any more"));
        // What libcurl has not read of a transfer that failed would answer what is asked next.
        if (link.is_secured_by_tls())
            link.close();
        const auto found = explain(server.heard());
        std::throw_with_nested(failure(found.kind, what + ": " + found.reason));
    }
}

replies session::state::run(const std::string& what, const operation& operate,
                            const reasons& explain)
{
    recording server;
    run(server, what, operate, explain);
    return server.heard();
}

void session::state::run_command(const std::string& what, const operation& operate,
                                 const reasons& explain)
{
    const auto server = run(what, operate, explain);
    if (const auto& doubtful = server.doubtful_end())
        view.raise(what, failure_kind::transfer,
                   "the server does not say that it is done: " + *doubtful);
}

void session::state::run_transfer(const std::string& what, const operation& operate,
                                  const reasons& explain)
{
    recording server;
    if (link.watching().awaits_server())
        server.close_without_end(link.handle());
    link.watching().forget_server();
    run(server, what, operate, explain);
    if (link.watching().has_missed_server())
        view.raise(what, failure_kind::connection, "the data connection was lost");
}

} // namespace tarnix::ftp
