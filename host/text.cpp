#include <fl/i18n/ustring_conversion.hpp>

#include <boost/locale/encoding_utf.hpp>

namespace fl::i18n {

// The library's default is to leave out what is not well-formed.

std::string ustring_to_utf8(const ustring& text)
{
    return boost::locale::conv::utf_to_utf<char>(text, boost::locale::conv::stop);
}

ustring utf8_to_ustring(const std::string& text)
{
    return boost::locale::conv::utf_to_utf<char16_t>(text, boost::locale::conv::stop);
}

} // namespace fl::i18n
