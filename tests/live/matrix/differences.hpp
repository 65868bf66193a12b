#pragma once

#include "flavours.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace tarnix::test {

/// What comes of a check where it is not what usually comes of it.
struct difference {
    /// "SFTP" for all its servers, a software, or one flavour by its full name; the narrowest
    /// counts.
    std::string_view who;
    /// "library" or "session".
    std::string_view layer;
    std::string_view check;
    std::string_view outcome;
};

const std::vector<difference>& differences();

/// What must come of a check on a server.
std::string expected_outcome(const flavour& where, std::string_view layer, std::string_view check,
                             std::string_view usual);

} // namespace tarnix::test
