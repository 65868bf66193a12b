#include "together.hpp"

#include <support/scripted_server.hpp>

#include <foundation/core/except.hpp>
#include <foundation/cppmicroservices/framework.hpp>
#include <resource_core/base_msg_id.hpp>
#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>
#include <tarnix/warning.hpp>

#include <cppmicroservices/IllegalStateException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

namespace tarnix::test {
namespace {

namespace core = io::ftp::core;

constexpr auto threads = 4;
constexpr auto rounds = 100;

/// Whether `use` worked. While the host is not there, or on its way out, it says so.
bool works_or_misses_the_host(const std::function<void()>& use)
{
    try {
        use();
        return true;
    } catch (const foundation::core::except::IMsgIDException& error) {
        EXPECT_EQ(error.message_id().id, "LibraryInitializationFailure");
    } catch (const cppmicroservices::IllegalStateException&) { // NOLINT(bugprone-empty-catch)
    } catch (const std::invalid_argument&) {                   // NOLINT(bugprone-empty-catch)
        // The service went between the look for it and its use.
    }
    return false;
}

/// Starts and stops the host again and again, while other threads do what needs it until each has
/// succeeded a number of times.
void start_and_stop_under(const std::function<void(int)>& use)
{
    std::atomic<int> working{threads - 1};
    together(threads, [&](int number) {
        if (number == 0) {
            while (working > 0) {
                const host::standalone host;
                std::this_thread::yield();
            }
            return;
        }
        // Also when something unexpected ends this thread.
        const struct leave {
            std::atomic<int>& count;
            ~leave() { --count; }
        } leave{working};
        for (int done = 0; done < rounds && !testing::Test::HasFailure();)
            done += works_or_misses_the_host([&] { use(number); }) ? 1 : 0;
    });
    EXPECT_EQ(foundation::cppmicroservices::getFramework(), nullptr);
}

TEST(HostThreadsTest, the_host_may_start_and_stop_while_handles_are_made)
{
    start_and_stop_under([](int) { core::curl_ptr().throw_if_null(); });
}

TEST(HostThreadsTest, the_host_may_start_and_stop_while_sessions_work)
{
    scripted_server server("/home");
    auto url = ftp::parse_url("ftp://127.0.0.1");
    url.port = server.port();
    start_and_stop_under([&](int number) {
        const auto name = std::to_string(number);
        ftp::session session(url);
        session.make_folder(name);
        session.remove_folder(name);
    });
    EXPECT_THAT(server.tree().names("/home"), testing::IsEmpty());
}

TEST(HostThreadsTest, only_one_of_many_hosts_starts)
{
    std::atomic<int> tried{0};
    std::atomic<int> started{0};
    together(threads, [&](int) {
        try {
            const host::standalone host;
            ++started;
            ++tried;
            // Until everyone has had a try.
            while (tried < threads)
                std::this_thread::yield();
        } catch (const std::logic_error&) {
            ++tried;
        }
    });
    EXPECT_EQ(started, 1);
}

TEST(HostThreadsTest, warnings_come_to_the_handler_of_the_moment)
{
    std::atomic<int> heard{0};
    const auto before = host::set_warning_handler([&](const auto&) { ++heard; });
    resource_core::BaseMsgID message;
    message.component = "tarnix_io_ftp_core";
    message.id = "TestWarning";
    together(threads, [&](int number) {
        for (int round = 0; round < rounds; ++round)
            if (number == 0)
                host::set_warning_handler([&](const auto&) { ++heard; });
            else
                txWarningMsgId(message);
    });
    host::set_warning_handler(before);
    EXPECT_EQ(heard, (threads - 1) * rounds);
}

} // namespace
} // namespace tarnix::test
