#include "trace.hpp"

#include <support/log_recorder.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using lines = std::vector<std::string>;

constexpr unsigned all_traces = level::entry | level::exit | level::result;

class trace_guard : public testing::Test {
protected:
    ~trace_guard() override { getLogger().set_levels(0); }

    static function_scope scope(const char* signature)
    {
        return {getLogger(), signature, "src/some", 7};
    }
};

TEST_F(trace_guard, the_one_logger_is_always_the_same)
{
    EXPECT_EQ(&getLogger(), &getLogger());
}

TEST_F(trace_guard, the_logger_has_nothing_enabled_at_the_start)
{
    EXPECT_EQ(getLogger().levels(), 0U);
}

TEST_F(trace_guard, writes_entry_and_exit_with_place_and_channel)
{
    const log_recorder log(getLogger(), all_traces);
    {
        const auto guard = scope("void f()");
    }
    ASSERT_EQ(log.lines(), (lines{"32 void f()", "64 void f()"}));
    for (const auto& record : log.records()) {
        EXPECT_EQ(record.file, "src/some");
        EXPECT_EQ(record.line, 7);
        EXPECT_EQ(record.channel, "tarnix::io::ftp::core");
        EXPECT_EQ(record.depth, 0);
    }
}

TEST_F(trace_guard, counts_the_nesting_between_entry_and_exit)
{
    const log_recorder log(getLogger(), all_traces);
    {
        const auto outer = scope("f");
        EXPECT_EQ(getLogger().depth(), 1);
        {
            const auto inner = scope("g");
            EXPECT_EQ(getLogger().depth(), 2);
        }
        EXPECT_EQ(getLogger().depth(), 1);
    }
    EXPECT_EQ(getLogger().depth(), 0);
    std::vector<int> depths;
    for (const auto& record : log.records())
        depths.push_back(record.depth);
    EXPECT_EQ(depths, (std::vector<int>{0, 1, 1, 0}));
}

TEST_F(trace_guard, with_entries_disabled_writes_nothing_and_counts_nothing_even_if_exits_are_on)
{
    const log_recorder log(getLogger(), ~level::entry);
    {
        const auto guard = scope("f");
        EXPECT_EQ(getLogger().depth(), 0);
    }
    EXPECT_EQ(log.lines(), lines{});
    EXPECT_EQ(getLogger().depth(), 0);
}

TEST_F(trace_guard, with_exits_disabled_writes_the_entry_and_counts)
{
    const log_recorder log(getLogger(), level::entry);
    {
        const auto guard = scope("f");
        EXPECT_EQ(getLogger().depth(), 1);
    }
    EXPECT_EQ(log.lines(), lines{"32 f"});
    EXPECT_EQ(getLogger().depth(), 0);
}

TEST_F(trace_guard, entries_turned_on_inside_make_no_exit_record)
{
    const log_recorder log(getLogger(), 0);
    {
        const auto guard = scope("f");
        getLogger().set_levels(all_traces);
    }
    EXPECT_EQ(log.lines(), lines{});
    EXPECT_EQ(getLogger().depth(), 0);
}

TEST_F(trace_guard, entries_turned_off_inside_still_give_the_exit)
{
    const log_recorder log(getLogger(), all_traces);
    {
        const auto guard = scope("f");
        getLogger().set_levels(level::exit);
    }
    EXPECT_EQ(log.lines(), (lines{"32 f", "64 f"}));
    EXPECT_EQ(getLogger().depth(), 0);
}

TEST_F(trace_guard, a_function_left_by_an_exception_says_so)
{
    const log_recorder log(getLogger(), all_traces);
    try {
        const auto guard = scope("f");
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(log.lines(), (lines{"32 f", "64 f [throw]"}));
}

TEST_F(trace_guard, a_function_that_catches_an_exception_inside_does_not)
{
    const log_recorder log(getLogger(), all_traces);
    {
        const auto guard = scope("f");
        try {
            throw 1;
        } catch (int) {
        }
    }
    EXPECT_EQ(log.lines(), (lines{"32 f", "64 f"}));
}

TEST_F(trace_guard, a_function_called_while_an_exception_is_on_its_way_does_not_either)
{
    struct calls_when_destroyed {
        ~calls_when_destroyed() { const auto guard = scope("g"); }
    };
    const log_recorder log(getLogger(), all_traces);
    try {
        const calls_when_destroyed caller;
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(log.lines(), (lines{"32 g", "64 g"}));
}

TEST_F(trace_guard, the_result_comes_before_the_exit_at_the_depth_inside)
{
    const log_recorder log(getLogger(), all_traces);
    {
        long value = 0;
        const function_scope_with_result guard(getLogger(), "f", "src/some", 7, "res", value);
        value = 28;
    }
    ASSERT_EQ(log.lines(), (lines{"32 f", "128 res=28", "64 f"}));
    EXPECT_EQ(log.records()[1].depth, 1);
}

TEST_F(trace_guard, the_result_belongs_to_an_active_guard)
{
    const log_recorder log(getLogger(), level::result | level::exit);
    {
        const long value = 1;
        const function_scope_with_result guard(getLogger(), "f", "src/some", 7, "res", value);
    }
    EXPECT_EQ(log.lines(), lines{});
}

TEST_F(trace_guard, results_can_be_disabled_alone)
{
    const log_recorder log(getLogger(), level::entry | level::exit);
    {
        const long value = 1;
        const function_scope_with_result guard(getLogger(), "f", "src/some", 7, "res", value);
    }
    EXPECT_EQ(log.lines(), (lines{"32 f", "64 f"}));
}

TEST_F(trace_guard, a_sink_that_raises_at_the_entry_passes_to_the_caller_and_counts_nothing)
{
    log_recorder log(getLogger(), all_traces);
    log.in_sink([](const log_record&) { throw std::runtime_error("full"); });
    EXPECT_THROW(scope("f"), std::runtime_error);
    EXPECT_EQ(getLogger().depth(), 0);
}

void raise_in_sink_at(log_recorder& log, unsigned at)
{
    log.in_sink([at](const log_record& record) {
        if (record.severity == static_cast<int>(at))
            throw std::runtime_error("full");
    });
}

TEST_F(trace_guard, a_sink_that_raises_at_the_exit_is_not_heard_of)
{
    log_recorder log(getLogger(), all_traces);
    raise_in_sink_at(log, level::exit);
    EXPECT_NO_THROW(scope("f"));
    EXPECT_EQ(log.lines(), lines{"32 f"});
    EXPECT_EQ(getLogger().depth(), 0);
}

TEST_F(trace_guard, a_sink_that_raises_at_the_exit_never_replaces_an_exception)
{
    log_recorder log(getLogger(), all_traces);
    raise_in_sink_at(log, level::exit);
    const auto function = [] {
        const auto guard = scope("f");
        throw std::string("the first");
    };
    EXPECT_THROW(function(), std::string);
    EXPECT_EQ(getLogger().depth(), 0);
}

TEST_F(trace_guard, a_sink_that_raises_at_the_result_is_not_heard_of_and_the_exit_is_written)
{
    log_recorder log(getLogger(), all_traces);
    raise_in_sink_at(log, level::result);
    {
        const long value = 1;
        const function_scope_with_result guard(getLogger(), "f", "src/some", 7, "res", value);
    }
    EXPECT_EQ(log.lines(), (lines{"32 f", "64 f"}));
}

TEST_F(trace_guard, every_thread_counts_its_own_nesting)
{
    const log_recorder log(getLogger(), all_traces);
    const auto outer = scope("f");
    int depth_before = -1;
    int depth_inside = -1;
    std::thread([&] {
        depth_before = getLogger().depth();
        const auto guard = scope("g");
        depth_inside = getLogger().depth();
    }).join();
    EXPECT_EQ(depth_before, 0);
    EXPECT_EQ(depth_inside, 1);
    EXPECT_EQ(getLogger().depth(), 1);
}

TEST_F(trace_guard, a_diagnostic_record_has_no_place)
{
    const log_recorder log(getLogger(), level::protocol);
    write_record(level::protocol, "code: ", CURLE_QUOTE_ERROR, " and ", 550L);
    ASSERT_EQ(log.lines(), lines{"4 code: 21 and 550"});
    EXPECT_EQ(log.records()[0].file, std::nullopt);
    EXPECT_EQ(log.records()[0].line, std::nullopt);
}

TEST_F(trace_guard, a_disabled_diagnostic_record_is_not_written)
{
    const log_recorder log(getLogger(), ~level::protocol);
    write_record(level::protocol, "text");
    EXPECT_EQ(log.lines(), lines{});
}

// perform, the guard in use

TEST_F(trace_guard, perform_traces_its_code)
{
    option_recorder recorder;
    curl_ptr handle(false);
    recorder.answer({{.code = CURLE_OPERATION_TIMEDOUT}});
    const log_recorder log(getLogger(), all_traces);
    handle.perform();
    EXPECT_EQ(log.lines(),
              (lines{"32 CURLcode tarnix::io::ftp::core::curl_ptr::perform()", "128 res=28",
                     "64 CURLcode tarnix::io::ftp::core::curl_ptr::perform()"}));
}

TEST_F(trace_guard, perform_left_by_an_exception_traces_0)
{
    option_recorder recorder;
    curl_ptr handle(false);
    const curl_ptr holder(std::move(handle));
    const log_recorder log(getLogger(), all_traces);
    EXPECT_ANY_THROW(handle.perform());
    EXPECT_EQ(log.lines(),
              (lines{"32 CURLcode tarnix::io::ftp::core::curl_ptr::perform()", "128 res=0",
                     "64 CURLcode tarnix::io::ftp::core::curl_ptr::perform() [throw]"}));
}

TEST_F(trace_guard, last_response_code_traces_its_value)
{
    option_recorder recorder;
    curl_ptr handle(false);
    recorder.start_at("ftp://server/", 226);
    const log_recorder log(getLogger(), all_traces);
    last_response_code(handle);
    EXPECT_EQ(log.lines(),
              (lines{"32 long tarnix::io::ftp::core::last_response_code(curl_ptr &)",
                     "128 response_code=226",
                     "64 long tarnix::io::ftp::core::last_response_code(curl_ptr &)"}));
}

TEST_F(trace_guard, a_handle_traces_its_construction_move_and_end)
{
    option_recorder recorder;
    const log_recorder log(getLogger(), all_traces);
    {
        curl_ptr handle(false);
        curl_ptr moved(std::move(handle));
        handle = std::move(moved);
    }
    EXPECT_EQ(log.lines(), (lines{"32 tarnix::io::ftp::core::curl_ptr::curl_ptr(bool)",
                                  "32 void tarnix::io::ftp::core::(anonymous "
                                  "namespace)::configure_debug_mode(curl_ptr &)",
                                  "64 void tarnix::io::ftp::core::(anonymous "
                                  "namespace)::configure_debug_mode(curl_ptr &)",
                                  "64 tarnix::io::ftp::core::curl_ptr::curl_ptr(bool)",
                                  "32 tarnix::io::ftp::core::curl_ptr::curl_ptr(curl_ptr &&)",
                                  "64 tarnix::io::ftp::core::curl_ptr::curl_ptr(curl_ptr &&)",
                                  "32 tarnix::io::ftp::core::curl_ptr::~curl_ptr()",
                                  "64 tarnix::io::ftp::core::curl_ptr::~curl_ptr()",
                                  "32 tarnix::io::ftp::core::curl_ptr::~curl_ptr()",
                                  "64 tarnix::io::ftp::core::curl_ptr::~curl_ptr()"}));
}

TEST_F(trace_guard, the_end_of_a_handle_is_traced_around_its_clean_up)
{
    option_recorder recorder;
    log_recorder log(getLogger(), all_traces);
    log.in_sink(
        [&](const log_record& record) { recorder.write_down(std::to_string(record.severity)); });
    {
        const curl_ptr handle(false);
        recorder.take_all();
    }
    EXPECT_EQ(recorder.take_all(), (lines{"32", "cleanup", "64"}));
}

} // namespace
} // namespace tarnix::test
