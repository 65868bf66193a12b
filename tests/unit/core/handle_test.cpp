#include <support/fake_framework.hpp>
#include <support/fake_services.hpp>
#include <support/identifier_matchers.hpp>
#include <support/log_recorder.hpp>
#include <support/option_recorder.hpp>

#include <tarnix/io/ftp/core.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace tarnix::test {
namespace {

using namespace tarnix::io::ftp::core;
using foundation::httpclient_core::libcurlinitializer::LibCurlInitializer;
using calls = std::vector<std::string>;

static_assert(!std::is_copy_constructible_v<curl_ptr> && !std::is_copy_assignable_v<curl_ptr>);
static_assert(std::is_move_constructible_v<curl_ptr> && std::is_move_assignable_v<curl_ptr>);
static_assert(!std::is_polymorphic_v<curl_ptr>);
static_assert(!std::is_convertible_v<bool, curl_ptr> && !std::is_convertible_v<curl_ptr, bool>);

class session_handle : public testing::Test {
protected:
    /// An initializer of which nobody but its holder keeps a trace.
    std::shared_ptr<LibCurlInitializer> initializer(const std::string& name)
    {
        return std::make_shared<fake_initializer>(
            [this, name] { recorder_.write_down(name + " gone"); });
    }

    /// What happened but for the setting of options.
    calls events()
    {
        auto all = recorder_.take_all();
        std::erase_if(all, [](const std::string& call) { return call.find('=') != call.npos; });
        return all;
    }

    option_recorder recorder_;
};

TEST_F(session_handle, without_an_initializer_needs_no_service)
{
    const curl_ptr handle(false);
    EXPECT_TRUE(handle);
    EXPECT_NE(handle.get(), nullptr);
    EXPECT_NO_THROW(handle.throw_if_null());
}

TEST_F(session_handle, without_an_initializer_looks_up_none)
{
    fake_framework framework;
    framework.add(initializer("initializer"));
    framework.stop();
    EXPECT_NO_THROW(curl_ptr(false));
}

TEST(RealSessionHandle, without_an_initializer_works_with_the_protocol_trace_on)
{
    option_recorder recorder(option_recorder::requests::real);
    curl_ptr handle(false);
    set_option(handle, CURLOPT_URL, "file:///");
    set_option(handle, CURLOPT_NOBODY, 1);
    const log_recorder log(getLogger(), 8);
    const auto code = handle.perform();
    EXPECT_TRUE(code == CURLE_OK || code == CURLE_FILE_COULDNT_READ_FILE) << code;
    EXPECT_THAT(log.messages(8), testing::Contains(testing::StartsWith("[INFO] ")));
}

TEST_F(session_handle, without_a_framework_cannot_be_made)
{
    EXPECT_ERROR_ID(curl_ptr(), id_of<ids::LibraryInitializationFailure>());
    EXPECT_ERROR_ID(curl_ptr(true), id_of<ids::LibraryInitializationFailure>());
    EXPECT_EQ(recorder_.take_all(), calls{}) << "libcurl is not touched";
}

TEST_F(session_handle, without_the_service_cannot_be_made)
{
    const fake_framework framework;
    EXPECT_ERROR_ID(curl_ptr(), id_of<ids::LibraryInitializationFailure>());
    EXPECT_EQ(recorder_.take_all(), calls{});
}

TEST_F(session_handle, in_a_stopped_framework_passes_its_failure_on)
{
    fake_framework framework;
    framework.add(initializer("initializer"));
    framework.stop();
    recorder_.take_all();
    try {
        const curl_ptr handle;
        FAIL() << "raised nothing";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "The bundle context is no longer valid");
    }
    EXPECT_EQ(recorder_.take_all(), calls{});
}

TEST_F(session_handle, raises_when_libcurl_gives_no_handle)
{
    recorder_.refuse_handles();
    EXPECT_ERROR_ID(curl_ptr(false), id_of<ids::CurlHandleInitializationFailure>());
    EXPECT_EQ(recorder_.take_all(), calls{"init"}) << "and there is nothing to clean up";
}

TEST_F(session_handle, releases_the_initializer_when_libcurl_gives_no_handle)
{
    recorder_.refuse_handles();
    {
        fake_framework framework;
        framework.add(initializer("initializer"));
        EXPECT_ERROR_ID(curl_ptr(), id_of<ids::CurlHandleInitializationFailure>());
    }
    EXPECT_EQ(events(), (calls{"init", "initializer gone"}));
}

TEST_F(session_handle, holds_the_initializer_until_its_easy_handle_is_cleaned_up)
{
    std::optional<curl_ptr> handle;
    {
        fake_framework framework;
        framework.add(initializer("initializer"));
        handle.emplace();
    }
    EXPECT_EQ(events(), calls{"init"}) << "the framework is gone, the initializer is held";
    handle.reset();
    EXPECT_EQ(events(), (calls{"cleanup", "initializer gone"}));
}

TEST_F(session_handle, holds_the_first_of_several_initializers)
{
    std::optional<curl_ptr> handle;
    {
        fake_framework framework;
        framework.add(initializer("first"));
        framework.add(initializer("second"));
        handle.emplace();
    }
    EXPECT_EQ(events(), (calls{"init", "second gone"}));
}

TEST_F(session_handle, moving_empties_the_source_and_cleans_up_once)
{
    {
        curl_ptr source(false);
        const auto raw = source.get();
        const curl_ptr target(std::move(source));
        EXPECT_EQ(target.get(), raw);
        EXPECT_FALSE(source);
        EXPECT_EQ(source.get(), nullptr);
        EXPECT_ERROR_ID(source.throw_if_null(), id_of<ids::InvalidCurlHandle>());
        EXPECT_ERROR_ID(source.perform(), id_of<ids::InvalidCurlHandle>());
    }
    EXPECT_EQ(events(), (calls{"init", "cleanup"}));
}

TEST_F(session_handle, the_destructor_of_a_moved_from_handle_cleans_nothing_up)
{
    std::optional<curl_ptr> source(false);
    const curl_ptr target(std::move(*source));
    events();
    source.reset();
    EXPECT_EQ(events(), calls{});
}

TEST_F(session_handle, a_moved_from_handle_keeps_its_hold_on_the_initializer)
{
    std::optional<curl_ptr> source;
    {
        fake_framework framework;
        framework.add(initializer("initializer"));
        source.emplace();
    }
    std::optional<curl_ptr> target(std::move(*source));
    target.reset();
    EXPECT_EQ(events(), (calls{"init", "cleanup"}));
    source.reset();
    EXPECT_EQ(events(), calls{"initializer gone"});
}

TEST_F(session_handle, move_assignment_cleans_up_what_it_held)
{
    curl_ptr target(false);
    {
        curl_ptr source(false);
        const auto raw = source.get();
        events();
        target = std::move(source);
        EXPECT_EQ(events(), calls{"cleanup"});
        EXPECT_EQ(target.get(), raw);
        EXPECT_FALSE(source);
    }
    EXPECT_EQ(events(), calls{}) << "the source had nothing left to clean up";
}

TEST_F(session_handle, move_assignment_cleans_up_before_it_changes_its_initializer)
{
    std::optional<curl_ptr> target;
    {
        fake_framework framework;
        framework.add(initializer("old"));
        target.emplace();
    }
    std::optional<curl_ptr> source;
    {
        fake_framework framework;
        framework.add(initializer("new"));
        source.emplace();
    }
    events();
    *target = std::move(*source);
    EXPECT_EQ(events(), (calls{"cleanup", "old gone"}));
    source.reset();
    EXPECT_EQ(events(), calls{}) << "the target holds the new one too";
    target.reset();
    EXPECT_EQ(events(), (calls{"cleanup", "new gone"}));
}

TEST_F(session_handle, a_handle_that_was_assigned_from_keeps_its_hold_on_the_initializer)
{
    std::optional<curl_ptr> source;
    {
        fake_framework framework;
        framework.add(initializer("initializer"));
        source.emplace();
    }
    {
        curl_ptr target(false);
        target = std::move(*source);
        events();
    }
    EXPECT_EQ(events(), calls{"cleanup"});
    source.reset();
    EXPECT_EQ(events(), calls{"initializer gone"});
}

TEST_F(session_handle, move_assignment_to_an_empty_handle_cleans_nothing_up)
{
    curl_ptr target(false);
    const curl_ptr holder(std::move(target));
    curl_ptr source(false);
    events();
    target = std::move(source);
    EXPECT_EQ(events(), calls{});
    EXPECT_TRUE(target);
}

TEST_F(session_handle, assigned_to_itself_cleans_up_and_is_empty)
{
    curl_ptr handle(false);
    auto& same = handle;
    events();
    handle = std::move(same);
    EXPECT_FALSE(handle);
    EXPECT_EQ(events(), calls{"cleanup"});
    EXPECT_ERROR_ID(handle.perform(), id_of<ids::InvalidCurlHandle>());
}

TEST_F(session_handle, perform_returns_every_code_and_raises_none)
{
    curl_ptr handle(false);
    for (const auto code : {CURLE_OK, CURLE_LOGIN_DENIED, CURLE_OPERATION_TIMEDOUT, CURLE_SSH}) {
        recorder_.answer({{.code = code}});
        EXPECT_EQ(handle.perform(), code);
    }
}

} // namespace
} // namespace tarnix::test
