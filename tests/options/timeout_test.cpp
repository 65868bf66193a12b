#include "session.hpp"

#include <limits>

namespace tarnix::test {
namespace {

class timeout_options : public scripted_session, public testing::WithParamInterface<long> {};

TEST_P(timeout_options, transfer_timeout_hands_milliseconds_over_unscaled_and_for_good)
{
    transfer_timeout(handle_, GetParam());
    EXPECT_EQ(recorder_.take_all(), transcript{"TIMEOUT_MS=" + std::to_string(GetParam())});
}

TEST_P(timeout_options, connection_timeout_hands_milliseconds_over_unscaled_and_for_good)
{
    connection_timeout(handle_, GetParam());
    EXPECT_EQ(recorder_.take_all(), transcript{"CONNECTTIMEOUT_MS=" + std::to_string(GetParam())});
}

INSTANTIATE_TEST_SUITE_P(values, timeout_options,
                         testing::Values(0L, 1L, 5000L, -1L, std::numeric_limits<long>::max()));

using timeout_of_an_empty_handle = scripted_session;

TEST_F(timeout_of_an_empty_handle, raises_and_sets_nothing)
{
    const curl_ptr holder(std::move(handle_));
    recorder_.take_all();
    EXPECT_ERROR_ID(transfer_timeout(handle_, 1), id_of<ids::InvalidCurlHandle>());
    EXPECT_ERROR_ID(connection_timeout(handle_, 1), id_of<ids::InvalidCurlHandle>());
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

} // namespace
} // namespace tarnix::test
