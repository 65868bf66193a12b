#include "captured_output.hpp"

#include <tarnix/host/standalone.hpp>
#include <tarnix/warning.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using resource_core::BaseMsgID;
using tarnix::host::set_warning_handler;

const BaseMsgID home_folder{{}, "TARNIX:io:ftp:ftp", "CouldNotDetermineHomeFolder"};

class warning_test : public testing::Test {
protected:
    void TearDown() override { set_warning_handler(nullptr); }
};

TEST_F(warning_test, goes_to_standard_error_as_english_text_at_the_start)
{
    captured_output out(1);
    captured_output err(2);
    txWarningMsgId(home_folder);
    EXPECT_EQ(err.text(), "Warning: " + tarnix::host::message_text(home_folder) + "\n");
    EXPECT_EQ(out.text(), "");
}

TEST_F(warning_test, goes_to_the_handler_that_is_set_and_to_no_other)
{
    std::vector<std::string> seen;
    set_warning_handler([&](const BaseMsgID& message) { seen.push_back(message.id); });
    captured_output err(2);
    txWarningMsgId(home_folder);
    EXPECT_EQ(err.text(), "");
    EXPECT_EQ(seen, std::vector<std::string>{"CouldNotDetermineHomeFolder"});
}

TEST_F(warning_test, the_handler_before_is_returned_and_can_be_set_again)
{
    int first = 0;
    int second = 0;
    const auto at_the_start = set_warning_handler([&](const BaseMsgID&) { ++first; });
    ASSERT_TRUE(at_the_start);
    const auto before = set_warning_handler([&](const BaseMsgID&) { ++second; });
    txWarningMsgId(home_folder);
    set_warning_handler(before);
    txWarningMsgId(home_folder);
    txWarningMsgId(home_folder);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1);
    set_warning_handler(at_the_start);
    captured_output err(2);
    txWarningMsgId(home_folder);
    EXPECT_NE(err.text(), "");
}

TEST_F(warning_test, an_empty_handler_stands_for_the_one_at_the_start)
{
    set_warning_handler([](const BaseMsgID&) { FAIL(); });
    set_warning_handler(nullptr);
    captured_output err(2);
    txWarningMsgId(home_folder);
    EXPECT_NE(err.text(), "");
}

TEST_F(warning_test, what_a_handler_raises_reaches_the_one_who_warned)
{
    set_warning_handler([](const BaseMsgID&) { throw std::runtime_error("no warnings here"); });
    EXPECT_THROW(txWarningMsgId(home_folder), std::runtime_error);
}

TEST_F(warning_test, a_handler_may_warn_and_may_set_another_handler)
{
    int inner = 0;
    set_warning_handler([&](const BaseMsgID& message) {
        set_warning_handler([&](const BaseMsgID&) { ++inner; });
        txWarningMsgId(message);
    });
    txWarningMsgId(home_folder);
    EXPECT_EQ(inner, 1);
}

TEST_F(warning_test, threads_may_warn_while_handlers_change)
{
    std::atomic<int> seen{0};
    const auto count = [&](const BaseMsgID&) { ++seen; };
    set_warning_handler(count);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 500; ++round) {
                txWarningMsgId(home_folder);
                set_warning_handler(count);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(seen, 2000);
}

} // namespace
