#pragma once

#include <support/cutting_gate.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace tarnix::test {

constexpr std::chrono::seconds longest_run{20};

/// What a run gave, and what was wrong with it whatever the operation.
struct run_report {
    std::string outcome;
    std::map<std::string, std::string> options{};
    std::vector<cutting_gate::passage> passed{};
    std::vector<std::string> faults{};
    /// The first use of the client afterwards failed.
    bool recovers_late = false;

    void add_fault(const std::string& text) { faults.push_back(text); }
    /// Uses the client after the cut, once more when that raises; that must work then.
    void recover(const std::function<void()>& use);
    /// What must not take longer than `longest_run`.
    void in_time(const std::function<void()>& job);
};

std::ptrdiff_t open_descriptors();

} // namespace tarnix::test
