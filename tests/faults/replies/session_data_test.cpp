#include "data_meetings.hpp"
#include "session_meeting.hpp"

#include <tarnix/host/standalone.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

namespace tarnix::test {
namespace {

using ftp::failure_kind;
using testing::AnyOf;
using testing::HasSubstr;
using verdict = data_fault::verdict;

class SessionDataTest : public testing::TestWithParam<std::string> {
protected:
    verdict verdict_on(const data_fault& fault) const
    {
        if (GetParam() == "upload")
            return fault.upload_of_session.value_or(fault.upload);
        return GetParam() == "download" ? fault.download
                                        : fault.listing_of_session.value_or(fault.listing);
    }

    void expect(const data_fault& fault, const session_meeting& met,
                const session_meeting& undisturbed) const
    {
        EXPECT_LT(met.duration, longest_meeting);
        EXPECT_THAT(met.names_later, testing::StartsWith("[file]"));
        EXPECT_FALSE(GetParam() == "download" && met.raised && met.has_local_file);
        switch (verdict_on(fault)) {
        case verdict::fails:
            EXPECT_TRUE(met.raised) << met.outcome;
            EXPECT_THAT(met.kind, AnyOf(failure_kind::connection, failure_kind::transfer))
                << met.outcome;
            break;
        case verdict::unnoticed:
            EXPECT_FALSE(met.raised) << met.outcome;
            EXPECT_NE(met.outcome, undisturbed.outcome);
            break;
        case verdict::harmless:
        case verdict::not_met:
            EXPECT_FALSE(met.raised) << met.outcome;
            EXPECT_EQ(met.outcome, undisturbed.outcome);
        }
    }

    const host::standalone host_;
};

TEST_P(SessionDataTest, a_spoilt_transfer_is_told_or_does_not_matter)
{
    const auto& operation = find_operation(session_operations(), GetParam());
    meet_data_faults(
        GetParam(), "a session",
        [&](const misbehaviour& how, const std::filesystem::path& local) {
            return meet(operation, how, local);
        },
        [this](const auto&... what) { expect(what...); });
}

INSTANTIATE_TEST_SUITE_P(Operations, SessionDataTest,
                         testing::Values("list", "names", "upload", "download"),
                         [](const auto& row) { return row.param; });

class SessionListingTest : public testing::Test {
protected:
    SessionListingTest()
    {
        ftp::session_options options;
        options.password = "secret";
        session_.emplace(url_of(server_), options);
    }

    const host::standalone host_;
    scripted_server server_{"/home/u"};
    std::optional<ftp::session> session_;
};

TEST_F(SessionListingTest, any_bytes_are_names)
{
    using std::string_literals::operator""s;
    server_.list_as("a\0b\r\n\x1b[2J\r\n"s + std::string(100'000, 'x') + "\r\n\xff\xfe\r\n");
    EXPECT_THAT(session_->names(),
                testing::ElementsAre("a\0b"s, "\x1b[2J", std::string(100'000, 'x'), "\xff\xfe"));
}

TEST_F(SessionListingTest, a_listing_without_a_last_line_end_broke_off)
{
    server_.list_as(std::string(1UL << 20, 'x'));
    for (const auto names : {true, false})
        try {
            if (names)
                session_->names();
            else
                session_->list();
            ADD_FAILURE() << "did not fail";
        } catch (const ftp::failure& failure) {
            EXPECT_THAT(failure.what(), HasSubstr("broke off"));
        }
}

TEST_F(SessionListingTest, an_endless_listing_ends)
{
    server_.list_as(std::string(64UL << 10, 'x') + "\r\n");
    server_.conduct_data(data_conduct::endless);
    try {
        session_->names();
        ADD_FAILURE() << "did not fail";
    } catch (const ftp::failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("the answer is longer than"));
    }
    server_.clear_script();
    EXPECT_THAT(session_->names(), testing::IsEmpty());
}

} // namespace
} // namespace tarnix::test
