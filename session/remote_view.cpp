#include "remote_view.hpp"

#include "paths.hpp"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <string_view>
#include <utility>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

std::string looking_at(const std::string& path)
{
    return "cannot look at \"" + path + '"';
}

std::vector<std::string> names_in(const std::string& listing)
{
    std::vector<std::string> names;
    for (auto line : core::parse_nlst_listing(listing)) {
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (!line.empty() && line != "." && line != "..")
            names.emplace_back(line);
    }
    return names;
}

/// FTP has no other sign of a listing whose connection ended too early.
bool is_cut_short(const std::string& listing)
{
    return !listing.empty() && !listing.ends_with('\n');
}

constexpr auto broken_listing = "the listing broke off";

bool refuses_the_name(const replies& server)
{
    const auto& refusal = server.refusal();
    return refusal && (refusal->starts_with("450") || refusal->starts_with("550"));
}

/// Rather than about the server's state of mind.
bool is_about_the_name(const replies& server)
{
    const auto& refusal = server.refusal();
    return refusal && kind_of_refusal(*refusal, failure_kind::not_found) == failure_kind::not_found;
}

/// Some servers refuse to list an empty folder, with the codes of a real refusal.
bool says_that_nothing_is_there(const std::string& refusal)
{
    const auto text = refusal.substr(std::min(refusal.size(), std::string_view("550 ").size()));
    return boost::algorithm::istarts_with(text, "no files") ||
           (refusal.starts_with("450") && boost::algorithm::icontains(refusal, "no such file"));
}

} // namespace

remote_view::remote_view(connection& link, std::string server_url, bool is_sftp)
    : link_(link), server_url_(std::move(server_url)), is_sftp_(is_sftp)
{
}

std::string remote_view::url(const std::string& path)
{
    return core::make_absolute_url(link_.handle(), server_url_, path, false);
}

std::string remote_view::folder_url(const std::string& path)
{
    return core::add_trailing_slash(url(path));
}

answer remote_view::ask(const std::string& url, question what)
{
    const auto once = [&] {
        return tarnix::ftp::ask(link_.handle(), link_.watching(), url, what, largest_body(what),
                                link_.is_secured_by_tls());
    };
    auto given = once();
    // libssh2 takes the end of the connection for the answer that it had before, also for "no". To
    // read the first bytes ends the connection too.
    if (is_lost(given) && what != question::first_bytes) {
        given = once();
        if (is_lost(given)) {
            given.code = CURLE_RECV_ERROR;
            given.error = "the connection was lost";
        }
    }
    if (is_stuck(given)) {
        link_.close();
        given = once();
    }
    if (may_be_out_of_step(given))
        link_.close();
    // What `replies::close_after_refusal` speaks of: the answer was the refusal of the transfer, or
    // one to another command.
    if (given.code == CURLE_FTP_WEIRD_PASV_REPLY && given.server.refusal()) {
        given.code = CURLE_FTP_COULDNT_RETR_FILE;
    } else if (given.code == CURLE_FTP_WEIRD_PASV_REPLY && link_.is_secured_by_tls() &&
               given.server.has_way_to_data()) {
        given.code = CURLE_RECV_ERROR;
        given.error = "the data connection was lost";
    }
    return given;
}

bool remote_view::is_lost(const answer& given) const
{
    // The request that brought the session back finds out.
    return is_sftp_ && given.code != CURLE_OK && has_connected(link_.handle());
}

/// libssh2 that had no memory left says that it failed, but not with what, and goes on from there
/// at whatever it is asked next.
bool remote_view::is_stuck(const answer& given) const
{
    return is_sftp_ && given.code == CURLE_SSH &&
           given.error.find("Unknown error in libssh2") != std::string::npos;
}

/// Over TLS libcurl may leave a reply unread when a transfer fails, and takes it for the answer to
/// the next command.
bool remote_view::may_be_out_of_step(const answer& given) const
{
    return link_.is_secured_by_tls() && given.code != CURLE_OK &&
           given.code != CURLE_REMOTE_ACCESS_DENIED && given.code != CURLE_REMOTE_FILE_NOT_FOUND &&
           given.code != CURLE_WRITE_ERROR && !given.server.refusal();
}

bool remote_view::has_lost_connection()
{
    return has_connected(link_.handle()) || ask(url("/"), question::file).has_connected;
}

bool remote_view::has_folder(const std::string& path)
{
    // Over SFTP nothing but a listing makes libcurl look at a folder.
    const auto given = ask(folder_url(path), is_sftp_ ? question::names : question::folder);
    if (given.code == CURLE_OK)
        return true;
    const auto not_there = is_sftp_ ? CURLE_REMOTE_FILE_NOT_FOUND : CURLE_REMOTE_ACCESS_DENIED;
    if (given.code == not_there && (is_sftp_ || is_about_the_name(given.server)))
        return false;
    // Only of a folder does an SFTP server say that it must not be listed.
    if (is_sftp_ && given.code == CURLE_REMOTE_ACCESS_DENIED && has(path))
        return true;
    // Of a file OpenSSH says that it is missing, proftpd just that listing it failed.
    if (is_sftp_ && given.code == CURLE_SSH && has(path))
        return false;
    raise(looking_at(path), given);
}

bool remote_view::has(const std::string& path)
{
    if (!is_sftp_)
        return has_file(path) || has_folder(path) || is_listed(path);
    auto given = ask(url(path), question::file);
    // libcurl says nothing of a question that libssh2 had no memory for: a "no" has to be said
    // twice.
    if (!given.has_time && given.code == CURLE_OK)
        given = ask(url(path), question::file);
    if (given.has_time)
        return true;
    if (given.code == CURLE_OK || given.code == CURLE_REMOTE_FILE_NOT_FOUND)
        return false;
    raise(looking_at(path), given);
}

bool remote_view::has_plain_file(const std::string& path)
{
    if (has_folder(path))
        return false;
    if (is_sftp_)
        return has(path);
    const auto given = ask(url(path), question::file);
    if (given.server.has_file_size())
        return true;
    // To a server that knows SIZE, what has none and is listed is a folder that is locked.
    if (given.code == CURLE_REMOTE_FILE_NOT_FOUND ||
        (given.code == CURLE_REMOTE_ACCESS_DENIED && is_about_the_name(given.server)))
        return false;
    if (given.code != CURLE_OK)
        raise(looking_at(path), given);
    if (!is_listed(path))
        return false;
    const auto opened = ask(url(path), question::first_bytes);
    if (opened.code == CURLE_OK || opened.code == CURLE_WRITE_ERROR)
        return true;
    raise(looking_at(path), opened, failure_kind::permission);
}

/// Over FTP, by the SIZE that libcurl sends. Some servers do not know it.
bool remote_view::has_file(const std::string& path)
{
    if (path == "/")
        return false;
    const auto given = ask(url(path), question::file);
    switch (given.code) {
    case CURLE_OK:
        return given.server.has_file_size();
    case CURLE_REMOTE_FILE_NOT_FOUND:
    case CURLE_REMOTE_ACCESS_DENIED: // the folder before it cannot be entered
        return false;
    default:
        raise(looking_at(path), given);
    }
}

/// Over FTP, for what the server neither tells a size of nor lets be entered.
bool remote_view::is_listed(const std::string& path)
{
    const auto given = ask(folder_url(parent_folder(path)), question::names);
    if (given.code != CURLE_OK && !refuses_the_name(given.server))
        raise(looking_at(path), given);
    if (is_cut_short(given.body))
        raise(looking_at(path), failure_kind::transfer, broken_listing);
    const auto names = names_in(given.body);
    return std::find(names.begin(), names.end(), path.substr(path.rfind('/') + 1)) != names.end();
}

void remote_view::check_folder(const std::string& path, const std::string& what)
{
    const auto given = ask(folder_url(path), is_sftp_ ? question::names : question::folder);
    if (given.code != CURLE_OK)
        raise_for_folder(path, what, given);
}

std::string remote_view::fetch(const std::string& path, const std::string& what, question form)
{
    // The server is asked for the folder that it was led into: in a LIST command some servers read
    // a name as a pattern.
    auto given = ask(folder_url(path), form);
    const auto& refusal = given.server.refusal();
    const auto entered = given.code == CURLE_OK || given.code == CURLE_FTP_COULDNT_RETR_FILE;
    if (entered && refuses_the_name(given.server)) {
        if (says_that_nothing_is_there(*refusal))
            return {};
        raise(what, failure_kind::permission, *refusal);
    }
    if (given.code != CURLE_OK)
        raise_for_folder(path, what, given);
    if (given.server.says_folder_unreadable())
        raise(what, failure_kind::permission, "the server cannot read it");
    if (is_cut_short(given.body))
        raise(what, failure_kind::transfer, broken_listing);
    return std::move(given.body);
}

void remote_view::check_stored(const std::string& path, const std::string& what,
                               std::uintmax_t size)
{
    const auto stored = ask(url(path), question::file).server.file_size();
    if (stored && *stored < size)
        raise(what, failure_kind::transfer,
              "the server has stored only " + std::to_string(*stored) + " of " +
                  std::to_string(size) + " bytes");
}

std::string remote_view::listing(const std::string& path, const std::string& what)
{
    return fetch(path, what, question::long_listing);
}

std::vector<std::string> remote_view::names(const std::string& path, const std::string& what)
{
    return names_in(fetch(path, what, question::names));
}

/// FTP servers say 550 whether a folder is missing, no folder, or locked.
void remote_view::raise_for_folder(const std::string& path, const std::string& what,
                                   const answer& given)
{
    if (is_sftp_ && given.code == CURLE_SSH && has(path))
        raise(what, failure_kind::not_found, "it is not a folder");
    if (is_sftp_)
        raise(what, given);
    if (given.code != CURLE_REMOTE_ACCESS_DENIED)
        raise(what, given, failure_kind::permission);
    if (has_file(path))
        raise(what, failure_kind::not_found, "it is not a folder");
    const auto kind = is_listed(path) ? failure_kind::permission : failure_kind::not_found;
    raise(what, kind, decisive_refusal(given.code, given.server).value_or(given.error));
}

void remote_view::raise(const std::string& what, failure_kind kind, const std::string& reason) const
{
    if (link_.watching().was_cancelled())
        throw failure(failure_kind::cancelled, what + ": cancelled");
    if (link_.watching().has_stalled())
        throw failure(failure_kind::connection, what + ": the server does not answer any more");
    throw failure(kind, what + ": " + reason);
}

void remote_view::raise(const std::string& what, const answer& given,
                        failure_kind file_unavailable) const
{
    if (const auto refusal = decisive_refusal(given.code, given.server))
        raise(what, kind_of_refusal(*refusal, file_unavailable), *refusal);
    raise(what, kind_of(given.code, given.error), given.error);
}

} // namespace tarnix::ftp
