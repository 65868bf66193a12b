#pragma once

#include "cut_case.hpp"
#include "real_operation.hpp"

#include <string>

namespace tarnix::test {

/// Runs the operation once uncut, then cuts it after every so many bytes, at the first and last
/// ones and wherever the other side begins to speak, closing the connections and resetting them.
/// Each point where something is not as it should be is a failure of the test.
void cut_at_strides(const real_server& server, const cut_case<real_operation>& one,
                    const std::string& counted_as);

} // namespace tarnix::test
