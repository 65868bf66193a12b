#include "script.hpp"

#include <utility>

namespace tarnix::fuzz {

namespace {

std::string unescape(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        const char escaped = text[++i];
        if (escaped == 'r')
            result += '\r';
        else if (escaped == 'n')
            result += '\n';
        else if (escaped == '0')
            result += '\0';
        else
            result += escaped;
    }
    return result;
}

void read_plan(script& result, std::string_view line)
{
    for (const char letter : line) {
        if (letter >= 'a' && letter <= 'z')
            result.operations += letter;
        else if (letter == 'S')
            result.sane_at_the_end = true;
        else if (letter == 'B')
            result.byte_by_byte = true;
        else if (letter == 'E')
            result.ends_early = true;
        else if (letter == 'R')
            result.refuses_data = true;
        else if (letter == 'T')
            result.text_mode = true;
        else if (letter == 'C')
            result.cancelled_by_user = true;
        else if (letter == 'O')
            result.opportunistic_tls = true;
    }
}

void read_line(script& result, std::string_view line)
{
    if (line.starts_with('>'))
        result.operands.push_back(unescape(line.substr(1)));
    else if (line.starts_with('='))
        result.data.push_back(unescape(line.substr(1)));
    else
        result.replies.emplace_back(line);
}

} // namespace

script read_script(std::string_view input)
{
    script result;
    auto end = input.find('\n');
    read_plan(result, input.substr(0, end));
    while (end != std::string_view::npos) {
        input.remove_prefix(end + 1);
        end = input.find('\n');
        read_line(result, input.substr(0, end));
    }
    return result;
}

scripted_reply read_reply(std::string_view line)
{
    if (line == "?")
        return {};
    constexpr std::string_view no_line_end = "\\-";
    const auto hangs_up = line.starts_with('!');
    if (hangs_up)
        line.remove_prefix(1);
    if (line.ends_with(no_line_end))
        return {unescape(line.substr(0, line.size() - no_line_end.size())), hangs_up};
    return {line.empty() ? "" : unescape(line) + "\r\n", hangs_up};
}

} // namespace tarnix::fuzz
