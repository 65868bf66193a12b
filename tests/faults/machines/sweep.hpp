#pragma once

#include "lane.hpp"

#include <atomic>
#include <iosfwd>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

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
    /// It fails without a shortage, too: whatever happens, it must not succeed.
    bool must_fail = false;
};

std::ostream& operator<<(std::ostream& out, const expectation& one);

/// One way of failing.
struct manner {
    const char* name;
    fault what;
    bool traced;
    /// From one that fails to the next, unless every single one is asked for.
    int step;
};

/// The step of a manner, or 1 when the environment asks for every allocation.
int step_of(const manner& how);

/// Numbers by what they count.
class tally {
public:
    void count(const std::string& what) { ++numbers_[what]; }
    long of(const std::string& what) const;
    /// As script/counts reads it.
    void print() const;

private:
    std::map<std::string, long> numbers_;
};

/// Runs one operation again and again while its memory or its descriptors run out, on several lanes
/// side by side, and complains of what is not as expected.
class sweep {
public:
    sweep(expectation expected, std::vector<std::unique_ptr<lane>> lanes);

    /// Fails the first, the second, ... allocation until none is asked for any more.
    void fail_allocations(const manner& how);
    /// Lets so many descriptors be opened and no more; whether that was enough.
    bool leave_descriptors(int free);

private:
    outcome run_usual(const manner& how, lane& on) const;
    void run_share(const manner& how, lane& on, std::atomic<long>& next, std::atomic<bool>& done);
    void judge(const outcome& seen, const outcome& usual, const assignment& given, lane& on);
    std::string complaint(const outcome& seen, const outcome& usual, const assignment& given,
                          lane& on) const;

    expectation expected_;
    std::vector<std::unique_ptr<lane>> lanes_;
    std::optional<outcome> usual_; ///< of the first lane
    std::mutex mutex_;
    tally tally_;
    int complaints_ = 0;
};

} // namespace tarnix::test
