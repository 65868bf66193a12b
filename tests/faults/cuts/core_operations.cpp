#include "core_operations.hpp"

#include "active_mode.hpp"
#include "files_of_place.hpp"
#include "said.hpp"

#include <support/identifier_matchers.hpp>

#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>

#include <filesystem>
#include <utility>
#include <variant>

namespace tarnix::test {

namespace {

namespace core = io::ftp::core;

using core::curl_ptr;

/// Id and arguments; names of local files without their folder, which is another one in each run.
std::string short_text(const resource_core::BaseMsgID& message)
{
    auto text = message.id;
    for (const auto& argument : message.arguments) {
        text += ' ';
        if (const auto* number = std::get_if<long long>(&argument))
            text += std::to_string(*number);
        else if (const auto* word = std::get_if<std::string>(&argument))
            text += *word;
        else
            text += std::filesystem::path(std::get<std::u16string>(argument)).filename().string();
    }
    return text;
}

/// The value of an operation, or the identifier that it raised.
template <typename Call>
std::string said_by(Call call)
{
    try {
        return value_of(call);
    } catch (const foundation::core::except::IMsgIDException& error) {
        return short_text(error.message_id());
    }
}

/// With the URL, where that is not the one of the working folder.
template <typename Call>
auto on_handle(Call call)
{
    return [call](place& here) {
        auto said = said_by([&] { return call(*here.handle, here); });
        const auto url = core::current_remote_url(*here.handle);
        return url == here.url("/home/u/w/") ? said : said + " at " + url;
    };
}

void start_handle(place& here)
{
    here.handle.emplace();
    // A wait for a reply that never comes shall end before it looks like a hang.
    core::set_option(*here.handle, CURLOPT_SERVER_RESPONSE_TIMEOUT, 5LL);
}

void start_in_working_folder(place& here)
{
    start_handle(here);
    here.connect_handle();
    core::cd(*here.handle, here.url(place::working_folder));
}

void reconnect(place& here)
{
    here.connect_handle();
    const auto folder = core::pwd(*here.handle);
    if (folder != place::login_folder)
        throw std::runtime_error("it is in " + folder);
}

core::ustring local_path(const place& here)
{
    return local_file(here).u16string();
}

template <typename Call>
operation from_the_start(const std::string& name, Call call, std::vector<expectation> control)
{
    return {name,      prepared(nothing), start_handle,      on_handle(call),
            reconnect, server_changes,    std::move(control)};
}

template <typename Call>
operation in_working_folder(const std::string& name, const preparation& prepare, Call call,
                            std::vector<expectation> control, std::vector<expectation> data = {})
{
    return {name,      prepared(prepare), start_in_working_folder, on_handle(call),
            reconnect, server_changes,    std::move(control),      std::move(data)};
}

template <typename Call>
operation download(const std::string& name, const preparation& prepare, Call call,
                   std::vector<expectation> control, std::vector<expectation> data = {})
{
    auto result = in_working_folder(name, prepare, call, std::move(control), std::move(data));
    result.effect = changes_and_local_files;
    return result;
}

template <typename Call>
operation listing(const std::string& name, const std::string& command, Call call)
{
    return in_working_folder(
        name, remote_file("ab", "x"), call,
        // As every failure of a listing, a lost connection reads as nothing listed.
        {{"idle", {"the listing"}, {"the listing"}},
         {"in EPSV", {"no listing"}},
         {command + " under way", {"the listing"}}},
        // Nobody can tell a listing that was cut short from a whole one.
        {{command + " data refused", {"no listing"}, {"no listing", "the listing"}},
         {command + " data none", {"no listing"}},
         {command + " data part", {"a part of the listing", "the listing"}},
         {command + " data all", {"the listing"}}});
}

// An upload that a close cuts short counts as done: what was sent was acknowledged.
const std::vector<expectation> upload_commands{
    {"idle", {"done -> w/f=whole"}, {"UploadFailed local"}},
    {"in EPSV", {"UploadFailed local"}},
    {"STOR f unanswered", {"UploadFailed local -> w/f=empty"}},
    {"STOR f under way", {"UploadFailed local -> w/f=whole"}},
    {"answered", {"done -> w/f=whole"}}};
const std::vector<expectation> upload_data{
    {"STOR f data refused", {"done -> w/f=empty"}, {"UploadFailed local", "done -> w/f=whole"}},
    {"STOR f data none", {"done -> w/f=empty"}, {"UploadFailed local"}},
    {"STOR f data part", {"done -> w/f=part", "done -> w/f=whole"}, {"UploadFailed local"}},
    {"STOR f data all", {"done -> w/f=whole"}, {"UploadFailed local"}}};

const std::string no_pwd = "InternalError PWD Could not get PWD response";
const std::string no_connection = "NoConnection ftp://host port at ftp://host/";
const std::string at_home = "/home/u at ftp://host//home/u/";
const std::string in_w = "/home/u/w at ftp://host/w/";
const std::string no_home = "NoSuchDirectory ftp://host//home/u/ at ftp://host/";
const std::string warned = ", warned CouldNotLoginToRemoteFolder";

const std::string no_m = "NoSuchDirectory ftp://host/m/ at ftp://host//home/u/" + warned;

auto connecting_to(const std::string& path)
{
    return [path](curl_ptr& h, place& here) {
        return core::connect(h, here.server_url() + path, "u", "secret", here.gate.port(),
                             "passive", "none", false, "", true, true, 0, 0);
    };
}

} // namespace

std::vector<operation> core_operations()
{
    return {
        from_the_start("connect", connecting_to(""),
                       {{"idle", {no_connection}},
                        {"before PWD", {no_connection}},
                        {"before PWD", {at_home, no_pwd + " at ftp://host/", no_connection}},
                        {"in PWD", {no_pwd + " at ftp://host/"}},
                        {"before CWD /", {at_home, no_home}},
                        {"in CWD /", {no_home}},
                        {"before PWD", {at_home, no_pwd + " at ftp://host//home/u/"}},
                        {"in PWD", {no_pwd + " at ftp://host//home/u/"}},
                        {"answered", {at_home}}}),
        from_the_start("connect_to_a_folder", connecting_to("/w"),
                       {{"idle", {"NoConnection ftp://host/w port at ftp://host/w/"}},
                        {"before PWD", {"NoConnection ftp://host/w port at ftp://host/w/"}},
                        {"before PWD", {in_w, no_pwd + " at ftp://host/w/"}},
                        {"in PWD", {no_pwd + " at ftp://host/w/"}},
                        {"before PWD",
                         {in_w, no_pwd + " at ftp://host/w/"},
                         {"NoSuchDirectory ftp://host/w/ at ftp://host/w/"}},
                        {"in PWD", {no_pwd + " at ftp://host/w/"}},
                        {"answered", {in_w}}}),
        // At best refused, in the login folder.
        from_the_start("connect_to_a_missing_folder", connecting_to("/m"),
                       {{"idle", {"NoConnection ftp://host/m port at ftp://host/m/"}},
                        {"before CWD /home/u", {no_m, no_connection}},
                        {"in CWD /home/u", {no_connection}},
                        {"before PWD", {no_m, no_pwd + " at ftp://host/" + warned}},
                        {"in PWD", {no_pwd + " at ftp://host/" + warned}},
                        {"before CWD /", {no_m, no_home + warned}},
                        {"in CWD /", {no_home + warned}},
                        {"before PWD", {no_m, no_pwd + " at ftp://host//home/u/" + warned}},
                        {"in PWD", {no_pwd + " at ftp://host//home/u/" + warned}},
                        {"before PWD", {no_m, no_pwd + " at ftp://host//home/u/" + warned}},
                        {"in PWD", {no_pwd + " at ftp://host//home/u/" + warned}},
                        {"before CWD /home/u", {no_m}}}),
        in_working_folder(
            "pwd", nothing, [](curl_ptr& h, place&) { return core::pwd(h); },
            // After a silent reconnect the server is in the login folder, and says so.
            {{"idle", {"/home/u"}, {no_pwd}}, {"in PWD", {no_pwd}}, {"answered", {"/home/u/w"}}}),
        in_working_folder(
            "syst", nothing,
            [](curl_ptr& h, place&) {
                return boost::algorithm::replace_all_copy(core::syst(h), "\r\n", "/");
            },
            {{"idle",
              {"220 Ready./331 Password, please./230 Logged in./257 \"/home/u\" is the working "
               "folder./250 Moved./250 Moved./250 Moved./250 Moved./215 UNIX Type: L8/"},
              {"an empty text"}},
             {"in SYST", {"an empty text"}},
             {"answered", {"215 UNIX Type: L8/"}}}),
        in_working_folder(
            "cd", remote_folder("a"),
            [](curl_ptr& h, place& here) { return core::cd(h, here.url("/home/u/w/a")); },
            {{"idle",
              {"/home/u/w/a at ftp://host//home/u/w/a/"},
              {"NoSuchDirectory ftp://host//home/u/w/a"}},
             {"in CWD /", {"NoSuchDirectory ftp://host//home/u/w/a"}},
             // The session is in the folder, but the answer is of the connection made anew.
             {"before PWD",
              {"/home/u at ftp://host//home/u/w/a/", no_pwd + " at ftp://host//home/u/w/a/"},
              {no_pwd + " at ftp://host//home/u/w/a/"}},
             {"in PWD", {no_pwd + " at ftp://host//home/u/w/a/"}},
             {"answered", {"/home/u/w/a at ftp://host//home/u/w/a/"}}}),
        in_working_folder("unsafe_cd", remote_folder("a"),
                          [](curl_ptr& h, place& here) {
                              return static_cast<long>(core::unsafe_cd(h, here.url("/home/u/w/a")));
                          },
                          {{"idle",
                            {"0 at ftp://host//home/u/w/a/"},
                            {"55 at ftp://host//home/u/w/a/", "56 at ftp://host//home/u/w/a/"}},
                           {"in CWD /",
                            {"56 at ftp://host//home/u/w/a/"},
                            {"55 at ftp://host//home/u/w/a/", "56 at ftp://host//home/u/w/a/"}},
                           {"answered", {"0 at ftp://host//home/u/w/a/"}}}),
        in_working_folder("is_folder", remote_folder("a"),
                          [](curl_ptr& h, place&) { return core::is_folder(h, "a"); },
                          {{"idle", {"yes"}, {"no"}},
                           {"in CWD /", {"no"}},
                           // A folder that was entered but not asked for its name is not left.
                           {"before PWD",
                            {"yes", "no at ftp://host//home/u/w/a/"},
                            {"no at ftp://host//home/u/w/a/"}},
                           {"in PWD", {"no at ftp://host//home/u/w/a/"}},
                           {"before CWD /", {"yes"}}}),
        in_working_folder("is_folder_of_nothing", nothing,
                          [](curl_ptr& h, place&) { return core::is_folder(h, "a"); },
                          {{"idle", {"no"}}}),
        in_working_folder("create_folder", nothing,
                          [](curl_ptr& h, place&) { core::create_folder(h, "new"); },
                          // Made anew, the connection begins in the login folder.
                          {{"idle", {"done -> new/"}, {"InternalError mkdir new"}},
                           {"in MKD new", {"InternalError mkdir new"}},
                           {"MKD new unanswered", {"InternalError mkdir new -> w/new/"}},
                           {"answered", {"done -> w/new/"}}}),
        in_working_folder("create_folder_refused", remote_folder("new"),
                          [](curl_ptr& h, place&) { core::create_folder(h, "new"); },
                          {{"idle", {"done -> new/ w/new/"}, {"InternalError mkdir new"}},
                           {"in MKD new", {"InternalError mkdir new"}},
                           // The refusal has arrived; the rest is the way back.
                           {"no greeting", {"CouldNotCreateFolder new"}}}),
        in_working_folder("delete_folder", remote_folder("old"),
                          [](curl_ptr& h, place&) { core::delete_folder(h, "old"); },
                          {{"idle", {"FolderNotEmpty old"}, {"FTPError 0"}},
                           {"in RMD old", {"FTPError 0"}},
                           {"RMD old unanswered", {"FTPError 0 -> nothing"}},
                           {"answered", {"done -> nothing"}}}),
        in_working_folder("delete_folder_refused", remote_file("old/f", "x"),
                          [](curl_ptr& h, place&) { core::delete_folder(h, "old"); },
                          {{"idle", {"FolderNotEmpty old"}, {"FTPError 0"}},
                           {"in RMD old", {"FTPError 0"}},
                           {"no greeting", {"FolderNotEmpty old"}}}),
        listing("list", "LIST",
                [](curl_ptr& h, place&) {
                    return part_of("-rw-r--r-- 1 u u 1 Jan 02 2020 ab\n", core::list(h, ""));
                }),
        listing("nlst", "NLST",
                [](curl_ptr& h, place&) { return part_of("ab\n", core::nlst(h, "")); }),
        listing("dir", "NLST",
                [](curl_ptr& h, place&) {
                    return part_of("ab", boost::algorithm::join(core::dir(h, ""), ","));
                }),
        in_working_folder(
            "send_file", file_to_send,
            [](curl_ptr& h, place& here) { core::send_file(h, local_path(here), u"f", false); },
            upload_commands, upload_data),
        in_working_folder(
            "send_text", file_to_send,
            [](curl_ptr& h, place& here) { core::send_file(h, local_path(here), u"f", true); },
            upload_commands, upload_data),
        download(
            "receive_file", remote_file("f", the_text),
            [](curl_ptr& h, place& here) { core::receive_file(h, u"f", local_path(here), false); },
            {{"idle", {"done, local whole"}},
             // The reply is the last one to have come, if any, that libcurl still tells.
             {"in EPSV",
              {"FTPError 0, local empty"},
              {"FTPError 0, local empty", "FTPError 229, local empty", "FTPError 200, local empty",
               "FTPError 213, local empty"}},
             {"RETR f under way", {"FTPError 0, local whole"}},
             {"answered", {"done, local whole"}}},
            {{"RETR f data refused",
              {"FTPError 150, local empty"},
              {"FTPError 150, local empty", "done, local whole"}},
             {"RETR f data none", {"FTPError 150, local empty"}},
             {"RETR f data part", {"FTPError 150, local part"}},
             {"RETR f data all", {"done, local whole"}}}),
        download(
            "receive_text", remote_file("f", the_text),
            [](curl_ptr& h, place& here) { core::receive_file(h, u"f", local_path(here), true); },
            {{"idle", {"done, local whole"}},
             {"in EPSV",
              {"FTPError 0, local empty"},
              {"FTPError 0, local empty", "FTPError 229, local empty",
               "FTPError 200, local empty"}},
             {"RETR f under way", {"FTPError 0, local whole"}},
             {"answered", {"done, local whole"}}},
            // Nobody knows the length of a text on its way: one that a close cuts short is done.
            {{"RETR f data refused",
              {"done, local empty"},
              {"FTPError 150, local empty", "done, local whole"}},
             {"RETR f data none", {"done, local empty"}, {"FTPError 150, local empty"}},
             {"RETR f data part",
              {"done, local part", "done, local whole"},
              {"FTPError 150, local part", "FTPError 150, local whole"}},
             {"RETR f data all", {"done, local whole"}, {"FTPError 150, local whole"}}}),
        download(
            "receive_nothing", nothing,
            [](curl_ptr& h, place& here) { core::receive_file(h, u"f", local_path(here), false); },
            {{"idle", {"FileUnavailable f, local empty"}},
             {"in EPSV",
              {"FTPError 0, local empty"},
              {"FTPError 0, local empty", "FTPError 229, local empty",
               "FTPError 200, local empty"}},
             {"answered", {"FileUnavailable f, local empty"}}}),
        in_working_folder("delete_remote_file", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { core::delete_remote_file(h, u"f"); },
                          {{"idle", {"DeleteFailed f"}},
                           {"DELE f unanswered", {"DeleteFailed f -> nothing"}},
                           {"answered", {"done -> nothing"}}}),
        in_working_folder("rename_remote_file", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { core::rename_remote_file(h, u"f", u"g"); },
                          // Without a reply there is no refusal, and what was not refused is done.
                          {{"idle", {"FTPError 550"}, {"done"}},
                           {"in RNFR f", {"done"}},
                           {"RNTO g unanswered", {"done -> w/g=x"}}}),
        in_working_folder("is_file", remote_file("f", "x"),
                          [](curl_ptr& h, place&) { return core::is_file(h, u"f"); },
                          {{"idle", {"yes"}, {"FTPError 55", "FTPError 56"}},
                           {"in statvfs \"f\"", {"FTPError 56"}},
                           {"no greeting", {"yes"}},
                           {"answered", {"yes"}, {"no"}}}),
    };
}

std::vector<operation> core_operations_in_active_mode()
{
    // The data connection is there before the transfer is announced, and may end with it.
    return in_active_mode(
        core_operations(),
        {{"STOR f unanswered", {"UploadFailed local"}},
         {"RETR f data refused", {}, {"FTPError 425, local empty", "FTPError 426, local empty"}}});
}

} // namespace tarnix::test
