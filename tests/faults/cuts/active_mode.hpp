#pragma once

#include "operation.hpp"

#include <vector>

namespace tarnix::test {

/// Those of the operations that transfer data, with the server connecting to the client. `more` is
/// what their stages may come to beside what they come to in passive mode.
std::vector<operation> in_active_mode(const std::vector<operation>& passive,
                                      const std::vector<expectation>& more);

} // namespace tarnix::test
