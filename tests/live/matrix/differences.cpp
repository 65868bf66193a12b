#include "differences.hpp"

namespace tarnix::test {

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
        // clang-format on
    };
    return all;
}

std::string expected_outcome(const flavour& where, std::string_view layer, std::string_view check,
                             std::string_view usual)
{
    const std::string protocol = where.is_sftp() ? "SFTP" : "FTP";
    auto outcome = usual;
    for (const auto& who : {protocol, where.software, where.full_name()})
        for (const auto& row : differences())
            if (row.who == who && row.layer == layer && row.check == check)
                outcome = row.outcome;
    return std::string(outcome);
}

} // namespace tarnix::test
