#include "misbehaviour.hpp"
#include "server_content.hpp"
#include "session_operations.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <chrono>
#include <iostream>
#include <optional>
#include <string>

namespace tarnix::test {
namespace {

using namespace std::chrono_literals;
using ftp::failure_kind;

/// The most memory that the process has had, in bytes.
long peak_memory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * 1024;
}

class SessionFloodsTest : public testing::Test {
protected:
    SessionFloodsTest() { add_content(server_); }

    ftp::session connect(std::chrono::seconds patience) const
    {
        ftp::session_options options;
        options.password = "secret";
        options.reply_timeout = patience;
        options.connect_timeout = patience;
        options.active_mode = active_mode_;
        return ftp::session(url_of(server_), options);
    }

    template <typename Operation>
    static void expect_failure(Operation operation)
    {
        const auto begin = std::chrono::steady_clock::now();
        try {
            operation();
            ADD_FAILURE() << "did not fail";
        } catch (const ftp::failure& failure) {
            EXPECT_EQ(failure.kind(), failure_kind::connection) << failure.what();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, longest_meeting);
    }

    const host::standalone host_;
    scripted_server server_{"/home/u"};
    bool active_mode_ = false;
};

TEST_F(SessionFloodsTest, replies_without_an_end_need_no_memory)
{
    constexpr long little = 20L * 1024 * 1024;
    constexpr std::size_t steps_of_connect = 6;
    int count = 0;
    for (std::size_t step = 0; step < steps_of_connect; ++step)
        for (const std::size_t size : {64UL, 70UL, 1000UL, 8192UL}) {
            SCOPED_TRACE("step " + std::to_string(step) + ", lines of " + std::to_string(size));
            reply_fault flood;
            flood.is_refused = true;
            flood.repeats = true;
            flood.words = [size](const std::string&) {
                return "220-" + std::string(size - 6, 'x') + "\r\n";
            };
            server_.disturbances().begin();
            server_.disturbances().disturb(step, flood);
            const auto before = peak_memory();
            expect_failure([&] { connect(1s); });
            EXPECT_LT(peak_memory() - before, little);
            ++count;
        }
    std::cout << "counted: " << count << " replies without an end\n";
}

TEST_F(SessionFloodsTest, a_server_that_never_makes_the_data_connection_is_left)
{
    active_mode_ = true;
    auto session = connect(1s);
    server_.conduct_data(data_conduct::unopened);
    expect_failure([&] { session.names(); });
    server_.clear_script();
    EXPECT_THAT(session.names(), testing::ElementsAre("file", "folder"));
}

} // namespace
} // namespace tarnix::test
