#include "session_meeting.hpp"

#include "server_content.hpp"

namespace tarnix::test {

namespace {

using clock = std::chrono::steady_clock;

ftp::session_options options_for(const misbehaviour& how)
{
    ftp::session_options options;
    options.password = "secret";
    options.reply_timeout = std::chrono::seconds(how.is_silent ? 1 : 20);
    options.connect_timeout = options.reply_timeout;
    options.low_speed_time = options.reply_timeout;
    return options;
}

void run(const session_operation& operation, session_setting& setting, session_meeting& met)
{
    try {
        met.outcome = operation.run(setting);
    } catch (const std::exception& error) {
        met.raised = true;
        met.outcome = error.what();
        met.kind = ftp::kind_of(error);
    }
}

std::string names_of(session_setting& setting)
{
    try {
        if (!setting.session)
            setting.session.emplace(url_of(setting.server), setting.options);
        std::string text;
        for (const auto& name : setting.session->names("/home/u"))
            text += '[' + name + ']';
        return text;
    } catch (const std::exception& error) {
        return error.what();
    }
}

} // namespace

session_meeting meet(const session_operation& operation, const misbehaviour& how,
                     const std::filesystem::path& local)
{
    session_meeting met;
    scripted_server server("/home/u", new_loopback());
    add_content(server);
    session_setting setting{server, options_for(how), std::nullopt, local};
    if (!operation.connects)
        setting.session.emplace(url_of(server), setting.options);
    server.disturbances().begin();
    if (how.arm)
        how.arm(server);
    const auto begin = clock::now();
    run(operation, setting, met);
    met.duration = std::chrono::duration_cast<std::chrono::milliseconds>(clock::now() - begin);
    met.steps = server.disturbances().steps();
    met.has_local_file = std::filesystem::exists(local);
    server.clear_script();
    setting.options = options_for({});
    met.names_later = names_of(setting);
    return met;
}

} // namespace tarnix::test
