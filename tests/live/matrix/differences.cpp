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
