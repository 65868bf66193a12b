#pragma once

#include <support/cutting_gate.hpp>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace tarnix::test {

/// A place to cut, and how far the conversation has come there.
struct cut_point {
    cutting_gate::channel where;
    cutting_gate::direction way;
    std::size_t after;
    /// On a control connection the number of one of `conversation::stages`.
    std::size_t stage;
    std::string label;
};

/// What passed a gate in a run that was not cut, and the places where it can be.
///
/// The stages of control connections are, in this order, "idle" and for each command "before X",
/// "in X" (not all of it has reached the server), "X unanswered" (all of it has, not all of a reply
/// has reached the client), "X under way" (between the two replies of a transfer), at the end
/// "answered". A connection that is made in the run begins with "no greeting". The stages of data
/// connections are "X data refused" (cut as soon as it is there), "X data none", "X data part" and
/// "X data all".
class conversation {
public:
    explicit conversation(const std::vector<cutting_gate::passage>& passed);

    const std::vector<std::string>& stages() const { return stages_; }
    /// One for each byte, and one more.
    std::vector<cut_point> control_points(cutting_gate::direction way) const;
    /// One for each byte of either direction, one before the first, and one as soon as the first
    /// connection is there; none when there is no data.
    std::vector<cut_point> data_points() const;

private:
    enum class kind { command, reply, upload, download };

    struct event {
        kind what;
        int connection;
        std::string text;
    };

    void add(kind what, int connection, const std::string& text);
    void name_stages();

    std::vector<event> events_;
    std::vector<std::string> stages_;
    /// For each event, the stages before it and in it.
    std::vector<std::pair<std::size_t, std::size_t>> stages_of_;
};

} // namespace tarnix::test
