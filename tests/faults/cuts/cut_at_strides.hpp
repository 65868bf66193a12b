#pragma once

#include "cut_bytes.hpp"
#include "real_operation.hpp"

#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

/// An operation and the bytes after which its connections are cut.
struct real_case {
    real_operation what;
    cut_bytes which;
};

std::vector<real_case> cases_of(const std::vector<real_operation>& operations);
std::string name_of(const real_case& one);
std::ostream& operator<<(std::ostream& out, const real_case& one);

/// Runs the operation once uncut, then cuts it after every so many bytes, at the first and last
/// ones and wherever the other side begins to speak, closing the connections and resetting them.
/// Each point where something is not as it should be is a failure of the test.
void cut_at_strides(const real_server& server, const real_case& one, const std::string& counted_as);

} // namespace tarnix::test
