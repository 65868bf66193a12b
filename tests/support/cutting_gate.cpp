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
    : address_(address),
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
        take_start();
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
        accept(channel::data, here->listener, here->server_port);
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
        accept(channel::control, listener_, server_port_);
    sweep();
}

void cutting_gate::take_start()
{
    eventfd_t count = 0;
    eventfd_read(wake_.number(), &count);
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

void cutting_gate::accept(channel kind, tcp_listener& from, unsigned short server_port)
{
    link made{kind, ++connections_, from.accept(), std::nullopt};
    try {
        made.server = tcp_stream::connect_to(server_port, stop_, address_);
    } catch (const disconnected&) {
        return; // the server has given up on it
    }
    links_.push_back(std::move(made));
    const auto at_once = [&] {
        const std::lock_guard lock(mutex_);
        is_quiet_ = false;
        return cut_ && !has_cut_ && cut_->where == kind && cut_->way == direction::to_server &&
               still_to_pass_ == 0;
    }();
    if (at_once)
        break_off(links_.back());
}

void cutting_gate::read_from_client(link& from)
{
    try {
        const auto bytes = from.client->read_some();
        if (!bytes.empty())
            return pass(from, direction::to_server, bytes);
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
        } else if (spoken_ == speech::opaque || from.kind == channel::data) {
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

/// Sends the bytes on, up to where the cut is.
void cutting_gate::pass(link& along, direction way, const std::string& bytes)
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
        passed_.push_back({along.kind, along.number, way, bytes.substr(0, count)});
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
