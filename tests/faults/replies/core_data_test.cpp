#include "core_meeting.hpp"
#include "data_meetings.hpp"

#include <tarnix/host/standalone.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tarnix::test {
namespace {

using testing::AnyOf;
using testing::StartsWith;
using verdict = data_fault::verdict;

class CoreDataTest : public testing::TestWithParam<std::string> {
protected:
    verdict verdict_on(const data_fault& fault) const
    {
        if (GetParam() == "send_file")
            return fault.upload;
        return GetParam() == "receive_file" ? fault.download : fault.listing;
    }

    void expect(const data_fault& fault, const core_meeting& met,
                const core_meeting& undisturbed) const
    {
        EXPECT_LT(met.duration, longest_meeting);
        EXPECT_EQ(met.folder_elsewhere, "/else");
        EXPECT_EQ(met.url_after, met.url_before);
        EXPECT_EQ(met.options, undisturbed.options);
        switch (verdict_on(fault)) {
        case verdict::fails:
            if (GetParam() == "send_file")
                EXPECT_THAT(met.outcome, StartsWith("UploadFailed("));
            else if (GetParam() == "receive_file")
                EXPECT_THAT(met.outcome, StartsWith("FTPError("));
            else
                // What had arrived, and no word of the failure.
                EXPECT_THAT(met.outcome, AnyOf(R"("")", undisturbed.outcome));
            break;
        case verdict::unnoticed:
            EXPECT_FALSE(met.raised) << met.outcome;
            EXPECT_NE(met.outcome, undisturbed.outcome);
            break;
        case verdict::harmless:
        case verdict::not_met:
            EXPECT_EQ(met.outcome, undisturbed.outcome);
        }
    }

    const host::standalone host_;
};

TEST_P(CoreDataTest, a_spoilt_transfer_ends_as_documented)
{
    const auto& operation = find_operation(core_operations(), GetParam());
    meet_data_faults(
        GetParam(), "the library",
        [&](const misbehaviour& how, const std::filesystem::path& local) {
            return meet(operation, how, local);
        },
        [this](const auto&... what) { expect(what...); });
}

INSTANTIATE_TEST_SUITE_P(Operations, CoreDataTest,
                         testing::Values("list", "nlst", "send_file", "receive_file"),
                         [](const auto& row) { return row.param; });

} // namespace
} // namespace tarnix::test
