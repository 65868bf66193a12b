// This program stands between the host and libcurl and libproxy where they start and end.

#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <foundation/cppmicroservices/framework.hpp>
#include <foundation/httpclient_core/lib_curl_initializer.hpp>
#include <foundation/httpproxy/proxy_selector.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/ServiceObjects.h>

#include <curl/curl.h>
#include <proxy.h>

#include <dlfcn.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace {

std::atomic<int> initialised{0};
std::atomic<bool> curl_fails{false};
std::atomic<bool> libproxy_fails{false};

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) CURLcode curl_global_init(long flags)
{
    if (curl_fails)
        return CURLE_FAILED_INIT;
    ++initialised;
    return next<CURLcode(long)>("curl_global_init")(flags);
}

__attribute__((visibility("default"))) void curl_global_cleanup(void)
{
    --initialised;
    next<void()>("curl_global_cleanup")();
}

__attribute__((visibility("default"))) pxProxyFactory* px_proxy_factory_new(void)
{
    return libproxy_fails ? nullptr : next<pxProxyFactory*()>("px_proxy_factory_new")();
}

} // extern "C"

namespace {

using foundation::cppmicroservices::getFramework;
using foundation::httpclient_core::libcurlinitializer::LibCurlInitializer;
using foundation::httpproxy::ProxySelector;
using tarnix::host::standalone;
using tarnix::io::ftp::core::curl_ptr;
namespace ids = tarnix::io::ftp::core::ids;
template <typename Tag>
using error = tarnix::io::ftp::core::error<Tag>;

template <typename Interface>
std::shared_ptr<Interface> service()
{
    auto context = getFramework()->GetBundleContext();
    const auto reference = context.GetServiceReference<Interface>();
    return reference ? context.GetService(reference) : nullptr;
}

void expect_nothing_left()
{
    EXPECT_EQ(getFramework(), nullptr);
    EXPECT_EQ(initialised, 0);
    EXPECT_THROW(curl_ptr(), error<ids::LibraryInitializationFailure>);
}

TEST(standalone_test, there_is_a_framework_with_its_services_while_it_lives_and_none_otherwise)
{
    expect_nothing_left();
    {
        const standalone host;
        ASSERT_NE(getFramework(), nullptr);
        EXPECT_NE(service<LibCurlInitializer>(), nullptr);
        EXPECT_NE(service<ProxySelector>(), nullptr);
        EXPECT_TRUE(curl_ptr());
    }
    expect_nothing_left();
}

TEST(standalone_test, only_the_services_asked_for_are_offered)
{
    {
        const standalone host({false, true});
        EXPECT_EQ(service<LibCurlInitializer>(), nullptr);
        EXPECT_NE(service<ProxySelector>(), nullptr);
        EXPECT_THROW(curl_ptr(), error<ids::LibraryInitializationFailure>);
        EXPECT_EQ(initialised, 0);
    }
    const standalone host({true, false});
    EXPECT_NE(service<LibCurlInitializer>(), nullptr);
    EXPECT_EQ(service<ProxySelector>(), nullptr);
}

TEST(standalone_test, a_second_one_at_the_same_time_is_refused_and_harms_nothing)
{
    const standalone host;
    const auto framework = getFramework();
    EXPECT_THROW(standalone(), std::logic_error);
    EXPECT_EQ(getFramework(), framework);
    EXPECT_TRUE(curl_ptr());
    EXPECT_THROW(standalone(), std::logic_error);
}

TEST(standalone_test, one_after_another_works)
{
    std::weak_ptr<cppmicroservices::Framework> before;
    for (int round = 0; round < 3; ++round) {
        const standalone host;
        EXPECT_TRUE(before.expired());
        before = getFramework();
        EXPECT_TRUE(curl_ptr());
        EXPECT_NE(service<ProxySelector>(), nullptr);
    }
    expect_nothing_left();
}

TEST(standalone_test, sessions_keep_libcurl_initialised_after_its_end)
{
    std::optional<standalone> host(std::in_place);
    auto session = std::make_unique<curl_ptr>();
    auto moved_to = std::make_unique<curl_ptr>(std::move(*session));
    host.reset();
    EXPECT_EQ(getFramework(), nullptr);
    EXPECT_EQ(initialised, 1);
    tarnix::io::ftp::core::set_option(*moved_to, CURLOPT_URL, "");
    EXPECT_EQ(moved_to->perform(), CURLE_URL_MALFORMAT);
    moved_to.reset();
    EXPECT_EQ(initialised, 1) << "a handle that was moved from still holds the initializer";
    session.reset();
    expect_nothing_left();
}

TEST(standalone_test, the_next_one_starts_while_a_session_of_the_last_one_lives)
{
    std::optional<standalone> host(std::in_place);
    auto session = std::make_unique<curl_ptr>();
    host.reset();
    host.emplace();
    EXPECT_TRUE(curl_ptr());
    session.reset();
    EXPECT_TRUE(curl_ptr());
    EXPECT_EQ(initialised, 1);
    host.reset();
    expect_nothing_left();
}

TEST(standalone_test, a_failure_of_libcurl_is_raised_and_leaves_nothing_behind)
{
    curl_fails = true;
    try {
        const standalone host;
        ADD_FAILURE() << "nothing was raised";
    } catch (const std::runtime_error& exception) {
        EXPECT_EQ(std::string(exception.what()),
                  "libcurl could not be initialised: Failed initialization");
    }
    curl_fails = false;
    expect_nothing_left();
    const standalone host;
    EXPECT_TRUE(curl_ptr());
}

TEST(standalone_test, a_failure_of_the_proxy_settings_is_raised_and_leaves_nothing_behind)
{
    libproxy_fails = true;
    EXPECT_THROW(standalone(), std::runtime_error);
    libproxy_fails = false;
    expect_nothing_left();
    const standalone host;
    EXPECT_TRUE(curl_ptr());
}

TEST(standalone_test, after_its_end_a_framework_that_was_kept_says_that_it_is_over)
{
    std::optional<standalone> host(std::in_place);
    const auto kept = getFramework();
    auto context = kept->GetBundleContext();
    host.reset();
    try {
        context.GetServiceReferences<LibCurlInitializer>();
        ADD_FAILURE() << "nothing was raised";
    } catch (const std::runtime_error& exception) {
        EXPECT_EQ(std::string(exception.what()), "The bundle context is no longer valid");
    }
    EXPECT_THROW(kept->GetBundleContext().GetServiceReference<ProxySelector>(),
                 cppmicroservices::IllegalStateException);
}

TEST(standalone_test, a_framework_that_somebody_stopped_before_does_no_harm)
{
    {
        const standalone host;
        const auto framework = getFramework();
        framework->Stop();
        framework->WaitForStop(std::chrono::milliseconds::zero());
    }
    expect_nothing_left();
    const standalone host;
    EXPECT_TRUE(curl_ptr());
}

TEST(standalone_test, threads_that_make_sessions_while_it_ends_get_one_or_a_clear_failure)
{
    for (int round = 0; round < 20; ++round) {
        std::optional<standalone> host(std::in_place);
        std::promise<void> started;
        auto maker = std::async(std::launch::async, [&] {
            for (bool first = true;; first = false) {
                try {
                    const curl_ptr session;
                    EXPECT_TRUE(session);
                } catch (const std::runtime_error&) {
                    return; // the context ended under it, or the service went
                } catch (const std::invalid_argument&) {
                    return;
                } catch (const error<ids::LibraryInitializationFailure>&) {
                    return;
                }
                if (first)
                    started.set_value();
            }
        });
        started.get_future().get();
        host.reset();
        ASSERT_EQ(maker.wait_for(std::chrono::seconds(60)), std::future_status::ready);
        maker.get();
        expect_nothing_left();
    }
}

} // namespace
