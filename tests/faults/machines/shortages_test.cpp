#include "lane.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <thread>

namespace {

using namespace tarnix::test;

/// What an operation may do when memory fails it, beside succeeding, raising bad_alloc, and ending
/// in the destructor of a scope or a handle.
struct expectation {
    std::string operation;
    /// Identifiers that it may raise, or beginnings of what else it may raise.
    std::vector<std::string> raises{};
    /// Results that it may give instead of the right one, where it is meant to keep silent.
    std::vector<std::string> silent_results{};
    /// It may report success and have done nothing.
    bool may_do_nothing = false;
};

std::ostream& operator<<(std::ostream& out, const expectation& one)
{
    return out << one.operation;
}

const std::string internal = "identifier TARNIX:io:ftp:ftp:InternalError";
const std::string lost = "failure 0 ";
const std::string no_transfer = "failure 6 ";
const std::string ftp = "identifier TARNIX:io:ftp:ftp:";
const std::string no_handle = "identifier TARNIX:io:ftp:curl:CurlHandleInitializationFailure";

std::vector<expectation> expectations()
{
    const std::string local = "failure 7 ";
    return {
        {"core_connect", {no_handle, internal, ftp + "NoConnection", ftp + "NoSuchDirectory"}},
        {"core_pwd", {internal}},
        {"core_cd", {internal, ftp + "NoSuchDirectory"}},
        {"core_list", {internal}, {""}},
        {"core_nlst", {internal}, {""}},
        {"core_dir", {internal}, {""}},
        {"core_is_folder", {internal}, {"false"}},
        {"core_mkdir", {internal}},
        {"core_rmdir", {internal, ftp + "FTPError"}},
        {"core_put", {internal, ftp + "NotFound", ftp + "UploadFailed"}},
        {"core_get", {internal, ftp + "FTPError", "identifier TARNIX:io:common:file:OpenFailed"}},
        {"core_delete", {internal, ftp + "DeleteFailed"}},
        {"core_rename", {}, {}, true},
        {"core_is_file", {ftp + "FTPError"}, {"false"}},
        {"core_syst", {}, {""}},
        {"session_connect", {no_handle, lost, no_transfer}},
        {"session_cd", {internal, lost, no_transfer}},
        {"session_list", {internal, lost, no_transfer}},
        {"session_names", {internal, lost, no_transfer}},
        {"session_is_folder", {internal, no_transfer}},
        {"session_exists", {internal, no_transfer}},
        {"session_is_file", {internal, no_transfer}},
        {"session_mkdir", {internal, lost, no_transfer}},
        {"session_rmdir", {internal, lost, no_transfer}},
        {"session_put", {internal, ftp + "NotFound", lost, no_transfer}},
        {"session_get", {internal, lost, no_transfer, local}},
        {"session_delete", {internal, lost, no_transfer}},
        {"session_rename", {internal, lost, no_transfer}},
        {"session_syst", {lost}},
        {"host_start", {no_handle}},
        {"host_messages"},
        {"host_warning"},
        {"host_object", {no_handle}},
        // libcurl takes a part of the URL that it has no memory for to be malformed.
        {"url_parsing", {"tarnix::ftp::invalid_url"}},
    };
}

bool contains(const std::vector<std::string>& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// One way of failing.
struct manner {
    const char* name;
    fault what;
    bool traced;
    /// From one that fails to the next, unless every single one is asked for: traces are many.
    int step;
};

constexpr std::array manners{
    manner{"one", fault::one_allocation, false, 1},
    manner{"all from one on", fault::all_allocations, false, 1},
    manner{"one, traced", fault::one_allocation, true, 5},
    manner{"all from one on, traced", fault::all_allocations, true, 20},
};

struct tally {
    std::map<std::string, long> of;

    void print() const
    {
        for (const auto& [what, number] : of)
            std::cout << "counted: " << number << ' ' << what << '\n';
    }
};

class ShortagesTest : public testing::TestWithParam<expectation> {
protected:
    ShortagesTest();

    /// Fails the first, the second, ... allocation until none is asked for any more.
    void sweep(const manner& how);
    /// Lets so many descriptors be opened and no more; whether that was enough.
    bool run_with_descriptors(int free);

private:
    outcome run_usual(const manner& how, lane& on);

    void run_share(const manner& how, lane& on, std::atomic<long>& next, std::atomic<bool>& done);
    void judge(const outcome& seen, const assignment& given, lane& on);
    std::string complaint(const outcome& seen, const assignment& given, lane& on) const;

    std::vector<std::unique_ptr<lane>> lanes_;
    outcome usual_;
    std::mutex mutex_;
    tally tally_;
    int complaints_ = 0;
};

ShortagesTest::ShortagesTest()
{
    constexpr int side_by_side = 8;
    for (int i = 0; i < side_by_side; ++i)
        lanes_.push_back(std::make_unique<lane>());
}

void ShortagesTest::sweep(const manner& how)
{
    std::atomic<long> next = 1;
    std::atomic<bool> done = false;
    usual_ = run_usual(how, *lanes_.front());
    ASSERT_TRUE(usual_.result.starts_with("done ")) << usual_.result;
    std::vector<std::jthread> workers;
    for (auto& one : lanes_)
        workers.emplace_back([&] { run_share(how, *one, next, done); });
    workers.clear();
    tally_.print();
    EXPECT_GT(tally_.of["allocations failed"], 0);
    tally_ = {};
}

/// Without a failure.
outcome ShortagesTest::run_usual(const manner& how, lane& on)
{
    const assignment given{
        .operation = GetParam().operation, .traced = how.traced, .what = how.what};
    // Twice, because some memory is only got when an object is made anew.
    on.warm_up(given);
    on.warm_up(given);
    auto usual = given;
    usual.what = fault::none;
    const auto seen = on.run(usual);
    EXPECT_TRUE(on.took_effect(given.operation));
    EXPECT_EQ(seen.blocks_left, 0);
    on.clean_up();
    return seen;
}

void ShortagesTest::run_share(const manner& how, lane& on, std::atomic<long>& next,
                              std::atomic<bool>& done)
try {
    const auto step = std::getenv("TARNIX_EVERY_ALLOCATION") ? 1 : how.step;
    run_usual(how, on);
    while (!done) {
        assignment given{.operation = GetParam().operation, .traced = how.traced, .what = how.what};
        given.nth = next.fetch_add(step);
        const auto seen = on.run(given);
        if (seen.end == "exit 0" && seen.failed == 0)
            done = true;
        judge(seen, given, on);
        on.clean_up();
    }
} catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
    done = true;
}

void ShortagesTest::judge(const outcome& seen, const assignment& given, lane& on)
{
    const auto wrong = complaint(seen, given, on);
    const std::lock_guard lock(mutex_);
    if (seen.failed > 0 || !seen.ended_in.empty())
        ++tally_.of["allocations failed"];
    if (seen.struck_restorers)
        ++tally_.of["allocations failed in remembering what to restore"];
    if (!seen.ended_in.empty())
        ++tally_.of["endings in the destructor of a " + seen.ended_in];
    if (!seen.lost.empty() && seen.result.starts_with("done "))
        ++tally_.of["operations that succeeded and lost an option"];
    if (wrong.empty())
        return;
    constexpr int most_shown = 20;
    if (++complaints_ <= most_shown)
        ADD_FAILURE() << given << wrong << "\n  result: " << seen.result
                      << "\n  again: " << seen.again << "\n  failed in: " << seen.failed_in
                      << "\n  " << seen.ended_in << "\n  " << seen.end;
}

std::string ShortagesTest::complaint(const outcome& seen, const assignment& given, lane& on) const
{
    const auto& expected = GetParam();
    if (seen.ended_in == "scope" || seen.ended_in == "handle")
        return {};
    if (seen.end != "exit 0")
        return "a bad end";
    const auto is_done = seen.result.starts_with("done ");
    const auto text = seen.result.substr(seen.result.find(' ') + 1);
    // What was asked for did not reach libcurl, so it lists the working folder.
    const auto lists_another_folder =
        given.operation.starts_with("core") && contains(seen.refused, "CUSTOMREQUEST");
    if (is_done && seen.result != usual_.result && !lists_another_folder &&
        std::find(expected.silent_results.begin(), expected.silent_results.end(), text) ==
            expected.silent_results.end())
        return "a wrong result";
    // libcurl has no memory for the name of the file, and so takes the request for a listing.
    const auto fetched_a_listing =
        seen.failed_in.starts_with("libcurl.") && given.operation.ends_with("_get") &&
        std::filesystem::exists(on.fetched_file()) &&
        read_bytes(on.fetched_file()).find(" Jan 02 2020 ") != std::string::npos;
    if (is_done && !expected.may_do_nothing && !fetched_a_listing &&
        !on.took_effect(given.operation))
        return "no effect";
    if (!is_done && text != "bad_alloc" &&
        std::none_of(expected.raises.begin(), expected.raises.end(),
                     [&](const auto& one) { return text.starts_with(one); }))
        return "a wrong exception";
    if (seen.again != usual_.again && seen.again != "done ")
        return "not usable again";
    const auto lives_on = seen.again != "done ";
    for (const auto& option : seen.options)
        if (lives_on && !contains(usual_.options, option) && !option.starts_with("URL=") &&
            !option.starts_with("PORT="))
            return "left " + option;
    for (const auto& option : seen.lost)
        if (is_done && option != "URL" && given.operation.starts_with("session"))
            return "lost " + option;
    // libproxy keeps a module that it could not list.
    if (seen.blocks_left != 0 && !seen.failed_in.starts_with("libproxy."))
        return "left " + std::to_string(seen.blocks_left) + " blocks of memory";
    return {};
}

bool ShortagesTest::run_with_descriptors(int free)
{
    auto& on = *lanes_.front();
    if (usual_.result.empty())
        usual_ = run_usual({"descriptors", fault::descriptors, false, 1}, on);
    const assignment given{
        .operation = GetParam().operation, .what = fault::descriptors, .nth = free};
    const auto seen = on.run(given);
    judge(seen, given, on);
    on.clean_up();
    return seen.result == usual_.result;
}

TEST_P(ShortagesTest, each_allocation_fails_in_turn)
{
    for (const auto& how : manners) {
        SCOPED_TRACE(how.name);
        sweep(how);
    }
}

TEST_P(ShortagesTest, few_descriptors_are_left)
{
    constexpr int enough = 12;
    int failures = 0;
    for (int free = 0; free < enough; ++free)
        failures += run_with_descriptors(free) ? 0 : 1;
    EXPECT_TRUE(run_with_descriptors(enough));
    std::cout << "counted: " << failures << " runs that lacked descriptors\n";
}

INSTANTIATE_TEST_SUITE_P(Operations, ShortagesTest, testing::ValuesIn(expectations()),
                         [](const auto& one) { return one.param.operation; });

/// In a process in which libcurl, OpenSSL and libproxy have never been used before.
TEST(ColdStart, each_allocation_fails_in_turn)
{
    lane on;
    int failures = 0;
    const long step = std::getenv("TARNIX_EVERY_ALLOCATION") ? 1 : 3;
    for (long nth = 1;; nth += step) {
        SCOPED_TRACE(nth);
        const auto seen =
            on.run({.operation = "host_start", .what = fault::one_allocation, .nth = nth});
        if (seen.ended_in == "handle")
            continue;
        ASSERT_EQ(seen.end, "exit 0");
        if (seen.failed == 0) {
            EXPECT_EQ(seen.result, "done true");
            break;
        }
        ++failures;
        EXPECT_THAT(seen.result,
                    testing::AnyOf("done true", "raised bad_alloc", "raised " + no_handle,
                                   testing::StartsWith("raised std::runtime_error ")));
    }
    EXPECT_GT(failures, 0);
    std::cout << "counted: " << failures << " allocations failed\n";
}

} // namespace
