#pragma once

#include <algorithm>
#include <string_view>

namespace tarnix::ftp {

/// A control character in a name would end the protocol command that carries it and start another.
inline bool has_control_character(std::string_view text)
{
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

} // namespace tarnix::ftp
