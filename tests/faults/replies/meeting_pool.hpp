#pragma once

#include <cstddef>
#include <functional>

namespace tarnix::test {

/// Runs `meet(0)` to `meet(count - 1)`, several at once: most of them wait most of the time. What
/// one raises is raised at the end.
void run_meetings(std::size_t count, const std::function<void(std::size_t)>& meet);

} // namespace tarnix::test
