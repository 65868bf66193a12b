#include "wire_test.hpp"

#include <support/connect_proxy.hpp>
#include <support/temporary_folder.hpp>

#include <foundation/cppmicroservices/framework.hpp>
#include <foundation/httpproxy/proxy_selector.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <map>
#include <memory>
#include <stdexcept>

namespace tarnix::test {

namespace {

using foundation::httpproxy::Credentials;
using foundation::httpproxy::Proxy;
using foundation::httpproxy::ProxyList;
using foundation::httpproxy::ProxySelector;

class scripted_credentials : public Credentials {
public:
    scripted_credentials(const std::string& user_name, const std::string& password)
        : user_name_(user_name), password_(password)
    {
    }

    std::string getUserName() const override { return user_name_; }
    std::string getPassword() const override { return password_; }

private:
    std::string user_name_;
    std::string password_;
};

/// Answers as it was told and remembers what it was asked.
class scripted_selector : public ProxySelector {
public:
    ProxyList select(const std::string& url) override
    {
        asked.push_back(url);
        if (fails)
            throw std::runtime_error("no settings to be had");
        return answers[url];
    }

    std::map<std::string, ProxyList> answers;
    lines asked;
    bool fails = false;
};

class ProxyTest : public WireTest {
protected:
    ProxyTest()
        : WireTest({.libcurl_initializer = true, .proxy_selector = false}),
          selector_(std::make_shared<scripted_selector>())
    {
    }

    /// Offers the selector to the library.
    void register_selector()
    {
        auto context = foundation::cppmicroservices::getFramework()->GetBundleContext();
        registration_ = context.RegisterService<ProxySelector>(selector_);
    }

    scripted_selector& selector() { return *selector_; }

    static ProxyList only(const Proxy& proxy) { return ProxyList({proxy}); }

    /// The request lines that the proxy saw.
    static lines lines_of(const connect_proxy& proxy)
    {
        lines seen;
        for (const auto& request : proxy.requests())
            seen.push_back(request.line);
        return seen;
    }

    std::string connect_line() { return connect_line_to(server().port()); }
    static std::string connect_line_to(int port)
    {
        return "CONNECT 127.0.0.1:" + std::to_string(port) + " HTTP/1.1";
    }

private:
    std::shared_ptr<scripted_selector> selector_;
    ::cppmicroservices::ServiceRegistration<ProxySelector> registration_;
};

TEST_F(ProxyTest, control_and_data_connections_go_through_the_proxy)
{
    const connect_proxy proxy;
    selector().answers["http://"] = only({"127.0.0.1", proxy.port()});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_EQ(server().received(), login() + sent("PWD") + home_levels() + sent("PWD"));
    EXPECT_THAT(lines_of(proxy), ElementsAre(connect_line()));
    server().tree().add_file("/home/u/f", "content");
    const temporary_folder local;
    receive_file(session(), u"f", (local / "f").u16string(), false);
    EXPECT_EQ(read_bytes(local / "f"), "content");
    ASSERT_THAT(proxy.requests(), testing::SizeIs(2));
    EXPECT_THAT(lines_of(proxy)[1],
                testing::AllOf(testing::MatchesRegex("CONNECT 127.0.0.1:[0-9]+ HTTP/1.1"),
                               testing::Ne(connect_line())));
    send_file(session(), (local / "f").u16string(), u"g", false);
    EXPECT_EQ(server().tree().read("/home/u/g"), "content");
    EXPECT_THAT(dir(session(), ""), ElementsAre("f", "g"));
    EXPECT_THAT(proxy.requests(), testing::SizeIs(4));
    EXPECT_THAT(proxy.requests(),
                testing::Each(testing::Field(&connect_proxy::request::authorization, IsEmpty())));
    EXPECT_THAT(proxy.faults(), IsEmpty());
    expect_usable_session();
}

TEST_F(ProxyTest, replies_of_the_proxy_are_not_taken_for_replies_of_the_server)
{
    const connect_proxy proxy;
    selector().answers["http://"] = only({"127.0.0.1", proxy.port()});
    register_selector();
    connect({.use_proxy = true});
    const auto text = io::ftp::core::scoped_request(session())
                          .setopt(CURLOPT_FRESH_CONNECT, 1L, 0) // by a tunnel of its own
                          .setopt(CURLOPT_NOBODY, 1L, 0)
                          .request_header();
    EXPECT_EQ(text.first, CURLE_OK);
    EXPECT_THAT(text.second, testing::Not(testing::HasSubstr("HTTP/1.1")));
    EXPECT_THAT(text.second, testing::HasSubstr("220 Ready."));
    EXPECT_THAT(proxy.requests(), testing::SizeIs(2));
}

TEST_F(ProxyTest, both_kinds_are_asked_for_and_the_first_wins)
{
    const connect_proxy plain;
    const connect_proxy secure;
    selector().answers["http://"] = only({"127.0.0.1", plain.port()});
    selector().answers["https://"] = only({"127.0.0.1", secure.port()});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_THAT(selector().asked, ElementsAre("http://", "https://"));
    EXPECT_THAT(lines_of(plain), ElementsAre(connect_line()));
    EXPECT_THAT(secure.requests(), IsEmpty());
}

TEST_F(ProxyTest, proxy_for_secure_traffic_serves_where_there_is_no_other)
{
    const connect_proxy proxy;
    selector().answers["https://"] = only({"127.0.0.1", proxy.port()});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_THAT(lines_of(proxy), ElementsAre(connect_line()));
}

TEST_F(ProxyTest, only_the_first_proxy_of_a_list_is_used)
{
    const connect_proxy first;
    const connect_proxy second;
    selector().answers["http://"] =
        ProxyList({{"127.0.0.1", first.port()}, {"127.0.0.1", second.port()}});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_THAT(first.requests(), testing::SizeIs(1));
    EXPECT_THAT(second.requests(), IsEmpty());
}

TEST_F(ProxyTest, port_in_the_host_serves_where_none_is_given)
{
    const connect_proxy proxy;
    selector().answers["http://"] = only({"127.0.0.1:" + std::to_string(proxy.port()), 0});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_THAT(proxy.requests(), testing::SizeIs(1));
}

TEST_F(ProxyTest, credentials_reach_the_proxy)
{
    const std::string authorization =
        "Basic cHJveHkgdXNlcjpwQHNzOiB3b3Jk"; // "proxy user:p@ss: word"
    const connect_proxy proxy(authorization);
    selector().answers["http://"] =
        only({"127.0.0.1", proxy.port(),
              std::make_shared<scripted_credentials>("proxy user", "p@ss: word")});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_EQ(nlst(session(), ""), "");
    EXPECT_THAT(proxy.requests(),
                testing::AllOf(testing::SizeIs(2),
                               testing::Each(testing::Field(&connect_proxy::request::authorization,
                                                            authorization))));
}

TEST_F(ProxyTest, refused_credentials_are_no_connection)
{
    const connect_proxy proxy("Basic c29tZWJvZHk6ZWxzZQ==");
    selector().answers["http://"] =
        only({"127.0.0.1", proxy.port(), std::make_shared<scripted_credentials>("u", "wrong")});
    register_selector();
    EXPECT_ERROR_ID(connect({.use_proxy = true}),
                    id_of<ids::NoConnection>("ftp://127.0.0.1", std::to_string(server().port())));
    EXPECT_THAT(server().received(), IsEmpty());
}

TEST_F(ProxyTest, proxy_that_cannot_reach_the_server_is_no_connection)
{
    const connect_proxy proxy;
    selector().answers["http://"] = only({"127.0.0.1", proxy.port()});
    register_selector();
    // The proxy of the tests reaches no other address than 127.0.0.1.
    EXPECT_ERROR_ID(connect({.url = "ftp://127.0.0.2", .use_proxy = true}),
                    id_of<ids::NoConnection>("ftp://127.0.0.2", std::to_string(server().port())));
    EXPECT_THAT(lines_of(proxy),
                ElementsAre("CONNECT 127.0.0.2:" + std::to_string(server().port()) + " HTTP/1.1"));
}

TEST_F(ProxyTest, without_being_asked_connect_looks_for_no_proxy)
{
    const connect_proxy proxy;
    selector().answers["http://"] = only({"127.0.0.1", proxy.port()});
    register_selector();
    EXPECT_EQ(connect({.use_proxy = false}), "/home/u");
    EXPECT_THAT(selector().asked, IsEmpty());
    EXPECT_THAT(proxy.requests(), IsEmpty());
}

TEST_F(ProxyTest, without_a_selector_the_connection_is_direct)
{
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    expect_usable_session();
}

TEST_F(ProxyTest, selector_without_proxies_means_a_direct_connection)
{
    register_selector();
    EXPECT_EQ(connect({.use_proxy = true}), "/home/u");
    EXPECT_THAT(selector().asked, ElementsAre("http://", "https://"));
    expect_usable_session();
}

TEST_F(ProxyTest, failure_of_the_selector_passes_through_before_any_traffic)
{
    selector().fails = true;
    register_selector();
    EXPECT_THROW(connect({.use_proxy = true}), std::runtime_error);
    EXPECT_THAT(server().received(), IsEmpty());
    EXPECT_EQ(current_remote_url(session()), "");
}

} // namespace

} // namespace tarnix::test
