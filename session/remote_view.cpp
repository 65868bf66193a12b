#include "remote_view.hpp"

#include "paths.hpp"

#include <algorithm>
#include <utility>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

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
    return tarnix::ftp::ask(link_.handle(), url, what);
}

bool remote_view::has_folder(const std::string& path)
{
    // Over SFTP nothing but a listing makes libcurl look at a folder.
    const auto given = ask(folder_url(path), is_sftp_ ? question::names : question::folder);
    const auto not_there = is_sftp_ ? CURLE_REMOTE_FILE_NOT_FOUND : CURLE_REMOTE_ACCESS_DENIED;
    if (given.code == CURLE_OK)
        return true;
    if (given.code == not_there)
        return false;
    raise("cannot look at \"" + path + '"', given);
}

bool remote_view::has(const std::string& path)
{
    if (is_sftp_) {
        const auto given = ask(url(path), question::file);
        if (given.code != CURLE_OK)
            raise("cannot look at \"" + path + '"', given);
        return given.has_time;
    }
    return has_file(path) || has_folder(path);
}

/// Over FTP, by the SIZE that libcurl sends.
bool remote_view::has_file(const std::string& path)
{
    if (path == "/")
        return false;
    const auto given = ask(url(path), question::file);
    switch (given.code) {
    case CURLE_OK:
        return given.server.has_file_size() || is_listed(path);
    case CURLE_REMOTE_FILE_NOT_FOUND:
    case CURLE_REMOTE_ACCESS_DENIED: // the folder before it cannot be entered
        return false;
    default:
        raise("cannot look at \"" + path + '"', given);
    }
}

/// For servers that know no SIZE.
bool remote_view::is_listed(const std::string& path)
{
    const auto all = names(parent_folder(path), "cannot look at \"" + path + '"');
    return std::find(all.begin(), all.end(), path.substr(path.rfind('/') + 1)) != all.end();
}

void remote_view::check_folder(const std::string& path, const std::string& what)
{
    const auto given = ask(folder_url(path), is_sftp_ ? question::names : question::folder);
    if (given.code != CURLE_OK)
        raise(what, given);
}

std::string remote_view::fetch(const std::string& path, const std::string& what, question form)
{
    // The server is asked for the folder that it was led into: in a LIST command some servers read
    // a name as a pattern.
    const auto given = ask(folder_url(path), form);
    if (given.code != CURLE_OK)
        raise(what, given);
    if (given.server.says_folder_unreadable())
        raise(what, failure_kind::permission, "the server cannot read it");
    return given.body;
}

std::string remote_view::listing(const std::string& path, const std::string& what)
{
    return fetch(path, what, question::long_listing);
}

std::vector<std::string> remote_view::names(const std::string& path, const std::string& what)
{
    const auto text = fetch(path, what, question::names);
    std::vector<std::string> result;
    for (auto line : core::parse_nlst_listing(text)) {
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (!line.empty() && line != "." && line != "..")
            result.emplace_back(line);
    }
    return result;
}

void remote_view::raise(const std::string& what, failure_kind kind, const std::string& reason) const
{
    if (link_.watching().was_cancelled())
        throw failure(failure_kind::cancelled, what + ": cancelled");
    if (link_.watching().has_stalled())
        throw failure(failure_kind::connection, what + ": the server does not answer any more");
    throw failure(kind, what + ": " + reason);
}

void remote_view::raise(const std::string& what, const answer& given) const
{
    if (const auto& refusal = given.server.refusal())
        raise(what, kind_of_refusal(*refusal, failure_kind::not_found), *refusal);
    raise(what, kind_of(given.code), given.error);
}

} // namespace tarnix::ftp
