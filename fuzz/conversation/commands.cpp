#include "commands.hpp"

#include "require.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarnix::fuzz {

namespace {

bool is_expected(std::string_view verb)
{
    constexpr std::array<std::string_view, 25> verbs{
        "USER", "PASS", "PWD",  "CWD",  "TYPE", "EPSV", "PASV", "SIZE", "LIST",
        "NLST", "RETR", "STOR", "APPE", "RNFR", "RNTO", "DELE", "MKD",  "RMD",
        "SYST", "QUIT", "AUTH", "REST", "ABOR", "MDTM", "NOOP"};
    return std::find(verbs.begin(), verbs.end(), verb) != verbs.end();
}

} // namespace

void require_clean_commands(const std::vector<std::string>& lines, std::string_view other)
{
    for (const auto& line : lines) {
        require(line.ends_with('\r'), "a command ends in CR LF");
        const auto command = std::string_view(line).substr(0, line.size() - 1);
        const auto verb = command.substr(0, command.find(' '));
        require(verb == other || is_expected(verb),
                "a command is one of FTP's: " + std::string(command));
        // libcurl goes back to the login folder by the name that the server told.
        require(command.starts_with("CWD ") ||
                    std::none_of(command.begin(), command.end(),
                                 [](unsigned char c) { return c < 0x20 || c == 0x7F; }),
                "a command has no control characters: " + std::string(command));
    }
}

} // namespace tarnix::fuzz
