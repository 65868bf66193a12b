#include "well_formed.hpp"

#include "require.hpp"

#include <iconv.h>

#include <cstring>

namespace tarnix::fuzz {

namespace {

template <typename Output, typename Input>
std::optional<Output> convert(Input text, const char* to, const char* from)
{
    const auto conversion = ::iconv_open(to, from);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): it is the failure's value
    require(conversion != reinterpret_cast<iconv_t>(-1), "the C library knows Unicode");
    // No character takes more than three bytes for one of the other form.
    std::string result(text.size() * sizeof(typename Input::value_type) * 3, '\0');
    std::string bytes(reinterpret_cast<const char*>(text.data()),
                      text.size() * sizeof(typename Input::value_type));
    auto* position = bytes.data();
    auto rest = bytes.size();
    auto* end = result.data();
    auto room = result.size();
    const auto failed =
        ::iconv(conversion, &position, &rest, &end, &room) == static_cast<std::size_t>(-1);
    ::iconv_close(conversion);
    if (failed || rest > 0)
        return std::nullopt;
    result.resize(result.size() - room);
    Output output(result.size() / sizeof(typename Output::value_type), 0);
    std::memcpy(output.data(), result.data(), result.size());
    return output;
}

} // namespace

std::optional<std::u16string> utf16_from_utf8(std::string_view text)
{
    return convert<std::u16string>(text, "UTF-16LE", "UTF-8");
}

std::optional<std::string> utf8_from_utf16(std::u16string_view text)
{
    return convert<std::string>(text, "UTF-8", "UTF-16LE");
}

} // namespace tarnix::fuzz
