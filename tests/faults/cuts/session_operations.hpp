#pragma once

#include "operation.hpp"

#include <vector>

namespace tarnix::test {

/// The operations of a session with an FTP server.
std::vector<operation> session_operations();

} // namespace tarnix::test
