#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace tarnix::test {

/// How many descriptors this process has open.
inline auto count_open_descriptors()
{
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return std::distance(begin(open), end(open));
}

} // namespace tarnix::test
