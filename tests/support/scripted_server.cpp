#include <support/scripted_server.hpp>

#include <exception>
#include <utility>

namespace tarnix::test {

scripted_server::scripted_server(const std::string& login_folder, const std::string& address)
    : state_(login_folder, address),
      listener_(state_.stop, address),
      acceptor_([this] { accept_connections(); })
{
}

scripted_server::~scripted_server()
{
    state_.stop.raise();
}

void scripted_server::reply_to(const std::string& word, int code, const std::string& text,
                               occurrence nth)
{
    reply_raw(word, reply_line(code, text), nth);
}

void scripted_server::reply_raw(const std::string& word, const std::string& bytes, occurrence nth)
{
    state_.script.set(word, {.instead = bytes}, nth);
}

void scripted_server::rewrite(const std::string& word,
                              const std::function<std::string(const std::string& due)>& how)
{
    state_.script.set(word, {.rewritten = how}, every);
}

void scripted_server::stay_silent_on(const std::string& word, occurrence nth)
{
    reply_raw(word, "", nth);
}

void scripted_server::close_on(const std::string& word, occurrence nth)
{
    state_.script.set(word, {.instead = "", .close = true}, nth);
}

void scripted_server::close_after(const std::string& word, occurrence nth)
{
    state_.script.set(word, {.close = true}, nth);
}

void scripted_server::drop_connections()
{
    state_.control_connections.end_all("");
}

void scripted_server::time_out_connections()
{
    state_.control_connections.end_all(reply_line(421, "Idle for too long."));
}

void scripted_server::drop_connections_at_command(int nth)
{
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour.last_command = nth;
}

void scripted_server::list_as(const std::string& text)
{
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour.listing = text;
}

void scripted_server::pace_control(const pacing& how)
{
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour.control = how;
}

void scripted_server::pace_data(const pacing& how)
{
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour.data = how;
}

void scripted_server::conduct_data(data_conduct how)
{
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour.conduct = how;
}

void scripted_server::connect_data_early()
{
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour.connects_early = true;
}

void scripted_server::clear_script()
{
    state_.script.clear();
    state_.faults.begin();
    const std::lock_guard lock(state_.behaviour_mutex);
    state_.behaviour = {};
}

std::vector<std::string> scripted_server::received() const
{
    std::vector<std::string> lines;
    for (const auto& command : state_.received.commands())
        lines.push_back(command.line);
    return lines;
}

std::vector<std::string> scripted_server::received_on(int connection) const
{
    std::vector<std::string> lines;
    for (const auto& command : state_.received.commands())
        if (command.connection == connection)
            lines.push_back(command.line);
    return lines;
}

std::vector<std::string> scripted_server::take_received()
{
    auto lines = received();
    state_.received.clear();
    return lines;
}

void scripted_server::accept_connections()
{
    std::vector<std::jthread> conversations;
    try {
        for (int number = 1;; ++number)
            conversations.emplace_back(
                [this, number](tcp_stream control) { converse(std::move(control), number); },
                listener_.accept());
    } catch (const disconnected&) {
        // Stopped; leaving joins the conversations, which see the same signal.
    } catch (const std::exception& error) {
        state_.received.add_fault(error.what());
    }
}

void scripted_server::converse(tcp_stream control, int number)
{
    try {
        control_conversation(std::move(control), number, state_).run();
    } catch (const disconnected&) {
        // An end like another.
    } catch (const std::exception& error) {
        state_.received.add_fault(error.what());
    }
}

} // namespace tarnix::test
