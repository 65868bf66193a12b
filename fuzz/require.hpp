#pragma once

#include <string_view>

namespace tarnix::fuzz {

/// Ends the process when `holds` is false, after saying what should be; libFuzzer then keeps the
/// input.
void require(bool holds, std::string_view what);

} // namespace tarnix::fuzz
