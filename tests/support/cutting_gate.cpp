#include <support/cutting_gate.hpp>

#include <boost/algorithm/string/replace.hpp>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <iterator>
#include <system_error>
#include <utility>

namespace tarnix::test {

using namespace std::chrono_literals;

namespace {

descriptor new_event()
{
    descriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (event.number() < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return event;
}

void end_sending(const tcp_stream& stream)
{
    shutdown(stream.descriptor_number(), SHUT_WR);
}

} // namespace

cutting_gate::cutting_gate(const std::string& address, unsigned short server_port, speech spoken)
    : cutting_gate(address, spoken, address, server_port)
{
}

cutting_gate::cutting_gate(const std::string& address, speech spoken,
                           const std::string& server_address, unsigned short server_port)
    : address_(address),
      server_address_(server_address),
      server_port_(server_port),
      spoken_(spoken),
      wake_(new_event()),
      listener_(stop_, address_),
      runner_([this] { run(); })
{
}

cutting_gate::~cutting_gate()
{
    stop_.raise();
}

unsigned short cutting_gate::door_to(unsigned short server_port)
{
    tcp_listener door(stop_, address_);
    const auto own = door.port();
    const std::lock_guard lock(mutex_);
    new_doors_.push_back({0, server_port, std::move(door)});
    eventfd_write(wake_.number(), 1);
    return own;
}

void cutting_gate::start(const std::optional<cut>& there)
{
    std::unique_lock lock(mutex_);
    cut_ = there;
    still_to_pass_ = there ? there->after : 0;
    has_cut_ = false;
    start_wanted_ = true;
    eventfd_write(wake_.number(), 1);
    changed_.wait_for(lock, 20s, [this] { return !start_wanted_; });
}

bool cutting_gate::has_cut_within(std::chrono::milliseconds time) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, time, [this] { return has_cut_; });
}

std::vector<cutting_gate::passage> cutting_gate::passed() const
{
    const std::lock_guard lock(mutex_);
    return passed_;
}

std::vector<cutting_gate::passage> cutting_gate::passed_before_cut() const
{
    const std::lock_guard lock(mutex_);
    return {passed_.begin(), passed_.begin() + cut_position_};
}

bool cutting_gate::is_quiet_within(std::chrono::milliseconds time) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, time, [this] { return is_quiet_; });
}

std::vector<std::string> cutting_gate::faults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

void cutting_gate::run()
{
    try {
        for (;;)
            wait_and_pass();
    } catch (const disconnected&) {
        // Stopped.
    } catch (const std::exception& error) {
        const std::lock_guard lock(mutex_);
        faults_.emplace_back(error.what());
        changed_.notify_all();
    }
}

void cutting_gate::wait_and_pass()
{
    std::vector<pollfd> wanted;
    const auto want = [&](int number) { wanted.push_back({number, POLLIN, 0}); };
    want(stop_.readable_when_raised());
    want(wake_.number());
    want(listener_.descriptor_number());
    for (const auto& data : data_listeners_)
        want(data.listener.descriptor_number());
    for (const auto& one : links_) {
        // Left out by its negative number when there is nothing more to read.
        want(one.client && !one.client_ended ? one.client->descriptor_number() : -1);
        want(one.server && !one.server_ended ? one.server->descriptor_number() : -1);
    }
    if (poll(wanted.data(), wanted.size(), -1) < 0 && errno != EINTR)
        throw std::system_error(errno, std::generic_category(), "poll");

    auto next = wanted.cbegin();
    const auto is_ready = [&] { return next++->revents != 0; };
    if (is_ready())
        throw disconnected("stopped");
    if (is_ready()) {
        wake_up();
        return; // the connections may be others now
    }
    const bool accepts = is_ready();
    const auto known_listeners = data_listeners_.size();
    const auto known_links = links_.size();
    auto listener = data_listeners_.begin();
    for (std::size_t i = 0; i < known_listeners; ++i) {
        const auto here = listener++;
        if (!is_ready())
            continue;
        accept_data(*here);
        data_listeners_.erase(here);
    }
    auto one = links_.begin();
    for (std::size_t i = 0; i < known_links; ++i, ++one) {
        const auto from_client = is_ready();
        const auto from_server = is_ready();
        if (from_client && one->client && !one->client_ended)
            read_from_client(*one);
        if (from_server && one->server && !one->server_ended)
            read_from_server(*one);
    }
    if (accepts)
        accept_control();
    sweep();
}

void cutting_gate::wake_up()
{
    eventfd_t count = 0;
    eventfd_read(wake_.number(), &count);
    take_doors();
    const auto starts = [this] {
        const std::lock_guard lock(mutex_);
        return start_wanted_;
    }();
    if (starts)
        take_start();
}

/// They belong to the control connection that was made last.
void cutting_gate::take_doors()
{
    int control = 0;
    for (const auto& one : links_)
        if (one.kind == channel::control)
            control = one.number;
    const std::lock_guard lock(mutex_);
    for (auto& door : new_doors_)
        door.control = control;
    data_listeners_.splice(data_listeners_.end(), new_doors_);
}

void cutting_gate::take_start()
{
    const auto at_once = [this] {
        const std::lock_guard lock(mutex_);
        passed_.clear();
        cut_position_ = 0;
        return cut_ && cut_->where == channel::control && cut_->way == direction::to_server &&
               cut_->after == 0;
    }();
    if (at_once)
        for (auto& one : links_)
            if (one.kind == channel::control && one.client)
                break_off(one);
    sweep();
    const std::lock_guard lock(mutex_);
    start_wanted_ = false;
    changed_.notify_all();
}

void cutting_gate::accept_control()
{
    auto client = listener_.accept();
    try {
        join(channel::control, std::move(client),
             tcp_stream::connect_to(server_port_, stop_, server_address_));
    } catch (const disconnected&) {
        return; // the server has given up on it
    }
}

void cutting_gate::accept_data(data_listener& from)
{
    auto accepted = from.listener.accept();
    try {
        if (from.is_active)
            join(channel::data, tcp_stream::connect_to(from.port, stop_), std::move(accepted));
        else
            join(channel::data, std::move(accepted),
                 tcp_stream::connect_to(from.port, stop_, server_address_));
    } catch (const disconnected&) {
        return; // the other one has given up on it
    }
}

void cutting_gate::join(channel kind, std::optional<tcp_stream> client,
                        std::optional<tcp_stream> server)
{
    links_.push_back({kind, ++connections_, std::move(client), std::move(server)});
    const auto at_once = [&] {
        const std::lock_guard lock(mutex_);
        is_quiet_ = false;
        return cut_ && !has_cut_ && cut_->where == kind && cut_->way == direction::to_server &&
               still_to_pass_ == 0;
    }();
    if (at_once)
        break_off(links_.back());
}

bool cutting_gate::is_read(const link& one) const
{
    return spoken_ == speech::ftp && one.kind == channel::control;
}

void cutting_gate::read_from_client(link& from)
{
    try {
        const auto bytes = from.client->read_some();
        if (!bytes.empty() && is_read(from)) {
            from.unfinished_command += bytes;
            return pass_commands(from);
        }
        if (!bytes.empty())
            return pass(from, direction::to_server, bytes);
        pass(from, direction::to_server, std::exchange(from.unfinished_command, {}));
        from.client_ended = true;
        from.client_went_first = !from.server_ended;
        if (from.server)
            end_sending(*from.server);
    } catch (const disconnected&) {
        from.client.reset();
        if (from.server)
            end_server_side(from);
    }
}

void cutting_gate::read_from_server(link& from)
{
    try {
        const auto bytes = from.server->read_some();
        if (bytes.empty()) {
            pass(from, direction::to_client, std::exchange(from.unfinished_line, {}));
            from.server_ended = true;
            if (from.client)
                end_sending(*from.client);
        } else if (!is_read(from)) {
            pass(from, direction::to_client, bytes);
        } else if (from.client) {
            from.unfinished_line += bytes;
            pass_lines(from);
        }
    } catch (const disconnected&) {
        from.server.reset();
        if (from.client)
            from.client->reset_when_closed();
        from.client.reset();
    }
}

/// Command by command, because some have to be rewritten.
void cutting_gate::pass_commands(link& along)
{
    auto& text = along.unfinished_command;
    for (auto end = text.find('\n'); end != std::string::npos && along.client;
         end = text.find('\n')) {
        const auto command = text.substr(0, end + 1);
        text.erase(0, end + 1);
        const auto port = active_port(along, command);
        if (!port)
            pass(along, direction::to_server, command);
        else if (command.starts_with("EPRT"))
            pass(along, direction::to_server,
                 "EPRT |1|127.0.0.1|" + std::to_string(*port) + "|\r\n",
                 "EPRT |1|127.0.0.1|.....|\r\n");
        else
            pass(along, direction::to_server,
                 "PORT 127,0,0,1," + std::to_string(*port / 256) + ',' +
                     std::to_string(*port % 256) + "\r\n",
                 "PORT 127,0,0,1,...,...\r\n");
    }
}

/// One that takes the server's connection, for a command that names one of the client; its numbers
/// have as many digits each time.
std::optional<unsigned short> cutting_gate::active_port(const link& control,
                                                        const std::string& command)
{
    int port = 0;
    int high = 0;
    int low = 0;
    if (std::sscanf(command.c_str(), "PORT 127,%*d,%*d,%*d,%d,%d", &high, &low) == 2)
        port = high * 256 + low;
    else if (std::sscanf(command.c_str(), "EPRT |1|127.%*d.%*d.%*d|%d|", &port) != 1)
        return std::nullopt;
    const auto has_digits = [](const tcp_listener& one) {
        return one.port() / 256 >= 100 && one.port() % 256 >= 100;
    };
    tcp_listener own(stop_);
    for (std::list<tcp_listener> others; !has_digits(own); own = tcp_listener(stop_))
        others.push_back(std::move(own));
    data_listeners_.push_back(
        {control.number, static_cast<unsigned short>(port), std::move(own), true});
    return data_listeners_.back().listener.port();
}

/// Line by line, because lines may have to be rewritten.
void cutting_gate::pass_lines(link& along)
{
    auto& text = along.unfinished_line;
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
        const auto line = text.substr(0, end + 1);
        text.erase(0, end + 1);
        pass(along, direction::to_client, redirected(along, line));
    }
}

void cutting_gate::pass(link& along, direction way, const std::string& bytes)
{
    pass(along, way, bytes, bytes);
}

/// Sends the bytes on, up to where the cut is.
void cutting_gate::pass(link& along, direction way, const std::string& bytes,
                        const std::string& recorded)
{
    auto& target = way == direction::to_server ? along.server : along.client;
    if (!target || bytes.empty())
        return;
    auto count = bytes.size();
    bool cuts = false;
    {
        const std::lock_guard lock(mutex_);
        if (cut_ && !has_cut_ && cut_->where == along.kind && cut_->way == way) {
            cuts = still_to_pass_ <= bytes.size();
            count = cuts ? still_to_pass_ : bytes.size();
            still_to_pass_ -= count;
        }
        passed_.push_back({along.kind, along.number, way, recorded.substr(0, count)});
    }
    try {
        target->write(bytes.substr(0, count));
    } catch (const disconnected&) {
        // The reading side will find the end.
    }
    if (cuts)
        break_off(along);
}

/// A reply that names a port for data, with a port of the gate instead.
std::string cutting_gate::redirected(const link& control, std::string line)
{
    const auto open = line.find('(');
    if (open == std::string::npos)
        return line;
    int port = 0;
    int high = 0;
    int low = 0;
    const auto extended = std::sscanf(line.c_str() + open, "(|||%d|)", &port) == 1;
    const auto plain =
        std::sscanf(line.c_str() + open, "(127,%*d,%*d,%*d,%d,%d)", &high, &low) == 2;
    if (!line.starts_with("229") ? !line.starts_with("227") || !plain : !extended)
        return line;
    data_listeners_.push_back({control.number,
                               static_cast<unsigned short>(extended ? port : high * 256 + low),
                               tcp_listener(stop_, address_)});
    const auto own = data_listeners_.back().listener.port();
    line.erase(open);
    return line + (extended
                       ? "(|||" + std::to_string(own) + "|)\r\n"
                       : '(' + boost::algorithm::replace_all_copy(address_, ".", ",") + ',' +
                             std::to_string(own / 256) + ',' + std::to_string(own % 256) + ")\r\n");
}

/// The client finds its connection broken at once.
void cutting_gate::break_off(link& victim)
{
    const std::lock_guard lock(mutex_);
    has_cut_ = true;
    cut_position_ = std::ssize(passed_);
    if (cut_->how == breaking::reset)
        victim.client->reset_when_closed();
    victim.client.reset();
    if (victim.server && cut_->how == breaking::reset)
        end_server_side(victim);
    else if (victim.server)
        end_sending(*victim.server);
    changed_.notify_all();
}

/// After the client's side was reset. Of a control connection what the server was sent so far is
/// all, and what it still says is swallowed, so that its end can be awaited.
void cutting_gate::end_server_side(link& broken)
{
    if (broken.kind == channel::control)
        return end_sending(*broken.server);
    broken.server->reset_when_closed();
    broken.server.reset();
}

/// Forgets the connections that are over.
void cutting_gate::sweep()
{
    for (auto one = links_.begin(); one != links_.end();) {
        const auto here = one++;
        if ((here->client && !here->client_ended) || (here->server && !here->server_ended))
            continue;
        // A side that has gone first would keep its port for a minute if it was seen off properly.
        if (here->client && here->client_went_first)
            here->client->reset_when_closed();
        if (here->server && !here->client_went_first)
            here->server->reset_when_closed();
        links_.erase(here);
    }
    data_listeners_.remove_if([this](const data_listener& data) {
        for (const auto& one : links_)
            if (one.number == data.control)
                return false;
        return true;
    });
    const std::lock_guard lock(mutex_);
    is_quiet_ = links_.empty();
    if (is_quiet_)
        changed_.notify_all();
}

} // namespace tarnix::test
