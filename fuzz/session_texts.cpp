#include "require.hpp"

#include "paths.hpp"
#include "replies.hpp"
#include "requests.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// What a session makes of a server's replies, and of paths. The first line of an input is a folder,
// the second one a path, the rest are replies; and all of it is a name with quotes.

namespace {

using namespace tarnix::ftp;
using tarnix::fuzz::require;

bool is_reply(const std::string& line)
{
    const auto is_digit = [](unsigned char c) { return std::isdigit(c) != 0; };
    return line.size() > 3 && std::all_of(line.data(), line.data() + 3, is_digit) && line[3] == ' ';
}

/// libcurl hands on one line at a time.
std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char c : text) {
        lines.back() += c;
        if (c == '\n')
            lines.emplace_back();
    }
    return lines;
}

void check_replies(const std::string& text)
{
    replies heard;
    std::vector<std::string> finals;
    for (auto line : lines_of(text)) {
        require(replies::collect(line.data(), 1, line.size(), &heard) == line.size(),
                "every line of the server is taken");
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
            line.pop_back();
        if (is_reply(line))
            finals.push_back(line);
    }
    const auto begins = [](const std::string& code) {
        return [code](const std::string& line) { return line.starts_with(code); };
    };
    const auto last = finals.empty() ? std::string() : finals.back();
    const auto refuses = last.starts_with('4') || last.starts_with('5');
    require(heard.refusal().has_value() == refuses, "the last reply tells whether all is refused");
    constexpr std::size_t longest = 500;
    require(!refuses || *heard.refusal() == last.substr(0, longest),
            "the refusal is the last reply, as much of it as one can read");
    require(heard.has_file_size() == std::any_of(finals.begin(), finals.end(), begins("213")),
            "a size is noticed");
    const auto in_transfer = std::find_if(finals.begin(), finals.end(), begins("1"));
    const auto ended = last.starts_with('2') && in_transfer != finals.end();
    require(heard.lack_an_end() == (!refuses && !ended), "the end of a transfer is noticed");
}

void check_paths(const std::string& folder, const std::string& path)
{
    const auto result = absolute_path(folder, path);
    const auto base = path.starts_with('/') ? "/" : "/" + folder + '/';
    auto expected = std::filesystem::path(base + path).lexically_normal().string();
    while (expected.size() > 1 && expected.ends_with('/'))
        expected.pop_back();
    require(result == expected, "paths are resolved as file systems do: " + result);
    require(absolute_path("/elsewhere", result) == result, "an absolute path is its own");
    require(absolute_path(parent_folder(result), result.substr(result.rfind('/') + 1)) == result,
            "a path is its parent and its name");
}

void check_quotes(const std::string& name)
{
    const auto escaped = escape_quotes(name);
    std::string read;
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        require(escaped[i] != '"', "no quote ends the name");
        if (escaped[i] == '\\')
            ++i;
        require(i < escaped.size(), "the quote after the name ends it");
        read += escaped[i];
    }
    require(read == name, "a name comes out of its quotes");

    std::string doubled;
    for (const char c : name)
        doubled += c == '"' ? "\"\"" : std::string(1, c);
    require(undouble_quotes(doubled) == name, "doubled quotes are read as one");
}

void check_kinds(const std::string& text)
{
    const auto kind = kind_of_refusal(text, failure_kind::conflict);
    const auto about_the_name = text.starts_with("550") || text.starts_with("553");
    require((kind == failure_kind::conflict) == about_the_name, "550 and 553 are about the name");
    require((kind == failure_kind::connection) == text.starts_with("421"), "421 is a farewell");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(data, data + size);
    const auto folder_end = std::min(input.find('\n'), size);
    const auto path_end = std::min(input.find('\n', std::min(folder_end + 1, size)), size);
    const auto path_begin = std::min(folder_end + 1, path_end);
    const auto text = input.substr(std::min(path_end + 1, size));
    check_paths(input.substr(0, folder_end), input.substr(path_begin, path_end - path_begin));
    check_replies(text);
    check_kinds(text);
    check_quotes(input);
    return 0;
}
