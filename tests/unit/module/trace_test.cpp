#include <support/log_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace tarnix::io::ftp::core; // NOLINT(google-build-using-namespace)

TEST(GetCurlPtrTrace, its_signature_stands_in_the_records_of_entry_and_exit)
{
    const std::string signature = "curl_ptr &tarnix::io::ftp::core::get_curl_ptr(const txArray *)";
    const tarnix::test::log_recorder log(getLogger(), 32 | 64);
    EXPECT_ANY_THROW(get_curl_ptr(nullptr));
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"32 " + signature, "64 " + signature + " [throw]"}));
    for (const auto& record : log.records())
        EXPECT_EQ(record.file, "src/module");
}

} // namespace
