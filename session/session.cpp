#include "connection.hpp"
#include "explanations.hpp"
#include "local_files.hpp"
#include "paths.hpp"
#include "pending_file.hpp"
#include "requests.hpp"
#include "settings.hpp"
#include "text_checks.hpp"

#include <tarnix/ftp/session.hpp>

#include <fl/i18n/ustring_conversion.hpp>
#include <foundation/core/except.hpp>

#include <exception>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace tarnix::ftp {

namespace core = tarnix::io::ftp::core;

namespace {

/// The server names the folder, and the session puts the name into commands.
std::string usable_folder(const std::string& name)
{
    if (has_control_character(name))
        throw failure(failure_kind::transfer, "the server's name of the working folder, \"" + name +
                                                  "\", holds a control character");
    return name;
}

} // namespace

struct session::state {
    explicit state(const settings& wanted)
        : link(wanted),
          view(link, wanted.server_url(), wanted.is_sftp()),
          folder(usable_folder(link.login_folder()))
    {
    }

    /// At the start of every operation: the absolute form of what the caller gave.
    std::string begin(const std::string& path);
    std::string begin_named(const std::string& path);
    std::string begin_transfer(const std::string& remote, transfer_mode mode);

    template <typename Operation, typename Explain>
    replies run(const std::string& what, Operation operation, Explain explain);
    template <typename Operation, typename Explain>
    void run_command(const std::string& what, Operation operation, Explain explain);

    connection link;
    remote_view view;
    std::string folder;
};

namespace {

std::string quoted(const std::string& path)
{
    return '"' + path + '"';
}

/// With what a terminal or a log may not take replaced.
std::string printable(const std::string& path)
{
    std::string text;
    for (const char c : path)
        text += c >= 0x20 && c < 0x7F ? c : '?';
    return '"' + text + '"';
}

/// As the library takes the names of files.
core::ustring utf16_name(const std::string& path)
{
    try {
        return fl::i18n::utf8_to_ustring(path);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        throw invalid_input("the path " + printable(path) + " on the server is not UTF-8");
    }
}

core::ustring utf16_path(const std::filesystem::path& local)
{
    try {
        return local.u16string();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        throw failure(failure_kind::local_file,
                      "the name of the local file " + printable(local.native()) + " is not UTF-8");
    }
}

core::ustring name_for_command(const remote_view& view, const std::string& path)
{
    return utf16_name(view.is_sftp() ? escape_quotes(path) : path);
}

/// None of what is no plain file.
std::optional<std::uintmax_t> size_of(const std::filesystem::path& local)
{
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(local, unknown))
        return std::nullopt;
    const auto size = std::filesystem::file_size(local, unknown);
    return unknown ? std::nullopt : std::optional(size);
}

/// Whether the local file was the reason that a download of which so much was received failed.
bool is_stuck(const std::filesystem::path& written, transfer_mode mode, curl_off_t received)
{
    if (mode == transfer_mode::text) // in which line ends are taken out
        return !can_grow(written);
    std::error_code unknown;
    const auto size = std::filesystem::file_size(written, unknown);
    return !unknown && std::cmp_less(size, received);
}

bool is_home(const std::string& path)
{
    return path == "~" || path.starts_with("~/") || path == "/~" || path.starts_with("/~/");
}

} // namespace

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

/// For operations to which an empty path means nothing.
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

/// Runs an operation of the library, and turns its identifier exception into a failure that says
/// why, when the reason lies on the server's side. Returns what the server said.
template <typename Operation, typename Explain>
replies session::state::run(const std::string& what, Operation operation, Explain explain)
{
    recording server;
    try {
        core::scoped_request recorded(link.handle());
        server.observe(recorded);
        if (link.is_secured_by_tls()) {
            recorded.setopt(CURLOPT_FORBID_REUSE, 0, 0);
            server.close_after_refusal(link.handle());
        }
        operation(link.handle());
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
    return server.heard();
}

/// The same for one command to an FTP server: libcurl takes every reply that is no refusal for
/// success.
template <typename Operation, typename Explain>
void session::state::run_command(const std::string& what, Operation operation, Explain explain)
{
    const auto server = run(what, operation, explain);
    if (const auto& doubtful = server.doubtful_end())
        view.raise(what, failure_kind::transfer,
                   "the server does not say that it is done: " + *doubtful);
}

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
    // The library takes more for success than is one.
    if (view.has(source)) {
        const auto found = explain(server);
        view.raise(what, found.kind, found.reason);
    }
    if (!view.has(target))
        view.raise(what, failure_kind::transfer, "it is at neither name any more");
}

void session::upload(const std::filesystem::path& local, const std::string& remote,
                     transfer_mode mode)
{
    const auto path = state_->begin_transfer(remote, mode);
    const auto remote_name = utf16_name(path);
    const auto local_name = utf16_path(local);
    const auto what = "cannot store " + quoted(path);
    const auto size = size_of(local);
    const auto sent = [this] { return state_->link.watching().bytes_uploaded(); };
    state_->run(
        what,
        [&](core::curl_ptr& handle) {
            core::send_file(handle, local_name, remote_name, mode == transfer_mode::text);
        },
        [&](const replies& server) {
            // The library drops what the file layer reports while it reads.
            if (auto found = explain_source(local, size, sent()))
                return *found;
            return explain_upload(state_->view, path, server);
        });
    // Over SFTP, and in text mode, which only adds bytes, libcurl takes the end of the file for the
    // end of the upload, wherever it comes.
    if (size && std::cmp_less(sent(), *size))
        throw failure(failure_kind::transfer,
                      what + ": the local file became shorter while it was sent");
    // Over FTP a connection that ends too early looks to the server like the end of the file.
    if (size && mode == transfer_mode::binary && !state_->view.is_sftp())
        state_->view.check_stored(path, what, *size);
}

void session::download(const std::string& remote, const std::filesystem::path& local,
                       transfer_mode mode)
{
    const auto path = state_->begin_transfer(remote, mode);
    const auto remote_name = utf16_name(path);
    const auto what = "cannot fetch " + quoted(path);
    pending_file file(local);
    const auto local_name = utf16_path(file.path());
    try {
        state_->run(
            what,
            [&](core::curl_ptr& handle) {
                // libcurl that has no memory for the file's name fetches a listing of its folder,
                // with this command, which every server refuses.
                core::scoped_request unnamed(handle);
                unnamed.setopt(CURLOPT_CUSTOMREQUEST, "RETR", nullptr);
                core::receive_file(handle, remote_name, local_name, mode == transfer_mode::text);
            },
            [&](const replies& server) {
                if (is_stuck(file.path(), mode, state_->link.watching().bytes_downloaded()))
                    return explanation{failure_kind::local_file,
                                       explain_target(local, file.path())};
                return explain_download(state_->view, path, server);
            });
    } catch (const foundation::core::except::IMsgIDException& error) {
        // Of the local file, by a name that the caller does not know.
        std::throw_with_nested(
            failure(failure_kind::local_file, what + ": " + explain_target(local, error)));
    }
    file.commit();
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
