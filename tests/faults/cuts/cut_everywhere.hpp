#pragma once

#include "cut_case.hpp"
#include "operation.hpp"

namespace tarnix::test {

/// Runs the operation once uncut, then cuts it after each byte, closing them and
/// resetting them. Each point where something is not as it should be is a failure of the test:
/// the outcome, the options, a client that can no longer connect, a descriptor left open, a wait.
void cut_everywhere(const cut_case<operation>& one);

} // namespace tarnix::test
