#include "require.hpp"
#include "well_formed.hpp"

#include "output.hpp"

#include <tarnix/host/log_sink.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/errors.hpp>

#include <foundation/log/diagnostic_logger.hpp>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// What people read: messages, the trace, what the command line prints. A terminal must not be taken
// over by what servers say.

namespace {

using namespace tarnix::fuzz;
using resource_core::BaseMsgID;

/// A text as a terminal for UTF-8 sees it; a text that is not well-formed, only as ASCII.
bool has_control_character(const std::string& text)
{
    const auto is_control = [](unsigned c) { return c < 0x20 || c == 0x7F; };
    if (const auto characters = utf16_from_utf8(text))
        return std::any_of(characters->begin(), characters->end(), [&](char16_t c) {
            const auto turns_the_line =
                (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
            return is_control(c) || (c >= 0x80 && c < 0xA0) || turns_the_line;
        });
    return std::any_of(text.begin(), text.end(), [&](unsigned char c) { return is_control(c); });
}

template <typename... Tags>
std::vector<BaseMsgID> all_of(foundation::core::except::catalogue<Tags...>)
{
    using foundation::core::except::identifier;
    return {BaseMsgID{
        {}, std::string(identifier<Tags>::component), std::string(identifier<Tags>::id)}...};
}

BaseMsgID::argument read_argument(FuzzedDataProvider& input)
{
    constexpr std::size_t longest = 40;
    switch (input.ConsumeIntegralInRange(0, 2)) {
    case 0:
        return input.ConsumeIntegral<long long>();
    case 1:
        return input.ConsumeRandomLengthString(longest);
    default:
        break;
    }
    std::u16string text;
    for (const auto byte : input.ConsumeRandomLengthString(longest))
        text += static_cast<char16_t>(static_cast<unsigned char>(byte) << 8 |
                                      input.ConsumeIntegral<std::uint8_t>());
    return text;
}

BaseMsgID read_message(FuzzedDataProvider& input)
{
    static const auto known = all_of(tarnix::io::ftp::core::ids::catalogue{});
    auto message = known[input.ConsumeIntegralInRange<std::size_t>(0, known.size() - 1)];
    if (input.ConsumeBool())
        message.id = input.ConsumeRandomLengthString(20);
    constexpr auto most_arguments = 4;
    for (auto count = input.ConsumeIntegralInRange(0, most_arguments); count > 0; --count)
        message.arguments.push_back(read_argument(input));
    return message;
}

void check_message(FuzzedDataProvider& input)
{
    const auto text = tarnix::host::message_text(read_message(input));
    require(utf16_from_utf8(text).has_value(), "a message is UTF-8");
    require(!text.empty(), "a message says something");
}

std::string traced(const std::string& message)
{
    constexpr unsigned protocol = 4;
    static foundation::log::basic_diagnostic_logger<char> logger("fuzz");
    logger.set_levels(protocol);
    std::ostringstream stream;
    const tarnix::host::stream_log_sink sink(stream);
    logger.write(protocol, message);
    return stream.str();
}

void check_trace(const std::string& text)
{
    auto line = traced(text);
    require(line.ends_with('\n'), "a record is a line");
    line.pop_back();
    require(!has_control_character(line), "a record has no control characters");
    if (text.find('\n') != std::string::npos)
        return;
    for (const auto* command : {"PASS ", "pAsS ", "Proxy-Authorization: "}) {
        std::string sent = "[HEADER OUT] USER u\r\n";
        sent.append(command).append(text);
        std::string shown = "[protocol] [HEADER OUT] USER u\\r\\n";
        shown.append(command).append("****\n");
        require(traced(sent) == shown, "a secret is not shown");
    }
}

void check_printable(const std::string& text)
{
    auto shown = tarnix::cli::printable(text);
    require(tarnix::cli::printable(shown) == shown, "what is printable stays");
    const auto is_layout = [](char c) { return c == '\n' || c == '\t'; };
    require(std::count_if(shown.begin(), shown.end(), is_layout) ==
                std::count_if(text.begin(), text.end(), is_layout),
            "line ends and tabulators stay");
    require(shown.size() <= text.size(), "nothing is added to what is printed");
    const auto was_harmless = !has_control_character(text) && utf16_from_utf8(text);
    require(!was_harmless || shown == text, "harmless texts are printed as they are");
    shown.erase(std::remove_if(shown.begin(), shown.end(), is_layout), shown.end());
    require(!has_control_character(shown), "no control character is printed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    check_message(input);
    const std::string text(data, data + size);
    check_trace(text);
    check_printable(text);
    return 0;
}
