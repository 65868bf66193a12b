#include "connecting.hpp"

#include <support/fake_services.hpp>

#include <foundation/cppmicroservices/framework.hpp>

#include <cppmicroservices/BundleContext.h>

#include <memory>
#include <stdexcept>

namespace tarnix::test {
namespace {

using foundation::httpproxy::Proxy;
using foundation::httpproxy::ProxySelector;

const transcript tunnel{"HTTPPROXYTUNNEL=1", "SUPPRESS_CONNECT_HEADERS=1"};

/// A session in a stand-alone host whose only service is the fake selector.
class proxy_options : public connecting_session {
protected:
    proxy_options()
    {
        const auto framework = foundation::cppmicroservices::getFramework();
        static_cast<void>(framework->GetBundleContext().RegisterService<ProxySelector>(selector_));
    }

    transcript configured(std::vector<Proxy> http, std::vector<Proxy> https)
    {
        selector_->answers = {{"http://", std::move(http)}, {"https://", std::move(https)}};
        configure_proxy(handle_);
        return recorder_.take_all();
    }

    host::standalone standalone_{{.libcurl_initializer = false, .proxy_selector = false}};
    std::shared_ptr<fake_proxy_selector> selector_ = std::make_shared<fake_proxy_selector>();
};

TEST_F(proxy_options, both_lists_empty_set_only_the_tunnel)
{
    EXPECT_EQ(configured({}, {}), tunnel);
    EXPECT_EQ(selector_->asked, (transcript{"http://", "https://"}));
}

TEST_F(proxy_options, the_http_list_wins_and_both_are_always_asked_for)
{
    EXPECT_EQ(configured({{"first", 8080}, {"second", 81}}, {{"secure", 443}}),
              steps({{"PROXY=first", "PROXY=first", "PROXYPORT=8080"}, tunnel}));
    EXPECT_EQ(selector_->asked, (transcript{"http://", "https://"}));
}

TEST_F(proxy_options, an_empty_http_list_leaves_it_to_the_https_list)
{
    EXPECT_EQ(configured({}, {{"secure", 443}}),
              steps({{"PROXY=secure", "PROXY=secure", "PROXYPORT=443"}, tunnel}));
}

TEST_F(proxy_options, port_0_is_not_set)
{
    EXPECT_EQ(configured({}, {{"secure", 0}}), steps({{"PROXY=secure", "PROXY=secure"}, tunnel}));
    EXPECT_EQ(recorder_.value_of(CURLOPT_PROXYPORT), "untouched");
}

TEST_F(proxy_options, credentials_are_set_user_name_first)
{
    EXPECT_EQ(
        configured({{"first", 8080, std::make_shared<fake_credentials>("me", "pass word")}}, {}),
        steps({{"PROXY=first", "PROXY=first", "PROXYPORT=8080", "PROXYUSERNAME=me",
                "PROXYPASSWORD=pass word"},
               tunnel}));
}

TEST_F(proxy_options, a_proxy_without_credentials_sets_neither_user_name_nor_password)
{
    configured({{"first", 8080}}, {});
    EXPECT_EQ(recorder_.value_of(CURLOPT_PROXYUSERNAME), "untouched");
    EXPECT_EQ(recorder_.value_of(CURLOPT_PROXYPASSWORD), "untouched");
}

TEST_F(proxy_options, only_the_front_proxy_of_a_list_is_looked_at)
{
    configured({{"first", 0}, {"second", 81, std::make_shared<fake_credentials>("a", "b")}}, {});
    EXPECT_EQ(recorder_.value_of(CURLOPT_PROXY), "first");
    EXPECT_EQ(recorder_.value_of(CURLOPT_PROXYPORT), "untouched");
    EXPECT_EQ(recorder_.value_of(CURLOPT_PROXYUSERNAME), "untouched");
}

TEST_F(proxy_options, an_exception_of_the_selector_passes_unchanged)
{
    selector_->when_asked = [](const std::string& url) {
        if (url == "https://")
            throw std::runtime_error("no settings");
    };
    try {
        configure_proxy(handle_);
        FAIL() << "raised nothing";
    } catch (const std::runtime_error& failure) {
        EXPECT_STREQ(failure.what(), "no settings");
    }
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(proxy_options, an_empty_handle_raises)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_ERROR_ID(configure_proxy(handle_), id_of<ids::InvalidCurlHandle>());
}

TEST_F(proxy_options, ftp_connect_configures_the_proxy_first)
{
    recorder_.answer({{}, folder_is("/"), {}, folder_is("/")});
    connect(handle_, "ftp://server/", "user", "secret", 21, "active", "none", true, "", true, true,
            0, 0);
    const auto calls = recorder_.take();
    EXPECT_EQ(transcript(calls.begin(), calls.begin() + 4),
              steps({tunnel, {"FTPPORT=-", "URL=ftp://server/"}}));
}

TEST_F(proxy_options, ftp_connect_that_was_not_asked_to_asks_no_selector)
{
    recorder_.answer({{}, folder_is("/"), {}, folder_is("/")});
    connect(handle_, "ftp://server/", "user", "secret", 21, "", "none", false, "", true, true, 0,
            0);
    EXPECT_EQ(selector_->asked, transcript{});
    EXPECT_EQ(recorder_.value_of(CURLOPT_HTTPPROXYTUNNEL), "untouched");
}

TEST_F(proxy_options, ftp_connect_passes_an_exception_of_the_selector_on)
{
    selector_->when_asked = [](const std::string&) { throw std::runtime_error("no settings"); };
    EXPECT_THROW(connect(handle_, "ftp://server/", "user", "secret", 21, "", "none", true, "", true,
                         true, 0, 0),
                 std::runtime_error);
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(proxy_options, sftp_connect_configures_the_proxy_after_the_authentication)
{
    recorder_.answer({{}, folder_is("/")});
    connect_with_password(handle_, "server", "user", 22, "secret", true, "", "", true, true, 0, 0,
                          false);
    const auto calls = recorder_.take();
    EXPECT_EQ(transcript(calls.begin(), calls.begin() + 5),
              steps({{"SSH_AUTH_TYPES=2", "PASSWORD=secret"}, tunnel, {"URL=sftp://server/~"}}));
}

TEST_F(proxy_options, sftp_connect_with_keys_configures_the_proxy_after_the_key)
{
    recorder_.answer({{}, folder_is("/")});
    connect_with_keys(handle_, "server", "user", 22, "", "key", "", true, "", "", true, true, 0, 0,
                      false);
    const auto calls = recorder_.take();
    EXPECT_EQ(
        transcript(calls.begin(), calls.begin() + 5),
        steps({{"SSH_AUTH_TYPES=1", "SSH_PRIVATE_KEYFILE=key"}, tunnel, {"URL=sftp://server/~"}}));
}

class no_proxy_selector : public connecting_session {};

TEST_F(no_proxy_selector, without_a_service_the_handle_is_not_touched)
{
    const host::standalone standalone({.libcurl_initializer = false, .proxy_selector = false});
    configure_proxy(handle_);
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(no_proxy_selector, without_a_framework_the_handle_is_not_touched)
{
    ASSERT_EQ(foundation::cppmicroservices::getFramework(), nullptr);
    configure_proxy(handle_);
    EXPECT_EQ(recorder_.take_all(), transcript{});
}

TEST_F(no_proxy_selector, without_a_service_even_an_empty_handle_is_no_failure)
{
    const curl_ptr holder(std::move(handle_));
    EXPECT_NO_THROW(configure_proxy(handle_));
}

} // namespace
} // namespace tarnix::test
