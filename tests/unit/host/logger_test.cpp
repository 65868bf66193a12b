#include "captured_output.hpp"
#include "recorded_log.hpp"

#include <tarnix/host/log_sink.hpp>

#include <foundation/log/diagnostic_logger.hpp>

#include <boost/log/attributes/attribute_value_impl.hpp>
#include <boost/log/sources/logger.hpp>

#include <gmock/gmock.h>

#include <future>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using logger = foundation::log::basic_diagnostic_logger<char>;

TEST(logger_test, nothing_is_enabled_at_the_start)
{
    logger log("a channel");
    const recorded_log seen;
    EXPECT_EQ(log.levels(), 0U);
    for (unsigned level = 1; level != 0; level <<= 1) {
        EXPECT_FALSE(log.is_enabled(level));
        log.write(level, "not written");
        log.write(level, "not written", "src/none", 1);
    }
    EXPECT_TRUE(seen.records().empty());
}

TEST(logger_test, only_the_levels_of_the_mask_are_written)
{
    logger log("a channel");
    const recorded_log seen;
    log.set_levels(4 | 32);
    EXPECT_TRUE(log.is_enabled(4));
    EXPECT_TRUE(log.is_enabled(32));
    EXPECT_FALSE(log.is_enabled(8));
    log.write(8, "eight");
    log.write(4, "four");
    log.write(32, "thirty-two");
    log.set_levels(8);
    log.write(4, "four again");
    log.write(8, "eight again");
    const auto records = seen.records();
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].message, "four");
    EXPECT_EQ(records[1].message, "thirty-two");
    EXPECT_EQ(records[2].message, "eight again");
}

TEST(logger_test, a_record_carries_level_channel_depth_and_message_and_no_place)
{
    logger log("a channel");
    const recorded_log seen;
    log.set_levels(4);
    log.enter();
    log.enter();
    log.write(4, "the message");
    log.leave();
    log.leave();
    const auto records = seen.records();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].severity, 4);
    EXPECT_EQ(records[0].channel, "a channel");
    EXPECT_EQ(records[0].depth, 2);
    EXPECT_EQ(records[0].message, "the message");
    EXPECT_EQ(records[0].file, std::nullopt);
    EXPECT_EQ(records[0].line, std::nullopt);
}

TEST(logger_test, a_trace_record_carries_its_place_too)
{
    logger log("a channel");
    const recorded_log seen;
    log.set_levels(32);
    log.write(32, "void f()", "src/f", 17);
    const auto records = seen.records();
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].severity, 32);
    EXPECT_EQ(records[0].channel, "a channel");
    EXPECT_EQ(records[0].depth, 0);
    EXPECT_EQ(records[0].message, "void f()");
    EXPECT_EQ(records[0].file, "src/f");
    EXPECT_EQ(records[0].line, 17);
}

TEST(logger_test, a_message_is_kept_byte_for_byte)
{
    logger log("a channel");
    const recorded_log seen;
    log.set_levels(1);
    const std::string bytes("a\0b\r\n\xFF\x1B[2J", 10);
    log.write(1, bytes);
    log.write(1, "");
    ASSERT_EQ(seen.records().size(), 2U);
    EXPECT_EQ(seen.records()[0].message, bytes);
    EXPECT_EQ(seen.records()[1].message, "");
}

TEST(logger_test, loggers_do_not_disturb_each_other)
{
    logger one("one");
    logger two("two");
    const recorded_log seen;
    one.set_levels(4);
    two.set_levels(8);
    one.enter();
    EXPECT_EQ(two.depth(), 0);
    one.write(4, "of one");
    two.write(8, "of two");
    one.leave();
    const auto records = seen.records();
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].channel, "one");
    EXPECT_EQ(records[0].depth, 1);
    EXPECT_EQ(records[1].channel, "two");
    EXPECT_EQ(records[1].depth, 0);
}

TEST(logger_test, depth_is_counted_per_thread_and_never_below_zero)
{
    logger log("a channel");
    EXPECT_EQ(log.depth(), 0);
    log.leave();
    EXPECT_EQ(log.depth(), 0);
    log.enter();
    log.enter();
    const auto elsewhere = std::async(std::launch::async, [&] {
                               const int at_first = log.depth();
                               log.enter();
                               log.enter();
                               log.enter();
                               return std::pair(at_first, log.depth());
                           }).get();
    EXPECT_EQ(elsewhere.first, 0);
    EXPECT_EQ(elsewhere.second, 3);
    EXPECT_EQ(log.depth(), 2);
    log.leave();
    EXPECT_EQ(log.depth(), 1);
    log.leave();
    log.leave();
    EXPECT_EQ(log.depth(), 0);
}

TEST(logger_test, records_of_many_threads_keep_their_own_level_and_depth)
{
    logger log("a channel");
    const recorded_log seen;
    log.set_levels(~0U);
    constexpr int rounds = 500;
    std::vector<std::thread> threads;
    for (int bit = 0; bit < 8; ++bit) {
        threads.emplace_back([&log, bit] {
            for (int depth = 0; depth < bit; ++depth)
                log.enter();
            for (int round = 0; round < rounds; ++round)
                log.write(1U << bit, std::to_string(bit));
        });
    }
    for (auto& thread : threads)
        thread.join();
    const auto records = seen.records();
    EXPECT_EQ(records.size(), 8U * rounds);
    for (const auto& record : records) {
        const int bit = std::stoi(record.message.value());
        ASSERT_EQ(record.severity, 1 << bit);
        ASSERT_EQ(record.depth, bit);
    }
}

TEST(logger_test, what_a_sink_raises_reaches_the_writer_only_when_the_level_is_on)
{
    logger log("a channel");
    const raising_log sink;
    EXPECT_NO_THROW(log.write(4, "off"));
    log.set_levels(4);
    EXPECT_THROW(log.write(4, "on"), std::runtime_error);
    EXPECT_THROW(log.write(4, "on", "src/f", 1), std::runtime_error);
    EXPECT_EQ(sink.raised(), 2);
}

/// A plain record of the program's own, written with Boost.Log alone.
void write_plain_record(const std::string& message)
{
    boost::log::sources::logger source;
    if (auto record = source.open_record()) {
        record.attribute_values().insert("Message",
                                         boost::log::attributes::make_attribute_value(message));
        source.push_record(std::move(record));
    }
}

TEST(logger_test, nothing_is_written_to_standard_output_when_there_is_no_sink)
{
    captured_output output(1);
    {
        logger log("a channel");
        log.set_levels(~0U);
        log.write(4, "without a sink");
        boost::log::core::get()->remove_all_sinks();
        log.write(4, "after the removal of all sinks");
        log.write(32, "after the removal of all sinks", "src/f", 1);
        {
            const recorded_log seen;
        }
        log.write(4, "after a sink has come and gone");
    }
    EXPECT_EQ(output.text(), "");
}

TEST(logger_test, boost_log_is_left_as_it_is_until_something_is_traced)
{
    captured_output output(1);
    const logger log("a channel");
    write_plain_record("of the program");
    EXPECT_THAT(output.text(), testing::HasSubstr("of the program"));
}

TEST(logger_test, boost_log_is_as_before_when_the_logger_and_the_sink_are_gone)
{
    captured_output output(1);
    {
        logger log("a channel");
        std::ostringstream stream;
        const tarnix::host::stream_log_sink sink(stream);
        log.set_levels(4);
        log.write(4, "traced");
    }
    write_plain_record("of the program");
    EXPECT_THAT(output.text(), testing::AllOf(testing::HasSubstr("of the program"),
                                              testing::Not(testing::HasSubstr("traced"))));
}

} // namespace
