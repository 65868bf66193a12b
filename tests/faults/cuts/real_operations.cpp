#include "contents.hpp"
#include "real_operation.hpp"
#include "said.hpp"

#include <utility>

namespace tarnix::test {

namespace {

using session = ftp::session;
using outcomes = std::vector<std::string>;

void connect(real_place& here)
{
    here.connect_session();
}

void nothing_there(real_place&) {}

auto file(const std::string& name, const std::string& content)
{
    return [=](real_place& here) { here.add_file(name, content); };
}

auto folder(const std::string& name)
{
    return [=](real_place& here) { here.add_folder(name); };
}

void text_to_send(real_place& here)
{
    write_bytes(local_file_in(here.local.path()), real_place::text);
}

std::string changes(const real_place& here)
{
    const auto files = here.remote_files();
    return files.empty() ? ", nothing there" : ", there" + files;
}

std::string changes_and_local_files(const real_place& here)
{
    return changes(here) + local_files(here.local.path(), real_place::text);
}

/// `task` is what the text of a failure begins with, unless it is about one of the looks that the
/// operation takes.
template <typename Call>
real_operation in_session(const std::string& name, const std::string& task,
                          std::function<void(real_place&)> prepare, Call call,
                          const std::string& success, const outcomes& control,
                          const outcomes& data = {})
{
    return {name,
            std::move(prepare),
            connect,
            [call, task](real_place& here) {
                auto said = said_by_session([&] { return call(*here.session, here); },
                                            {task, "cannot look at \""});
                const auto& now = here.session->working_folder();
                return now == here.remote ? said
                                          : said + " in " + now.substr(here.remote.string().size());
            },
            changes,
            success,
            control,
            data};
}

real_operation with_local_files(real_operation what)
{
    what.effect = changes_and_local_files;
    return what;
}

std::string connected(real_place& here)
{
    const auto server =
        here.server.url.host + " port " + std::to_string(here.server.url.port.value());
    return said_by_session([&] { here.connect_session(); },
                           {"cannot connect to " + server, server + " refuses the login of ",
                            "cannot look at \"", "cannot enter the folder \""});
}

const std::string none = ", nothing there";
const std::string whole = ", there f=whole";

std::vector<real_operation> operations(bool is_ftp)
{
    const auto when_ftp = [&](const outcomes& some) { return is_ftp ? some : outcomes(); };
    const outcomes upload_breaks{"connection" + none, "connection, there f=empty",
                                 "connection, there f=part", "connection" + whole};
    // What has been stored is asked for afterwards.
    const outcomes upload_data_breaks{"connection" + none,        "connection, there f=empty",
                                      "connection, there f=part", "connection" + whole,
                                      "transfer, there f=empty",  "transfer, there f=part",
                                      "transfer" + whole};
    std::vector<real_operation> all{
        // libssh2 takes a connection that is lost while it tells the password for a refusal.
        {"connect", nothing_there, nullptr, [](real_place& here) { return connected(here); },
         changes, "done" + none,
         is_ftp ? outcomes{"connection" + none} : outcomes{"connection" + none, "login" + none}},
        {"leave",
         nothing_there,
         connect,
         [](real_place& here) {
             here.session.reset();
             return std::string("done");
         },
         changes,
         "done" + none,
         {}},
        in_session("change_folder", "cannot enter the folder \"", folder("a"),
                   [](session& s, real_place&) { s.change_folder("a"); }, "done in /a, there a/",
                   {"connection, there a/"}),
        in_session(
            "list", "cannot list \"", file("ab", "x"),
            [](session& s, real_place&) {
                const auto listing = s.list();
                return listing.ends_with("ab\n") ? std::string("the listing") : listing;
            },
            "the listing, there ab=x", {"connection, there ab=x"},
            when_ftp({"connection, there ab=x", "an empty text, there ab=x"})),
        in_session(
            "names", "cannot list \"", file("ab", "x"),
            [](session& s, real_place&) { return s.names(); }, "ab, there ab=x",
            {"connection, there ab=x"},
            when_ftp({"connection, there ab=x", "no names, there ab=x"})),
        in_session("is_folder", "cannot look at \"", folder("a"),
                   [](session& s, real_place&) { return s.is_folder("a"); }, "yes, there a/",
                   {"connection, there a/"}),
        in_session("is_folder_of_nothing", "cannot look at \"", nothing_there,
                   [](session& s, real_place&) { return s.is_folder("a"); }, "no" + none,
                   {"connection" + none}),
        in_session("is_file", "cannot look at \"", file("ab", "x"),
                   [](session& s, real_place&) { return s.is_file("ab"); }, "yes, there ab=x",
                   {"connection, there ab=x"}),
        in_session("exists", "cannot look at \"", file("ab", "x"),
                   [](session& s, real_place&) { return s.exists("ab"); }, "yes, there ab=x",
                   {"connection, there ab=x"}),
        in_session(
            "exists_of_nothing", "cannot look at \"", file("ab", "x"),
            [](session& s, real_place&) { return s.exists("f"); }, "no, there ab=x",
            {"connection, there ab=x"}, when_ftp({"connection, there ab=x"})),
        in_session("make_folder", "cannot make the folder \"", nothing_there,
                   [](session& s, real_place&) { s.make_folder("new"); }, "done, there new/",
                   {"connection" + none, "connection, there new/"}),
        in_session("make_folder_refused", "cannot make the folder \"", folder("new"),
                   [](session& s, real_place&) { s.make_folder("new"); }, "conflict, there new/",
                   {"connection, there new/"}),
        in_session("remove_folder", "cannot remove the folder \"", folder("old"),
                   [](session& s, real_place&) { s.remove_folder("old"); }, "done" + none,
                   {"connection, there old/", "connection" + none}),
        in_session("remove_file", "cannot remove the file \"", file("f", "x"),
                   [](session& s, real_place&) { s.remove_file("f"); }, "done" + none,
                   {"connection, there f=x", "connection" + none}),
        in_session(
            "remove_file_refused", "cannot remove the file \"", file("ab", "x"),
            [](session& s, real_place&) { s.remove_file("f"); }, "not found, there ab=x",
            {"connection, there ab=x"}, when_ftp({"connection, there ab=x"})),
        in_session(
            "rename", "cannot rename \"", file("f", "x"),
            [](session& s, real_place&) { s.rename("f", "g"); }, "done, there g=x",
            {"connection, there f=x", "connection, there g=x"},
            when_ftp({"connection, there f=x", "connection, there g=x"})),
        in_session(
            "upload", "cannot store \"", text_to_send,
            [](session& s, real_place& here) { s.upload(local_file_in(here.local.path()), "f"); },
            "done" + whole, upload_breaks, when_ftp(upload_data_breaks)),
        with_local_files(in_session(
            "download", "cannot fetch \"", file("f", real_place::text),
            [](session& s, real_place& here) { s.download("f", local_file_in(here.local.path())); },
            "done" + whole + ", local whole", {"connection" + whole + ", no local file"},
            when_ftp({"connection" + whole + ", no local file"}))),
        with_local_files(in_session(
            "download_over_a_file", "cannot fetch \"",
            [](real_place& here) {
                here.add_file("f", real_place::text);
                write_bytes(local_file_in(here.local.path()), "before");
            },
            [](session& s, real_place& here) { s.download("f", local_file_in(here.local.path())); },
            "done" + whole + ", local whole", {"connection" + whole + ", local before"},
            when_ftp({"connection" + whole + ", local before"}))),
        with_local_files(in_session(
            "download_nothing", "cannot fetch \"", file("ab", "x"),
            [](session& s, real_place& here) { s.download("f", local_file_in(here.local.path())); },
            "not found, there ab=x, no local file", {"connection, there ab=x, no local file"},
            when_ftp({"connection, there ab=x, no local file"}))),
    };
    return all;
}

} // namespace

std::vector<real_operation> ftps_operations()
{
    return operations(true);
}

std::vector<real_operation> sftp_operations()
{
    return operations(false);
}

} // namespace tarnix::test
