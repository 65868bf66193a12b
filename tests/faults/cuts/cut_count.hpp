#pragma once

#include <cstddef>
#include <string>

namespace tarnix::test {

/// Prints at the end of the program how many connections of each kind were cut.
void count_cuts(std::size_t number, const std::string& kind);

} // namespace tarnix::test
