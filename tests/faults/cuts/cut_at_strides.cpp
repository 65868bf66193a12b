#include "cut_at_strides.hpp"

#include "at_once.hpp"
#include "cut_count.hpp"
#include "failed_points.hpp"
#include "run_report.hpp"

#include <support/failure_kinds.hpp>
#include <tarnix/ftp/errors.hpp>

#include <boost/algorithm/string/replace.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <numeric>
#include <optional>
#include <set>

namespace tarnix::test {

namespace {

using namespace std::chrono_literals;
using channel = cutting_gate::channel;
using direction = cutting_gate::direction;
using breaking = cutting_gate::breaking;

struct run_result {
    run_report report;
    bool was_cut = false;
};

/// What is only lost is found lost, and nothing else.
void use_after_cut(real_place& here, run_report& report)
{
    try {
        here.use_session();
    } catch (const ftp::failure& failure) {
        if (failure.kind() != ftp::failure_kind::connection)
            report.add_fault(std::string("the next use fails: ") + name_of(failure.kind()) + ": " +
                             failure.what());
        throw;
    }
}

run_result run(const real_server& server, const real_operation& what,
               const std::optional<cutting_gate::cut>& there = std::nullopt)
{
    run_result result;
    auto& report = result.report;
    real_place here(server);
    what.prepare(here);
    if (what.start)
        what.start(here);
    here.gate.start(there);
    report.in_time([&] { report.outcome = what.run(here); });
    result.was_cut = there && here.gate.has_cut_within(500ms);
    report.passed = here.gate.passed();
    // What is encrypted is not of the same length each time: a cut may not have come.
    if (there && !result.was_cut)
        here.gate.start();
    report.in_time([&] { report.recover([&] { use_after_cut(here, report); }); });
    report.in_time([&] { here.session.reset(); });
    if (!here.gate.is_quiet_within(longest_run))
        report.add_fault("a connection stays open");
    boost::algorithm::replace_all(report.outcome, here.remote.string(), "here");
    report.outcome += what.effect(here);
    for (const auto& text : here.gate.faults())
        report.add_fault("in the gate: " + text);
    return result;
}

/// How much of a stream there was, and where the other side began to speak.
struct stream {
    std::size_t length = 0;
    std::set<std::size_t> borders;
};

stream stream_of(const std::vector<cutting_gate::passage>& passed, channel where, direction way)
{
    stream found;
    for (const auto& piece : passed) {
        if (piece.where != where)
            continue;
        if (piece.way == way)
            found.length += piece.bytes.size();
        else
            found.borders.insert(found.length);
    }
    return found;
}

bool is_full_run()
{
    return std::getenv("TARNIX_TESTS_FULL") != nullptr;
}

/// Of most borders the byte before or the one behind, in the full run both.
std::set<std::size_t> bytes_to_cut(const stream& whole, std::size_t stride, std::size_t phase)
{
    std::set<std::size_t> bytes{0, 1, whole.length - 1, whole.length};
    std::size_t number = phase;
    for (const auto border : whole.borders) {
        bytes.insert(border + ++number % 2);
        if (is_full_run())
            bytes.insert({border, border + 1});
    }
    for (auto byte = phase; byte < whole.length; byte += stride)
        bytes.insert(byte);
    bytes.erase(bytes.upper_bound(whole.length), bytes.end());
    return bytes;
}

/// Records full of data are all alike.
std::size_t stride_for(std::size_t length)
{
    return is_full_run() ? std::max<std::size_t>(7, length / 500)
                         : std::max<std::size_t>(97, length / 50);
}

/// The bytes cut differ from operation to operation.
std::size_t phase_of(const std::string& name, std::size_t stride)
{
    return std::accumulate(name.begin(), name.end(), std::size_t{0},
                           [](std::size_t sum, char c) { return sum * 31 + (c & 0x7F); }) %
           stride;
}

std::vector<cutting_gate::cut> planned_cuts(const std::vector<cutting_gate::passage>& passed,
                                            const cut_case<real_operation>& one)
{
    const auto where = one.which == cut_bytes::data ? channel::data : channel::control;
    std::vector<cutting_gate::cut> cuts;
    for (const auto way : {direction::to_server, direction::to_client}) {
        if (one.which == (way == direction::to_server ? cut_bytes::replies : cut_bytes::commands))
            continue;
        const auto whole = stream_of(passed, where, way);
        if (whole.length == 0)
            continue;
        const auto stride = stride_for(whole.length);
        for (const auto byte : bytes_to_cut(whole, stride, phase_of(name_of(one), stride)))
            for (const auto how : {breaking::closed, breaking::reset})
                if (is_full_run() || byte % 2 == (how == breaking::reset ? 1U : 0U) || byte == 0 ||
                    byte == whole.length)
                    cuts.push_back({where, way, byte, how});
    }
    return cuts;
}

std::string stage_of(const cutting_gate::cut& there)
{
    return std::string(there.way == direction::to_server ? "to the server" : "to the client") +
           (there.how == breaking::closed ? ", closed" : ", reset");
}

} // namespace

void cut_at_strides(const real_server& server, const cut_case<real_operation>& one,
                    const std::string& counted_as)
{
    const auto uncut = run(server, one.what).report;
    const auto descriptors = open_descriptors();
    EXPECT_THAT(uncut.faults, testing::IsEmpty()) << "without a cut";
    EXPECT_EQ(uncut.outcome, one.what.success) << "without a cut";
    const auto cuts = planned_cuts(uncut.passed, one);
    ASSERT_FALSE(cuts.empty());
    std::vector<run_result> found(cuts.size());
    do_at_once(cuts.size(), [&](std::size_t i) { found[i] = run(server, one.what, cuts[i]); });
    auto allowed = one.which == cut_bytes::data ? one.what.data : one.what.control;
    allowed.push_back(one.what.success);
    failed_points failed;
    std::size_t came = 0;
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const auto& [report, was_cut] = found[i];
        const auto fail = [&](const std::string& text) {
            failed.add(stage_of(cuts[i]), text, cuts[i].after);
        };
        for (const auto& fault : report.faults)
            fail(fault);
        if (!was_cut && report.outcome != one.what.success)
            fail("without a cut " + report.outcome);
        if (std::find(allowed.begin(), allowed.end(), report.outcome) == allowed.end())
            fail(report.outcome);
        if (report.recovers_late)
            fail("the first use of the client afterwards fails");
        came += was_cut ? 1 : 0;
    }
    failed.report_all(name_of(one));
    // The others were meant for bytes that did not come this time: lengths differ a little, and who
    // takes leave may be gone before the last ones.
    constexpr std::size_t few = 8;
    EXPECT_GE(came + few, cuts.size() - cuts.size() / 10);
    EXPECT_GT(came, 0U);
    count_cuts(came, counted_as);
    EXPECT_EQ(open_descriptors(), descriptors);
}

} // namespace tarnix::test
