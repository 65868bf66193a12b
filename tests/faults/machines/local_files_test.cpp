#include "lane.hpp"

#include <live/cli/program_run.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <ostream>

#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace tarnix::test;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Matcher;
using testing::StartsWith;

constexpr std::size_t file_size = 200000;

/// What the two layers and the command line are to make of it.
struct consequence {
    std::string core;    ///< the identifier, without "TARNIX:io:"
    std::string session; ///< the kind of failure and a part of its text, or an identifier
    int code = 8;        ///< of the command line
    std::string text{};  ///< part of what the command line says
};

struct bad_file {
    std::string label;
    std::string operation; ///< "put" or "get"
    fault what;
    std::vector<long> points; ///< where it strikes
    consequence expected;
    std::string local{}; ///< the name of a file that is bad by itself
};

std::ostream& operator<<(std::ostream& out, const bad_file& one)
{
    return out << one.label;
}

const std::string not_found = "ftp:ftp:NotFound";
const std::string upload_failed = "ftp:ftp:UploadFailed";
const std::string not_regular = "common:file:NotRegularFile";
const std::string open_failed = "common:file:OpenFailed";
const std::string close_failed = "common:file:CloseFailed";
const std::string no_such_file = "common:file:NoSuchFile";
const std::string denied = "common:file:PermissionDenied";
const std::string ftp_error = "ftp:ftp:FTPError";

/// The core's identifier goes through the session.
consequence passed_on(const std::string& identifier, const std::string& text)
{
    return {identifier, identifier, 8, text};
}

std::vector<bad_file> bad_files()
{
    const auto missing = passed_on(not_found, "could not be opened for reading");
    const std::string unreadable = "could not be read: Input/output error";
    const consequence full{ftp_error, "failure 7 could not be written: No space left on device", 8,
                           "No space left on device"};
    const consequence too_large{ftp_error, "failure 7 could not be written: File too large", 8,
                                "File too large"};
    const std::string long_name(300, 'n');
    const auto none = fault::none;
    return {
        {"put_folder", "put", none, {1}, missing, "folder"},
        {"put_pipe", "put", none, {1}, missing, "pipe"},
        {"put_link_to_nowhere",
         "put",
         none,
         {1},
         {not_found, not_found, 8, "No such file or directory"},
         "link"},
        {"put_link_to_itself",
         "put",
         none,
         {1},
         {not_found, not_found, 8, "Too many levels of symbolic links"},
         "loop"},
        {"put_in_missing_folder",
         "put",
         none,
         {1},
         {not_found, not_found, 8, "No such file or directory"},
         "missing/file"},
        {"put_name_too_long",
         "put",
         none,
         {1},
         {not_found, not_found, 8, "File name too long"},
         long_name},
        {"put_device", "put", none, {1}, missing, "/dev/full"},
        {"put_without_permission",
         "put",
         fault::no_privileges,
         {1},
         {denied, denied, 8, "Permission denied"},
         "locked"},
        {"put_read_error",
         "put",
         fault::read,
         {1, 2, 3, 4},
         {upload_failed, "failure 7 " + unreadable, 8, unreadable}},
        {"put_close_error", "put", fault::close, {1}, passed_on(close_failed, "")},
        {"put_file_shrinks",
         "put",
         fault::shrinking_file,
         {1, 2, 3, 4},
         {upload_failed, "failure 6 became shorter while it was sent"}},
        {"put_file_grows",
         "put",
         fault::growing_file,
         {1, 2, 3, 4},
         {upload_failed, "failure 6 became longer while it was sent"}},
        {"get_pipe",
         "get",
         none,
         {1},
         {not_regular, "failure 7 it is no regular file", 8, "it is no regular file"},
         "pipe"},
        {"get_link_to_itself",
         "get",
         none,
         {1},
         {open_failed, "failure 7 Too many levels of symbolic links", 8,
          "Too many levels of symbolic links"},
         "loop"},
        {"get_in_missing_folder",
         "get",
         none,
         {1},
         {no_such_file, "failure 7 No such file or directory", 8, "No such file or directory"},
         "missing/file"},
        {"get_name_too_long",
         "get",
         none,
         {1},
         {open_failed, "failure 7 File name too long", 8, "File name too long"},
         long_name},
        {"get_device",
         "get",
         none,
         {1},
         {ftp_error, "failure 7 it is no regular file", 8, "it is no regular file"},
         "/dev/full"},
        {"get_over_locked_file",
         "get",
         fault::no_privileges,
         {1},
         {denied, "failure 7 Permission denied", 8, "Permission denied"},
         "locked"},
        {"get_into_locked_folder",
         "get",
         fault::no_privileges,
         {1},
         {denied, "failure 7 Permission denied", 8, "Permission denied"},
         "shut/file"},
        {"get_write_error",
         "get",
         fault::write,
         {1, 2, 7, 12},
         {ftp_error, "failure 7 could not be written: Input/output error"}},
        {"get_file_too_large", "get", fault::file_size, {0, 1, 16384, 100000, 199999}, too_large},
        {"get_disk_full", "get", fault::small_disk, {4096, 16384, 65536, 196608}, full},
    };
}

class LocalFilesTest : public testing::TestWithParam<bad_file> {
protected:
    LocalFilesTest()
    {
        for (const std::string layer : {"core_", "session_"}) {
            on_.warm_up({.operation = layer + GetParam().operation});
            on_.at().clean_up();
        }
        const auto& folder = on_.at().folder();
        fs::permissions(folder.path(), fs::perms(0755));
        fs::create_directory(folder / "folder");
        fs::create_directory(folder / "shut");
        fs::permissions(folder / "shut", fs::perms(0555));
        EXPECT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
        fs::create_symlink("nowhere", folder / "link");
        fs::create_symlink("loop", folder / "loop");
        write_bytes(folder / "locked", "locked");
        fs::permissions(folder / "locked", fs::perms::none);
        for (const auto& entry : fs::directory_iterator(folder.path()))
            at_first_.push_back(entry.path().filename().string());
    }

    outcome run(const std::string& layer, long point)
    {
        const auto& file = GetParam();
        return on_.run({.operation = layer + '_' + file.operation,
                        .what = file.what,
                        .nth = point,
                        .local = file.local});
    }

    /// A result that is in the local folder and was not at first.
    std::vector<std::string> new_files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(on_.at().folder().path()))
            if (const auto name = entry.path().filename().string();
                std::find(at_first_.begin(), at_first_.end(), name) == at_first_.end())
                names.push_back(name);
        return names;
    }

    program_result run_program(long point);

    lane on_{file_size};
    std::vector<std::string> at_first_;
};

void expect_raised(const outcome& seen, const std::string& expected)
{
    EXPECT_EQ(seen.end, "exit 0");
    constexpr std::size_t head = 10; // "failure N "
    if (expected.starts_with("failure"))
        EXPECT_THAT(seen.result, AllOf(StartsWith("raised " + expected.substr(0, head)),
                                       HasSubstr(expected.substr(head))));
    else
        EXPECT_EQ(seen.result, "raised identifier TARNIX:io:" + expected);
    EXPECT_THAT(seen.again, StartsWith("done "));
    EXPECT_EQ(seen.blocks_left, 0);
}

TEST_P(LocalFilesTest, library_raises_the_identifier_and_stays_usable)
{
    for (const auto point : GetParam().points) {
        SCOPED_TRACE(point);
        const auto seen = run("core", point);
        expect_raised(seen, GetParam().expected.core);
        write_bytes(on_.at().folder() / "data", on_.at().content());
    }
}

TEST_P(LocalFilesTest, session_names_the_file_and_the_reason_and_leaves_none)
{
    for (const auto point : GetParam().points) {
        SCOPED_TRACE(point);
        const auto seen = run("session", point);
        expect_raised(seen, GetParam().expected.session);
        EXPECT_THAT(seen.files, testing::Each(StartsWith("locked ")));
        EXPECT_THAT(new_files(), IsEmpty());
        write_bytes(on_.at().folder() / "data", on_.at().content());
    }
    std::cout << "counted: " << 2 * GetParam().points.size() << " failures of local files\n";
}

/// By what stands between a process and the system.
bool is_made_inside(fault what)
{
    return what == fault::read || what == fault::write || what == fault::close ||
           what == fault::shrinking_file || what == fault::growing_file;
}

/// Where the program is to run: with a bad machine around it.
std::vector<std::string> machine_for(const bad_file& file, long point, const fs::path& folder)
{
    const auto number = std::to_string(point);
    switch (file.what) {
    case fault::file_size:
        return {"/usr/bin/prlimit", "--fsize=" + number, "/usr/bin/env", "--ignore-signal=XFSZ"};
    case fault::small_disk:
        return {"/usr/bin/unshare",
                "--mount",
                "/bin/sh",
                "-c",
                R"(mount -t tmpfs -o size=$1 none "$0" && shift && cd "$0" && "$@"; code=$?; )"
                R"(ls -A "$0" >&2; exit $code)",
                folder.string(),
                number};
    case fault::no_privileges:
        if (::geteuid() != 0)
            return {};
        return {"/usr/bin/setpriv", "--bounding-set=-all", "--inh-caps=-all"};
    default:
        return {};
    }
}

program_result LocalFilesTest::run_program(long point)
{
    const auto& file = GetParam();
    const auto folder = on_.at().folder().path();
    const auto local = folder / (file.local.empty() ? "final" : file.local);
    program wanted;
    wanted.under = machine_for(file, point, folder);
    wanted.environment = {{"TARNIX_FTP_PASSWORD", "secret"}, {"PATH", "/usr/bin:/bin"}};
    wanted.arguments = {"ftp://u@" + on_.at().host() + ":" + std::to_string(on_.at().port()), "--"};
    if (file.operation == "put")
        wanted.arguments.insert(wanted.arguments.end(), {"put", local.string(), "stored"});
    else
        wanted.arguments.insert(wanted.arguments.end(), {"get", "file", local.string()});
    return tarnix::test::run(wanted);
}

class ProgramTest : public LocalFilesTest {};

TEST_P(ProgramTest, says_it_in_a_line_and_leaves_no_file)
{
    for (const auto point : GetParam().points) {
        // The limit holds for the file that takes what the program says too.
        if (GetParam().what == fault::file_size && point < 4096)
            continue;
        SCOPED_TRACE(point);
        const auto result = run_program(point);
        EXPECT_EQ(result.signal, 0);
        EXPECT_EQ(result.code, GetParam().expected.code);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(result.error,
                    AllOf(StartsWith("tarnix-ftp: "), HasSubstr(GetParam().expected.text)));
        EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
        EXPECT_THAT(new_files(), IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(Files, LocalFilesTest, testing::ValuesIn(bad_files()),
                         [](const auto& one) { return one.param.label; });

/// Those that other programs can make for the command line.
std::vector<bad_file> bad_files_for_programs()
{
    auto all = bad_files();
    std::erase_if(all, [](const bad_file& one) { return is_made_inside(one.what); });
    return all;
}

INSTANTIATE_TEST_SUITE_P(Files, ProgramTest, testing::ValuesIn(bad_files_for_programs()),
                         [](const auto& one) { return one.param.label; });

} // namespace
