#pragma once

#include <algorithm>
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

} // namespace tarnix::ftp
