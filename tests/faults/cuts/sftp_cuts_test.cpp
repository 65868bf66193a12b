#include "cut_at_strides.hpp"

#include <support/proxy_environment.hpp>

#include <tarnix/host/standalone.hpp>

#include <gtest/gtest.h>

namespace tarnix::test {
namespace {

class SftpCutsTest : public testing::TestWithParam<cut_case<real_operation>> {
protected:
    SftpCutsTest() { clear_proxy_environment(); }

    const host::standalone host_;
    const real_server server_ = real_server::of_kind("sshd");
};

TEST_P(SftpCutsTest, bytes_and_borders)
{
    cut_at_strides(server_, GetParam(), "connections cut over SFTP");
}

INSTANTIATE_TEST_SUITE_P(Operations, SftpCutsTest, testing::ValuesIn(cases_of(sftp_operations())),
                         [](const auto& row) { return name_of(row.param); });

} // namespace
} // namespace tarnix::test
