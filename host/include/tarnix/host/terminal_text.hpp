#pragma once

#include <cstddef>
#include <string_view>

namespace tarnix::host {

/// The first character of a text that may come from anywhere, seen as a terminal sees it.
struct first_character {
    std::size_t length; ///< in bytes
    bool is_control;    ///< a terminal may obey it instead of showing it, or show others elsewhere
};

/// Looks at the beginning of `text`, which is not empty. What is not well-formed UTF-8 counts byte
/// by byte; terminals with an 8-bit character set obey the bytes 0x80 to 0x9F. Raises nothing.
constexpr first_character look_at_first_character(std::string_view text) noexcept
{
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned lead = byte(0);
    if (lead < 0x80)
        return {1, lead < 0x20 || lead == 0x7F};
    const first_character alone{1, lead < 0xA0};
    if (lead < 0xC2 || lead > 0xF4)
        return alone;
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < length)
        return alone;
    // Overlong forms, surrogates and what lies beyond the last character show in the second byte.
    const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < lowest || byte(1) > highest)
        return alone;
    for (std::size_t i = 2; i < length; ++i)
        if (byte(i) < 0x80 || byte(i) > 0xBF)
            return alone;
    const auto is_old_control = lead == 0xC2 && byte(1) < 0xA0;
    // U+2028 to U+202E and U+2066 to U+2069: line ends, and changes of the direction of writing.
    const auto is_layout =
        lead == 0xE2 && ((byte(1) == 0x80 && byte(2) >= 0xA8 && byte(2) <= 0xAE) ||
                         (byte(1) == 0x81 && byte(2) >= 0xA6 && byte(2) <= 0xA9));
    return {length, is_old_control || is_layout};
}

} // namespace tarnix::host
