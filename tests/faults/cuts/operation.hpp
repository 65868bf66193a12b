#pragma once

#include "place.hpp"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace tarnix::test {

/// What may come of a cut: on a control connection from this stage on up to the next row's, on a
/// data connection in this stage.
struct expectation {
    std::string stage;
    std::vector<std::string> outcomes;
    /// Where a reset does something else than an orderly close.
    std::vector<std::string> when_reset{};
};

/// An operation, and what a broken connection makes of it.
struct operation {
    std::string name;
    /// What there is before the connection is made.
    std::function<void(place&)> prepare;
    /// The way to where the operation begins; none when that is connecting itself.
    std::function<void(place&)> start;
    /// Returns what the caller gets: a value, or an identifier.
    std::function<std::string(place&)> run;
    /// Connects and uses the client once more; raises when that does not work.
    std::function<void(place&)> recover;
    /// What has become of the files on both sides.
    std::function<std::string(place&)> effect;
    std::vector<expectation> control;
    std::vector<expectation> data{};
    data_mode mode = data_mode::passive;
};

inline std::ostream& operator<<(std::ostream& out, const operation& what)
{
    return out << what.name;
}

} // namespace tarnix::test
