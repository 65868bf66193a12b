#include "lane.hpp"
#include "sweep.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace tarnix::test;

const std::string internal = "identifier TARNIX:io:ftp:ftp:InternalError";
const std::string lost = "failure 0 ";
// To a command without the name that libcurl had no memory for.
const std::string refused = "failure 4 ";
const std::string no_transfer = "failure 6 ";
const std::string ftp = "identifier TARNIX:io:ftp:ftp:";
const std::string no_handle = "identifier TARNIX:io:ftp:curl:CurlHandleInitializationFailure";

std::vector<expectation> expectations()
{
    const std::string local = "failure 7 ";
    return {
        {"core_connect", {no_handle, internal, ftp + "NoConnection", ftp + "NoSuchDirectory"}},
        {"core_pwd", {internal}},
        {"core_cd", {internal, ftp + "NoSuchDirectory"}},
        {"core_list", {internal}, {""}},
        {"core_nlst", {internal}, {""}},
        {"core_dir", {internal}, {""}},
        {"core_is_folder", {internal}, {"false"}},
        {"core_mkdir", {internal}},
        {"core_rmdir", {internal, ftp + "FTPError"}},
        {"core_put", {internal, ftp + "NotFound", ftp + "UploadFailed"}},
        {"core_get", {internal, ftp + "FTPError", "identifier TARNIX:io:common:file:OpenFailed"}},
        {"core_delete", {internal, ftp + "DeleteFailed"}},
        {"core_rename", {}, {}, true},
        {"core_is_file", {ftp + "FTPError"}, {"false"}},
        {"core_syst", {}, {""}},
        {"session_connect", {no_handle, lost, no_transfer}},
        {"session_cd", {internal, lost, no_transfer}},
        {"session_list", {internal, lost, no_transfer}},
        {"session_names", {internal, lost, no_transfer}},
        {"session_is_folder", {internal, no_transfer}},
        {"session_exists", {internal, no_transfer}},
        {"session_is_file", {internal, no_transfer}},
        {"session_mkdir", {internal, lost, no_transfer}},
        {"session_rmdir", {internal, lost, no_transfer}},
        {"session_put", {internal, ftp + "NotFound", lost, no_transfer}},
        {"session_get", {internal, lost, refused, no_transfer, local}},
        {"session_delete", {internal, lost, no_transfer}},
        {"session_rename", {internal, lost, no_transfer}},
        {"session_syst", {lost}},
        {"host_start", {no_handle}},
        {"host_messages"},
        {"host_warning"},
        {"host_object", {no_handle}},
        // libcurl takes a part of the URL that it has no memory for to be malformed.
        {"url_parsing", {"tarnix::ftp::invalid_url"}},
    };
}

// With a step where traces are many.
constexpr std::array manners{
    manner{"one", fault::one_allocation, false, 1},
    manner{"all from one on", fault::all_allocations, false, 1},
    manner{"one, traced", fault::one_allocation, true, 5},
    manner{"all from one on, traced", fault::all_allocations, true, 20},
};

class ShortagesTest : public testing::TestWithParam<expectation> {
protected:
    ShortagesTest() : sweep_(GetParam(), make_lanes()) {}

    sweep sweep_;

private:
    static std::vector<std::unique_ptr<lane>> make_lanes()
    {
        constexpr int side_by_side = 8;
        std::vector<std::unique_ptr<lane>> lanes;
        for (int i = 0; i < side_by_side; ++i)
            lanes.push_back(std::make_unique<lane>());
        return lanes;
    }
};

TEST_P(ShortagesTest, each_allocation_fails_in_turn)
{
    for (const auto& how : manners) {
        SCOPED_TRACE(how.name);
        sweep_.fail_allocations(how);
    }
}

TEST_P(ShortagesTest, few_descriptors_are_left)
{
    constexpr int enough = 12;
    int failures = 0;
    for (int free = 0; free < enough; ++free)
        failures += sweep_.leave_descriptors(free) ? 0 : 1;
    EXPECT_TRUE(sweep_.leave_descriptors(enough));
    std::cout << "counted: " << failures << " runs that lacked descriptors\n";
}

INSTANTIATE_TEST_SUITE_P(Operations, ShortagesTest, testing::ValuesIn(expectations()),
                         [](const auto& one) { return one.param.operation; });

/// In a process in which libcurl, OpenSSL and libproxy have never been used before.
TEST(ColdStart, each_allocation_fails_in_turn)
{
    lane on;
    int failures = 0;
    const long step = step_of({"one", fault::one_allocation, false, 3});
    for (long nth = 1;; nth += step) {
        SCOPED_TRACE(nth);
        const auto seen =
            on.run({.operation = "host_start", .what = fault::one_allocation, .nth = nth});
        if (seen.ended_in == "handle")
            continue;
        ASSERT_EQ(seen.end, "exit 0");
        if (seen.failed == 0) {
            EXPECT_EQ(seen.result, "done true");
            break;
        }
        ++failures;
        EXPECT_THAT(seen.result,
                    testing::AnyOf("done true", "raised bad_alloc", "raised " + no_handle,
                                   testing::StartsWith("raised std::runtime_error ")));
    }
    EXPECT_GT(failures, 0);
    std::cout << "counted: " << failures << " allocations failed\n";
}

} // namespace
