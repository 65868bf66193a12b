#include "wire_test.hpp"

#include <support/proxy_environment.hpp>

namespace tarnix::test {

namespace {

/// Before anything of libcurl runs.
const host::standalone_options& without_proxies(const host::standalone_options& options)
{
    clear_proxy_environment();
    return options;
}

} // namespace

lines operator+(lines first, const lines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

WireTest::WireTest(const host::standalone_options& options)
    : host_(without_proxies(options)),
      earlier_handler_(host::set_warning_handler(
          [this](const resource_core::BaseMsgID& message) { warnings_.push_back(message.id); }))
{
}

WireTest::~WireTest()
{
    host::set_warning_handler(earlier_handler_);
}

void WireTest::TearDown()
{
    EXPECT_THAT(server_.faults(), IsEmpty());
}

std::string WireTest::connect(const connect_arguments& arguments)
{
    return io::ftp::core::connect(session_, arguments.url, arguments.username, arguments.password,
                                  server_.port(), arguments.connection_mode, arguments.tls_mode,
                                  arguments.use_proxy, arguments.ca_file, arguments.verify_peer,
                                  arguments.verify_host, arguments.low_speed_limit,
                                  arguments.low_speed_time);
}

void WireTest::start_session()
{
    ASSERT_EQ(connect(), "/home/u");
    ASSERT_EQ(current_remote_url(session_), home_url);
    server_.take_received();
}

void WireTest::expect_usable_session()
{
    EXPECT_EQ(current_remote_url(session_), home_url);
    server_.clear_script();
    EXPECT_EQ(dir(session_, ""), server_.tree().names("/home/u"));
}

lines WireTest::login()
{
    return {"USER u", "PASS secret", "PWD"};
}

lines WireTest::home_levels()
{
    return {"CWD /", "CWD home", "CWD u"};
}

lines WireTest::login_again()
{
    return login() + home_levels();
}

} // namespace tarnix::test
