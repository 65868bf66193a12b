#include "explanations.hpp"
#include "names.hpp"
#include "paths.hpp"
#include "requests.hpp"
#include "state.hpp"

#include <utility>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

core::ustring name_for_command(const remote_view& view, const std::string& path)
{
    return utf16_name(view.is_sftp() ? escape_quotes(path) : path);
}

} // namespace

session::session(const url& server, const session_options& options)
{
    const auto wanted = make_settings(server, options);
    state_ = std::make_unique<state>(wanted);
    if (!wanted.starting_folder.empty())
        change_folder(wanted.starting_folder);
}

session::session(session&&) noexcept = default;
session& session::operator=(session&&) noexcept = default;
session::~session() = default;

const std::string& session::working_folder() const
{
    return state_->folder;
}

void session::change_folder(const std::string& path)
{
    const auto target = state_->begin_named(path);
    const auto what = "cannot enter the folder " + quoted(target);
    // Over SFTP the library's cd believes every folder, and over FTP it does not say why.
    state_->view.check_folder(target, what);
    const auto url = state_->view.folder_url(target);
    std::string name;
    state_->run(
        what, [&](core::curl_ptr& handle) { name = core::cd(handle, url); }, &explain_entering);
    // A connection that was made anew for the last question answers with the login folder.
    const auto is_named = !state_->view.is_sftp() && !has_connected(state_->link.handle());
    state_->folder = is_named ? usable_folder(absolute_path("/", undouble_quotes(name))) : target;
}

std::string session::list(const std::string& path)
{
    const auto folder = state_->begin(path);
    return state_->view.listing(folder, "cannot list " + quoted(folder));
}

std::vector<std::string> session::names(const std::string& path)
{
    const auto folder = state_->begin(path);
    return state_->view.names(folder, "cannot list " + quoted(folder));
}

bool session::is_folder(const std::string& path)
{
    return state_->view.has_folder(state_->begin(path));
}

bool session::exists(const std::string& path)
{
    return state_->view.has(state_->begin(path));
}

bool session::is_file(const std::string& path)
{
    return state_->view.has_plain_file(state_->begin(path));
}

void session::make_folder(const std::string& path)
{
    const auto folder = state_->begin_named(path);
    state_->run_command(
        "cannot make the folder " + quoted(folder),
        [&](core::curl_ptr& handle) {
            if (state_->view.is_sftp())
                core::sftp_create_folder(handle, escape_quotes(folder));
            else
                core::create_folder(handle, folder);
        },
        [&](const replies& heard) { return explain_new_folder(state_->view, folder, heard); });
}

void session::remove_folder(const std::string& path)
{
    const auto folder = state_->begin_named(path);
    const auto what = "cannot remove the folder " + quoted(folder);
    auto& view = state_->view;
    // Asked before, because the library prints libcurl's text when an SFTP server refuses.
    if (view.is_sftp() && !view.names(folder, what).empty())
        throw failure(failure_kind::conflict, what + ": it is not empty");
    state_->run_command(
        what,
        [&](core::curl_ptr& handle) {
            if (view.is_sftp())
                core::sftp_delete_folder(handle, escape_quotes(folder));
            else
                core::delete_folder(handle, folder);
        },
        [&](const replies& heard) { return explain_removal(view, folder, heard); });
}

void session::remove_file(const std::string& path)
{
    const auto file = state_->begin_named(path);
    auto& view = state_->view;
    const auto name = name_for_command(view, file);
    state_->run_command(
        "cannot remove the file " + quoted(file),
        [&](core::curl_ptr& handle) {
            if (view.is_sftp())
                core::sftp_delete_remote_file(handle, name);
            else
                core::delete_remote_file(handle, name);
        },
        [&](const replies& heard) { return explain_file_removal(view, file, heard); });
}

void session::rename(const std::string& from, const std::string& to)
{
    const auto source = state_->begin_named(from);
    const auto target = state_->begin_named(to);
    const auto what = "cannot rename " + quoted(source) + " to " + quoted(target);
    auto& view = state_->view;
    const auto old_name = name_for_command(view, source);
    const auto new_name = name_for_command(view, target);
    // Many servers would put the one in the other's place.
    if (!view.has(source))
        throw failure(failure_kind::not_found, what + ": the first does not exist");
    if (view.has(target))
        throw failure(failure_kind::conflict, what + ": the second exists already");
    const auto explain = [&](const replies& server) {
        return explain_rename(view, target, server);
    };
    const auto server = state_->run(
        what,
        [&](core::curl_ptr& handle) {
            if (view.is_sftp())
                core::sftp_rename_remote_file(handle, old_name, new_name);
            else
                core::rename_remote_file(handle, old_name, new_name);
        },
        explain);
    // Over SFTP nothing else tells, and the looks make a new connection.
    const auto was_lost = view.is_sftp() && view.has_lost_connection();
    // The library takes more for success than is one.
    if (view.has(source)) {
        if (was_lost)
            view.raise(what, failure_kind::connection, "the connection was lost");
        const auto found = explain(server);
        view.raise(what, found.kind, found.reason);
    }
    if (!view.has(target))
        view.raise(what, failure_kind::transfer, "it is at neither name any more");
}

std::string session::system_type()
{
    const auto what = std::string("cannot ask for the server's system");
    if (state_->view.is_sftp())
        throw invalid_input("an SFTP server does not tell its system");
    state_->begin({});
    const auto text = core::syst(state_->link.handle());
    const std::string code = "215 ";
    if (const auto line = core::match_response_code(text, code))
        return line->substr(code.size(), line->find('\n') - code.size());
    const auto reply = core::last_response_code(state_->link.handle());
    constexpr auto first_refusal = 400;
    if (reply < first_refusal)
        state_->view.raise(what, failure_kind::connection, "there is no answer");
    const auto number = std::to_string(reply);
    state_->view.raise(what, kind_of_refusal(number, failure_kind::permission),
                       "the server refuses with code " + number);
}

} // namespace tarnix::ftp
