#include "core_expectations.hpp"
#include "core_meeting.hpp"
#include "meeting_pool.hpp"
#include "open_descriptors.hpp"
#include "reply_faults.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <iostream>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

/// One fault at one step.
struct meeting_point {
    std::size_t step;
    std::string word;
    const named_fault* fault;
    bool for_good;
    core_meeting met{};
};

class CoreRepliesTest : public testing::TestWithParam<core_operation> {
protected:
    CoreRepliesTest()
    {
        host::set_warning_handler([](const resource_core::BaseMsgID&) {});
    }

    /// An undisturbed run of the operation.
    core_meeting meet_undisturbed() { return meet(GetParam(), {}, next_local()); }

    std::vector<meeting_point> points_of(const core_meeting& undisturbed) const
    {
        std::vector<meeting_point> points;
        for (std::size_t step = 0; step < undisturbed.steps.size(); ++step) {
            const auto& word = undisturbed.steps[step];
            for (const auto& fault : reply_faults()) {
                points.push_back({step, word, &fault, false});
                if (fault.meant == effect::loss)
                    points.push_back({step, word, &fault, true});
            }
            constexpr std::size_t steps_of_login = 4;
            if (GetParam().connects && step < steps_of_login)
                for (const auto& fault : large_reply_faults())
                    points.push_back({step, word, &fault, false});
        }
        return points;
    }

    void meet_all(std::vector<meeting_point>& points)
    {
        run_meetings(points.size(), [&](std::size_t i) {
            points[i].met = meet(GetParam(), set_up(points[i]), next_local());
        });
    }

    static misbehaviour set_up(const meeting_point& point)
    {
        const auto arm = [&point](scripted_server& server) {
            if (point.for_good)
                server.disturbances().disturb_from(point.step, point.fault->fault);
            else
                server.disturbances().disturb(point.step, point.fault->fault);
        };
        const auto meant = point.fault->meant;
        return {arm, meant != effect::none && meant != effect::refusal && meant != effect::loss};
    }

    /// What holds whatever the server did.
    static void expect_unharmed(const core_meeting& met, const core_meeting& undisturbed)
    {
        EXPECT_LT(met.duration, longest_meeting);
        EXPECT_EQ(met.folder_elsewhere, "/else");
        for (const auto& [option, value] : met.options) {
            const auto usual = undisturbed.options.find(option);
            EXPECT_EQ(value, usual == undisturbed.options.end() ? "0" : usual->second) << option;
        }
    }

    /// Where the session stands. A failed connect leaves it anywhere.
    void expect_right_folder(const core_meeting& met, const core_meeting& undisturbed) const
    {
        using testing::AnyOf;
        if (GetParam().connects)
            return;
        if (GetParam().name == "is_folder" && met.outcome == "false")
            // Not where it was, when the folder was entered and its name could not be learned.
            EXPECT_THAT(met.url_after, AnyOf(met.url_before, met.url_before + "folder/"));
        else
            EXPECT_THAT(met.url_after, AnyOf(met.url_before, undisturbed.url_after));
    }

    static bool is_expected(const core_meeting& met, const core_meeting& undisturbed,
                            const std::vector<std::string>& outcomes)
    {
        for (const auto& outcome : outcomes)
            if (outcome == "=" ? met.outcome == undisturbed.outcome : matches(outcome, met.outcome))
                return true;
        return false;
    }

private:
    std::filesystem::path next_local() { return local_ / std::to_string(number_++); }

    const host::standalone host_;
    const temporary_folder local_;
    std::atomic<int> number_ = 0;
};

TEST_P(CoreRepliesTest, every_fault_at_every_step_ends_as_documented)
{
    const auto descriptors = count_open_descriptors();
    const auto undisturbed = meet_undisturbed();
    ASSERT_EQ(undisturbed.folder_elsewhere, "/else");
    ASSERT_FALSE(undisturbed.raised) << undisturbed.outcome;
    auto points = points_of(undisturbed);
    meet_all(points);
    for (const auto& point : points) {
        SCOPED_TRACE(GetParam().name + ", step " + std::to_string(point.step) + ' ' + point.word +
                     ": " + point.fault->label + (point.for_good ? ", from there on" : ""));
        const auto expected =
            point.for_good
                ? expected_outcomes_for_good(GetParam().name, point.step)
                : expected_outcomes(GetParam().name, point.step, point.word, *point.fault);
        EXPECT_TRUE(is_expected(point.met, undisturbed, expected))
            << "came to " << point.met.outcome.substr(0, 300) << "\nshould be "
            << testing::PrintToString(expected);
        expect_unharmed(point.met, undisturbed);
        expect_right_folder(point.met, undisturbed);
    }
    EXPECT_EQ(count_open_descriptors(), descriptors);
    std::cout << "counted: " << points.size() << " spoilt replies to operations of the library\n";
}

INSTANTIATE_TEST_SUITE_P(Operations, CoreRepliesTest, testing::ValuesIn(core_operations()),
                         [](const auto& row) {
                             auto name = row.param.name;
                             for (auto& c : name)
                                 c = c == ' ' ? '_' : c;
                             return name;
                         });

} // namespace
} // namespace tarnix::test
