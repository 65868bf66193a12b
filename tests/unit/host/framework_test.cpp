// One set of expectations for the bundled service framework and an installed one.

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Constants.h>
#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>
#include <cppmicroservices/IllegalStateException.h>
#include <cppmicroservices/LDAPFilter.h>
#include <cppmicroservices/ServiceException.h>
#include <cppmicroservices/ServiceObjects.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace cppmicroservices;
using namespace std::chrono_literals;

struct greeter {
    virtual ~greeter() = default;
    virtual int number() const = 0;
};

struct closer {
    virtual ~closer() = default;
};

struct named {
    virtual ~named() = default;
};

struct nameless {
    virtual ~nameless() = default;
};

struct fixed_greeter final : greeter, closer {
    explicit fixed_greeter(int number) : number_(number) {}
    int number() const override { return number_; }

private:
    int number_;
};

} // namespace

CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(named, "test.named")
CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE(nameless, "")

namespace {

constexpr auto no_longer_valid = "The bundle context is no longer valid";

template <typename Exception, typename Action>
void expect_raises(Action action, const std::string& text)
{
    try {
        action();
        ADD_FAILURE() << "nothing was raised instead of: " << text;
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.what(), text);
    }
}

template <typename Action>
void expect_invalid_context(Action action)
{
    expect_raises<IllegalStateException>(action, no_longer_valid);
    EXPECT_THROW(action(), std::runtime_error);
}

void stop(Framework& framework)
{
    framework.Stop();
    EXPECT_EQ(framework.WaitForStop(0ms).GetType(), FrameworkEvent::FRAMEWORK_STOPPED);
}

class framework_test : public testing::Test {
protected:
    void SetUp() override { framework_.Start(); }
    void TearDown() override { stop(framework_); }

    BundleContext context() const { return framework_.GetBundleContext(); }

    ServiceRegistration<greeter> offer(int number, const ServiceProperties& properties = {})
    {
        return context().RegisterService<greeter>(std::make_shared<fixed_greeter>(number),
                                                  properties);
    }

    std::vector<int> numbers_in_order()
    {
        std::vector<int> numbers;
        for (const auto& reference :
             context().GetServiceReferences<greeter>(LDAPFilter().ToString()))
            numbers.push_back(context().GetServiceObjects(reference).GetService()->number());
        return numbers;
    }

    Framework framework_ = FrameworkFactory().NewFramework();
};

TEST(new_framework_test, has_no_valid_context_before_it_is_started)
{
    auto framework = FrameworkFactory().NewFramework();
    EXPECT_EQ(framework.GetState(), Bundle::STATE_INSTALLED);
    EXPECT_FALSE(framework.GetBundleContext());
    expect_invalid_context([&] {
        static_cast<void>(framework.GetBundleContext().RegisterService<greeter>(
            std::make_shared<fixed_greeter>(1)));
    });
    expect_invalid_context([&] { framework.GetBundleContext().GetServiceReference<greeter>(); });
    expect_invalid_context([&] { framework.GetBundleContext().GetServiceReferences<greeter>(); });
    expect_invalid_context(
        [&] { framework.GetBundleContext().GetServiceObjects(ServiceReference<greeter>()); });
    EXPECT_EQ(framework.WaitForStop(0ms).GetType(), FrameworkEvent::FRAMEWORK_ERROR);
}

TEST(new_framework_test, a_default_context_is_not_valid)
{
    BundleContext context;
    EXPECT_FALSE(context);
    expect_invalid_context([&] { context.GetServiceObjects(ServiceReference<greeter>()); });
}

TEST(new_framework_test, init_makes_contexts_valid_and_start_needs_no_init)
{
    auto initialised = FrameworkFactory().NewFramework();
    initialised.Init();
    EXPECT_EQ(initialised.GetState(), Bundle::STATE_STARTING);
    EXPECT_TRUE(initialised.GetBundleContext());
    initialised.Start();
    EXPECT_EQ(initialised.GetState(), Bundle::STATE_ACTIVE);
    stop(initialised);

    auto started = FrameworkFactory().NewFramework();
    started.Start();
    EXPECT_EQ(started.GetState(), Bundle::STATE_ACTIVE);
    EXPECT_TRUE(started.GetBundleContext());
    stop(started);
}

TEST(new_framework_test, a_configuration_is_taken)
{
    const FrameworkConfiguration configuration{{"a.key", std::string("a value")}};
    auto framework = FrameworkFactory().NewFramework(configuration);
    framework.Start();
    EXPECT_TRUE(framework.GetBundleContext());
    stop(framework);
}

TEST(new_framework_test, frameworks_are_independent)
{
    auto first = FrameworkFactory().NewFramework();
    auto second = FrameworkFactory().NewFramework();
    first.Start();
    second.Start();
    auto registration =
        first.GetBundleContext().RegisterService<greeter>(std::make_shared<fixed_greeter>(1));
    EXPECT_TRUE(first.GetBundleContext().GetServiceReference<greeter>());
    EXPECT_FALSE(second.GetBundleContext().GetServiceReference<greeter>());
    stop(first);
    EXPECT_TRUE(second.GetBundleContext());
    stop(second);
}

TEST(new_framework_test, services_end_with_the_last_copy_of_a_framework_that_nobody_stopped)
{
    const auto service = std::make_shared<fixed_greeter>(1);
    {
        auto framework = FrameworkFactory().NewFramework();
        framework.Start();
        static_cast<void>(framework.GetBundleContext().RegisterService<greeter>(service));
        EXPECT_GT(service.use_count(), 1);
    }
    EXPECT_EQ(service.use_count(), 1);
}

TEST_F(framework_test, starting_twice_changes_nothing)
{
    const auto registration = offer(1);
    framework_.Start();
    framework_.Init();
    EXPECT_EQ(framework_.GetState(), Bundle::STATE_ACTIVE);
    EXPECT_THAT(numbers_in_order(), testing::ElementsAre(1));
}

TEST_F(framework_test, a_service_is_found_by_its_interface_only)
{
    EXPECT_FALSE(context().GetServiceReference<greeter>());
    EXPECT_TRUE(context().GetServiceReferences<greeter>().empty());
    const auto registration = offer(42);
    const auto reference = context().GetServiceReference<greeter>();
    EXPECT_TRUE(reference);
    EXPECT_EQ(reference, registration.GetReference());
    EXPECT_EQ(context().GetService(reference)->number(), 42);
    EXPECT_FALSE(context().GetServiceReference<closer>());
}

TEST_F(framework_test, a_service_is_the_very_object_under_each_of_its_interfaces)
{
    const auto service = std::make_shared<fixed_greeter>(3);
    const auto registration = context().RegisterService<greeter, closer>(service);
    EXPECT_EQ(context().GetService(context().GetServiceReference<greeter>()).get(), service.get());
    EXPECT_EQ(context().GetService(context().GetServiceReference<closer>()).get(), service.get());
    EXPECT_EQ(context().GetService(registration.GetReference<closer>()).get(), service.get());
}

TEST_F(framework_test, an_interface_is_known_by_its_name_unless_it_declares_an_id)
{
    EXPECT_EQ(us_service_interface_iid<greeter>(), "(anonymous namespace)::greeter");
    EXPECT_EQ(us_service_interface_iid<named>(), "test.named");
    EXPECT_EQ(us_service_interface_iid<void>(), "");
    const auto registration = context().RegisterService<named>(std::make_shared<named>());
    EXPECT_EQ(registration.GetReference().GetInterfaceId(), "test.named");
    EXPECT_EQ(context().GetServiceReferences("test.named").size(), 1U);
}

TEST_F(framework_test, an_interface_with_an_empty_id_is_refused)
{
    const auto text = "The service interface class has no "
                      "CPPMICROSERVICES_DECLARE_SERVICE_INTERFACE macro";
    expect_raises<ServiceException>([&] { context().GetServiceReferences<nameless>(); }, text);
    expect_raises<ServiceException>([&] { context().GetServiceReference<nameless>(); }, text);
}

TEST_F(framework_test, the_highest_ranking_comes_first_then_the_oldest)
{
    const auto first = offer(1);
    const auto second = offer(2, {{Constants::SERVICE_RANKING, 10}});
    const auto third = offer(3, {{Constants::SERVICE_RANKING, 10}});
    const auto fourth = offer(4, {{Constants::SERVICE_RANKING, -1}});
    const auto fifth = offer(5);
    EXPECT_THAT(numbers_in_order(), testing::ElementsAre(2, 3, 1, 5, 4));
    EXPECT_EQ(context().GetServiceReference<greeter>(), second.GetReference());
    EXPECT_TRUE(first.GetReference() < second.GetReference());
    EXPECT_FALSE(second.GetReference() < first.GetReference());
    EXPECT_TRUE(fifth.GetReference() < first.GetReference());
}

TEST_F(framework_test, a_reference_tells_the_properties)
{
    EXPECT_EQ(Constants::SERVICE_RANKING, "service.ranking");
    EXPECT_EQ(Constants::SERVICE_ID, "service.id");
    EXPECT_EQ(Constants::OBJECTCLASS, "objectclass");
    const auto registration = offer(1, {{"name", std::string("one")}});
    const auto reference = registration.GetReference();
    EXPECT_EQ(any_cast<std::string>(reference.GetProperty("name")), "one");
    EXPECT_EQ(any_cast<std::vector<std::string>>(reference.GetProperty(Constants::OBJECTCLASS)),
              std::vector<std::string>{us_service_interface_iid<greeter>()});
    const auto later = offer(2);
    EXPECT_LT(any_cast<long>(reference.GetProperty(Constants::SERVICE_ID)),
              any_cast<long>(later.GetReference().GetProperty(Constants::SERVICE_ID)));
    EXPECT_TRUE(reference.GetProperty("missing").Empty());
    EXPECT_THROW(any_cast<int>(reference.GetProperty("name")), BadAnyCastException);
    EXPECT_THAT(reference.GetPropertyKeys(), testing::Contains("name"));
}

TEST_F(framework_test, the_empty_filter_is_empty_text)
{
    EXPECT_EQ(LDAPFilter().ToString(), "");
    EXPECT_FALSE(LDAPFilter());
}

TEST_F(framework_test, a_broken_filter_is_refused)
{
    const auto registration = offer(1);
    EXPECT_THROW(context().GetServiceReferences<greeter>("(name="), std::invalid_argument);
    EXPECT_THROW(LDAPFilter("(name="), std::invalid_argument);
}

TEST_F(framework_test, a_null_service_is_refused)
{
    expect_raises<std::invalid_argument>(
        [&] {
            static_cast<void>(context().RegisterService<greeter>(std::shared_ptr<fixed_greeter>()));
        },
        "Can't register as null class");
}

TEST_F(framework_test, letting_go_of_the_registration_does_not_unregister)
{
    static_cast<void>(offer(1));
    EXPECT_THAT(numbers_in_order(), testing::ElementsAre(1));
}

TEST_F(framework_test, an_unregistered_service_is_gone_for_all_who_do_not_hold_it)
{
    const auto service = std::make_shared<fixed_greeter>(7);
    auto registration = context().RegisterService<greeter>(service);
    const auto reference = registration.GetReference();
    const auto objects = context().GetServiceObjects(reference);
    const auto held = objects.GetService();

    registration.Unregister();

    EXPECT_FALSE(reference);
    EXPECT_FALSE(context().GetServiceReference<greeter>());
    EXPECT_EQ(objects.GetService(), nullptr);
    EXPECT_THROW(context().GetServiceObjects(reference), std::invalid_argument);
    EXPECT_THROW(context().GetService(reference), std::invalid_argument);
    expect_raises<std::logic_error>([&] { registration.Unregister(); }, "Service is unregistered");
    expect_raises<std::logic_error>([&] { static_cast<void>(registration.GetReference()); },
                                    "Service is unregistered");
    EXPECT_EQ(held->number(), 7);
}

TEST_F(framework_test, unregistering_lets_go_of_the_implementation)
{
    const auto service = std::make_shared<fixed_greeter>(7);
    auto registration = context().RegisterService<greeter>(service);
    const auto reference = registration.GetReference();
    registration.Unregister();
    EXPECT_EQ(service.use_count(), 1);
}

TEST_F(framework_test, an_empty_reference_has_no_service)
{
    expect_raises<std::invalid_argument>(
        [&] { context().GetServiceObjects(ServiceReference<greeter>()); },
        "The service reference is invalid");
    EXPECT_THROW(context().GetService(ServiceReference<greeter>()), std::invalid_argument);
}

TEST_F(framework_test, a_reference_of_another_interface_becomes_empty)
{
    const auto registration = offer(1);
    const ServiceReference<closer> other(registration.GetReference());
    EXPECT_FALSE(other);
    const auto both =
        context().RegisterService<greeter, closer>(std::make_shared<fixed_greeter>(2));
    const ServiceReference<closer> same(both.GetReference<greeter>());
    EXPECT_TRUE(same);
    EXPECT_NE(context().GetService(same), nullptr);
}

TEST_F(framework_test, waiting_for_a_stop_ends_with_the_time_given)
{
    EXPECT_EQ(framework_.WaitForStop(1ms).GetType(), FrameworkEvent::FRAMEWORK_WAIT_TIMEDOUT);
}

TEST_F(framework_test, waiting_for_a_stop_ends_with_the_stop)
{
    auto waiter = std::async(std::launch::async, [framework = framework_]() mutable {
        return framework.WaitForStop(0ms).GetType();
    });
    framework_.Stop();
    ASSERT_EQ(waiter.wait_for(30s), std::future_status::ready);
    EXPECT_EQ(waiter.get(), FrameworkEvent::FRAMEWORK_STOPPED);
}

TEST_F(framework_test, after_a_stop_old_and_fresh_contexts_are_not_valid)
{
    auto old = context();
    const auto registration = offer(1);
    const auto reference = registration.GetReference();
    const auto objects = old.GetServiceObjects(reference);
    stop(framework_);

    EXPECT_EQ(framework_.GetState(), Bundle::STATE_RESOLVED);
    for (auto context : {old, framework_.GetBundleContext()}) {
        EXPECT_FALSE(context);
        expect_invalid_context([&] { context.GetServiceReference<greeter>(); });
        expect_invalid_context([&] { context.GetServiceReferences<greeter>(); });
        expect_invalid_context([&] { context.GetService(reference); });
        expect_invalid_context([&] {
            static_cast<void>(context.RegisterService<greeter>(std::make_shared<fixed_greeter>(1)));
        });
        expect_invalid_context([&] { context.GetServiceObjects(reference).GetService(); });
    }
    EXPECT_TRUE(reference);
    EXPECT_NO_THROW(old.GetServiceObjects(reference));
    expect_invalid_context([&] { objects.GetService(); });
}

TEST_F(framework_test, after_a_stop_held_services_stay_usable_and_clean_up_does_not_raise)
{
    auto registration = offer(5);
    const auto held = context().GetService(registration.GetReference());
    stop(framework_);
    EXPECT_EQ(held->number(), 5);
    EXPECT_NO_THROW(registration.Unregister());
    EXPECT_NO_THROW(framework_.Stop());
    EXPECT_EQ(framework_.WaitForStop(0ms).GetType(), FrameworkEvent::FRAMEWORK_STOPPED);
    EXPECT_EQ(framework_.WaitForStop(0ms).GetType(), FrameworkEvent::FRAMEWORK_STOPPED);
}

TEST_F(framework_test, after_a_stop_a_reference_keeps_the_implementation_alive)
{
    auto service = std::make_shared<fixed_greeter>(5);
    const std::weak_ptr<fixed_greeter> watch = service;
    {
        const auto registration = context().RegisterService<greeter>(service);
        const auto reference = registration.GetReference();
        service.reset();
        stop(framework_);
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

TEST_F(framework_test, a_restart_begins_with_no_service_and_old_contexts_stay_invalid)
{
    auto old = context();
    const auto registration = offer(1);
    stop(framework_);
    framework_.Start();
    EXPECT_EQ(framework_.GetState(), Bundle::STATE_ACTIVE);
    EXPECT_TRUE(context());
    EXPECT_TRUE(context().GetServiceReferences<greeter>().empty());
    EXPECT_FALSE(old);
    expect_invalid_context([&] { old.GetServiceReferences<greeter>(); });
}

TEST_F(framework_test, threads_may_register_look_up_and_unregister_at_once)
{
    constexpr int rounds = 200;
    std::atomic<int> found{0};
    std::vector<std::future<void>> workers;
    for (int worker = 0; worker < 4; ++worker) {
        workers.push_back(std::async(std::launch::async, [&, worker] {
            for (int round = 0; round < rounds; ++round) {
                auto registration = offer(worker);
                for (const auto& reference : context().GetServiceReferences<greeter>()) {
                    try {
                        if (context().GetServiceObjects(reference).GetService())
                            ++found;
                    } catch (const std::invalid_argument&) {
                        // Its owner unregistered it meanwhile.
                    }
                }
                registration.Unregister();
            }
        }));
    }
    for (auto& worker : workers)
        worker.get();
    EXPECT_GE(found, 4 * rounds);
    EXPECT_TRUE(context().GetServiceReferences<greeter>().empty());
}

TEST_F(framework_test, a_stop_while_threads_look_up_ends_them_with_an_invalid_context)
{
    const auto registration = offer(1);
    std::promise<void> started;
    auto seeker = std::async(std::launch::async, [&, old = context()]() mutable {
        for (bool first = true;; first = false) {
            const auto reference = old.GetServiceReference<greeter>();
            if (reference)
                static_cast<void>(old.GetServiceObjects(reference).GetService());
            if (first)
                started.set_value();
        }
    });
    started.get_future().get();
    stop(framework_);
    ASSERT_EQ(seeker.wait_for(30s), std::future_status::ready);
    expect_raises<IllegalStateException>([&] { seeker.get(); }, no_longer_valid);
}

} // namespace
