#include "exit_codes.hpp"

#include "arguments.hpp"
#include "local_files.hpp"
#include "output.hpp"

#include <tarnix/ftp/errors.hpp>
#include <tarnix/io/ftp/errors.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarnix::cli {
namespace {

namespace ids = io::ftp::core::ids;
using foundation::core::except::make_message_id;

TEST(ExitCodeTest, there_is_one_for_each_kind_of_failure)
{
    using ftp::failure_kind;
    using pair = std::pair<failure_kind, exit_code>;
    for (const auto& [kind, code] : {pair{failure_kind::connection, exit_code::connection},
                                     pair{failure_kind::login, exit_code::login},
                                     pair{failure_kind::not_found, exit_code::not_found},
                                     pair{failure_kind::permission, exit_code::permission},
                                     pair{failure_kind::transfer, exit_code::transfer},
                                     pair{failure_kind::local_file, exit_code::local_file},
                                     pair{failure_kind::security, exit_code::security},
                                     pair{failure_kind::conflict, exit_code::conflict},
                                     pair{failure_kind::cancelled, exit_code::transfer}})
        EXPECT_EQ(exit_code_of(ftp::failure(kind, "x")), code) << static_cast<int>(kind);
}

TEST(ExitCodeTest, identifiers_of_the_library_have_theirs)
{
    EXPECT_EQ(exit_code_of(io::ftp::core::error<ids::NotFound>(
                  make_message_id<ids::NotFound>(std::u16string(u"x")))),
              exit_code::local_file);
    EXPECT_EQ(exit_code_of(io::ftp::core::error<ids::LibraryInitializationFailure>(
                  make_message_id<ids::LibraryInitializationFailure>())),
              exit_code::internal);
}

TEST(ExitCodeTest, what_the_user_wrote_is_usage)
{
    EXPECT_EQ(exit_code_of(usage_error("x")), exit_code::usage);
    EXPECT_EQ(exit_code_of(ftp::invalid_url("x")), exit_code::usage);
    EXPECT_EQ(exit_code_of(ftp::invalid_input("x")), exit_code::usage);
}

TEST(ExitCodeTest, the_program_has_its_own)
{
    EXPECT_EQ(exit_code_of(local_file_error("x")), exit_code::local_file);
    EXPECT_EQ(exit_code_of(output_error("x", false)), exit_code::output);
    EXPECT_EQ(exit_code_of(std::runtime_error("x")), exit_code::internal);
    EXPECT_EQ(exit_code_of(std::bad_alloc()), exit_code::internal);
}

TEST(ExitCodeTest, the_help_lists_each)
{
    for (auto code = 0; code <= static_cast<int>(exit_code::internal); ++code)
        EXPECT_THAT(exit_code_help(),
                    testing::ContainsRegex("\n +" + std::to_string(code) + "  [a-z]"));
}

} // namespace
} // namespace tarnix::cli
