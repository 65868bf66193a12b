#include "session_operations.hpp"

#include "active_mode.hpp"
#include "files_of_place.hpp"
#include "said.hpp"

#include <stdexcept>
#include <utility>

namespace tarnix::test {

namespace {

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
    // The server may still be at work on what it was told before the cut.
    const auto before = here.server.tree().names(folder);
    const auto names = here.session->names();
    if (names != before && names != here.server.tree().names(folder))
        throw std::runtime_error("wrong names in " + folder);
}

template <typename Call>
operation in_session(const std::string& name, const preparation& prepare, Call call,
                     std::vector<expectation> control, std::vector<expectation> data = {})
{
    return {name,
            prepared(prepare),
            start_session,
            [call](place& here) {
                auto said = said_by_session([&] { return call(*here.session, here); });
                const auto folder = here.session->working_folder();
                return folder == place::working_folder ? said : said + " in " + folder;
            },
            use_session,
            server_changes,
            std::move(control),
            std::move(data)};
}

template <typename Call>
operation download(const std::string& name, const preparation& prepare, Call call,
                   std::vector<expectation> control, std::vector<expectation> data = {})
{
    auto result = in_session(name, prepare, call, std::move(control), std::move(data));
    result.effect = changes_and_local_files;
    return result;
}

using session = ftp::session;
using rows = std::vector<expectation>;

// Where a connection is lost between two requests, libcurl makes another one, unless it was reset:
// that it does not notice before it sends the next command.
const std::vector<std::string> lost{"connection"};

/// For an operation of several requests that only looks, beginning with the command `first`:
/// wherever it is cut, it tells what is so, or that the connection was lost.
rows looking(const std::string& first, const std::string& answer, const std::string& rest = "")
{
    return {{"idle", {answer + rest}, {answer + rest, "connection" + rest}},
            {"in " + first, {answer + rest, "connection" + rest}},
            {"answered", {answer + rest}}};
}

/// And its listing, which says that nothing is there, does not count when its last line has no end.
rows looking_at_listing(const std::string& answer, const std::string& rest = "")
{
    return {{"NLST data refused", {answer + rest}, {"connection" + rest, answer + rest}},
            {"NLST data none", {answer + rest}, {"connection" + rest}},
            {"NLST data part", {"transfer" + rest, answer + rest}, {"connection" + rest}},
            {"NLST data all", {answer + rest}, {"connection" + rest}}};
}

/// For an operation of one command, which has its effect when it has reached the server.
rows acting(const std::string& command, const std::string& effect)
{
    return {{"idle", {"done" + effect}, lost},
            {"in " + command, lost},
            {command + " unanswered", {"connection" + effect}},
            {"answered", {"done" + effect}}};
}

/// For one that is refused, after which it looks why.
rows refused(const std::string& command, const std::string& answer)
{
    return {{"idle", {answer}, lost},
            {"in " + command, lost},
            {"no greeting", {answer, "connection"}},
            {"answered", {answer}}};
}

/// For a file that is put together before it gets its name.
rows fetching(const std::string& without)
{
    return {{"idle", {"done, local whole"}, {"done, local whole"}},
            {"in EPSV", {"connection" + without}},
            {"answered", {"done, local whole"}}};
}

} // namespace

std::vector<operation> session_operations()
{
    using enum ftp::transfer_mode;
    const std::string none = ", no local file";
    const std::string renamed = "done -> w/g=x";
    return {
        {"connect",
         prepared(nothing),
         nullptr,
         [](place& here) { return said_by_session([&] { here.connect_session(); }); },
         use_session,
         server_changes,
         {{"idle", lost},
          {"before PWD", lost},
          {"before PWD", {"done", "connection"}, lost},
          {"in PWD", lost},
          {"before PWD", {"done", "connection"}, lost},
          {"in PWD", lost},
          {"answered", {"done"}}}},
        in_session(
            "change_folder", remote_folder("a"), [](session& s, place&) { s.change_folder("a"); },
            looking("CWD /", "done in /home/u/w/a")),
        in_session(
            "change_folder_to_nothing", remote_file("ab", "x"),
            [](session& s, place&) { s.change_folder("a"); }, looking("CWD /", "not found"),
            looking_at_listing("not found")),
        // No one can tell a listing that ends with a line from a whole one.
        in_session("list", remote_file("ab", "x"),
                   [](session& s, place&) {
                       return part_of("-rw-r--r-- 1 u u 1 Jan 02 2020 ab\n", s.list());
                   },
                   {{"idle", {"the listing"}, {"the listing"}},
                    {"in EPSV", lost},
                    {"answered", {"the listing"}}},
                   {{"LIST data refused", {"no listing"}, {"connection", "the listing"}},
                    {"LIST data none", {"no listing"}, lost},
                    {"LIST data part", {"transfer", "the listing"}, lost},
                    {"LIST data all", {"the listing"}, lost}}),
        in_session("names", remote_file("ab", "x"), [](session& s, place&) { return s.names(); },
                   {{"idle", {"ab"}, {"ab"}}, {"in EPSV", lost}, {"answered", {"ab"}}},
                   {{"NLST data refused", {"no names"}, {"connection", "ab"}},
                    {"NLST data none", {"no names"}, lost},
                    {"NLST data part", {"transfer", "ab"}, lost},
                    {"NLST data all", {"ab"}, lost}}),
        in_session(
            "is_folder", remote_folder("a"), [](session& s, place&) { return s.is_folder("a"); },
            looking("CWD /", "yes")),
        in_session(
            "is_folder_of_nothing", nothing, [](session& s, place&) { return s.is_folder("a"); },
            looking("CWD /", "no")),
        in_session("exists", remote_file("f", "x"),
                   [](session& s, place&) { return s.exists("f"); },
                   {{"idle", {"yes"}, lost}, {"in TYPE I", lost}, {"answered", {"yes"}}}),
        in_session(
            "exists_of_nothing", remote_file("ab", "x"),
            [](session& s, place&) { return s.exists("f"); }, looking("TYPE I", "no"),
            looking_at_listing("no")),
        in_session(
            "is_file", remote_file("f", "x"), [](session& s, place&) { return s.is_file("f"); },
            looking("CWD /", "yes")),
        in_session(
            "make_folder", nothing, [](session& s, place&) { s.make_folder("new"); },
            acting("MKD /home/u/w/new", " -> w/new/")),
        in_session(
            "make_folder_refused", remote_folder("new"),
            [](session& s, place&) { s.make_folder("new"); },
            refused("MKD /home/u/w/new", "conflict")),
        in_session(
            "remove_folder", remote_folder("old"),
            [](session& s, place&) { s.remove_folder("old"); },
            acting("RMD /home/u/w/old", " -> nothing")),
        in_session(
            "remove_file", remote_file("f", "x"), [](session& s, place&) { s.remove_file("f"); },
            acting("DELE /home/u/w/f", " -> nothing")),
        in_session(
            "remove_file_refused", remote_file("ab", "x"),
            [](session& s, place&) { s.remove_file("f"); },
            refused("DELE /home/u/w/f", "not found"), looking_at_listing("not found")),
        in_session("rename", remote_file("f", "x"), [](session& s, place&) { s.rename("f", "g"); },
                   {{"idle", {renamed}, lost},
                    {"in TYPE I", {renamed, "connection"}},
                    {"RNTO /home/u/w/g unanswered", {renamed, "connection -> w/g=x"}},
                    {"answered", {renamed}}},
                   {{"NLST data refused", {renamed}, {"connection", renamed}},
                    {"NLST data none", {renamed}, {"connection", "connection -> w/g=x"}},
                    {"NLST data part",
                     {"transfer", "transfer -> w/g=x", renamed},
                     {"connection", "connection -> w/g=x"}},
                    {"NLST data all", {renamed}, {"connection", "connection -> w/g=x"}}}),
        in_session("upload", file_to_send,
                   [](session& s, place& here) { s.upload(local_file(here), "f"); },
                   {{"idle", {"done -> w/f=whole"}, lost},
                    {"in EPSV", lost},
                    {"STOR f unanswered", {"connection -> w/f=empty"}},
                    {"STOR f under way", {"connection -> w/f=whole"}},
                    // What follows asks for the size.
                    {"before SIZE f", {"done -> w/f=whole"}}},
                   {{"STOR f data refused",
                     {"transfer -> w/f=empty"},
                     {"connection", "done -> w/f=whole"}},
                    {"STOR f data none", {"transfer -> w/f=empty"}, lost},
                    {"STOR f data part", {"transfer -> w/f=part"}, {"transfer"}},
                    {"STOR f data all", {"done -> w/f=whole"}, {"transfer"}}}),
        in_session(
            "upload_text", file_to_send,
            [](session& s, place& here) { s.upload(local_file(here), "f", text); },
            {{"idle", {"done -> w/f=whole"}, lost},
             {"in EPSV", lost},
             {"STOR f unanswered", {"connection -> w/f=empty"}},
             {"STOR f under way", {"connection -> w/f=whole"}},
             {"answered", {"done -> w/f=whole"}}},
            // Nobody knows how many bytes a text becomes: one cut short counts as stored.
            {{"STOR f data refused", {"done -> w/f=empty"}, {"connection", "done -> w/f=whole"}},
             {"STOR f data none", {"done -> w/f=empty"}, lost},
             {"STOR f data part", {"done -> w/f=part", "done -> w/f=whole"}, {"transfer"}},
             {"STOR f data all", {"done -> w/f=whole"}, {"transfer"}}}),
        download("download", remote_file("f", the_text),
                 [](session& s, place& here) { s.download("f", local_file(here)); }, fetching(none),
                 {{"RETR f data refused",
                   {"connection" + none},
                   {"connection" + none, "done, local whole"}},
                  {"RETR f data none", {"connection" + none}},
                  {"RETR f data part", {"connection" + none}},
                  {"RETR f data all", {"done, local whole"}}}),
        download(
            "download_text", remote_file("f", the_text),
            [](session& s, place& here) { s.download("f", local_file(here), text); },
            fetching(none),
            // Nor what a text was on the server.
            {{"RETR f data refused",
              {"done, local empty"},
              {"connection" + none, "done, local whole"}},
             {"RETR f data none", {"done, local empty"}, {"connection" + none}},
             {"RETR f data part", {"done, local part", "done, local whole"}, {"connection" + none}},
             {"RETR f data all", {"done, local whole"}, {"connection" + none}}}),
        download(
            "download_over_a_file",
            [](place& here) {
                remote_file("f", the_text)(here);
                write_bytes(local_file(here), "before");
            },
            [](session& s, place& here) { s.download("f", local_file(here)); },
            fetching(", local before"),
            {{"RETR f data refused",
              {"connection, local before"},
              {"connection, local before", "done, local whole"}},
             {"RETR f data none", {"connection, local before"}},
             {"RETR f data part", {"connection, local before"}},
             {"RETR f data all", {"done, local whole"}}}),
        download(
            "download_nothing", remote_file("ab", "x"),
            [](session& s, place& here) { s.download("f", local_file(here)); },
            looking("EPSV", "not found", none), looking_at_listing("not found", none)),
        in_session("system_type", nothing, [](session& s, place&) { return s.system_type(); },
                   {{"idle", {"UNIX Type: L8"}, lost},
                    {"in SYST", lost},
                    {"answered", {"UNIX Type: L8"}}}),
    };
}

std::vector<operation> session_operations_in_active_mode()
{
    // The data connection is there before the transfer is announced, and may end with it.
    return in_active_mode(
        session_operations(),
        {{"STOR f unanswered", {"connection"}},
         {"STOR f data refused", {}, {"transfer"}},
         {"STOR f data none", {}, {"transfer"}},
         {"RETR f data refused", {}, {"transfer, no local file", "transfer, local before"}},
         {"LIST data refused", {}, {"transfer"}},
         {"NLST data refused", {}, {"transfer", "transfer, no local file"}}});
}

} // namespace tarnix::test
