#include "core_meeting.hpp"
#include "data_faults.hpp"
#include "meeting_pool.hpp"
#include "open_descriptors.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

namespace tarnix::test {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::StartsWith;
using verdict = data_fault::verdict;

constexpr auto longest_meeting = 20s;

const core_operation& find_operation(const std::string& name)
{
    for (const auto& one : core_operations())
        if (one.name == name)
            return one;
    throw std::out_of_range(name);
}

class CoreDataTest : public testing::TestWithParam<std::string> {
protected:
    verdict verdict_on(const data_fault& fault) const
    {
        if (GetParam() == "send_file")
            return fault.upload;
        return GetParam() == "receive_file" ? fault.download : fault.listing;
    }

    std::filesystem::path local(std::size_t number) const
    {
        return local_ / std::to_string(number);
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
    const temporary_folder local_;
    const scripted_server elsewhere_{"/else"};
};

TEST_P(CoreDataTest, a_spoilt_transfer_ends_as_documented)
{
    const auto& operation = find_operation(GetParam());
    const auto& faults = data_faults();
    const auto descriptors = count_open_descriptors();
    const auto undisturbed = meet(operation, {}, local(faults.size()), elsewhere_);
    std::vector<core_meeting> meetings(faults.size());
    run_meetings(faults.size(), [&](std::size_t i) {
        meetings[i] = meet(operation, faults[i].how, local(i), elsewhere_);
    });
    for (std::size_t i = 0; i < faults.size(); ++i) {
        SCOPED_TRACE(GetParam() + ": " + faults[i].label);
        expect(faults[i], meetings[i], undisturbed);
    }
    EXPECT_EQ(count_open_descriptors(), descriptors);
    std::cout << "counted: " << faults.size() << " spoilt transfers of the library\n";
}

INSTANTIATE_TEST_SUITE_P(Operations, CoreDataTest,
                         testing::Values("list", "nlst", "send_file", "receive_file"),
                         [](const auto& row) { return row.param; });

} // namespace
} // namespace tarnix::test
