#pragma once

#include "reply_faults.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace tarnix::test {

/// What may come out of an operation when a step of it goes wrong. "*" stands for any text, "="
/// for what comes out undisturbed.
struct step_expectation {
    std::string operation;
    std::size_t first_step;
    std::size_t last_step;
    std::string refused;   ///< the reply refuses; "{code}" is its code
    std::string broken;    ///< no reply, or no connection
    std::string pretended; ///< the reply is good enough, but nothing was done
    std::string refused_550{};
    std::string refused_421{};
};

/// The outcomes that are right for `fault` at this step, which is called `word`.
std::vector<std::string> expected_outcomes(const std::string& operation, std::size_t step,
                                           const std::string& word, const named_fault& fault);

/// The same when no step from there on gets an answer, because every connection ends there.
std::vector<std::string> expected_outcomes_for_good(const std::string& operation, std::size_t step);

/// Whether `text` is what `pattern`, with its stars, says.
bool matches(const std::string& pattern, const std::string& text);

} // namespace tarnix::test
