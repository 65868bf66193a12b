#pragma once

#include <cstddef>
#include <functional>

namespace tarnix::test {

/// Calls `job` with each number below `count`, in many threads: most runs wait most of the time,
/// because libcurl sleeps for a second on many data connections.
void do_at_once(std::size_t count, const std::function<void(std::size_t)>& job);

} // namespace tarnix::test
