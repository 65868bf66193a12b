#include "cut_at_strides.hpp"

#include <support/proxy_environment.hpp>

#include <tarnix/host/standalone.hpp>

#include <gtest/gtest.h>

namespace tarnix::test {
namespace {

class FtpsCutsTest : public testing::TestWithParam<cut_case<real_operation>> {
protected:
    FtpsCutsTest() { clear_proxy_environment(); }

    const host::standalone host_;
    const real_server server_ = real_server::of_kind("vsftpd-tls");
};

TEST_P(FtpsCutsTest, bytes_and_borders)
{
    cut_at_strides(server_, GetParam(), "connections cut over TLS");
}

INSTANTIATE_TEST_SUITE_P(Operations, FtpsCutsTest, testing::ValuesIn(cases_of(ftps_operations())),
                         [](const auto& row) { return name_of(row.param); });

} // namespace
} // namespace tarnix::test
