#include "data_faults.hpp"
#include "meeting_pool.hpp"
#include "reply_faults.hpp"
#include "server_content.hpp"

#include <live/cli/program_run.hpp>

#include <support/temporary_folder.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

using namespace std::chrono_literals;
using testing::StartsWith;

constexpr auto connection_lost = 3;
constexpr auto login_refused = 4;
constexpr auto other_failure = 7;

/// What a hostile server does to one command of the program, and the exit codes that tell.
struct program_meeting {
    std::string label;
    std::vector<std::string> command;
    misbehaviour how;
    std::vector<int> codes;
    program_result result{};
    std::vector<std::string> steps{};
    bool has_file = false;
    bool has_rest = false;
    std::chrono::milliseconds duration{};
};

class HostileCommandLineTest : public testing::Test {
protected:
    void meet(program_meeting& meeting) const
    {
        const temporary_folder folder;
        write_bytes(folder / "local", "12345");
        scripted_server server("/home/u", new_loopback());
        add_content(server);
        if (meeting.how.arm)
            meeting.how.arm(server);
        program wanted;
        wanted.arguments = {"--reply-timeout", meeting.how.is_silent ? "1" : "20",
                            "--connect-timeout", meeting.how.is_silent ? "1" : "20",
                            "ftp://u@" + server.address() + ":" + std::to_string(server.port())};
        wanted.arguments.insert(wanted.arguments.end(), meeting.command.begin(),
                                meeting.command.end());
        wanted.environment["TARNIX_FTP_PASSWORD"] = "secret";
        wanted.folder = folder.path();
        const auto begin = std::chrono::steady_clock::now();
        meeting.result = run(wanted);
        meeting.duration = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - begin);
        meeting.steps = server.disturbances().steps();
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            meeting.has_file = meeting.has_file || entry.path().filename() == "file";
            meeting.has_rest =
                meeting.has_rest || entry.path().filename().string().starts_with(".");
        }
    }

    void meet_all(std::vector<program_meeting>& meetings) const
    {
        run_meetings(meetings.size(), [&](std::size_t i) { meet(meetings[i]); });
        for (const auto& meeting : meetings)
            expect_clear_end(meeting);
        std::cout << "counted: " << meetings.size() << " command lines against hostile servers\n";
    }

    static void expect_clear_end(const program_meeting& meeting)
    {
        SCOPED_TRACE(meeting.label + ": " + meeting.result.error);
        EXPECT_THAT(meeting.codes, testing::Contains(meeting.result.code));
        EXPECT_EQ(meeting.result.signal, 0);
        EXPECT_LT(meeting.duration, 20s);
        EXPECT_EQ(meeting.result.out, "");
        EXPECT_THAT(meeting.result.error, StartsWith("tarnix-ftp: "));
        const auto& error = meeting.result.error;
        EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1);
        EXPECT_TRUE(std::all_of(error.begin(), error.end(), [](unsigned char c) {
            return c == '\n' || (c >= 0x20 && c != 0x7F);
        }));
        EXPECT_FALSE(meeting.has_file);
        EXPECT_FALSE(meeting.has_rest);
    }
};

const named_fault& find_fault(const std::string& label)
{
    for (const auto* faults : {&reply_faults(), &large_reply_faults()})
        for (const auto& one : *faults)
            if (one.label == label)
                return one;
    throw std::out_of_range(label);
}

misbehaviour fault_at(const std::string& label, std::size_t step)
{
    const auto& fault = find_fault(label);
    return {[&fault, step](scripted_server& server) {
                server.disturbances().disturb(step, fault.fault);
            },
            fault.meant == effect::silence};
}

const std::vector<std::string> get{"get", "file"};
const std::vector<std::string> put{"put", "local"};
const std::vector<std::string> ls{"ls"};

TEST_F(HostileCommandLineTest, greetings)
{
    std::vector<program_meeting> meetings;
    for (const auto* label :
         {"nothing", "text", "binary bytes", "1 MiB of binary bytes", "NULs",
          "lines without an end", "one byte each second", "1 MiB without line end", "the end",
          "a reset", "421, then the end", "550 with control characters", "999"})
        meetings.push_back({label, ls, fault_at(label, 0), {connection_lost}});
    meet_all(meetings);
}

TEST_F(HostileCommandLineTest, farewells_at_every_step)
{
    std::vector<program_meeting> meetings;
    for (const auto& command : {get, put, ls}) {
        program_meeting undisturbed{"undisturbed", command, {}, {0}};
        meet(undisturbed);
        ASSERT_EQ(undisturbed.result.code, 0) << undisturbed.result.error;
        // Not the farewell itself, nor the way back before it, which do not matter any more.
        const auto last =
            std::find_if(undisturbed.steps.rbegin(), undisturbed.steps.rend(),
                         [](const std::string& step) { return step.ends_with("(end)"); });
        const auto count = static_cast<std::size_t>(undisturbed.steps.rend() - last);
        for (std::size_t step = 0; step < count; ++step)
            for (const auto* label : {"421", "421, then the end"})
                meetings.push_back({command.front() + " with " + label + " at step " +
                                        std::to_string(step) + ' ' + undisturbed.steps[step],
                                    command,
                                    fault_at(label, step),
                                    {connection_lost}});
    }
    meet_all(meetings);
}

TEST_F(HostileCommandLineTest, login_folders)
{
    const auto names = [](const std::string& reply) {
        return misbehaviour{[reply](scripted_server& server) { server.reply_raw("PWD", reply); }};
    };
    std::vector<program_meeting> meetings{
        {"no quotes", ls, names("257 /home/u\r\n"), {connection_lost}},
        {"one quote", ls, names("257 \"/home/u\r\n"), {connection_lost}},
        {"nothing behind the code", ls, names("257 \r\n"), {connection_lost}},
        {"an escape sequence", ls, names("257 \"/\x1b[2J\x07\"\r\n"), {other_failure}},
        {"a carriage return", ls, names("257 \"/a\rb\"\r\n"), {other_failure}},
        {"a folder that is not there", ls, names("257 \"/missing\"\r\n"), {5, 6}},
        {"a folder of 4000 letters",
         ls,
         names("257 \"/" + std::string(4000, 'x') + "\"\r\n"),
         {5, 6}},
        {"doubled quotes", ls, names("257 \"/a\"\"b\"\r\n"), {5, 6}},
        {"a refusal", ls, names("550 \x1b[31mNo.\r\n"), {connection_lost}},
    };
    meet_all(meetings);
}

TEST_F(HostileCommandLineTest, transfers)
{
    std::vector<program_meeting> meetings;
    for (const auto& fault : data_faults()) {
        const auto add = [&](const std::vector<std::string>& command, data_fault::verdict meant) {
            if (meant == data_fault::verdict::fails)
                meetings.push_back({command.front() + ", " + fault.label,
                                    command,
                                    fault.how,
                                    {connection_lost, other_failure}});
        };
        add(get, fault.download);
        add(put, fault.upload);
        add(ls, fault.listing);
    }
    meet_all(meetings);
}

TEST_F(HostileCommandLineTest, logins)
{
    std::vector<program_meeting> meetings;
    for (const std::size_t step : {1U, 2U}) {
        for (const auto* label : {"530", "550 with control characters", "999"})
            meetings.push_back({label, ls, fault_at(label, step), {login_refused}});
        for (const auto* label : {"nothing", "421", "the end", "a reset"})
            meetings.push_back({label, ls, fault_at(label, step), {connection_lost}});
    }
    meet_all(meetings);
}

} // namespace
} // namespace tarnix::test
