#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tarnix::fuzz {

/// The C library's opinion of a text; none when it is not well-formed.
std::optional<std::u16string> utf16_from_utf8(std::string_view text);
std::optional<std::string> utf8_from_utf16(std::u16string_view text);

} // namespace tarnix::fuzz
