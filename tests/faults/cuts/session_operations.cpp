#include "session_operations.hpp"

#include "files_of_place.hpp"

#include <tarnix/ftp/errors.hpp>

#include <boost/algorithm/string/join.hpp>

#include <stdexcept>
#include <type_traits>
#include <utility>

namespace tarnix::test {

namespace {

std::string name_of(ftp::failure_kind kind)
{
    switch (kind) {
    case ftp::failure_kind::connection:
        return "connection";
    case ftp::failure_kind::security:
        return "security";
    case ftp::failure_kind::login:
        return "login";
    case ftp::failure_kind::not_found:
        return "not_found";
    case ftp::failure_kind::permission:
        return "permission";
    case ftp::failure_kind::conflict:
        return "conflict";
    case ftp::failure_kind::transfer:
        return "transfer";
    case ftp::failure_kind::local_file:
        return "local_file";
    case ftp::failure_kind::cancelled:
        return "cancelled";
    }
    return "unknown";
}

std::string text_of(bool value)
{
    return value ? "yes" : "no";
}

std::string text_of(const std::string& value)
{
    return value.empty() ? "an empty text" : value;
}

std::string text_of(const std::vector<std::string>& names)
{
    return names.empty() ? "no names" : boost::algorithm::join(names, ",");
}

/// The value of an operation, or the kind of its failure.
template <typename Call>
std::string said_by(Call call)
{
    try {
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            return "done";
        } else {
            return text_of(call());
        }
    } catch (const ftp::failure& failure) {
        // "cannot do this: for that reason"
        const std::string text = failure.what();
        const auto reason = text.find(": ");
        const auto is_clear = text.starts_with("cannot ") && reason + 2 < text.size();
        return name_of(failure.kind()) + (is_clear ? "" : ": " + text);
    }
}

void start_session(place& here)
{
    here.connect_session();
    here.session->change_folder("w");
}

/// The session, or a new one where there is none.
void use_session(place& here)
{
    if (!here.session)
        here.connect_session();
    const auto folder = here.session->working_folder();
    if (here.session->names() != here.server.tree().names(folder))
        throw std::runtime_error("wrong names in " + folder);
}

std::string part_of(const std::string& listing, const std::string& arrived)
{
    if (arrived == listing)
        return "the listing";
    if (arrived.empty())
        return "no listing";
    return listing.starts_with(arrived) ? "a part of the listing" : arrived;
}

template <typename Call>
operation in_session(const std::string& name, const preparation& prepare, Call call,
                     std::vector<expectation> control, std::vector<expectation> data = {})
{
    return {name,
            prepared(prepare),
            start_session,
            [call](place& here) {
                auto said = said_by([&] { return call(*here.session, here); });
                const auto folder = here.session->working_folder();
                return folder == place::working_folder ? said : said + " in " + folder;
            },
            use_session,
            server_changes,
            std::move(control),
            std::move(data)};
}

std::string changes_and_local_file(place& here)
{
    const auto file = local_file(here);
    std::string others;
    for (const auto& entry : std::filesystem::directory_iterator(here.local.path()))
        if (entry.path() != file)
            others += " and " + entry.path().filename().string();
    return server_changes(here) +
           (std::filesystem::exists(file) ? ", local " + content_of(read_bytes(file))
                                          : ", no local file") +
           others;
}

template <typename Call>
operation download(const std::string& name, const preparation& prepare, Call call,
                   std::vector<expectation> control, std::vector<expectation> data = {})
{
    auto result = in_session(name, prepare, call, std::move(control), std::move(data));
    result.effect = changes_and_local_file;
    return result;
}

using session = ftp::session;

} // namespace

std::vector<operation> session_operations()
{
    using enum ftp::transfer_mode;
    return {
        {"connect",
         prepared(nothing),
         nullptr,
         [](place& here) { return said_by([&] { here.connect_session(); }); },
         use_session,
         server_changes,
         {}},
        in_session("change_folder", remote_folder("a"),
                   [](session& s, place&) { s.change_folder("a"); }, {}),
        in_session("change_folder_to_nothing", nothing,
                   [](session& s, place&) { s.change_folder("a"); }, {}, {{"x", {}}}),
        in_session("list", remote_file("ab", "x"),
                   [](session& s, place&) {
                       return part_of("-rw-r--r-- 1 u u 1 Jan 02 2020 ab\n", s.list());
                   },
                   {}, {{"x", {}}}),
        in_session("names", remote_file("ab", "x"), [](session& s, place&) { return s.names(); },
                   {}, {{"x", {}}}),
        in_session("is_folder", remote_folder("a"),
                   [](session& s, place&) { return s.is_folder("a"); }, {}),
        in_session("is_folder_of_nothing", nothing,
                   [](session& s, place&) { return s.is_folder("a"); }, {}),
        in_session("exists", remote_file("f", "x"),
                   [](session& s, place&) { return s.exists("f"); }, {}),
        in_session("exists_of_nothing", nothing, [](session& s, place&) { return s.exists("f"); },
                   {}, {{"x", {}}}),
        in_session("is_file", remote_file("f", "x"),
                   [](session& s, place&) { return s.is_file("f"); }, {}),
        in_session("make_folder", nothing, [](session& s, place&) { s.make_folder("new"); }, {}),
        in_session("make_folder_refused", remote_folder("new"),
                   [](session& s, place&) { s.make_folder("new"); }, {}),
        in_session("remove_folder", remote_folder("old"),
                   [](session& s, place&) { s.remove_folder("old"); }, {}),
        in_session("remove_file", remote_file("f", "x"),
                   [](session& s, place&) { s.remove_file("f"); }, {}),
        in_session("remove_file_refused", nothing, [](session& s, place&) { s.remove_file("f"); },
                   {}, {{"x", {}}}),
        in_session("rename", remote_file("f", "x"), [](session& s, place&) { s.rename("f", "g"); },
                   {}, {{"x", {}}}),
        in_session("upload", file_to_send,
                   [](session& s, place& here) { s.upload(local_file(here), "f"); }, {},
                   {{"x", {}}}),
        in_session("upload_text", file_to_send,
                   [](session& s, place& here) { s.upload(local_file(here), "f", text); }, {},
                   {{"x", {}}}),
        download("download", remote_file("f", the_text),
                 [](session& s, place& here) { s.download("f", local_file(here)); }, {},
                 {{"x", {}}}),
        download("download_text", remote_file("f", the_text),
                 [](session& s, place& here) { s.download("f", local_file(here), text); }, {},
                 {{"x", {}}}),
        download(
            "download_over_a_file",
            [](place& here) {
                remote_file("f", the_text)(here);
                write_bytes(local_file(here), "before");
            },
            [](session& s, place& here) { s.download("f", local_file(here)); }, {}, {{"x", {}}}),
        download("download_nothing", nothing,
                 [](session& s, place& here) { s.download("f", local_file(here)); }, {},
                 {{"x", {}}}),
        in_session("system_type", nothing, [](session& s, place&) { return s.system_type(); }, {}),
    };
}

} // namespace tarnix::test
