#include <support/log_recorder.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using lines = std::vector<std::string>;

constexpr unsigned all_levels = ~0U;

/// The callback that a session handle gives to libcurl.
class debug_trace : public testing::Test {
protected:
    int trace(int kind, const std::string& text)
    {
        auto data = text;
        return callback_(handle_.get(), static_cast<curl_infotype>(kind), data.data(), data.size(),
                         &getLogger());
    }

    /// What is logged of a remark of libcurl.
    std::string remark(const std::string& text)
    {
        const log_recorder log(getLogger(), all_levels);
        EXPECT_EQ(trace(CURLINFO_TEXT, text), 0);
        return log.lines().at(0);
    }

    option_recorder recorder_;
    curl_ptr handle_{false};
    curl_debug_callback callback_ =
        recorder_.function_of<curl_debug_callback>(CURLOPT_DEBUGFUNCTION);
};

struct kind_case {
    int kind;
    int level;
    std::string prefix;
};

class debug_trace_kind : public debug_trace, public testing::WithParamInterface<kind_case> {};

TEST_P(debug_trace_kind, chooses_prefix_and_level)
{
    const log_recorder log(getLogger(), all_levels);
    EXPECT_EQ(trace(GetParam().kind, "some text\r\n"), 0);
    EXPECT_EQ(log.lines(),
              lines{std::to_string(GetParam().level) + ' ' + GetParam().prefix + "some text"});
    EXPECT_EQ(log.records()[0].file, std::nullopt);
}

TEST_P(debug_trace_kind, writes_nothing_when_its_level_is_disabled)
{
    const log_recorder log(getLogger(), all_levels & ~static_cast<unsigned>(GetParam().level));
    EXPECT_EQ(trace(GetParam().kind, "some text\r\n"), 0);
    EXPECT_EQ(log.lines(), lines{});
}

INSTANTIATE_TEST_SUITE_P(kinds, debug_trace_kind,
                         testing::Values(kind_case{CURLINFO_TEXT, 8, "[INFO] "},
                                         kind_case{CURLINFO_HEADER_IN, 4, "[HEADER IN] "},
                                         kind_case{CURLINFO_HEADER_OUT, 4, "[HEADER OUT] "},
                                         kind_case{CURLINFO_DATA_IN, 1, "[DATA IN] "},
                                         kind_case{CURLINFO_DATA_OUT, 1, "[DATA OUT] "},
                                         kind_case{CURLINFO_SSL_DATA_IN, 1, "[SSL DATA IN] "},
                                         kind_case{CURLINFO_SSL_DATA_OUT, 1, "[SSL DATA OUT] "},
                                         kind_case{7, 256, "[UNKNOWN] "}),
                         [](const auto& tested) {
                             return "kind_" + std::to_string(tested.param.kind);
                         });

TEST_F(debug_trace, one_line_end_is_taken_off)
{
    EXPECT_EQ(remark("ab\r\n"), "8 [INFO] ab");
    EXPECT_EQ(remark("ab\n"), "8 [INFO] ab");
    EXPECT_EQ(remark("ab\r"), "8 [INFO] ab");
    EXPECT_EQ(remark("ab"), "8 [INFO] ab");
}

TEST_F(debug_trace, only_the_last_line_end_is_taken_off)
{
    EXPECT_EQ(remark("ab\n\n"), "8 [INFO] ab\n");
    EXPECT_EQ(remark("ab\r\n\r\n"), "8 [INFO] ab\r\n");
    EXPECT_EQ(remark("ab\n\r"), "8 [INFO] ab\n");
    EXPECT_EQ(remark("ab\r\r"), "8 [INFO] ab\r");
}

TEST_F(debug_trace, a_text_of_one_character_is_kept_whatever_it_is)
{
    EXPECT_EQ(remark("\n"), "8 [INFO] \n");
    EXPECT_EQ(remark("\r"), "8 [INFO] \r");
    EXPECT_EQ(remark("a"), "8 [INFO] a");
    EXPECT_EQ(remark(""), "8 [INFO] ");
}

TEST_F(debug_trace, a_text_of_a_line_end_only_becomes_empty)
{
    EXPECT_EQ(remark("\r\n"), "8 [INFO] ");
    EXPECT_EQ(remark("\n\n"), "8 [INFO] \n");
}

TEST_F(debug_trace, data_is_logged_byte_for_byte)
{
    const log_recorder log(getLogger(), all_levels);
    const std::string data("a\0\x1b\xff%s", 6);
    trace(CURLINFO_DATA_IN, data);
    EXPECT_EQ(log.messages(1), lines{"[DATA IN] " + data});
}

TEST_F(debug_trace, with_level_1_disabled_the_data_of_a_transfer_is_not_even_looked_at)
{
    const log_recorder log(getLogger(), all_levels & ~1U);
    const auto nowhere = reinterpret_cast<char*>(8);
    for (const auto kind :
         {CURLINFO_DATA_IN, CURLINFO_DATA_OUT, CURLINFO_SSL_DATA_IN, CURLINFO_SSL_DATA_OUT})
        EXPECT_EQ(callback_(handle_.get(), kind, nowhere, 16384, &getLogger()), 0);
    EXPECT_EQ(log.lines(), lines{});
}

TEST_F(debug_trace, a_sink_that_raises_is_not_heard_of_in_libcurl)
{
    log_recorder log(getLogger(), all_levels);
    log.in_sink([](const log_record&) { throw std::runtime_error("full"); });
    EXPECT_EQ(trace(CURLINFO_TEXT, "ab"), 0);
}

TEST_F(debug_trace, records_of_libcurl_count_the_nesting_of_the_operation)
{
    const log_recorder log(getLogger(), all_levels);
    recorder_.answer({{.during = [this] { trace(CURLINFO_HEADER_OUT, "PWD\r\n"); }}});
    handle_.perform();
    const auto records = log.records();
    ASSERT_GE(records.size(), 2U);
    EXPECT_EQ(records[1].message, "[HEADER OUT] PWD");
    EXPECT_EQ(records[1].depth, 1);
}

} // namespace
} // namespace tarnix::test
