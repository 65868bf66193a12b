#pragma once

#include <fl/ustring.hpp>
#include <foundation/export.hpp>

#include <string>

namespace fl::i18n {

/// Converts UTF-16 to UTF-8 and back. Ill-formed input raises (a `std::exception`): a name that
/// was silently repaired would be another name.
TARNIX_PLATFORM_EXPORT std::string ustring_to_utf8(const ustring& text);
TARNIX_PLATFORM_EXPORT ustring utf8_to_ustring(const std::string& text);

} // namespace fl::i18n
