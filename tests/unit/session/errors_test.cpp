#include "requests.hpp"

#include <tarnix/ftp/errors.hpp>
#include <tarnix/io/ftp/errors.hpp>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarnix::ftp {
namespace {

namespace except = foundation::core::except;
namespace ids = tarnix::io::ftp::core::ids;

template <typename Tag>
std::optional<failure_kind> kind_of_id()
{
    resource_core::BaseMsgID message;
    message.component = except::identifier<Tag>::component;
    message.id = except::identifier<Tag>::id;
    return kind_of(except::Exception<Tag, std::exception, void>(message));
}

TEST(FailureKindTest, of_a_failure_is_its_own)
{
    const failure error(failure_kind::conflict, "x: taken");
    EXPECT_EQ(kind_of(error), failure_kind::conflict);
    EXPECT_STREQ(error.what(), "x: taken");
}

TEST(FailureTest, control_characters_become_question_marks)
{
    const failure error(failure_kind::permission, "x: 550 \x1b[2J\r\n\x7fno \xc3\xa4");
    EXPECT_STREQ(error.what(), "x: 550 ?[2J???no \xc3\xa4");
}

TEST(FailureKindTest, of_an_identifier_follows_from_it)
{
    EXPECT_EQ(kind_of_id<ids::BadLogin>(), failure_kind::login);
    EXPECT_EQ(kind_of_id<ids::NoConnection>(), failure_kind::connection);
    EXPECT_EQ(kind_of_id<ids::NoConnectionToStartingFolder>(), failure_kind::connection);
    EXPECT_EQ(kind_of_id<ids::NoSuchDirectory>(), failure_kind::not_found);
    EXPECT_EQ(kind_of_id<ids::FileUnavailable>(), failure_kind::not_found);
    EXPECT_EQ(kind_of_id<ids::NotFound>(), failure_kind::local_file);
    EXPECT_EQ(kind_of_id<ids::PermissionDenied>(), failure_kind::local_file);
    EXPECT_EQ(kind_of_id<TARNIX::io::common::file::OpenFailed>(), failure_kind::local_file);
    EXPECT_EQ(kind_of_id<ids::UploadFailed>(), failure_kind::transfer);
    EXPECT_EQ(kind_of_id<ids::FolderNotEmpty>(), failure_kind::conflict);
}

template <typename... Tags>
void expect_kinds(except::catalogue<Tags...>)
{
    const auto check = [](std::string_view component, std::string_view id, auto kind) {
        if (component == "TARNIX:io:ftp:curl" || id.starts_with("CouldNotLogin") ||
            id.starts_with("CouldNotDetermine"))
            EXPECT_EQ(kind, std::nullopt) << id;
        else
            EXPECT_NE(kind, std::nullopt) << id;
    };
    (check(except::identifier<Tags>::component, except::identifier<Tags>::id, kind_of_id<Tags>()),
     ...);
}

TEST(FailureKindTest, every_identifier_of_an_operation_has_one)
{
    expect_kinds(ids::catalogue{});
    expect_kinds(TARNIX::io::common::file::catalogue{});
}

TEST(FailureKindTest, other_exceptions_have_none)
{
    EXPECT_EQ(kind_of(std::runtime_error("x")), std::nullopt);
    EXPECT_EQ(kind_of(invalid_input("x")), std::nullopt);
}

TEST(FailureKindTest, of_libcurls_codes)
{
    using pair = std::pair<CURLcode, failure_kind>;
    for (const auto& [code, kind] : {pair{CURLE_COULDNT_RESOLVE_HOST, failure_kind::connection},
                                     pair{CURLE_COULDNT_CONNECT, failure_kind::connection},
                                     pair{CURLE_OPERATION_TIMEDOUT, failure_kind::connection},
                                     pair{CURLE_RECV_ERROR, failure_kind::connection},
                                     pair{CURLE_PEER_FAILED_VERIFICATION, failure_kind::security},
                                     pair{CURLE_USE_SSL_FAILED, failure_kind::security},
                                     pair{CURLE_SSL_CACERT_BADFILE, failure_kind::security},
                                     pair{CURLE_LOGIN_DENIED, failure_kind::login},
                                     pair{CURLE_REMOTE_FILE_NOT_FOUND, failure_kind::not_found},
                                     pair{CURLE_REMOTE_ACCESS_DENIED, failure_kind::permission},
                                     pair{CURLE_PARTIAL_FILE, failure_kind::transfer}})
        EXPECT_EQ(kind_of(code, ""), kind) << code;
}

} // namespace
} // namespace tarnix::ftp
