#include "reply_faults.hpp"

#include <support/reply_script.hpp>

#include <chrono>
#include <string_view>

namespace tarnix::test {

namespace {

using ending = reply_fault::ending;

constexpr std::size_t kibibyte = 1024;
constexpr std::size_t mebibyte = 1024 * kibibyte;

/// A reply that has nothing to do with the one that is due; the command is not carried out.
reply_fault instead(const std::string& words, ending then = ending::none)
{
    reply_fault fault;
    fault.is_refused = true;
    fault.words = [words](const std::string&) { return words; };
    fault.then = then;
    return fault;
}

/// The command is carried out, and its reply is spoilt.
reply_fault spoilt(std::function<std::string(const std::string&)> words)
{
    reply_fault fault;
    fault.words = std::move(words);
    return fault;
}

reply_fault one_byte_at_a_time()
{
    reply_fault fault;
    fault.how.piece = 1;
    return fault;
}

std::string without_line_end(const std::string& due)
{
    return due.substr(0, due.find_last_not_of("\r\n") + 1);
}

/// `due` as the end of a reply of several lines.
std::string behind_many_lines(const std::string& due, std::size_t size)
{
    const auto first = due.substr(0, 3) + "-";
    std::string words;
    while (words.size() < size)
        words += first + std::string(70, 'x') + "\r\n";
    return words + due;
}

std::string with_bare_line_feeds(const std::string& due)
{
    std::string words;
    for (const char c : due)
        if (c != '\r')
            words += c;
    return words;
}

/// After the code of the last line.
std::string with_text_inserted(const std::string& due, const std::string& text)
{
    const auto end = without_line_end(due);
    const auto line = end.rfind('\n');
    auto words = due;
    return words.insert((line == std::string::npos ? 0 : line + 1) + 4, text);
}

std::string binary(std::size_t size)
{
    std::string bytes;
    for (std::size_t i = 0; bytes.size() < size; ++i)
        if (const auto byte = static_cast<char>(i * 7 + i / 251); byte != '\n')
            bytes += byte;
    return bytes;
}

using namespace std::string_literals;

std::vector<named_fault> well_meant()
{
    return {
        {"one byte at a time", effect::none, 0, one_byte_at_a_time()},
        {"bare line feeds", effect::none, 0, spoilt(&with_bare_line_feeds)},
        {"behind 4 KiB of lines", effect::none, 0,
         spoilt([](const auto& due) { return behind_many_lines(due, 4 * kibibyte); })},
        {"with 8000 bytes behind", effect::none, 0, spoilt([](const auto& due) {
             return without_line_end(due) + std::string(8000, 'x') + "\r\n";
         })},
        {"with NULs", effect::none, 0,
         spoilt([](const auto& due) { return with_text_inserted(due, "\0\0\0"s); })},
        {"with control characters", effect::none, 0, spoilt([](const auto& due) {
             return with_text_inserted(due, "\x1b[31m\x07\r\x9b"
                                            "2J\xff\xfe");
         })},
        {"behind foreign lines", effect::none, 0,
         spoilt([](const auto& due) { return "hello\r\n\r\nthere: 1\r\n" + due; })},
    };
}

std::vector<named_fault> unintelligible()
{
    auto drip = instead("x");
    drip.repeats = true;
    drip.how.gap = std::chrono::seconds(1);
    return {
        {"nothing", effect::silence, 0, instead("")},
        {"an empty line", effect::silence, 0, instead("\r\n")},
        {"text", effect::silence, 0, instead("fine with me\r\n")},
        {"text where the code belongs", effect::silence, 0, instead("abc fine\r\n")},
        {"a code of two digits", effect::silence, 0, instead("25 fine\r\n")},
        {"a code behind a blank", effect::silence, 0, instead(" 250 fine\r\n")},
        {"a code alone", effect::silence, 0,
         spoilt([](const auto& due) { return due.substr(0, 3) + "\r\n"; })},
        {"code 000", effect::silence, 0, instead("000 Fine.\r\n")},
        {"no line end", effect::silence, 0, spoilt(&without_line_end)},
        {"a bare carriage return", effect::silence, 0,
         spoilt([](const auto& due) { return without_line_end(due) + '\r'; })},
        {"4 KiB without line end", effect::silence, 0, instead(std::string(4 * kibibyte, 'x'))},
        {"binary bytes", effect::silence, 0, instead(binary(4 * kibibyte))},
        {"NULs", effect::silence, 0, instead(std::string(kibibyte, '\0') + "\r\n")},
        {"lines without an end", effect::silence, 0, instead("220-a\r\n220-b\r\n")},
        {"one byte each second", effect::silence, 0, drip},
    };
}

std::vector<named_fault> refusals()
{
    std::vector<named_fault> all;
    for (const long code : {421L, 425L, 450L, 452L, 500L, 502L, 530L, 550L, 553L})
        all.push_back({std::to_string(code), effect::refusal, code,
                       instead(reply_line(static_cast<int>(code), "No."))});
    all.push_back({"550 with control characters", effect::refusal, 550,
                   instead("550 \x1b[31mN\0o\x07\r\x9b"
                           "2J \xc2\x9b\xff.\r\n"s)});
    return all;
}

std::vector<named_fault> wrong_codes()
{
    std::vector<named_fault> all;
    for (const auto* code : {"099", "150", "200", "350", "600", "999"})
        all.push_back({code, effect::wrong_code, std::stol(code), instead(code + " What?\r\n"s)});
    return all;
}

std::vector<named_fault> losses()
{
    auto reset = instead("", ending::reset);
    return {
        {"the end", effect::loss, 0, instead("", ending::close)},
        {"a reset", effect::loss, 0, reset},
        {"half a reply, then the end", effect::loss, 0, instead("25", ending::close)},
        {"a line that goes on, then the end", effect::loss, 0,
         instead("250-Wait.\r\n", ending::close)},
        {"421, then the end", effect::loss, 421, instead("421 Bye.\r\n", ending::close)},
    };
}

/// More than libcurl's buffer holds: it gives up, or not, as the bytes happen to come.
std::vector<named_fault> large()
{
    return {
        {"with 64 KiB behind", effect::uncertain, 0, spoilt([](const auto& due) {
             return without_line_end(due) + std::string(64 * kibibyte, 'x') + "\r\n";
         })},
        {"behind 1 MiB of lines", effect::uncertain, 0,
         spoilt([](const auto& due) { return behind_many_lines(due, mebibyte); })},
        {"64 KiB without line end", effect::silence, 0, instead(std::string(64 * kibibyte, 'x'))},
        {"1 MiB without line end", effect::silence, 0, instead(std::string(mebibyte, 'x'))},
        {"a line of 1 MiB", effect::silence, 0, instead(std::string(mebibyte, 'x') + "\r\n")},
        {"1 MiB of binary bytes", effect::silence, 0, instead(binary(mebibyte))},
    };
}

} // namespace

const std::vector<named_fault>& large_reply_faults()
{
    static const auto all = large();
    return all;
}

const std::vector<named_fault>& reply_faults()
{
    static const auto all = [] {
        std::vector<named_fault> joined;
        for (const auto& group :
             {well_meant(), unintelligible(), refusals(), wrong_codes(), losses()})
            joined.insert(joined.end(), group.begin(), group.end());
        return joined;
    }();
    return all;
}

} // namespace tarnix::test
