#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnix::fuzz {

/// Every line is a command of the protocol, or `other`, whole and without control characters:
/// nothing that a server or a user says makes a command of its own.
void require_clean_commands(const std::vector<std::string>& lines, std::string_view other = {});

} // namespace tarnix::fuzz
