#include <tarnix/host/standalone.hpp>
#include <tarnix/io/common/file_errors.hpp>
#include <tarnix/io/ftp/errors.hpp>

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using foundation::core::except::catalogue;
using foundation::core::except::identifier;
using resource_core::BaseMsgID;
using tarnix::host::message_text;
namespace ids = tarnix::io::ftp::core::ids;

struct sample {
    BaseMsgID message;
    std::vector<std::string> arguments;

    friend std::ostream& operator<<(std::ostream& stream, const sample& value)
    {
        return stream << value.message.id;
    }
};

template <typename Argument>
void append_argument(sample& result)
{
    const auto number = std::to_string(result.arguments.size() + 1);
    if constexpr (std::is_same_v<Argument, long long>) {
        result.message.arguments.emplace_back(550LL);
        result.arguments.emplace_back("550");
    } else if constexpr (std::is_same_v<Argument, std::string>) {
        result.message.arguments.emplace_back("argument {" + number + "}");
        result.arguments.push_back("argument {" + number + "}");
    } else {
        result.message.arguments.emplace_back(u"gr\u00FC\u00DFe \U0001F600 " +
                                              std::u16string(1, static_cast<char16_t>(number[0])));
        result.arguments.push_back("gr\xC3\xBC\xC3\x9F"
                                   "e \xF0\x9F\x98\x80 " +
                                   number);
    }
}

template <typename... Arguments>
void append_arguments(sample& result, const std::tuple<Arguments...>*)
{
    (append_argument<Arguments>(result), ...);
}

/// A message of each identifier of a catalogue, with arguments of its types.
template <typename... Tags>
std::vector<sample> samples_of(catalogue<Tags...>)
{
    std::vector<sample> samples;
    const auto append = [&](const auto* entry) {
        using entry_type = std::remove_cv_t<std::remove_pointer_t<decltype(entry)>>;
        sample result;
        result.message.component = entry_type::component;
        result.message.id = entry_type::id;
        append_arguments(result, static_cast<const typename entry_type::arguments*>(nullptr));
        samples.push_back(std::move(result));
    };
    (append(static_cast<const identifier<Tags>*>(nullptr)), ...);
    return samples;
}

std::vector<sample> all_samples()
{
    auto samples = samples_of(ids::catalogue());
    for (auto& of_file_layer : samples_of(TARNIX::io::common::file::catalogue()))
        samples.push_back(std::move(of_file_layer));
    return samples;
}

class message_test : public testing::TestWithParam<sample> {};

TEST_P(message_test, has_an_english_text_with_all_its_arguments)
{
    const auto& message = GetParam().message;
    const auto text = message_text(message);
    EXPECT_THAT(text, testing::Not(testing::HasSubstr(message.component)));
    EXPECT_GT(text.size(), 20U);
    EXPECT_THAT(text, testing::EndsWith("."));
    for (const auto& argument : GetParam().arguments)
        EXPECT_THAT(text, testing::HasSubstr(argument));
}

TEST_P(message_test, asks_for_no_argument_that_it_has_not)
{
    // A missing argument shows as a question mark, and no text has one of its own.
    EXPECT_THAT(message_text(GetParam().message), testing::Not(testing::HasSubstr("?")));
    auto without_arguments = GetParam().message;
    without_arguments.arguments.clear();
    const auto text = message_text(without_arguments);
    EXPECT_EQ(text.find('?') != std::string::npos, !GetParam().arguments.empty());
}

INSTANTIATE_TEST_SUITE_P(catalogue, message_test, testing::ValuesIn(all_samples()),
                         [](const testing::TestParamInfo<sample>& test) {
                             return test.param.message.id + "_" + std::to_string(test.index);
                         });

BaseMsgID ftp_message(const std::string& id, std::vector<BaseMsgID::argument> arguments)
{
    return {std::move(arguments), "TARNIX:io:ftp:ftp", id};
}

TEST(message_text_test, no_connection_tells_host_and_port)
{
    EXPECT_THAT(message_text(ftp_message("NoConnection", {"ftp.example", "2121"})),
                testing::StartsWith("No connection to \"ftp.example\" on port 2121."));
}

TEST(message_text_test, an_ftp_error_tells_replies_from_libcurls_codes_and_from_silence)
{
    const auto text_of = [](long long code) {
        return message_text(ftp_message("FTPError", {code}));
    };
    EXPECT_THAT(text_of(0), testing::StartsWith("The server did not answer"));
    EXPECT_THAT(text_of(28), testing::AllOf(testing::HasSubstr("Timeout was reached"),
                                            testing::HasSubstr("libcurl code 28")));
    EXPECT_THAT(text_of(550), testing::HasSubstr("reply code 550"));
    EXPECT_THAT(text_of(-3), testing::HasSubstr("reply code -3"));
}

TEST(message_text_test, an_unknown_identifier_shows_as_itself_with_its_arguments)
{
    EXPECT_EQ(message_text({{}, "some:component", "SomeId"}), "some:component:SomeId");
    EXPECT_EQ(message_text({{1LL, "two", u"three"}, "some:component", "SomeId"}),
              "some:component:SomeId: 1, two, three");
    EXPECT_EQ(message_text({{}, "TARNIX:io:ftp:ftp", "InvalidCurlHandle"}),
              "TARNIX:io:ftp:ftp:InvalidCurlHandle");
    EXPECT_EQ(message_text({}), ":");
}

TEST(message_text_test, an_argument_of_another_type_is_shown_all_the_same)
{
    EXPECT_THAT(message_text(ftp_message("FTPError", {"no number"})),
                testing::HasSubstr("reply code no number"));
    EXPECT_THAT(message_text(ftp_message("NoConnection", {u"host", 21LL})),
                testing::HasSubstr("\"host\" on port 21."));
    EXPECT_THAT(message_text(ftp_message("FTPError", {550LL, "one too many"})),
                testing::HasSubstr("reply code 550"));
}

TEST(message_text_test, what_is_not_well_formed_shows_as_the_replacement_character)
{
    const auto shown = [](const BaseMsgID::argument& argument) {
        return message_text({{argument}, "c", "i"});
    };
    EXPECT_EQ(shown(std::u16string{u'a', 0xD800, u'b'}), "c:i: a\xEF\xBF\xBD"
                                                         "b");
    EXPECT_EQ(shown(std::u16string{0xDC00}), "c:i: \xEF\xBF\xBD");
    EXPECT_EQ(shown(std::u16string{u'a', 0xD83D}), "c:i: a\xEF\xBF\xBD");
    EXPECT_EQ(shown("a\xFF"
                    "b"),
              "c:i: a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(shown("\xC3"
                    "b"),
              "c:i: \xEF\xBF\xBD"
              "b");
    EXPECT_EQ(shown("\xE2\x82"), "c:i: \xEF\xBF\xBD\xEF\xBF\xBD");
}

} // namespace
