#include "core_meeting.hpp"

#include "server_content.hpp"

#include <support/identifier_matchers.hpp>
#include <support/option_recorder.hpp>

#include <boost/algorithm/string/replace.hpp>

namespace tarnix::test {

namespace core = io::ftp::core;

namespace {

using clock = std::chrono::steady_clock;

/// How long the client waits for replies and for data; by itself libcurl waits two minutes for the
/// ones and for ever for the other.
void set_patience(core::curl_ptr& handle, const misbehaviour& how)
{
    const auto seconds = how.is_silent ? 1 : 20;
    core::set_option(handle, CURLOPT_SERVER_RESPONSE_TIMEOUT, seconds);
    core::set_option(handle, CURLOPT_LOW_SPEED_LIMIT, 1);
    core::set_option(handle, CURLOPT_LOW_SPEED_TIME, seconds);
}

void run(const core_operation& operation, core_setting& setting, core_meeting& met)
{
    try {
        met.outcome = operation.run(setting);
    } catch (const foundation::core::except::IMsgIDException& error) {
        met.raised = true;
        met.outcome = to_text(error.message_id());
        met.outcome.erase(0, met.outcome.rfind(':', met.outcome.find('(')) + 1);
    }
}

std::string connect_elsewhere(core::curl_ptr& handle, const scripted_server& elsewhere)
{
    try {
        connect_to(handle, elsewhere);
        return core::pwd(handle);
    } catch (const foundation::core::except::IMsgIDException& error) {
        return to_text(error.message_id());
    }
}

/// Where the session stands. Each server has an address of its own.
std::string url_on(const scripted_server& server, core::curl_ptr& handle)
{
    return boost::algorithm::replace_first_copy(core::current_remote_url(handle), server.address(),
                                                "server");
}

} // namespace

core_meeting meet(const core_operation& operation, const misbehaviour& how,
                  const std::filesystem::path& local)
{
    core_meeting met;
    const scripted_server elsewhere("/else", new_loopback());
    scripted_server server("/home/u", new_loopback());
    add_content(server);
    option_recorder recorder(option_recorder::requests::real);
    core::curl_ptr handle(false);
    if (!operation.connects)
        connect_to(handle, server);
    set_patience(handle, how);
    met.url_before = url_on(server, handle);
    server.disturbances().begin();
    if (how.arm)
        how.arm(server);
    core_setting setting{handle, server, local};
    const auto begin = clock::now();
    run(operation, setting, met);
    met.duration = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - begin);
    met.steps = server.disturbances().steps();
    met.url_after = url_on(server, handle);
    met.options = recorder.settings();
    // What this test sets, and what is different in each meeting.
    for (const auto* option :
         {"URL", "PORT", "SERVER_RESPONSE_TIMEOUT", "LOW_SPEED_LIMIT", "LOW_SPEED_TIME"})
        met.options.erase(option);
    met.folder_elsewhere = connect_elsewhere(handle, elsewhere);
    return met;
}

} // namespace tarnix::test
