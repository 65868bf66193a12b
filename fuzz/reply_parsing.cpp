#include "require.hpp"

#include <tarnix/io/ftp/core.hpp>

#include <foundation/core/except.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

// How replies and listings are read. The first line of an input is a reply code or a separator, the
// rest is what a server says.

namespace {

namespace core = tarnix::io::ftp::core;

using tarnix::fuzz::require;

void check_splitting(std::string_view text, std::string_view separator)
{
    const auto pieces = core::split_string(text, separator);
    if (text.empty() || separator.empty()) {
        require(pieces.size() == 1 && pieces.front() == text, "what cannot be split is one piece");
        return;
    }
    std::string joined(pieces.front());
    for (std::size_t i = 1; i < pieces.size(); ++i) {
        joined += separator;
        joined += pieces[i];
    }
    require(joined == text, "joining undoes splitting");
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        auto with_end = std::string(pieces[i]);
        if (i + 1 < pieces.size())
            with_end += separator;
        const auto first = with_end.find(separator);
        require(first == (i + 1 < pieces.size() ? pieces[i].size() : std::string::npos),
                "each piece ends at the next separator");
        const auto* const end = text.data() + text.size();
        require(pieces[i].data() >= text.data() && pieces[i].data() + pieces[i].size() <= end,
                "the pieces are views of the text");
    }
}

/// All lines begin after CR LF, when one is put before the text.
std::optional<std::string> line_with_code(const std::string& text, const std::string& code)
{
    const std::string line_end = "\r\n";
    if (code.empty() || code.find(line_end) != std::string::npos)
        return std::nullopt;
    const auto lines = line_end + text + line_end;
    for (auto found = lines.find(line_end + code); found != std::string::npos;
         found = lines.find(line_end + code, found + 1)) {
        const auto begin = found + line_end.size();
        const auto line = lines.substr(begin, lines.find(line_end, begin) - begin);
        if (line.size() >= code.size())
            return line;
    }
    return std::nullopt;
}

struct folder_or_message {
    std::string folder;
    std::string message;
};

/// One pass over the characters.
folder_or_message read_pwd(const std::string& line)
{
    if (line.size() < 3)
        return {{}, "PWD response code is too short"};
    if (line.compare(0, 3, "257") != 0)
        return {{},
                "PWD operation failed or returned unrecognized status code (" +
                    std::string(line, 0, 3) + ") from response: " + line};
    std::string after_quote;
    std::string folder;
    auto quotes = 0;
    auto after_slash = false;
    for (const char c : line) {
        if (c == '"' && quotes++ > 0)
            folder = after_quote;
        if (quotes == 0 || (c == '"' && quotes == 1))
            continue;
        // The second of two slashes goes, and does not count as the first of the next two.
        if (c == '/' && after_slash) {
            after_slash = false;
            continue;
        }
        after_slash = c == '/';
        after_quote += c;
    }
    if (quotes == 0)
        return {{}, "Could not find opening quote in PWD response: " + line};
    if (quotes == 1)
        return {{}, "Could not find closing quote in PWD response: " + line};
    return {folder, {}};
}

void check_pwd(const std::string& line)
{
    const auto expected = read_pwd(line);
    try {
        const auto folder = core::parse_pwd_response(line);
        require(expected.message.empty(), "no folder is read from a bad reply");
        require(folder == expected.folder, "the folder is what stands between the quotes");
    } catch (const foundation::core::except::IMsgIDException& error) {
        const auto& arguments = error.message_id().arguments;
        require(error.error_id() == "TARNIX:io:ftp:ftp:InternalError",
                "the identifier of a bad reply");
        require(arguments.size() == 2 && std::get<std::string>(arguments[0]) == "PWD" &&
                    std::get<std::string>(arguments[1]) == expected.message,
                "the message for a bad reply");
    }
}

void check_listing(const std::string& listing)
{
    const auto names = core::parse_nlst_listing(listing);
    require(names == core::split_string(listing, "\n"), "a listing has a name in each line");
    const auto line_ends = std::count(listing.begin(), listing.end(), '\n');
    require(std::cmp_equal(names.size(), line_ends + 1), "no line of a listing is lost");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(data, data + size);
    const auto first_end = std::min(input.find('\n'), input.size());
    const auto first = input.substr(0, first_end);
    const auto text = input.substr(std::min(first_end + 1, input.size()));
    check_splitting(text, first);
    check_splitting(text, "\r\n");
    require(core::match_response_code(text, first) == line_with_code(text, first),
            "the first line with the code is found");
    check_pwd(text);
    check_pwd("257" + text);
    check_listing(text);
    return 0;
}
