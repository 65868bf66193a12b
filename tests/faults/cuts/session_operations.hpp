#pragma once

#include "operation.hpp"

#include <vector>

namespace tarnix::test {

/// The operations of a session with an FTP server.
std::vector<operation> session_operations();
std::vector<operation> session_operations_in_active_mode();

} // namespace tarnix::test
