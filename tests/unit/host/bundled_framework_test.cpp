// What holds for the bundled framework only.

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkFactory.h>
#include <cppmicroservices/LDAPFilter.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {

using namespace cppmicroservices;

struct service {
    virtual ~service() = default;
};

TEST(bundled_framework_test, takes_no_filter_but_the_empty_one)
{
    auto framework = FrameworkFactory().NewFramework();
    framework.Start();
    auto context = framework.GetBundleContext();
    EXPECT_THROW(LDAPFilter("(name=seven)"), std::invalid_argument);
    EXPECT_THROW(context.GetServiceReferences<service>("(name=seven)"), std::invalid_argument);
    framework.Stop();
    framework.WaitForStop(std::chrono::milliseconds::zero());
}

TEST(bundled_framework_test, has_its_own_type_names_beside_an_installed_library)
{
    static_assert(std::is_same_v<Framework, cppmicroservices::bundled::Framework>);
    EXPECT_NE(std::string(typeid(Framework).name()), "N16cppmicroservices9FrameworkE");
}

TEST(bundled_framework_test, a_ranking_that_is_no_int_counts_as_none)
{
    auto framework = FrameworkFactory().NewFramework();
    framework.Start();
    auto context = framework.GetBundleContext();
    const auto first = context.RegisterService<service>(std::make_shared<service>());
    const auto second = context.RegisterService<service>(
        std::make_shared<service>(), {{Constants::SERVICE_RANKING, std::string("high")}});
    EXPECT_EQ(context.GetServiceReference<service>(), first.GetReference());
    framework.Stop();
    framework.WaitForStop(std::chrono::milliseconds::zero());
}

} // namespace
