#include "meeting_pool.hpp"
#include "open_descriptors.hpp"
#include "reply_faults.hpp"
#include "session_meeting.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <set>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

using ftp::failure_kind;
using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

/// One fault at one step.
struct meeting_point {
    std::size_t step;
    std::string word;
    const named_fault* fault;
    session_meeting met{};
};

/// Steps that an operation cannot do without, and whose answer it cannot learn otherwise.
bool is_essential(const std::string& word)
{
    static const std::set<std::string> words{
        "(greeting)", "USER", "PASS",       "STOR", "STOR (end)", "RETR", "RETR (end)", "LIST",
        "LIST (end)", "NLST", "NLST (end)", "MKD",  "RMD",        "DELE", "SYST",       "TYPE"};
    return words.count(word) != 0;
}

class SessionRepliesTest : public testing::TestWithParam<session_operation> {
protected:
    SessionRepliesTest()
    {
        host::set_warning_handler([](const resource_core::BaseMsgID&) {});
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
            server.disturbances().disturb(point.step, point.fault->fault);
        };
        const auto meant = point.fault->meant;
        return {arm, meant == effect::silence || meant == effect::wrong_code};
    }

    std::filesystem::path next_local() { return local_ / std::to_string(number_++); }

    bool is_about_existence() const
    {
        return GetParam().name.starts_with("exists") || GetParam().name.starts_with("is_") ||
               GetParam().name == "rename";
    }

    /// To a question a refusal can be the answer "no".
    bool may_be_answered(const meeting_point& point) const
    {
        const auto code = point.fault->code;
        return is_about_existence() && (code == 450 || code == 550 || code == 553);
    }

    bool must_fail(const meeting_point& point) const
    {
        switch (point.fault->meant) {
        case effect::silence:
        case effect::loss:
            return is_essential(point.word) || point.word == "EPSV";
        case effect::refusal:
            return is_essential(point.word) && !may_be_answered(point);
        default:
            return false;
        }
    }

    /// What the layer below cannot read. The first line of a reply counts to a PWD.
    bool is_unreadable(const meeting_point& point) const
    {
        const auto is_own_pwd = GetParam().connects && point.step == 3;
        return (point.word == "EPSV" && point.fault->label == "with NULs") ||
               (point.word == "PWD" && !is_own_pwd &&
                point.fault->label == "behind 4 KiB of lines");
    }

    void expect_right_result(const meeting_point& point, const session_meeting& undisturbed) const
    {
        const auto& met = point.met;
        const auto code = point.fault->code;
        EXPECT_FALSE(must_fail(point));
        if (met.outcome == undisturbed.outcome)
            return;
        if (GetParam().name == "system_type" && point.fault->meant == effect::none) {
            EXPECT_THAT(met.outcome, HasSubstr("UNIX Type: L8"));
        } else if (code != 200) {
            // One that says that it did what it did not do is believed.
            EXPECT_TRUE(may_be_answered(point) && met.outcome == "no") << met.outcome;
        }
    }

    /// Told by the session itself, in words that any terminal may show.
    static void expect_one_line_from(const session_meeting& met)
    {
        EXPECT_TRUE(met.kind) << met.outcome;
        EXPECT_GT(met.outcome.size(), 20U);
        EXPECT_LT(met.outcome.size(), 700U);
        EXPECT_TRUE(std::none_of(met.outcome.begin(), met.outcome.end(), [](unsigned char c) {
            return c < 0x20 || c == 0x7F;
        })) << testing::PrintToString(met.outcome);
        EXPECT_THAT(met.outcome, AnyOf(StartsWith("cannot "), StartsWith("127.")));
    }

    void expect_right_failure(const meeting_point& point) const
    {
        const auto& met = point.met;
        expect_one_line_from(met);
        ASSERT_TRUE(met.kind);
        EXPECT_FALSE(GetParam().name.starts_with("download") && met.has_local_file);
        EXPECT_THAT(kinds_for(point), testing::Contains(*met.kind)) << met.outcome;
    }

    std::set<failure_kind> kinds_for(const meeting_point& point) const
    {
        const auto& fault = *point.fault;
        const auto in_login = point.word == "USER" || point.word == "PASS";
        if (fault.meant == effect::none && is_unreadable(point))
            return {failure_kind::transfer, failure_kind::connection};
        // The reply that comes next stands for the one that came without its text.
        if (fault.label == "a code alone" && (point.word == "LIST" || point.word == "NLST"))
            return {failure_kind::transfer};
        if (fault.meant == effect::none)
            return {};
        // The last that is heard is that the name is expected.
        if (point.word == "RNTO" && fault.meant == effect::loss)
            return {failure_kind::connection, failure_kind::transfer};
        if (fault.meant == effect::silence || fault.meant == effect::loss || fault.code == 421)
            return {failure_kind::connection};
        if (GetParam().connects && (point.word == "(greeting)" || point.step <= 5))
            return {in_login ? failure_kind::login : failure_kind::connection};
        // The PWD behind a change of folder, whose answer the layer below does not hand on.
        if (point.word == "PWD")
            return {failure_kind::connection};
        if (fault.meant == effect::refusal)
            return {failure_kind::transfer, failure_kind::permission, failure_kind::not_found};
        return {failure_kind::transfer, failure_kind::permission, failure_kind::not_found,
                failure_kind::connection, failure_kind::conflict};
    }

private:
    const host::standalone host_;
    const temporary_folder local_;
    std::atomic<int> number_ = 0;
};

TEST_P(SessionRepliesTest, every_fault_at_every_step_is_told_or_does_not_matter)
{
    const auto descriptors = count_open_descriptors();
    const auto undisturbed = meet(GetParam(), {}, next_local());
    ASSERT_FALSE(undisturbed.raised) << undisturbed.outcome;
    std::vector<meeting_point> points;
    for (std::size_t step = 0; step < undisturbed.steps.size(); ++step)
        for (const auto& fault : reply_faults())
            points.push_back({step, undisturbed.steps[step], &fault});
    meet_all(points);
    for (const auto& point : points) {
        SCOPED_TRACE(GetParam().name + ", step " + std::to_string(point.step) + ' ' + point.word +
                     ": " + point.fault->label);
        EXPECT_LT(point.met.duration, longest_meeting);
        EXPECT_THAT(point.met.names_later, StartsWith("["));
        if (point.met.raised)
            expect_right_failure(point);
        else
            expect_right_result(point, undisturbed);
    }
    EXPECT_EQ(count_open_descriptors(), descriptors);
    std::cout << "counted: " << points.size() << " spoilt replies to operations of a session\n";
}

TEST_P(SessionRepliesTest, a_server_that_always_says_the_same_is_told)
{
    const auto undisturbed = meet(GetParam(), {}, next_local());
    std::vector<meeting_point> points;
    for (const auto& fault : reply_faults())
        if (fault.meant != effect::none)
            points.push_back({0, undisturbed.steps.front(), &fault});
    run_meetings(points.size(), [&](std::size_t i) {
        auto how = set_up(points[i]);
        how.arm = [&fault = points[i].fault->fault](scripted_server& server) {
            server.disturbances().disturb_from(0, fault);
        };
        points[i].met = meet(GetParam(), how, next_local());
    });
    for (const auto& point : points) {
        SCOPED_TRACE(GetParam().name + ", always " + point.fault->label);
        EXPECT_LT(point.met.duration, longest_meeting);
        EXPECT_THAT(point.met.names_later, StartsWith("["));
        const auto is_believed = point.fault->code == 200 || may_be_answered(point);
        EXPECT_TRUE(point.met.raised || is_believed) << point.met.outcome;
        if (point.met.raised)
            expect_one_line_from(point.met);
    }
    std::cout << "counted: " << points.size() << " hopeless servers met by a session\n";
}

INSTANTIATE_TEST_SUITE_P(Operations, SessionRepliesTest, testing::ValuesIn(session_operations()),
                         [](const auto& row) {
                             auto name = row.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

} // namespace
} // namespace tarnix::test
