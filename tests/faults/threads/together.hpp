#pragma once

#include <functional>

namespace tarnix::test {

/// Runs `work(0)` to `work(count - 1)` in a thread each, which begin at the same moment, and waits
/// for their ends. What one of them throws is a failure of the test.
void together(int count, const std::function<void(int)>& work);

} // namespace tarnix::test
