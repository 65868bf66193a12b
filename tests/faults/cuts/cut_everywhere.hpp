#pragma once

#include "cut_bytes.hpp"
#include "operation.hpp"

#include <string>
#include <vector>

namespace tarnix::test {

/// An operation and the bytes after which its connections are cut.
struct cut_case {
    operation what;
    cut_bytes which;
};

/// The cases of each operation; of the data, for operations that say what comes of it.
std::vector<cut_case> cases_of(const std::vector<operation>& operations);
std::string name_of(const cut_case& one);
std::ostream& operator<<(std::ostream& out, const cut_case& one);

/// Runs the operation once uncut, then cuts it after each byte, closing them and
/// resetting them. Each point where something is not as it should be is a failure of the test:
/// the outcome, the options, a client that can no longer connect, a descriptor left open, a wait.
void cut_everywhere(const cut_case& one);

} // namespace tarnix::test
