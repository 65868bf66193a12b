#include "differences.hpp"

namespace tarnix::test {

namespace {

constexpr auto all_lines_without_reply =
    R"(["..\n", ".\n", "bare\n", "closed\n", "empty\n", "file\n", "full\n", "lines\n", "locked\n", "secret\n"] 0)";

} // namespace

const std::vector<difference>& differences()
{
    static const std::vector<difference> all{
        // clang-format off
        {"SFTP", "session", "list", "[., .., bare, closed, empty, file, full, lines, locked, secret]"},
        {"SFTP", "session", "list of a folder", "[., .., inner]"},
        {"SFTP", "session", "list of an empty folder", "[., ..]"},
        {"SFTP", "session", "upload as text", "refused"},
        {"SFTP", "session", "download as text", "refused"},
        {"SFTP", "session", "system_type", "refused"},

        {"SFTP", "library", "pwd", "ROOT/"},
        {"SFTP", "library", "syst", "none"},
        {"SFTP", "library", "cd to a folder", "ROOT/full/; then at URL/full/; then in ROOT/full/"},
        {"SFTP", "library", "unsafe_cd to a folder", "0; then at URL/full/; then in ROOT/full/"},
        {"SFTP", "library", "cd up", "ROOT/"},
        // libcurl looks at no folder without a transfer.
        {"SFTP", "library", "cd to a missing folder", "ROOT/missing/; then at URL/missing/; then in ROOT/missing/"},
        {"SFTP", "library", "cd to a file", "ROOT/file/; then at URL/file/; then in ROOT/file/"},
        {"SFTP", "library", "cd to a closed folder", "ROOT/closed/; then at URL/closed/; then in ROOT/closed/"},
        {"SFTP", "library", "unsafe_cd to a missing folder and back", "0 at URL/missing/"},
        {"SFTP", "library", "is_folder of a file", "yes"},
        {"SFTP", "library", "is_folder of a missing name", "yes"},
        {"SFTP", "library", "is_folder of a closed folder", "yes"},
        // The names in the working folder, whatever the path.
        {"SFTP", "library", "list", "[., .., bare, closed, empty, file, full, lines, locked, secret]"},
        {"SFTP", "library", "list of a folder", "[., .., bare, closed, empty, file, full, lines, locked, secret] 0"},
        {"SFTP", "library", "list of an empty folder", "[., .., bare, closed, empty, file, full, lines, locked, secret] 0"},
        {"SFTP", "library", "list of a missing folder", "[., .., bare, closed, empty, file, full, lines, locked, secret] 0"},
        {"SFTP", "library", "list of a closed folder", "[., .., bare, closed, empty, file, full, lines, locked, secret] 0"},
        {"SFTP", "library", "nlst", "[., .., bare, closed, empty, file, full, lines, locked, secret]"},
        {"SFTP", "library", "nlst of a folder", all_lines_without_reply},
        {"SFTP", "library", "nlst of an empty folder", all_lines_without_reply},
        {"SFTP", "library", "nlst of a missing folder", all_lines_without_reply},
        {"SFTP", "library", "nlst of a closed folder", all_lines_without_reply},
        {"SFTP", "library", "dir of an absolute folder", "[., .., bare, closed, empty, file, full, lines, locked, secret]"},
        // There are no reply codes.
        {"SFTP", "library", "receive_file of a missing file", "raises FTPError(0)"},
        {"SFTP", "library", "receive_file from a missing folder", "raises FTPError(0)"},
        {"SFTP", "library", "receive_file of a folder", "raises FTPError(0)"},
        {"SFTP", "library", "receive_file of one that may not be read", "raises FTPError(0)"},
        // There is no text mode: libcurl converts on the way up all the same.
        {"SFTP", "library", "send_file as text", R"(done; +new="a\r\nb\r\n")"},
        {"SFTP", "library", "receive_file as text", R"("one\r\ntwo\n")"},
        {"SFTP", "library", "sftp_rename_remote_file of a missing file", "done"},
        {"SFTP", "library", "sftp_rename_remote_file into a missing folder", "done"},
        {"SFTP", "library", "sftp_rename_remote_file into a locked folder", "done"},
        {"SFTP", "library", "sftp_rename_remote_file onto another file", "done"},

        {"proftpd-sftp", "library", "sftp_is_folder of a file", "79"},
        {"proftpd-sftp", "session", "exists under a file", "fails: permission"},

        // A TLS data connection that is closed as the transfer is refused leaves libcurl 7.88 out of
        // step, unless the refusal arrives first, and the way back to the folder, which sends
        // nothing, then reads with a pointer into freed memory: some of these never returned.
        {"proftpd-tls", "library", "list of a missing folder", not_run},
        {"proftpd-tls", "library", "nlst of a missing folder", not_run},
        {"proftpd-tls", "library", "send_file into a locked folder", not_run},
        {"proftpd-tls", "library", "send_file onto a folder", not_run},
        {"proftpd-tls", "library", "send_file over one that may not be changed", not_run},
        {"proftpd-tls", "library", "receive_file of a missing file", not_run},
        {"proftpd-tls", "library", "receive_file of a folder", not_run},
        {"proftpd-tls", "library", "receive_file of one that may not be read", not_run},

        {"proftpd", "library", "list of a missing folder", "[] 450"},
        {"proftpd", "library", "list of a closed folder", "[] 226"},
        {"proftpd", "library", "nlst of a missing folder", "[] 450"},
        {"proftpd", "library", "nlst of a closed folder", "[] 226"},

        {"pure-ftpd", "library", "list of a closed folder", "[] 226"},
        {"pure-ftpd", "library", "nlst", "[., .., bare, closed, empty, file, full, lines, locked, secret]"},
        {"pure-ftpd", "library", "nlst of a folder", R"(["full/..\n", "full/.\n", "full/inner\n"] 226)"},
        {"pure-ftpd", "library", "nlst of an empty folder", R"(["bare/..\n", "bare/.\n"] 226)"},
        {"pure-ftpd", "library", "nlst of a missing folder", "[] 550"},
        {"pure-ftpd", "library", "nlst of a closed folder", "[] 550"},
        {"pure-ftpd", "library", "dir of an absolute folder", "[ROOT/full/., ROOT/full/.., ROOT/full/inner]"},
        // It sends a carriage return before every line feed, also where there is one already.
        {"pure-ftpd", "library", "receive_file as text", "\"one\\n\\ntwo\\n\""},
        {"pure-ftpd", "session", "download as text", "\"one\\n\\ntwo\\n\""},
        // It refuses with 451, which the library takes for success.
        {"pure-ftpd", "library", "rename_remote_file into a missing folder", "done"},
        {"pure-ftpd", "library", "rename_remote_file into a locked folder", "done"},

        {"pyftpdlib", "library", "list of a missing folder", "[] 550"},
        {"pyftpdlib", "library", "list of a closed folder", "[] 550"},
        {"pyftpdlib", "library", "nlst of a folder", R"(["inner\n"] 226)"},
        {"pyftpdlib", "library", "nlst of a missing folder", "[] 550"},
        {"pyftpdlib", "library", "nlst of a closed folder", "[] 550"},
        {"pyftpdlib", "library", "dir of an absolute folder", "[inner]"},

        // A double quote ends a name in libcurl's commands for SFTP, and a backslash hides what follows.
        {"SFTP", "library", "a name with a double quote", "rename to: [double=content]; rename from: [NAME=content]; delete a file: raises DeleteFailed(NAME); create a folder: [double/]; delete a folder: raises FTPError(0)"},
        {"SFTP", "library", "a name with double quotes around", "rename to: [plain=content]; rename from: [NAME=content]; delete a file: raises DeleteFailed(NAME); create a folder: raises CouldNotCreateFolder(NAME); delete a folder: raises FTPError(0)"},
        {"SFTP", "library", "a name with a backslash", "rename to: [plain=content]; rename from: [NAME=content]; delete a file: raises DeleteFailed(NAME); create a folder: raises CouldNotCreateFolder(NAME); delete a folder: raises FTPError(0)"},
        // Names with a dot in front are not listed.
        {"vsftpd", "library", "a name with a double quote", "cd and send_file: ROOT/double\"\"quote"},
        {"vsftpd", "library", "a name with double quotes around", "cd and send_file: ROOT/\"NAME\""},
        {"vsftpd", "library", "a name with a leading dot", "dir: []"},
        {"vsftpd", "library", "a name with three dots", "dir: []"},
        {"vsftpd", "session", "a name with a leading dot", "names: []"},
        {"vsftpd", "session", "a name with three dots", "names: []"},
        {"proftpd", "library", "a name with nothing but a blank", "send_file: raises UploadFailed(LOCAL/sent); receive_file: raises FTPError(500); rename to: raises FTPError(501); rename from: raises FTPError(501); delete a file: raises DeleteFailed( ); create a folder: raises InternalError(mkdir,  ); delete a folder: raises FTPError(501); is_folder: no; cd and send_file: raises NoSuchDirectory(ftp://127.0.0.1/ROOT/%20)"},
        {"proftpd", "library", "a name with a double quote", "cd and send_file: ROOT/double\"\"quote"},
        {"proftpd", "library", "a name with double quotes around", "cd and send_file: ROOT/\"NAME\""},
        {"proftpd", "library", "a name with an asterisk", "create a folder: raises CouldNotCreateFolder(NAME)"},
        {"proftpd", "library", "a name with a leading dot", "dir: []"},
        {"proftpd", "library", "a name with three dots", "dir: []"},
        {"proftpd", "session", "a name with nothing but a blank", "upload: fails: transfer; download: fails: transfer; exists: fails: transfer; exists of a missing one: fails: transfer; is_file: fails: transfer; is_folder: fails: transfer; rename to: fails: transfer; rename from: fails: transfer; change_folder and upload: fails: permission"},
        {"proftpd", "session", "a name with an asterisk", "make_folder: fails: permission"},
        {"proftpd", "session", "a name with a leading dot", "names: []"},
        {"proftpd", "session", "a name with three dots", "names: []"},
        // It stores blanks at either end of a command as underscores, and forbids backslashes.
        {"pure-ftpd", "library", "a name with a leading blank", "send_file: [_leading=content]; rename to: [_leading=content]; create a folder: [_leading/]"},
        {"pure-ftpd", "library", "a name with a trailing blank", "send_file: [trailing_=content]; rename to: [trailing_=content]; create a folder: [trailing_/]"},
        {"pure-ftpd", "library", "a name with nothing but a blank", "send_file: [_=content]; rename to: [_=content]; create a folder: [_/]"},
        {"pure-ftpd", "library", "a name with a backslash", "send_file: raises UploadFailed(LOCAL/sent); receive_file: raises FTPError(553); rename to: raises FTPError(553); rename from: raises FTPError(553); delete a file: raises DeleteFailed(NAME); create a folder: raises InternalError(mkdir, NAME); delete a folder: raises FTPError(553); is_folder: no; cd and send_file: raises NoSuchDirectory(ftp://127.0.0.1/ROOT/back%5Cslash)"},
        {"pure-ftpd", "session", "a name with a leading blank", "upload: [_leading=content]"},
        {"pure-ftpd", "session", "a name with a trailing blank", "upload: [trailing_=content]; rename to: fails: transfer; make_folder: [trailing_/]"},
        {"pure-ftpd", "session", "a name with nothing but a blank", "upload: [_=content]; rename to: fails: transfer; make_folder: [_/]"},
        {"pure-ftpd", "session", "a name with a backslash", "upload: fails: permission; download: fails: permission; is_folder: no; rename to: fails: permission; rename from: fails: permission; remove_file: fails: permission; make_folder: fails: permission; remove_folder: fails: not found; change_folder and upload: fails: permission"},
        {"pyftpdlib", "library", "a name with a double quote", "cd and send_file: ROOT/double\"\"quote"},
        {"pyftpdlib", "library", "a name with double quotes around", "cd and send_file: ROOT/\"NAME\""},
        // clang-format on
    };
    return all;
}

std::set<std::pair<std::string, std::string>>& known_checks()
{
    static std::set<std::pair<std::string, std::string>> all;
    return all;
}

std::vector<std::string> expected_outcomes(const flavour& where, std::string_view layer,
                                           std::string_view check, std::string_view usual)
{
    const std::string protocol = where.is_sftp() ? "SFTP" : "FTP";
    std::vector<std::string> outcomes{std::string(usual)};
    for (const auto& who : {protocol, where.software(), where.server, where.full_name()})
        for (const auto& row : differences()) {
            if (row.who != who || row.layer != layer || row.check != check)
                continue;
            outcomes = {std::string(row.outcome)};
            if (!row.other_outcome.empty())
                outcomes.emplace_back(row.other_outcome);
        }
    return outcomes;
}

} // namespace tarnix::test
