#include "cut_everywhere.hpp"

#include "at_once.hpp"
#include "cut_count.hpp"
#include "cut_points.hpp"
#include "failed_points.hpp"
#include "run_report.hpp"

#include <boost/algorithm/string/replace.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <optional>
#include <sstream>

namespace tarnix::test {

namespace {

using namespace std::chrono_literals;
using channel = cutting_gate::channel;
using direction = cutting_gate::direction;
using breaking = cutting_gate::breaking;

/// Without what differs from run to run.
std::string in_general(const std::string& text, const cutting_gate& gate)
{
    using boost::algorithm::replace_all_copy;
    return replace_all_copy(replace_all_copy(text, gate.address(), "host"),
                            std::to_string(gate.port()), "port");
}

void run_in_place(const operation& what, const std::optional<cutting_gate::cut>& there,
                  run_report& result)
{
    place here(what.mode);
    what.prepare(here);
    if (what.start)
        what.start(here);
    here.gate.start(there);
    result.outcome = in_general(what.run(here), here.gate);
    for (const auto& warning : here.warnings)
        result.outcome += ", warned " + warning;
    if (there && !here.gate.has_cut_within(2s))
        result.add_fault("the cut never came");
    result.passed = there ? here.gate.passed_before_cut() : here.gate.passed();
    result.options = here.option_values();
    result.recover([&] { what.recover(here); });
    here.session.reset();
    here.handle.reset();
    if (!here.gate.is_quiet_within(longest_run))
        result.add_fault("a connection stays open");
    result.outcome += what.effect(here);
    for (const auto& text : here.gate.faults())
        result.add_fault("in the gate: " + text);
    for (const auto& text : here.server.faults())
        result.add_fault("in the server: " + text);
}

run_report run(const operation& what, const std::optional<cutting_gate::cut>& there = std::nullopt)
{
    run_report result;
    result.in_time([&] { run_in_place(what, there, result); });
    return result;
}

std::string commands_of(const run_report& one)
{
    std::string commands;
    for (const auto& piece : one.passed)
        if (piece.where == channel::control && piece.way == direction::to_server)
            commands += piece.bytes;
    return commands;
}

/// libcurl does not always say the same: after some refusals it walks to a folder again, or not.
/// The run in which it said least.
run_report shortest_run(const operation& what)
{
    std::vector<run_report> runs(12);
    do_at_once(runs.size(), [&](std::size_t i) { runs[i] = run(what); });
    return *std::min_element(runs.begin(), runs.end(), [](const auto& one, const auto& other) {
        return commands_of(one).size() < commands_of(other).size();
    });
}

/// A run cut there, in a conversation that is the recorded one up to the cut.
run_report run_like(const run_report& recorded, const operation& what,
                    const cutting_gate::cut& there)
{
    constexpr int most_attempts = 40;
    for (int attempt = 1;; ++attempt) {
        auto result = run(what, there);
        if (commands_of(recorded).starts_with(commands_of(result)) || attempt == most_attempts)
            return result;
    }
}

/// The row that holds for a point; none when no row does.
class expectations {
public:
    expectations(const operation& what, const std::vector<std::string>& stages)
        : rows_(stages.size()), data_(what.data)
    {
        auto from = stages.begin();
        for (const auto& row : what.control) {
            const auto here = std::find(from, stages.end(), row.stage);
            if (here == stages.end()) {
                ADD_FAILURE() << what.name << " has no stage \"" << row.stage << "\" there; it has "
                              << testing::PrintToString(stages);
                return;
            }
            std::fill(rows_.begin() + (here - stages.begin()), rows_.end(), row);
            from = here + 1;
        }
    }

    bool allow(const cut_point& point, breaking how, const std::string& outcome) const
    {
        const auto* row = row_of(point);
        if (!row)
            return false;
        const auto& allowed =
            how == breaking::reset && !row->when_reset.empty() ? row->when_reset : row->outcomes;
        return std::find(allowed.begin(), allowed.end(), outcome) != allowed.end();
    }

private:
    const expectation* row_of(const cut_point& point) const
    {
        if (point.where == channel::control)
            return &rows_[point.stage];
        const auto found = std::find_if(data_.begin(), data_.end(),
                                        [&](const auto& row) { return row.stage == point.label; });
        return found == data_.end() ? nullptr : &*found;
    }

    std::vector<expectation> rows_;
    std::vector<expectation> data_;
};

/// Options of which the second run left another value than the first.
std::string difference(const std::map<std::string, std::string>& wanted,
                       const std::map<std::string, std::string>& found)
{
    std::ostringstream text;
    for (const auto& [name, value] : wanted) {
        const auto here = found.find(name);
        // The URL is part of the outcome.
        if (name != "URL" && here != found.end() && here->second != value)
            text << ' ' << name << '=' << here->second << " instead of " << value;
    }
    return text.str();
}

struct planned_cut {
    cut_point point;
    breaking how;

    cutting_gate::cut in_gate() const { return {point.where, point.way, point.after, how}; }
};

/// Resets differ from orderly ends mostly between commands: every byte only in the full run.
std::size_t reset_stride()
{
    return std::getenv("TARNIX_TESTS_FULL") ? 1 : 7;
}

std::vector<cut_point> points_of(const conversation& recorded, cut_bytes which)
{
    if (which == cut_bytes::data)
        return recorded.data_points();
    return recorded.control_points(which == cut_bytes::commands ? direction::to_server
                                                                : direction::to_client);
}

} // namespace

void cut_everywhere(const cut_case<operation>& one)
{
    const auto descriptors = open_descriptors();
    const auto uncut = shortest_run(one.what);
    EXPECT_THAT(uncut.faults, testing::IsEmpty()) << "without a cut";
    const conversation recorded(uncut.passed);
    const expectations expected(one.what, recorded.stages());
    const auto points = points_of(recorded, one.which);
    ASSERT_FALSE(points.empty());
    std::vector<planned_cut> cuts;
    for (const auto& point : points)
        cuts.push_back({point, breaking::closed});
    for (std::size_t i = 0; i < points.size(); i += reset_stride())
        cuts.push_back({points[i], breaking::reset});
    std::vector<run_report> found(cuts.size());
    do_at_once(cuts.size(),
               [&](std::size_t i) { found[i] = run_like(uncut, one.what, cuts[i].in_gate()); });
    count_cuts(cuts.size(), one.what.mode == data_mode::active ? "connections cut in active mode"
                                                               : "connections cut");
    failed_points failed;
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const auto& [point, how] = cuts[i];
        const auto fail = [&failed, &there = cuts[i]](const std::string& text) {
            failed.add(there.point.label + (there.how == breaking::closed ? ", closed" : ", reset"),
                       text, there.point.after);
        };
        for (const auto& fault : found[i].faults)
            fail(fault);
        // libcurl does not notice that a connection was reset while nothing was asked of it.
        if (found[i].recovers_late && (how != breaking::reset || point.label != "answered"))
            fail("the first use of the client afterwards fails");
        if (!expected.allow(point, how, found[i].outcome))
            fail(found[i].outcome);
        const auto options = difference(uncut.options, found[i].options);
        if (!options.empty())
            fail("options" + options);
    }
    failed.report_all(name_of(one));
    EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace tarnix::test
