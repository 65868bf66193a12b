#include "lane.hpp"
#include "live_scene.hpp"

#include <live/cli/program_run.hpp>
#include <support/cutting_gate.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <iostream>
#include <memory>

// A process that writes to a connection which the other side has closed gets SIGPIPE, and dies of
// it unless it does something about that. The child processes here do nothing about it.

namespace {

using namespace tarnix::test;
using testing::AnyOf;
using testing::StartsWith;
using breaking = cutting_gate::breaking;

constexpr std::size_t file_size = 4 * 1024 * 1024;
/// An upload counts as done once the system has taken its last byte, wherever that is by then.
constexpr auto done = "done ";
constexpr auto long_enough = std::chrono::seconds(20);

class BrokenPipeTest : public testing::TestWithParam<breaking> {
protected:
    /// Breaks the data connection of an upload after so many bytes.
    template <typename Run>
    void break_uploads(Run run)
    {
        int cuts = 0;
        for (const std::size_t after : {0UL, 1UL, 1000UL, 65536UL, 1000000UL, 3000000UL}) {
            SCOPED_TRACE(after);
            cutting_gate gate(on_.at().host(), on_.at().port());
            gate.start(cutting_gate::cut{.where = cutting_gate::channel::data,
                                         .way = cutting_gate::direction::to_server,
                                         .after = after,
                                         .how = GetParam()});
            run(gate.port());
            EXPECT_TRUE(gate.has_cut_within(long_enough));
            EXPECT_THAT(gate.faults(), testing::IsEmpty());
            ++cuts;
        }
        std::cout << "counted: " << cuts << " uploads whose connection was broken\n";
    }

    void SetUp() override { on_.warm_up({.operation = "core_pwd"}); }

    lane on_{file_size};
};

TEST_P(BrokenPipeTest, process_with_a_session_handle_survives)
{
    break_uploads([&](unsigned short port) {
        const auto seen = on_.run({.operation = "core_put", .port = port});
        EXPECT_EQ(seen.end, "exit 0");
        EXPECT_THAT(seen.result, AnyOf("raised identifier TARNIX:io:ftp:ftp:UploadFailed", done));
    });
}

TEST_P(BrokenPipeTest, process_with_a_session_survives)
{
    break_uploads([&](unsigned short port) {
        const auto seen = on_.run({.operation = "session_put", .port = port});
        EXPECT_EQ(seen.end, "exit 0");
        EXPECT_THAT(seen.result, AnyOf(StartsWith("raised failure "), done));
    });
}

TEST_P(BrokenPipeTest, program_ends_with_a_message)
{
    break_uploads([&](unsigned short port) {
        program wanted;
        wanted.environment = {{"TARNIX_FTP_PASSWORD", "secret"}};
        wanted.arguments = {"ftp://u@" + on_.at().host() + ":" + std::to_string(port), "put",
                            (on_.at().folder() / "data").string(), "stored"};
        const auto result = tarnix::test::run(wanted);
        EXPECT_EQ(result.signal, 0);
        EXPECT_THAT(result.code, AnyOf(0, 3, 7));
        EXPECT_EQ(result.error.starts_with("tarnix-ftp: cannot store \"/home/u/stored\": "),
                  result.code != 0);
    });
}

INSTANTIATE_TEST_SUITE_P(Ways, BrokenPipeTest, testing::Values(breaking::closed, breaking::reset),
                         [](const auto& one) {
                             return std::string(one.param == breaking::closed ? "closed" : "reset");
                         });

/// OpenSSL writes without asking the system to hold the signal back.
TEST(EncryptedBrokenPipe, process_survives_wherever_the_connection_breaks)
{
    lane on(std::make_unique<live_scene>(counterpart{"vsftpd-tls", "ftpes", "ca_file"}, 0));
    const auto usual = on.run({.operation = "core_encrypted"});
    ASSERT_THAT(usual.result, StartsWith("done "));
    constexpr std::size_t longer_than_the_session = 4000;
    constexpr std::size_t step = 41;
    int cuts = 0;
    for (std::size_t after = 0; after < longer_than_the_session; after += step) {
        SCOPED_TRACE(after);
        cutting_gate gate(on.at().host(), on.at().port(), cutting_gate::speech::opaque);
        gate.start(cutting_gate::cut{.way = cutting_gate::direction::to_server, .after = after});
        const auto seen = on.run({.operation = "core_encrypted", .port = gate.port()});
        EXPECT_EQ(seen.end, "exit 0");
        cuts += gate.has_cut_within(std::chrono::seconds(1)) ? 1 : 0;
        if (seen.result == usual.result)
            break;
    }
    EXPECT_GT(cuts, 10);
    std::cout << "counted: " << cuts << " encrypted connections broken\n";
}

} // namespace
