#include "place.hpp"

#include <chrono>

namespace tarnix::test {

namespace {

thread_local place* place_of_this_thread = nullptr;

} // namespace

place::place(data_mode wanted) : mode(wanted)
{
    place_of_this_thread = this;
    // As most servers do; from others libcurl 7.88 now and then does not take the connection.
    server.connect_data_early();
}

place::~place()
{
    place_of_this_thread = nullptr;
}

void place::note_warning(const resource_core::BaseMsgID& message)
{
    if (place_of_this_thread)
        place_of_this_thread->warnings.push_back(message.id);
}

void place::connect_handle()
{
    io::ftp::core::connect(*handle, server_url(), "u", "secret", gate.port(),
                           mode == data_mode::active ? "active" : "passive", "none", false, "",
                           true, true, 0, 0);
}

void place::connect_session()
{
    ftp::url to;
    to.scheme = ftp::protocol::ftp;
    to.host = gate.address();
    to.port = gate.port();
    ftp::session_options wanted;
    wanted.user = "u";
    wanted.password = "secret";
    wanted.active_mode = mode == data_mode::active;
    // No wait here needs more; a wait for a reply that never comes shall not look like a hang.
    wanted.reply_timeout = std::chrono::seconds(5);
    wanted.connect_timeout = std::chrono::seconds(5);
    session.emplace(to, wanted);
}

std::map<std::string, std::string> place::option_values() const
{
    auto values = options.settings();
    values["PORT"] = values["PORT"] == std::to_string(gate.port()) ? "the gate's" : values["PORT"];
    return values;
}

} // namespace tarnix::test
