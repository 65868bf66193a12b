#pragma once

#include <string>

namespace tarnix::test {

/// One more of something, for the lines "counted: N of it" at the end of the program.
void count(const std::string& what, long long how_many = 1);

void print_counts();

} // namespace tarnix::test
