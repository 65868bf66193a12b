#include "together.hpp"

#include <support/log_recorder.hpp>
#include <support/scripted_server.hpp>
#include <support/temporary_folder.hpp>

#include <fl/i18n/ustring_conversion.hpp>
#include <tarnix/ftp/session.hpp>
#include <tarnix/host/log_sink.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>

namespace tarnix::test {
namespace {

namespace core = io::ftp::core;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr unsigned all_levels = ~0U;
constexpr auto threads = 4;
constexpr auto rounds = 2;

core::ustring utf16(const std::string& text)
{
    return fl::i18n::utf8_to_ustring(text);
}

/// Every kind of operation of the library, in a folder of the thread's own.
void use_library(unsigned short port, int number, const temporary_folder& local)
{
    const auto name = std::to_string(number);
    core::curl_ptr handle;
    const std::string no_ca_file;
    core::connect(handle, "ftp://127.0.0.1", "u", "secret", port, "passive", "none", false,
                  no_ca_file, false, false, 0, 0);
    core::create_folder(handle, name);
    core::cd(handle, core::fullurl(handle, name, true));
    EXPECT_EQ(core::pwd(handle), "/home/" + name);
    const auto content = std::string(20'000, static_cast<char>('a' + number));
    const auto file = write_bytes(local / ("sent" + name), content);
    core::send_file(handle, utf16(file.string()), utf16("file"), false);
    core::receive_file(handle, utf16("file"), utf16((local / ("got" + name)).string()), false);
    EXPECT_EQ(read_bytes(local / ("got" + name)), content);
    core::rename_remote_file(handle, utf16("file"), utf16("other"));
    EXPECT_THAT(core::nlst(handle, ""), testing::HasSubstr("other"));
    core::delete_remote_file(handle, utf16("other"));
    core::cd(handle, core::fullurl(handle, "..", true));
    core::delete_folder(handle, name);
}

void use_session(unsigned short port, int number, const temporary_folder& local)
{
    const auto name = std::to_string(number);
    auto url = ftp::parse_url("ftp://127.0.0.1");
    url.port = port;
    ftp::session session(url);
    session.make_folder(name);
    session.change_folder(name);
    const auto content = std::string(20'000, static_cast<char>('a' + number));
    session.upload(write_bytes(local / ("sent" + name), content), "file");
    session.download("file", local / ("got" + name));
    EXPECT_EQ(read_bytes(local / ("got" + name)), content);
    session.rename("file", "other");
    EXPECT_THAT(session.names(), ElementsAre("other"));
    EXPECT_THROW(session.download("file", local / "nothing"), ftp::failure);
    session.remove_file("other");
    session.change_folder("..");
    session.remove_folder(name);
}

class SessionThreadsTest : public testing::Test {
protected:
    const host::standalone host_;
    scripted_server server_{"/home"};
    temporary_folder local_;
};

TEST_F(SessionThreadsTest, handles_work_side_by_side_while_everything_is_traced)
{
    const log_recorder log(core::getLogger(), all_levels);
    together(threads, [&](int number) {
        for (int round = 0; round < rounds; ++round)
            use_library(server_.port(), number, local_);
        EXPECT_EQ(core::getLogger().depth(), 0);
    });
    EXPECT_THAT(server_.tree().names("/home"), IsEmpty());
    EXPECT_THAT(server_.faults(), IsEmpty());
    EXPECT_THAT(log.records(), Each(testing::Field(&log_record::depth, testing::Ge(0))));
    EXPECT_THAT(log.records(), Not(IsEmpty()));
}

TEST_F(SessionThreadsTest, sessions_work_side_by_side_while_everything_is_traced)
{
    const log_recorder log(core::getLogger(), all_levels);
    together(threads, [&](int number) {
        for (int round = 0; round < rounds; ++round)
            use_session(server_.port(), number, local_);
        EXPECT_EQ(core::getLogger().depth(), 0);
    });
    EXPECT_THAT(server_.tree().names("/home"), IsEmpty());
    EXPECT_THAT(server_.faults(), IsEmpty());
}

TEST_F(SessionThreadsTest, tracing_may_be_switched_while_sessions_work)
{
    std::atomic<int> working{threads};
    std::ostringstream text;
    std::jthread switching([&] {
        while (working > 0) {
            const host::stream_log_sink sink(text);
            core::getLogger().set_levels(all_levels);
            core::getLogger().set_levels(0);
        }
    });
    together(threads, [&](int number) {
        // The other thread waits for this one, also when it fails.
        const struct finish {
            std::atomic<int>& left;
            ~finish() { --left; }
        } finish{working};
        for (int round = 0; round < rounds; ++round)
            use_session(server_.port(), number, local_);
        EXPECT_EQ(core::getLogger().depth(), 0);
    });
    EXPECT_THAT(server_.tree().names("/home"), IsEmpty());
}

TEST_F(SessionThreadsTest, a_session_may_move_from_thread_to_thread)
{
    auto url = ftp::parse_url("ftp://127.0.0.1");
    url.port = server_.port();
    ftp::session session(url);
    for (int number = 0; number < threads; ++number)
        together(1, [&](int) { session.make_folder(std::to_string(number)); });
    EXPECT_THAT(session.names(), ElementsAre("0", "1", "2", "3"));
}

} // namespace
} // namespace tarnix::test
