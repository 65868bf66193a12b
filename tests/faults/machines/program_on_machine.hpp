#pragma once

#include "assignment.hpp"

#include <live/cli/program_run.hpp>

namespace tarnix::test {

struct program_outcome {
    program_result result;
    outcome machine; ///< what it tells of itself: allocations, a bad end
};

/// Runs the program to its end on the machine that the assignment describes.
program_outcome run_on_machine(program wanted, const assignment& given);

} // namespace tarnix::test
