#pragma once

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <string>
#include <string_view>

namespace tarnix::ftp {

inline bool is_control_character(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

/// A control character in a name would end the protocol command that carries it and start another.
inline bool has_control_character(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), is_control_character);
}

/// `text` with every control character, and all that is not UTF-8, replaced by "?": what a server
/// says goes to terminals and into logs.
inline std::string one_line(std::string_view text)
{
    namespace utf = boost::locale::utf;
    using decoder = utf::utf_traits<char>;
    std::string line;
    for (auto here = text.begin(); here != text.end();) {
        const auto begin = here;
        const auto character = decoder::decode(here, text.end());
        const auto is_control = character < 0x20 || (character >= 0x7F && character < 0xA0);
        // Line ends, and changes of the direction of writing.
        const auto is_layout = (character >= 0x2028 && character <= 0x202E) ||
                               (character >= 0x2066 && character <= 0x2069);
        if (is_control || is_layout || character == utf::illegal || character == utf::incomplete)
            line += '?';
        else
            line.append(begin, here);
    }
    return line;
}

} // namespace tarnix::ftp
