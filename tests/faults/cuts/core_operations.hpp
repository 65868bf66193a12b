#pragma once

#include "operation.hpp"

#include <vector>

namespace tarnix::test {

/// The operations of the library that speak to an FTP server.
std::vector<operation> core_operations();

} // namespace tarnix::test
