#pragma once

#include "operation.hpp"

#include <vector>

namespace tarnix::test {

/// The operations of the library that speak to an FTP server.
std::vector<operation> core_operations();
std::vector<operation> core_operations_in_active_mode();

} // namespace tarnix::test
