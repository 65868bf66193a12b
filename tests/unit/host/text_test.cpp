#include <fl/i18n/ustring_conversion.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <ostream>
#include <string>

namespace {

using fl::ustring;
using fl::i18n::ustring_to_utf8;
using fl::i18n::utf8_to_ustring;

struct pair_of_texts {
    std::string utf8;
    ustring utf16;

    friend std::ostream& operator<<(std::ostream& stream, const pair_of_texts& value)
    {
        return stream << testing::PrintToString(value.utf8);
    }
};

class well_formed_test : public testing::TestWithParam<pair_of_texts> {};

TEST_P(well_formed_test, converts_both_ways)
{
    EXPECT_EQ(ustring_to_utf8(GetParam().utf16), GetParam().utf8);
    EXPECT_EQ(utf8_to_ustring(GetParam().utf8), GetParam().utf16);
}

INSTANTIATE_TEST_SUITE_P(texts, well_formed_test,
                         testing::Values(pair_of_texts{"", u""}, pair_of_texts{"plain", u"plain"},
                                         pair_of_texts{std::string("a\0b", 3), ustring(u"a\0b", 3)},
                                         pair_of_texts{"\x7F", u"\u007F"},
                                         pair_of_texts{"\xC2\x80", ustring(1, 0x80)},
                                         pair_of_texts{"\xDF\xBF", u"\u07FF"},
                                         pair_of_texts{"\xE0\xA0\x80", u"\u0800"},
                                         pair_of_texts{"\xED\x9F\xBF", u"\uD7FF"},
                                         pair_of_texts{"\xEE\x80\x80", u"\uE000"},
                                         pair_of_texts{"\xEF\xBF\xBF", u"\uFFFF"},
                                         pair_of_texts{"\xF0\x90\x80\x80", u"\U00010000"},
                                         pair_of_texts{"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
                                         pair_of_texts{"\xEF\xBB\xBFmark", u"\uFEFFmark"},
                                         pair_of_texts{"e\xCC\x81", u"e\u0301"}));

/// Each case stands at the start, in the middle and at the end of a text.
class ill_formed_utf8_test : public testing::TestWithParam<std::string> {};

TEST_P(ill_formed_utf8_test, raises)
{
    const auto& bytes = GetParam();
    EXPECT_THROW(utf8_to_ustring(bytes), std::exception);
    EXPECT_THROW(utf8_to_ustring(bytes + "after"), std::exception);
    EXPECT_THROW(utf8_to_ustring("before" + bytes), std::exception);
    EXPECT_THROW(utf8_to_ustring("before" + bytes + "after"), std::exception);
}

INSTANTIATE_TEST_SUITE_P(
    texts, ill_formed_utf8_test,
    testing::Values("\x80", "\xBF",                                                 // lone trails
                    "\xC3", "\xE2", "\xE2\x82", "\xF0", "\xF0\x9F", "\xF0\x9F\x98", // truncated
                    "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF",         // overlong
                    "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF",                         //
                    "\xED\xA0\x80", "\xED\xBF\xBF", "\xED\xA0\xBD\xED\xB8\x80",     // surrogates
                    "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF7\xBF\xBF\xBF",     // too large
                    "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xFE", "\xFF",
                    std::string("\xC3\0", 2), std::string("\xE2\x82\0", 3),
                    std::string("\xF0\x9F\x98\0", 4)));

class ill_formed_utf16_test : public testing::TestWithParam<ustring> {};

TEST_P(ill_formed_utf16_test, raises)
{
    const auto& units = GetParam();
    EXPECT_THROW(ustring_to_utf8(units), std::exception);
    EXPECT_THROW(ustring_to_utf8(units + u"after"), std::exception);
    EXPECT_THROW(ustring_to_utf8(u"before" + units), std::exception);
    EXPECT_THROW(ustring_to_utf8(u"before" + units + u"after"), std::exception);
}

INSTANTIATE_TEST_SUITE_P(texts, ill_formed_utf16_test,
                         testing::Values(ustring{0xD800}, ustring{0xDBFF}, ustring{0xDC00},
                                         ustring{0xDFFF}, ustring{0xDE00, 0xD83D},
                                         ustring{0xD83D, 0xD83D, 0xDE00}, ustring{0xD83D, 0},
                                         ustring{0xD83D, 0xDE00, 0xDE00}));

TEST(text_test, every_character_survives_both_ways)
{
    for (char32_t code = 0; code <= 0x10FFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF)
            continue;
        ustring text;
        if (code < 0x10000) {
            text += static_cast<char16_t>(code);
        } else {
            text += static_cast<char16_t>(0xD7C0 + (code >> 10));
            text += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        }
        ASSERT_EQ(utf8_to_ustring(ustring_to_utf8(text)), text);
    }
}

} // namespace
