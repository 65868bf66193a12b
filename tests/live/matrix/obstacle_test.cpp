#include "check.hpp"
#include "core_on_server.hpp"
#include "outcome.hpp"
#include "session_on_flavour.hpp"

#include <chrono>

namespace tarnix::test {
namespace {

std::vector<const flavour*> impossible_flavours()
{
    std::vector<const flavour*> found;
    for (const auto& one : flavours())
        if (!one.works())
            found.push_back(&one);
    return found;
}

class ObstacleTest : public testing::TestWithParam<const flavour*> {
protected:
    const flavour& place() const { return *GetParam(); }
    temporary_folder local_;
    proxy_setting proxy_{place()};
    host::standalone host_;
};

TEST_P(ObstacleTest, is_what_the_library_says)
{
    constexpr long request_limit_in_milliseconds = 3'000;
    core::curl_ptr session;
    core::transfer_timeout(session, request_limit_in_milliseconds);
    reset(running_server(place().server));
    std::string details;
    const auto outcome = outcome_of(
        [&] {
            log_in(session, place());
            const auto names = said(core::dir(session, ""));
            const auto sent = write_bytes(local_ / "sent", "content").u16string();
            core::send_file(session, sent, u"new", false);
            return names + ", sent";
        },
        details);
    EXPECT_THAT(place().library_says, testing::Contains(outcome.substr(0, outcome.find('('))))
        << outcome << ": " << place().obstacle;
    count("checks of transfers that cannot work");
}

TEST_P(ObstacleTest, is_what_the_session_layer_says)
{
    reset(running_server(place().server));
    std::string details;
    const auto outcome = outcome_of(
        [&] {
            auto options = login_to(place());
            options.reply_timeout = std::chrono::seconds(3);
            ftp::session session(url_of(place()), options);
            return said(session.names());
        },
        details);
    EXPECT_THAT(place().session_says, testing::Contains(outcome))
        << details << ": " << place().obstacle;
    count("checks of transfers that cannot work");
}

INSTANTIATE_TEST_SUITE_P(Servers, ObstacleTest, testing::ValuesIn(impossible_flavours()),
                         [](const testing::TestParamInfo<const flavour*>& one) {
                             return one.param->full_name() + "__obstacle";
                         });

} // namespace
} // namespace tarnix::test
