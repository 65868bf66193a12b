#include "require.hpp"

#include "arguments.hpp"
#include "exit_codes.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The command line; each line of an input is an argument.

namespace {

using namespace tarnix::cli;
using tarnix::fuzz::require;

void check_logins(const std::string& text)
{
    const auto shown = without_logins(text);
    const auto at = text.rfind('@');
    const auto slashes = text.find("//");
    const auto has_login = at != std::string::npos && slashes < at;
    if (!has_login) {
        require(shown == text, "a text without a login is shown as it is");
        return;
    }
    require(shown == text.substr(0, slashes) + "//***" + text.substr(at), "a login is not shown");
}

void check_arguments(const std::vector<const char*>& values)
{
    std::string answer;
    try {
        const auto given = read_arguments(static_cast<int>(values.size()), values.data(), answer);
        require(given.has_value() == answer.empty(), "there is a text or there are arguments");
        if (!given)
            return;
        require(!given->command.empty(), "there is a command");
        require(given->operands.size() <= 2, "no command takes more than two operands");
        require(given->port != 0, "no port is 0");
    } catch (const usage_error& error) {
        require(exit_code_of(error) == exit_code::usage, "what cannot be read is a usage error");
        require(error.what()[0] != '\0', "a usage error says something");
        check_logins(error.what());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(data, data + size);
    check_logins(input);
    std::vector<std::string> lines{"tarnix-ftp", ""};
    for (const char c : input) {
        if (c == '\n')
            lines.emplace_back();
        else if (c != '\0')
            lines.back() += c;
    }
    std::vector<const char*> values;
    values.reserve(lines.size());
    for (const auto& line : lines)
        values.push_back(line.c_str());
    check_arguments(values);
    return 0;
}
