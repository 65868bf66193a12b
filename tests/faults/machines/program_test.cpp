#include "program_on_machine.hpp"
#include "scripted_scene.hpp"
#include "sweep.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <ostream>
#include <thread>

// The program itself, from the first line of its `main` to its end.

namespace {

using namespace tarnix::test;
using testing::AnyOf;
using testing::IsEmpty;
using testing::StartsWith;

/// One command. In its words and its output, "@" is the number of the run.
struct command_line {
    /// What `scene::took_effect` knows it by.
    std::string operation;
    std::vector<std::string> words;
    std::string output{};
    /// The exit code, also without a shortage.
    int code = 0;
};

std::ostream& operator<<(std::ostream& out, const command_line& one)
{
    return out << one.operation;
}

constexpr auto listing = "-rw-r--r-- 1 u u 1 Jan 02 2020 one\n"
                         "drwxr-xr-x 2 u u 4096 Jan 02 2020 two\n";

std::string with_number(std::string text, const std::string& number)
{
    if (const auto mark = text.find('@'); mark != std::string::npos)
        text.replace(mark, 1, number);
    return text;
}

program program_for(const command_line& wanted, const scene& at)
{
    program started;
    started.environment = {{"TARNIX_FTP_PASSWORD", "secret"}};
    started.arguments = {"ftp://u@" + at.host() + ":" + std::to_string(at.port())};
    for (const auto& word : wanted.words)
        started.arguments.push_back(with_number(word, at.serial()));
    started.folder = at.folder().path();
    return started;
}

program_outcome run(const command_line& wanted, scene& at, assignment given)
{
    at.set(given);
    return run_on_machine(program_for(wanted, at), given);
}

constexpr auto allocations = "allocations failed";

bool is_one_message(const std::string& text)
{
    return text.starts_with("tarnix-ftp: ") && std::count(text.begin(), text.end(), '\n') == 1 &&
           text.ends_with('\n');
}

/// What the program has done wrong, or nothing: what it says it did was done, and otherwise it says
/// why not, in a line, and leaves no file.
std::string complaint(const command_line& wanted, const program_result& result, const scene& at)
{
    // Those that tell of the machine and the connection: the server refuses nothing.
    constexpr std::array failures{2, 3, 7, 8, 9, 12};
    if (result.signal != 0)
        return "it ended by a signal";
    if (!at.left_over().empty())
        return "it left " + at.left_over().front();
    if (result.code == wanted.code && wanted.code != 0)
        return is_one_message(result.error) && result.out.empty() ? "" : "not one message";
    if (result.code == 0) {
        if (wanted.code != 0)
            return "a success that must not be";
        if (!at.took_effect(wanted.operation))
            return "no effect";
        return result.out == wanted.output && result.error.empty() ? "" : "another output";
    }
    if (std::find(failures.begin(), failures.end(), result.code) == failures.end())
        return "a wrong exit code";
    if (!is_one_message(result.error))
        return "not one message";
    if (!result.out.empty())
        return "output of a failure";
    return std::filesystem::exists(at.fetched_file()) ? "a file of a failure" : "";
}

class ProgramTest : public testing::TestWithParam<command_line> {
protected:
    void fail_allocations(const manner& how);

private:
    void run_share(const manner& how, std::atomic<long>& next, std::atomic<bool>& done);
    void judge(const program_outcome& seen, const assignment& given, const scene& at);

    std::mutex mutex_;
    tally tally_;
    int complaints_ = 0;
};

void ProgramTest::fail_allocations(const manner& how)
{
    constexpr int side_by_side = 8;
    std::atomic<long> next = 1;
    std::atomic<bool> done = false;
    std::vector<std::jthread> workers;
    for (int i = 0; i < side_by_side; ++i)
        workers.emplace_back([&] { run_share(how, next, done); });
    workers.clear();
    tally_.print();
    EXPECT_GT(tally_.of(allocations), 0);
    tally_ = {};
}

void ProgramTest::run_share(const manner& how, std::atomic<long>& next, std::atomic<bool>& done)
try {
    scripted_scene at;
    while (!done) {
        assignment given{.what = how.what};
        given.nth = next.fetch_add(step_of(how));
        const auto seen = run(GetParam(), at, given);
        if (seen.machine.end == "exit" && seen.machine.failed == 0) {
            done = true;
            EXPECT_EQ(seen.result.code, GetParam().code);
        }
        judge(seen, given, at);
        at.clean_up();
    }
} catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
    done = true;
}

void ProgramTest::judge(const program_outcome& seen, const assignment& given, const scene& at)
{
    const auto& [result, machine] = seen;
    const auto ended = machine.ended_in == "scope" || machine.ended_in == "handle";
    const auto wrong = ended ? std::string() : complaint(GetParam(), result, at);
    const std::lock_guard lock(mutex_);
    if (ended || machine.failed > 0)
        tally_.count(allocations);
    if (ended)
        tally_.count("endings of the program in the destructor of a " + machine.ended_in);
    if (ended && !at.left_over().empty())
        tally_.count("hidden files that such an ending left");
    if (wrong.empty())
        return;
    constexpr int most_shown = 20;
    if (++complaints_ <= most_shown)
        ADD_FAILURE() << (given.what == fault::one_allocation ? "one, " : "all from ") << given.nth
                      << ": " << wrong << "\n  code " << result.code << ", signal " << result.signal
                      << "\n  out: " << result.out << "\n  error: " << result.error
                      << "\n  failed in: " << machine.failed_in << "\n  ended: " << machine.ended_in
                      << "\n  crashed in: " << machine.crashed_in << "\n  " << machine.end;
}

TEST_P(ProgramTest, tells_the_truth_whichever_allocation_fails)
{
    // Unless every single one is asked for.
    constexpr int step = 17;
    for (const auto& how : {manner{"one", fault::one_allocation, false, step},
                            manner{"all from one on", fault::all_allocations, false, step}}) {
        SCOPED_TRACE(how.name);
        fail_allocations(how);
    }
}

TEST_P(ProgramTest, tells_the_truth_with_few_descriptors)
{
    constexpr int enough = 20;
    scripted_scene at(100000);
    int failures = 0;
    for (int free = 0; free <= enough; ++free) {
        SCOPED_TRACE(free);
        const auto seen = run(GetParam(), at, {.what = fault::descriptors, .nth = free});
        EXPECT_EQ(complaint(GetParam(), seen.result, at), "") << seen.result.error;
        failures += seen.result.code == GetParam().code ? 0 : 1;
        EXPECT_TRUE(seen.result.code == GetParam().code || free < enough);
        at.clean_up();
    }
    std::cout << "counted: " << failures << " runs that lacked descriptors\n";
}

INSTANTIATE_TEST_SUITE_P(Commands, ProgramTest,
                         testing::Values(command_line{"pwd", {"pwd"}, "/home/u\n"},
                                         command_line{"names", {"names", "shelf"}, "one\ntwo\n"},
                                         command_line{"ls", {"ls", "shelf"}, listing},
                                         command_line{"exists", {"exists", "file"}, "yes\n"},
                                         command_line{"is_file", {"is-file", "file"}, "yes\n"},
                                         command_line{"syst", {"syst"}, "UNIX Type: L8\n"},
                                         command_line{"do_mkdir", {"mkdir", "made-@"}},
                                         command_line{"do_rmdir", {"rmdir", "empty-@"}},
                                         command_line{"do_put", {"put", "data", "stored-@"}},
                                         command_line{"do_get", {"get", "file", "fetched-@"}},
                                         command_line{"do_delete", {"rm", "doomed-@"}},
                                         command_line{"do_rename", {"mv", "here-@", "there-@"}},
                                         command_line{
                                             "refused_download", {"get", "missing"}, "", 5},
                                         command_line{"refused_names", {"names", "missing"}, "", 5},
                                         command_line{"conflict", {"mv", "here-@", "file"}, "", 10},
                                         command_line{"unknown_command", {"nonsense"}, "", 2}),
                         [](const auto& one) { return one.param.operation; });

} // namespace
