#include "watch.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace tarnix::ftp {
namespace {

namespace core = tarnix::io::ftp::core;
using namespace std::chrono_literals;

/// Fetches a local file, which needs no server, so that libcurl asks the watch.
CURLcode run_request(watch& watching)
{
    core::curl_ptr handle(false);
    watching.observe(handle);
    core::set_option(handle, CURLOPT_URL, "file:///dev/null");
    return handle.perform();
}

TEST(WatchTest, lets_requests_run)
{
    watch watching(60s, {});
    EXPECT_EQ(run_request(watching), CURLE_OK);
    EXPECT_FALSE(watching.was_cancelled());
    EXPECT_FALSE(watching.has_stalled());
}

TEST(WatchTest, ends_a_cancelled_request_and_those_after_it)
{
    auto asked = 0;
    watch watching(60s, [&] { return ++asked == 1; });
    EXPECT_EQ(run_request(watching), CURLE_ABORTED_BY_CALLBACK);
    EXPECT_TRUE(watching.was_cancelled());
    EXPECT_EQ(run_request(watching), CURLE_ABORTED_BY_CALLBACK);
    EXPECT_EQ(asked, 1);
}

TEST(WatchTest, lets_requests_run_again_after_a_restart)
{
    auto cancel = true;
    watch watching(60s, [&] { return cancel; });
    EXPECT_EQ(run_request(watching), CURLE_ABORTED_BY_CALLBACK);
    cancel = false;
    watching.restart();
    EXPECT_EQ(run_request(watching), CURLE_OK);
    EXPECT_FALSE(watching.was_cancelled());
}

TEST(WatchTest, takes_a_question_that_raises_for_a_yes)
{
    watch watching(60s, []() -> bool { throw std::runtime_error("x"); });
    EXPECT_EQ(run_request(watching), CURLE_ABORTED_BY_CALLBACK);
    EXPECT_TRUE(watching.was_cancelled());
}

TEST(WatchTest, takes_what_it_is_told_of_for_a_movement)
{
    constexpr auto patience = 1s;
    const auto let_time_pass = [&] {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() <= end)
            std::this_thread::yield();
    };
    watch watching(patience, {});
    let_time_pass();
    EXPECT_EQ(run_request(watching), CURLE_ABORTED_BY_CALLBACK);
    watching.restart();
    let_time_pass();
    watching.note_movement();
    EXPECT_EQ(run_request(watching), CURLE_OK);
}

TEST(WatchTest, ends_a_request_in_which_nothing_moves)
{
    watch watching(-1s, {});
    EXPECT_EQ(run_request(watching), CURLE_ABORTED_BY_CALLBACK);
    EXPECT_TRUE(watching.has_stalled());
    EXPECT_FALSE(watching.was_cancelled());
}

} // namespace
} // namespace tarnix::ftp
