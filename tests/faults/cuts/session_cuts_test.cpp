#include "cut_everywhere.hpp"
#include "session_operations.hpp"

#include <support/proxy_environment.hpp>

#include <tarnix/host/standalone.hpp>

#include <gtest/gtest.h>

namespace tarnix::test {
namespace {

class SessionCutsTest : public testing::TestWithParam<cut_case<operation>> {
protected:
    SessionCutsTest() : earlier_handler_(host::set_warning_handler(&place::note_warning))
    {
        clear_proxy_environment();
    }
    ~SessionCutsTest() override { host::set_warning_handler(earlier_handler_); }

    const host::standalone host_;
    const host::warning_handler earlier_handler_;
};

TEST_P(SessionCutsTest, every_byte)
{
    cut_everywhere(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Operations, SessionCutsTest,
                         testing::ValuesIn(cases_of(session_operations())),
                         [](const auto& row) { return name_of(row.param); });

INSTANTIATE_TEST_SUITE_P(ActiveMode, SessionCutsTest,
                         testing::ValuesIn(cases_of(session_operations_in_active_mode())),
                         [](const auto& row) { return name_of(row.param); });

} // namespace
} // namespace tarnix::test
