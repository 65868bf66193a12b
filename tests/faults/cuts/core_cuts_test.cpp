#include "core_operations.hpp"
#include "cut_everywhere.hpp"

#include <support/proxy_environment.hpp>

#include <tarnix/host/standalone.hpp>

#include <gtest/gtest.h>

namespace tarnix::test {
namespace {

class CoreCutsTest : public testing::TestWithParam<cut_case<operation>> {
protected:
    CoreCutsTest() : earlier_handler_(host::set_warning_handler(&place::note_warning))
    {
        clear_proxy_environment();
    }
    ~CoreCutsTest() override { host::set_warning_handler(earlier_handler_); }

    const host::standalone host_;
    const host::warning_handler earlier_handler_;
};

TEST_P(CoreCutsTest, every_byte)
{
    cut_everywhere(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Operations, CoreCutsTest, testing::ValuesIn(cases_of(core_operations())),
                         [](const auto& row) { return name_of(row.param); });

INSTANTIATE_TEST_SUITE_P(ActiveMode, CoreCutsTest,
                         testing::ValuesIn(cases_of(core_operations_in_active_mode())),
                         [](const auto& row) { return name_of(row.param); });

} // namespace
} // namespace tarnix::test
