#include "requests.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnix::ftp {
namespace {

namespace core = tarnix::io::ftp::core;
using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(AskTest, ends_an_answer_that_is_too_long)
{
    core::curl_ptr handle(false);
    watch watching(60s, {});
    const auto given = ask(handle, watching, "file:///dev/zero", question::long_listing, 1000);
    EXPECT_EQ(given.code, CURLE_WRITE_ERROR);
    EXPECT_THAT(given.error, HasSubstr("longer than 1000 bytes"));
    EXPECT_LE(given.body.size(), 1000);
}

} // namespace
} // namespace tarnix::ftp
