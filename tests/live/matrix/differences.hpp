#pragma once

#include "flavours.hpp"

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarnix::test {

/// The outcome of a check that is left out, because it might never come to an end.
constexpr std::string_view not_run = "not run";

/// What comes of a check where it is not what usually comes of it.
struct difference {
    /// "SFTP" for all its servers, a software, a kind of server, or one flavour by its full name;
    /// the narrowest counts.
    std::string_view who;
    /// "library" or "session".
    std::string_view layer;
    std::string_view check;
    std::string_view outcome;
    /// Where it is chance.
    std::string_view other_outcome = {};
};

const std::vector<difference>& differences();

/// Layer and name of all checks that there are.
std::set<std::pair<std::string, std::string>>& known_checks();

/// What may come of a check on a server, which is one thing unless a difference says otherwise.
std::vector<std::string> expected_outcomes(const flavour& where, std::string_view layer,
                                           std::string_view check, std::string_view usual);

} // namespace tarnix::test
