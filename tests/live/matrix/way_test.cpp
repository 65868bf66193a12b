#include "check.hpp"
#include "core_on_server.hpp"
#include "outcome.hpp"
#include "session_on_flavour.hpp"

#include <gmock/gmock.h>

#include <optional>

namespace tarnix::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<const flavour*> flavours_that(bool (*fit)(const flavour&))
{
    std::vector<const flavour*> found;
    for (const auto& one : flavours())
        if (fit(one))
            found.push_back(&one);
    return found;
}

std::string name_of(const testing::TestParamInfo<const flavour*>& one)
{
    return one.param->full_name() + "__way";
}

int note_what_is_sent(CURL*, curl_infotype kind, char* data, std::size_t size, void* text)
{
    if (kind == CURLINFO_HEADER_OUT)
        static_cast<std::string*>(text)->append(data, size);
    return 0;
}

class WayTest : public testing::TestWithParam<const flavour*> {
protected:
    const flavour& place() const { return *GetParam(); }

    const proxy_setting proxy_{place()};
    const host::standalone host_;
};

/// That a flavour is what it is called: nothing that follows would notice a session without TLS, in
/// the other mode or past the proxy.
TEST_P(WayTest, goes_as_the_table_says)
{
    reset(running_server(place().server));
    std::string sent;
    core::curl_ptr session;
    core::set_option(session, CURLOPT_DEBUGFUNCTION,
                     reinterpret_cast<void (*)()>(&note_what_is_sent));
    core::set_option(session, CURLOPT_DEBUGDATA, &sent);
    log_in(session, place());
    core::dir(session, "");
    const auto contains = [&](const std::string& text, bool wanted) {
        if (wanted)
            EXPECT_THAT(sent, HasSubstr(text));
        else
            EXPECT_THAT(sent, Not(HasSubstr(text)));
    };
    const auto& server = running_server(place().server);
    contains("CONNECT " + server.host() + ':' + std::to_string(server.port()),
             !place().proxy.empty());
    const auto is_active = place().connection_mode == "active";
    contains("EPRT ", !place().is_sftp() && is_active);
    contains("EPSV", !place().is_sftp() && !is_active);
    contains("AUTH ", place().tls_mode != "none");
    contains("PROT P", place().uses_tls());
    const auto is_ipv6 = place().server.ends_with("-ipv6");
    EXPECT_EQ(server.host() == "[::1]", is_ipv6);
    count("connections whose way was looked at");
}

INSTANTIATE_TEST_SUITE_P(Servers, WayTest, testing::ValuesIn(flavours_that([](const flavour& one) {
                             return one.works();
                         })),
                         name_of);

class RefusedLoginTest : public WayTest {};

TEST_P(RefusedLoginTest, with_another_password)
{
    core::curl_ptr session;
    std::string details;
    const auto by_library = outcome_of(
        [&]() -> std::string {
            if (place().is_sftp()) {
                auto login = sftp_login_to(place());
                login.password = "wrong";
                return connect_with_password(session, login);
            }
            auto login = ftp_login_to(place());
            login.password = "wrong";
            return connect(session, login);
        },
        details);
    EXPECT_THAT(by_library, testing::StartsWith("raises BadLogin("));
    auto options = login_to(place());
    options.password = "wrong";
    EXPECT_EQ(outcome_of([&] { return ftp::session(url_of(place()), options).working_folder(); },
                         details),
              "fails: login");
    EXPECT_THAT(details, Not(HasSubstr("wrong")));
    count("logins that were refused as they should be", 2);
}

TEST_P(RefusedLoginTest, with_another_authority)
{
    std::string details;
    auto options = login_to(place());
    const auto is_checked = place().uses_tls() || place().is_sftp();
    if (place().is_sftp())
        options.known_hosts_file = running_server(place().server)["wrong_known_hosts"];
    else if (place().offers_tls())
        options.ca_file = running_server(place().server)["other_ca_file"];
    EXPECT_EQ(outcome_of([&] { return ftp::session(url_of(place()), options).working_folder(); },
                         details),
              is_checked ? "fails: security" : running_server(place().server).root().string())
        << details;
    if (!is_checked || place().is_sftp())
        return;
    core::curl_ptr session;
    auto login = ftp_login_to(place());
    login.ca_file = options.ca_file;
    EXPECT_THAT(outcome_of([&] { return connect(session, login); }, details),
                testing::StartsWith("raises NoConnection("));
    count("servers with another certificate or host key that were refused");
}

TEST_P(RefusedLoginTest, into_a_missing_folder)
{
    std::string details;
    auto options = login_to(place());
    options.starting_folder = "missing";
    EXPECT_EQ(outcome_of([&] { return ftp::session(url_of(place()), options).working_folder(); },
                         details),
              "fails: not found")
        << details;
    count("starting folders that were missed");
}

INSTANTIATE_TEST_SUITE_P(Servers, RefusedLoginTest,
                         testing::ValuesIn(flavours_that([](const flavour& one) {
                             return one.checks == coverage::all;
                         })),
                         name_of);

} // namespace
} // namespace tarnix::test
