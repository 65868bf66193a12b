#include "session_on_server.hpp"

#include <foundation/core/except.hpp>

#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <utility>

namespace tarnix::test {
namespace {

namespace fs = std::filesystem;
using ftp::failure_kind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// The server's user may enter the folder and fetch what is there, but neither list nor change it.
void lock(const fs::path& folder)
{
    fs::permissions(folder, fs::perms::owner_all | fs::perms::others_exec);
}

using SessionOperationsTest = SessionOnServerTest;

INSTANTIATE_TEST_SUITE_P(Servers, SessionOperationsTest,
                         testing::Values("vsftpd", "vsftpd-tls", "sshd"), [](const auto& one) {
                             return one.param == "vsftpd-tls" ? "vsftpd_tls" : one.param;
                         });

TEST_P(SessionOperationsTest, starts_in_the_starting_folder)
{
    EXPECT_EQ(session_.working_folder(), remote("").parent_path());
}

TEST_P(SessionOperationsTest, starts_in_the_login_folder_when_nothing_is_said)
{
    const ftp::session session(url_of(GetParam()), login_to(GetParam()));
    EXPECT_EQ(session.working_folder(), running_server(GetParam()).root());
}

TEST_P(SessionOperationsTest, does_not_start_elsewhere_when_the_starting_folder_is_missing)
{
    auto options = login_to(GetParam());
    options.starting_folder = "no such folder";
    EXPECT_EQ(failure_of([&] { ftp::session(url_of(GetParam()), options); }),
              failure_kind::not_found);
}

TEST_P(SessionOperationsTest, changes_the_folder)
{
    make_remote_folder("a");
    make_remote_folder("a/b c");
    session_.change_folder("a");
    EXPECT_EQ(session_.working_folder(), remote("a"));
    session_.change_folder("b c");
    EXPECT_EQ(session_.working_folder(), remote("a/b c"));
    session_.change_folder("..");
    EXPECT_EQ(session_.working_folder(), remote("a"));
    session_.change_folder(remote("a/b c"));
    EXPECT_EQ(session_.working_folder(), remote("a/b c"));
    session_.change_folder("/");
    EXPECT_EQ(session_.working_folder(), "/");
}

TEST_P(SessionOperationsTest, stays_where_it_is_when_a_folder_cannot_be_entered)
{
    make_remote_file("file", "x");
    const auto before = session_.working_folder();
    EXPECT_EQ(failure_of([&] { session_.change_folder("missing"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { session_.change_folder("file"); }), failure_kind::not_found);
    EXPECT_EQ(session_.working_folder(), before);
    EXPECT_THAT(session_.names(), ElementsAre("file"));
}

TEST_P(SessionOperationsTest, lists_a_folder)
{
    make_remote_file("one", "12345");
    make_remote_folder("two");
    make_remote_file("two/three", "");
    const auto listing = session_.list();
    EXPECT_THAT(listing, HasSubstr("one"));
    EXPECT_THAT(listing, HasSubstr(" 5 "));
    EXPECT_THAT(listing, HasSubstr("drwx"));
    EXPECT_THAT(session_.list("two"), HasSubstr("three"));
    EXPECT_THAT(session_.names(), UnorderedElementsAre("one", "two"));
    EXPECT_THAT(session_.names("two"), ElementsAre("three"));
    EXPECT_THAT(session_.names(remote("two")), ElementsAre("three"));
}

TEST_P(SessionOperationsTest, tells_an_empty_folder_from_a_missing_one)
{
    EXPECT_THAT(session_.names(), IsEmpty());
    EXPECT_EQ(failure_of([&] { session_.names("missing"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { session_.list("missing"); }), failure_kind::not_found);
}

TEST_P(SessionOperationsTest, does_not_list_a_file)
{
    make_remote_file("file", "x");
    EXPECT_EQ(failure_of([&] { session_.names("file"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { session_.list("file"); }), failure_kind::not_found);
}

TEST_P(SessionOperationsTest, knows_what_is_there)
{
    make_remote_file("file", "x");
    make_remote_file("empty", "");
    make_remote_folder("folder");
    EXPECT_TRUE(session_.exists("file"));
    EXPECT_TRUE(session_.exists("empty"));
    EXPECT_TRUE(session_.exists("folder"));
    EXPECT_TRUE(session_.exists("folder/"));
    EXPECT_TRUE(session_.exists("/"));
    EXPECT_TRUE(session_.exists(""));
    EXPECT_FALSE(session_.exists("missing"));
    EXPECT_FALSE(session_.exists("missing/file"));
    EXPECT_FALSE(session_.exists("file/file"));
    EXPECT_TRUE(session_.is_folder("folder"));
    EXPECT_TRUE(session_.is_folder("/"));
    EXPECT_FALSE(session_.is_folder("file"));
    EXPECT_FALSE(session_.is_folder("missing"));
}

TEST_P(SessionOperationsTest, makes_and_removes_folders)
{
    session_.make_folder("new");
    EXPECT_TRUE(fs::is_directory(remote("new")));
    session_.make_folder("new/inner");
    EXPECT_TRUE(fs::is_directory(remote("new/inner")));
    session_.remove_folder(remote("new/inner"));
    session_.remove_folder("new/");
    EXPECT_FALSE(fs::exists(remote("new")));
}

TEST_P(SessionOperationsTest, says_why_a_folder_cannot_be_made)
{
    make_remote_folder("taken");
    make_remote_file("file", "x");
    EXPECT_EQ(failure_of([&] { session_.make_folder("taken"); }), failure_kind::conflict);
    EXPECT_EQ(failure_of([&] { session_.make_folder("file"); }), failure_kind::conflict);
    EXPECT_EQ(failure_of([&] { session_.make_folder("missing/new"); }), failure_kind::not_found);
}

TEST_P(SessionOperationsTest, says_why_a_folder_cannot_be_removed)
{
    make_remote_folder("full");
    make_remote_file("full/file", "x");
    EXPECT_EQ(failure_of([&] { session_.remove_folder("full"); }), failure_kind::conflict);
    EXPECT_EQ(failure_of([&] { session_.remove_folder("missing"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { session_.remove_folder("full/file"); }), failure_kind::not_found);
    EXPECT_TRUE(fs::exists(remote("full/file")));
}

TEST_P(SessionOperationsTest, tells_files_from_folders)
{
    make_remote_file("file", "x");
    make_remote_file("empty", "");
    make_remote_folder("folder");
    make_remote_folder("locked");
    fs::permissions(remote("locked"), fs::perms::owner_all);
    EXPECT_TRUE(session_.is_file("file"));
    EXPECT_TRUE(session_.is_file("empty"));
    EXPECT_FALSE(session_.is_file("folder"));
    EXPECT_FALSE(session_.is_file("locked"));
    EXPECT_FALSE(session_.is_file("missing"));
    EXPECT_FALSE(session_.is_file("missing/file"));
    EXPECT_FALSE(session_.is_file("/"));
}

TEST_P(SessionOperationsTest, removes_files)
{
    make_remote_folder("folder");
    for (const std::string name : {"file", "folder/file", "quote\"\\ and #"}) {
        make_remote_file(name, "x");
        session_.remove_file(name);
        EXPECT_FALSE(fs::exists(remote(name))) << name;
    }
}

TEST_P(SessionOperationsTest, says_why_a_file_cannot_be_removed)
{
    make_remote_folder("folder");
    make_remote_folder("locked");
    make_remote_file("locked/file", "x");
    lock(remote("locked"));
    EXPECT_EQ(failure_of([&] { session_.remove_file("folder"); }), failure_kind::conflict);
    EXPECT_EQ(failure_of([&] { session_.remove_file("missing"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { session_.remove_file("locked/file"); }), failure_kind::permission);
    EXPECT_TRUE(fs::exists(remote("folder")));
    EXPECT_TRUE(fs::exists(remote("locked/file")));
}

TEST_P(SessionOperationsTest, renames_files_and_folders)
{
    make_remote_folder("folder");
    make_remote_file("one \"1\"", "x");
    session_.rename("one \"1\"", "folder/two \"2\"");
    EXPECT_EQ(read_bytes(remote("folder/two \"2\"")), "x");
    EXPECT_FALSE(fs::exists(remote("one \"1\"")));
    session_.rename("folder", remote("other"));
    EXPECT_EQ(read_bytes(remote("other/two \"2\"")), "x");
}

TEST_P(SessionOperationsTest, says_why_a_name_cannot_be_changed)
{
    make_remote_file("one", "1");
    make_remote_file("two", "2");
    make_remote_folder("locked");
    lock(remote("locked"));
    const auto rename = [&](const char* from, const char* to) {
        return failure_of([&] { session_.rename(from, to); });
    };
    EXPECT_EQ(rename("missing", "new"), failure_kind::not_found);
    EXPECT_EQ(rename("one", "two"), failure_kind::conflict);
    EXPECT_EQ(rename("one", "one"), failure_kind::conflict);
    EXPECT_EQ(rename("one", "missing/new"), failure_kind::not_found);
    EXPECT_EQ(rename("one", "locked/new"), failure_kind::permission);
    EXPECT_EQ(read_bytes(remote("one")), "1");
    EXPECT_EQ(read_bytes(remote("two")), "2");
}

/// Neither text nor a multiple of a buffer.
std::string bytes(std::size_t count)
{
    std::string result;
    unsigned state = 1;
    while (result.size() < count) {
        state = state * 1664525 + 1013904223;
        result += static_cast<char>(state >> 24);
    }
    return result;
}

TEST_P(SessionOperationsTest, moves_files_unchanged)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{5'000'001}}) {
        const auto content = bytes(size);
        const auto sent = write_bytes(local_ / "sent", content);
        session_.upload(sent, "stored");
        EXPECT_EQ(read_bytes(remote("stored")), content) << size;
        session_.download("stored", local_ / "received");
        EXPECT_EQ(read_bytes(local_ / "received"), content) << size;
    }
}

TEST_P(SessionOperationsTest, keeps_small_uploads_whole)
{
    const auto content = bytes(700'000);
    const auto sent = write_bytes(local_ / "sent", content);
    for (auto i = 0; i < 10; ++i) {
        session_.upload(sent, "stored");
        EXPECT_EQ(read_bytes(remote("stored")), content);
    }
}

TEST_P(SessionOperationsTest, does_not_take_a_part_of_a_file_for_the_whole)
{
    const auto sent = write_bytes(local_ / "sent", bytes(20'000'000));
    auto shorten = false;
    auto options = login_to(GetParam());
    options.starting_folder = session_.working_folder();
    options.cancelled = [&] {
        if (shorten)
            fs::resize_file(sent, 1000);
        return false;
    };
    ftp::session session(url_of(GetParam()), options);
    shorten = true;
    EXPECT_EQ(failure_of([&] { session.upload(sent, "stored"); }), failure_kind::transfer);
}

TEST_P(SessionOperationsTest, replaces_files_on_both_sides)
{
    make_remote_folder("folder");
    session_.upload(write_bytes(local_ / "a", "a longer text"), "folder/file");
    session_.upload(write_bytes(local_ / "b", "short"), "folder/file");
    EXPECT_EQ(read_bytes(remote("folder/file")), "short");
    session_.download(remote("folder/file"), local_ / "a");
    EXPECT_EQ(read_bytes(local_ / "a"), "short");
}

TEST_P(SessionOperationsTest, says_why_a_file_cannot_be_fetched)
{
    make_remote_folder("folder");
    const auto fetch = [&](const char* name) { session_.download(name, local_ / "x"); };
    EXPECT_EQ(failure_of([&] { fetch("missing"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { fetch("missing/file"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { fetch("folder"); }), failure_kind::conflict);
}

TEST_P(SessionOperationsTest, says_why_a_file_cannot_be_stored)
{
    make_remote_folder("folder");
    const auto store = [&](const char* name) {
        session_.upload(write_bytes(local_ / "x", "x"), name);
    };
    EXPECT_EQ(failure_of([&] { store("missing/file"); }), failure_kind::not_found);
    EXPECT_EQ(failure_of([&] { store("folder"); }), failure_kind::conflict);
}

TEST_P(SessionOperationsTest, tells_of_what_may_not_be_seen)
{
    make_remote_file("secret", "x");
    fs::permissions(remote("secret"), fs::perms::owner_read);
    make_remote_folder("locked");
    make_remote_file("locked/file", "x");
    lock(remote("locked"));
    EXPECT_TRUE(session_.exists("secret"));
    EXPECT_TRUE(session_.is_folder("locked"));
    EXPECT_EQ(failure_of([&] { session_.download("secret", local_ / "x"); }),
              failure_kind::permission);
    EXPECT_EQ(failure_of([&] { session_.upload(write_bytes(local_ / "y", "y"), "secret"); }),
              failure_kind::permission);
    EXPECT_EQ(failure_of([&] { session_.upload(local_ / "y", "locked/y"); }),
              failure_kind::permission);
    EXPECT_EQ(failure_of([&] { session_.names("locked"); }), failure_kind::permission);
    EXPECT_EQ(failure_of([&] { session_.list("locked"); }), failure_kind::permission);
    EXPECT_EQ(failure_of([&] { session_.make_folder("locked/new"); }), failure_kind::permission);
    session_.download("locked/file", local_ / "x");
    EXPECT_EQ(read_bytes(local_ / "x"), "x");
    fs::permissions(remote("locked"), fs::perms::owner_all);
    EXPECT_TRUE(session_.exists("locked"));
    EXPECT_EQ(failure_of([&] { session_.change_folder("locked"); }), failure_kind::permission);
    fs::permissions(remote("locked"), fs::perms::all);
}

TEST_P(SessionOperationsTest, a_local_file_that_fails_is_the_librarys_own_error)
{
    const auto kind_raised_by = [](const std::function<void()>& operation) {
        try {
            operation();
        } catch (const foundation::core::except::IMsgIDException& error) {
            return ftp::kind_of(dynamic_cast<const std::exception&>(error));
        }
        return std::optional<failure_kind>();
    };
    EXPECT_EQ(kind_raised_by([&] { session_.upload(local_ / "missing", "x"); }),
              failure_kind::local_file);
    EXPECT_FALSE(fs::exists(remote("x")));
}

TEST_P(SessionOperationsTest, a_file_that_cannot_be_made_is_told_before_the_server_is_asked)
{
    for (const auto& target : {local_ / "missing" / "x", local_.path()})
        try {
            session_.download("not there either", target);
            FAIL() << "was written";
        } catch (const ftp::failure& failure) {
            EXPECT_EQ(failure.kind(), failure_kind::local_file);
            EXPECT_THAT(failure.what(), HasSubstr(target.string()));
        }
}

TEST_P(SessionOperationsTest, a_download_that_fails_leaves_the_old_file)
{
    write_bytes(local_ / "x", "old");
    EXPECT_TRUE(failure_of([&] { session_.download("missing", local_ / "x"); }));
    EXPECT_EQ(read_bytes(local_ / "x"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(local_.path()), {}), 1);
}

TEST_P(SessionOperationsTest, a_failure_holds_what_the_library_raised)
{
    try {
        session_.make_folder("missing/new");
        FAIL() << "was made";
    } catch (const ftp::failure& failure) {
        EXPECT_THROW(std::rethrow_if_nested(failure), foundation::core::except::IMsgIDException);
    }
}

TEST_P(SessionOperationsTest, works_on_after_failures)
{
    for (auto i = 0; i < 3; ++i) {
        EXPECT_TRUE(failure_of([&] { session_.make_folder("missing/new"); }));
        EXPECT_TRUE(failure_of([&] { session_.download("missing", local_ / "x"); }));
        EXPECT_TRUE(failure_of([&] { session_.names("missing"); }));
        session_.make_folder("new");
        EXPECT_THAT(session_.names(), ElementsAre("new"));
        session_.remove_folder("new");
    }
}

TEST_P(SessionOperationsTest, control_characters_are_refused_and_nothing_is_done)
{
    make_remote_folder("victim");
    const auto injected = "x\r\nRMD " + remote("victim").string();
    EXPECT_THROW(session_.make_folder(injected), ftp::invalid_input);
    EXPECT_THROW(session_.remove_folder(injected), ftp::invalid_input);
    EXPECT_THROW(session_.change_folder(injected), ftp::invalid_input);
    EXPECT_THROW(session_.names(injected), ftp::invalid_input);
    EXPECT_THROW(session_.list(injected), ftp::invalid_input);
    EXPECT_THROW(session_.exists("a\x7F"), ftp::invalid_input);
    EXPECT_THROW(session_.is_folder("a\x01"), ftp::invalid_input);
    EXPECT_THROW(session_.upload(write_bytes(local_ / "x", "x"), injected), ftp::invalid_input);
    EXPECT_THROW(session_.download(injected, local_ / "y"), ftp::invalid_input);
    EXPECT_THAT(session_.names(), ElementsAre("victim"));
    EXPECT_FALSE(fs::exists(local_ / "y"));
}

TEST_P(SessionOperationsTest, names_that_are_not_utf8_are_refused_but_for_the_file_to_write)
{
    const auto bad = std::string("caf\xE9");
    const auto file = write_bytes(local_ / "x", "x");
    EXPECT_THROW(session_.upload(file, bad), ftp::invalid_input);
    EXPECT_THROW(session_.download(bad, local_ / "y"), ftp::invalid_input);
    EXPECT_THROW(session_.remove_file(bad), ftp::invalid_input);
    EXPECT_EQ(failure_of([&] { session_.upload(local_ / bad, "x"); }), failure_kind::local_file);
    make_remote_file("file", "x");
    session_.download("file", local_ / bad);
    EXPECT_EQ(read_bytes(local_ / bad), "x");
    try {
        session_.upload(file, bad);
    } catch (const ftp::invalid_input& error) {
        EXPECT_THAT(error.what(), HasSubstr("/caf?\""));
    }
}

TEST_P(SessionOperationsTest, paths_that_mean_nothing_are_refused)
{
    EXPECT_THROW(session_.make_folder(""), ftp::invalid_input);
    EXPECT_THROW(session_.remove_folder(""), ftp::invalid_input);
    EXPECT_THROW(session_.change_folder(""), ftp::invalid_input);
    EXPECT_THROW(session_.upload(write_bytes(local_ / "x", "x"), ""), ftp::invalid_input);
    EXPECT_THROW(session_.upload(local_ / "x", "folder/"), ftp::invalid_input);
    EXPECT_THROW(session_.download("", local_ / "y"), ftp::invalid_input);
}

TEST_P(SessionOperationsTest, moves_to_another_object)
{
    make_remote_folder("a");
    auto moved = std::move(session_);
    moved.change_folder("a");
    session_ = std::move(moved);
    EXPECT_EQ(session_.working_folder(), remote("a"));
    EXPECT_THAT(session_.names(), IsEmpty());
}

TEST_P(SessionOperationsTest, names_are_taken_literally)
{
    for (const std::string name : {"a blank",
                                   " leading",
                                   "trailing ",
                                   "quote\"quote",
                                   "two\"\"quotes",
                                   "it's",
                                   "back\\slash",
                                   "percent%20",
                                   "hash#tag",
                                   "question?mark",
                                   "semi;type=a",
                                   "star*",
                                   "{a,b}",
                                   "[x]",
                                   "-la",
                                   "~tilde",
                                   "...",
                                   ".hidden",
                                   "umlaut \xC3\xA9\xE2\x82\xAC",
                                   "plus+and&",
                                   "a:b"}) {
        SCOPED_TRACE(name);
        session_.make_folder(name);
        EXPECT_TRUE(fs::is_directory(remote(name)));
        EXPECT_TRUE(session_.is_folder(name));
        EXPECT_TRUE(session_.exists(name));
        session_.upload(write_bytes(local_ / "x", name), name + "/" + name);
        EXPECT_EQ(read_bytes(remote(name + "/" + name)), name);
        if (!name.starts_with('.')) { // vsftpd hides those
            EXPECT_THAT(session_.names(), ElementsAre(name));
            EXPECT_THAT(session_.names(name), ElementsAre(name));
        }
        EXPECT_TRUE(session_.exists(name + "/" + name));
        session_.download(name + "/" + name, local_ / "y");
        EXPECT_EQ(read_bytes(local_ / "y"), name);
        session_.change_folder(name);
        EXPECT_EQ(session_.working_folder(), remote(name));
        EXPECT_TRUE(session_.exists(name));
        session_.change_folder("..");
        fs::remove(remote(name + "/" + name));
        session_.remove_folder(name);
        EXPECT_FALSE(fs::exists(remote(name)));
    }
}

using FtpTextModeTest = SessionOnServerTest;

INSTANTIATE_TEST_SUITE_P(Servers, FtpTextModeTest, testing::Values("vsftpd"));

TEST_P(FtpTextModeTest, text_arrives_with_the_servers_line_ends)
{
    session_.upload(write_bytes(local_ / "x", "a\nb\n"), "text", ftp::transfer_mode::text);
    EXPECT_EQ(read_bytes(remote("text")), "a\nb\n");
    session_.download("text", local_ / "y", ftp::transfer_mode::text);
    EXPECT_EQ(read_bytes(local_ / "y"), "a\nb\n");
}

TEST_P(FtpTextModeTest, the_server_tells_its_system)
{
    EXPECT_THAT(session_.system_type(), testing::StartsWith("UNIX"));
}

TEST_P(FtpTextModeTest, active_mode_transfers_too)
{
    auto options = login_to(GetParam());
    options.active_mode = true;
    options.starting_folder = session_.working_folder();
    ftp::session active(url_of(GetParam()), options);
    active.upload(write_bytes(local_ / "x", "x"), "file");
    EXPECT_THAT(active.names(), ElementsAre("file"));
}

using SftpOnlyTest = SessionOnServerTest;

INSTANTIATE_TEST_SUITE_P(Servers, SftpOnlyTest, testing::Values("sshd"));

TEST_P(SftpOnlyTest, a_tilde_is_the_login_folder)
{
    const auto root = running_server(GetParam()).root();
    const auto folder = remote("").parent_path().filename().string();
    EXPECT_TRUE(session_.is_folder("~"));
    EXPECT_TRUE(session_.is_folder("~/" + folder));
    EXPECT_TRUE(session_.is_folder("/~/" + folder));
    session_.make_folder("~/" + folder + "/new");
    EXPECT_TRUE(fs::is_directory(remote("new")));
    session_.change_folder("~");
    EXPECT_EQ(session_.working_folder(), root);
}

TEST_P(SftpOnlyTest, the_system_is_not_told)
{
    EXPECT_THROW(session_.system_type(), ftp::invalid_input);
}

TEST_P(SftpOnlyTest, text_mode_is_refused)
{
    make_remote_file("file", "x");
    EXPECT_THROW(session_.download("file", local_ / "x", ftp::transfer_mode::text),
                 ftp::invalid_input);
    EXPECT_THROW(session_.upload(write_bytes(local_ / "y", "y"), "y", ftp::transfer_mode::text),
                 ftp::invalid_input);
}

} // namespace
} // namespace tarnix::test
