#include "sweep.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <thread>
#include <utility>

namespace tarnix::test {

namespace {

bool contains(const std::vector<std::string>& texts, const std::string& text)
{
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

/// What a session sets only to make up for a failure, at the value that it had before.
const std::vector<std::string> set_back{"APPEND=0", "FORBID_REUSE=0", "OPENSOCKETFUNCTION=null"};

bool is_success(const outcome& seen)
{
    return seen.result.starts_with("done ");
}

/// Libraries that do not always survive it, or do not free everything, when memory fails them.
bool is_fragile(const std::string& library)
{
    constexpr std::array names{"libcurl.", "libssh2.", "libssl.", "libcrypto."};
    return std::any_of(names.begin(), names.end(),
                       [&](const char* name) { return library.starts_with(name); });
}

std::string name_of(const std::string& library)
{
    return library.substr(0, library.find('.'));
}

/// It crashed where the memory was missing, and nowhere else.
bool crashed_in_a_library(const outcome& seen, fault what)
{
    return is_fragile(seen.crashed_in) &&
           (what == fault::all_allocations || is_fragile(seen.failed_in));
}

/// libssh2 had lost a packet of the server's, or its place in the conversation, and the operation
/// after it failed.
bool failed_again(const outcome& seen)
{
    return is_fragile(seen.failed_in) && seen.again.starts_with("raised failure ");
}

bool ended_as_designed(const outcome& seen)
{
    return seen.ended_in == "scope" || seen.ended_in == "handle";
}

} // namespace

std::ostream& operator<<(std::ostream& out, const expectation& one)
{
    return out << one.operation;
}

int step_of(const manner& how)
{
    return std::getenv("TARNIX_EVERY_ALLOCATION") ? 1 : how.step;
}

long tally::of(const std::string& what) const
{
    const auto found = numbers_.find(what);
    return found == numbers_.end() ? 0 : found->second;
}

void tally::print() const
{
    for (const auto& [what, number] : numbers_)
        std::cout << "counted: " << number << ' ' << what << '\n';
}

sweep::sweep(expectation expected, std::vector<std::unique_ptr<lane>> lanes)
    : expected_(std::move(expected)), lanes_(std::move(lanes))
{
}

void sweep::fail_allocations(const manner& how)
{
    std::atomic<long> next = 1;
    std::atomic<bool> done = false;
    std::vector<std::jthread> workers;
    for (auto& one : lanes_)
        workers.emplace_back([&] { run_share(how, *one, next, done); });
    workers.clear();
    tally_.print();
    EXPECT_GT(tally_.of("allocations failed"), 0);
    tally_ = {};
}

/// Without a failure.
outcome sweep::run_usual(const manner& how, lane& on) const
{
    const assignment given{.operation = expected_.operation, .traced = how.traced};
    // Twice, because some memory is only got when an object is made anew.
    on.warm_up(given);
    on.warm_up(given);
    auto seen = on.run(given);
    EXPECT_EQ(is_success(seen), !expected_.must_fail) << seen.result;
    EXPECT_TRUE(on.at().took_effect(given.operation));
    EXPECT_EQ(seen.blocks_left, 0);
    on.at().clean_up();
    return seen;
}

void sweep::run_share(const manner& how, lane& on, std::atomic<long>& next, std::atomic<bool>& done)
try {
    const auto usual = run_usual(how, on);
    while (!done) {
        assignment given{.operation = expected_.operation, .traced = how.traced, .what = how.what};
        given.nth = next.fetch_add(step_of(how));
        const auto seen = on.run(given);
        if (seen.end == "exit 0" && seen.failed == 0)
            done = true;
        judge(seen, usual, given, on);
        on.at().clean_up();
    }
} catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
    done = true;
}

void sweep::judge(const outcome& seen, const outcome& usual, const assignment& given, lane& on)
{
    const auto wrong = complaint(seen, usual, given, on);
    const std::lock_guard lock(mutex_);
    if (seen.failed > 0 || !seen.ended_in.empty() || !seen.crashed_in.empty())
        tally_.count("allocations failed");
    if (seen.struck_restorers)
        tally_.count("allocations failed in remembering what to restore");
    if (!seen.ended_in.empty())
        tally_.count("endings in the destructor of a " + seen.ended_in);
    if (crashed_in_a_library(seen, given.what))
        tally_.count("crashes in " + name_of(seen.crashed_in));
    if (seen.blocks_left != 0 && seen.foreign_blocks != 0)
        tally_.count("runs after which libcurl, libssh2 or OpenSSL kept memory");
    if (failed_again(seen))
        tally_.count("sessions whose next operation failed");
    if (!seen.lost.empty() && is_success(seen))
        tally_.count("operations that succeeded and lost an option");
    if (wrong.empty())
        return;
    constexpr int most_shown = 20;
    if (++complaints_ <= most_shown)
        ADD_FAILURE() << given << wrong << "\n  result: " << seen.result
                      << "\n  again: " << seen.again << "\n  failed in: " << seen.failed_in
                      << "\n  crashed in: " << seen.crashed_in << "\n  " << seen.ended_in << "\n  "
                      << seen.end << "\n  " << seen.unavailable;
}

std::string sweep::complaint(const outcome& seen, const outcome& usual, const assignment& given,
                             lane& on) const
{
    if (ended_as_designed(seen) || crashed_in_a_library(seen, given.what))
        return {};
    if (seen.end != "exit 0")
        return "a bad end";
    const auto is_done = is_success(seen);
    if (is_done && expected_.must_fail)
        return "a success that must not be";
    const auto text = seen.result.substr(seen.result.find(' ') + 1);
    // What was asked for did not reach libcurl, so it lists the working folder.
    const auto lists_another_folder =
        given.operation.starts_with("core") && contains(seen.refused, "CUSTOMREQUEST");
    if (is_done && seen.result != usual.result && !lists_another_folder &&
        !contains(expected_.silent_results, text))
        return "a wrong result";
    // libcurl has no memory for the name of the file, and so takes the request for a listing.
    const auto fetched_a_listing =
        given.operation.starts_with("core") && seen.failed_in.starts_with("libcurl.") &&
        given.operation.ends_with("_get") && std::filesystem::exists(on.at().fetched_file()) &&
        read_bytes(on.at().fetched_file()).find(" Jan 02 2020 ") != std::string::npos;
    if (is_done && !expected_.may_do_nothing && !fetched_a_listing &&
        !on.at().took_effect(given.operation))
        return "no effect";
    if (!is_done && text != "bad_alloc" &&
        std::none_of(expected_.raises.begin(), expected_.raises.end(),
                     [&](const auto& one) { return text.starts_with(one); }))
        return "a wrong exception";
    if (seen.again != usual.again && seen.again != "done " && !failed_again(seen))
        return "not usable again";
    const auto lives_on = seen.again != "done ";
    for (const auto& option : seen.options)
        if (lives_on && !contains(usual.options, option) && !option.starts_with("URL=") &&
            !option.starts_with("PORT=") && !contains(set_back, option))
            return "left " + option;
    for (const auto& option : seen.lost)
        if (is_done && option != "URL" && given.operation.starts_with("session"))
            return "lost " + option;
    // libproxy keeps a module that it could not list.
    // What OpenSSL keeps of one connection may be freed with the next.
    const auto has_leaked = seen.own_blocks != 0 || (seen.blocks_left != 0 && !seen.foreign_blocks);
    if (has_leaked && !seen.failed_in.starts_with("libproxy."))
        return "left " + std::to_string(seen.own_blocks) + " blocks of memory, " +
               std::to_string(seen.blocks_left) + " with those of others";
    return {};
}

bool sweep::leave_descriptors(int free)
{
    auto& on = *lanes_.front();
    if (!usual_)
        usual_ = run_usual({"descriptors", fault::descriptors, false, 1}, on);
    const assignment given{
        .operation = expected_.operation, .what = fault::descriptors, .nth = free};
    const auto seen = on.run(given);
    judge(seen, *usual_, given, on);
    on.at().clean_up();
    return seen.result == usual_->result;
}

} // namespace tarnix::test
