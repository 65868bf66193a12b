#include "require.hpp"
#include "well_formed.hpp"

#include <fl/i18n/ustring_conversion.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

// UTF-8 to UTF-16 and back: what is well-formed, in the C library's opinion, comes back as it was;
// everything else raises.

namespace {

using namespace tarnix::fuzz;

template <typename Convert, typename Text>
auto converted(Convert convert, const Text& text) -> std::optional<decltype(convert(text))>
{
    try {
        return convert(text);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(data, data + size);
    const auto wide = converted(fl::i18n::utf8_to_ustring, bytes);
    require(wide == utf16_from_utf8(bytes), "UTF-8 is read as the C library reads it");
    require(!wide || fl::i18n::ustring_to_utf8(*wide) == bytes, "UTF-8 comes back from UTF-16");

    std::u16string units(size / sizeof(char16_t), u'\0');
    if (!units.empty())
        std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    const auto narrow = converted(fl::i18n::ustring_to_utf8, units);
    require(narrow == utf8_from_utf16(units), "UTF-16 is read as the C library reads it");
    require(!narrow || fl::i18n::utf8_to_ustring(*narrow) == units, "UTF-16 comes back from UTF-8");
    return 0;
}
