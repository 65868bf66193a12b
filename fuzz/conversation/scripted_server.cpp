#include "scripted_server.hpp"

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <limits>
#include <utility>

namespace tarnix::fuzz {

namespace {

std::string verb_of(const std::string& command)
{
    return command.substr(0, command.find_first_of(" \r"));
}

std::string sane_reply(const std::string& verb)
{
    constexpr std::array<std::pair<std::string_view, std::string_view>, 22> replies{{
        {"USER", "331 And the password?"},
        {"PASS", "230 Logged in"},
        {"PWD", "257 \"/home/u\" is the working folder"},
        {"CWD", "250 Entered"},
        {"CDUP", "250 Entered"},
        {"TYPE", "200 As you like"},
        {"EPSV", "229 Here (|||50000|)"},
        {"PASV", "227 Here (127,0,0,1,195,80)"},
        {"SIZE", "213 5"},
        {"MDTM", "213 20260102030405"},
        {"REST", "350 From there"},
        {"RNFR", "350 To what?"},
        {"RNTO", "250 Renamed"},
        {"DELE", "250 Deleted"},
        {"MKD", "257 \"/home/u/new\" made"},
        {"RMD", "250 Removed"},
        {"SYST", "215 UNIX Type: L8"},
        {"NOOP", "200 Still here"},
        {"QUIT", "221 Goodbye"},
        {"PBSZ", "200 Good"},
        {"PROT", "200 Good"},
        {"OPTS", "200 Good"},
    }};
    for (const auto& [command, text] : replies) {
        if (command == verb)
            return std::string(text);
    }
    return "502 Not here";
}

std::string sane_data(const std::string& verb)
{
    if (verb == "NLST")
        return ".\r\n..\r\nname\r\nother name\r\n";
    if (verb == "LIST")
        return "-rw-r--r-- 1 u u 5 Jan 02 2026 name\r\n";
    return "hello";
}

bool ends_reply(std::string_view line)
{
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    return line.size() > 3 && std::all_of(line.begin(), line.begin() + 3, is_digit) &&
           line[3] == ' ';
}

/// For people who look at one input.
void show(std::string_view who, const std::string& what)
{
    static const auto* const wanted = std::getenv("TARNIX_FUZZ_SHOW");
    if (wanted)
        std::cerr << who << std::quoted(what) << '\n';
}

} // namespace

server_socket::~server_socket()
{
    ::close(descriptor_);
}

void server_socket::flush(std::size_t limit)
{
    while (!outgoing_.empty() && limit > 0) {
        const auto count = std::min(limit, outgoing_.size());
        const auto sent = ::send(descriptor_, outgoing_.data(), count, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent <= 0) {
            // Nobody will read the rest.
            if (errno != EAGAIN && errno != EINTR)
                outgoing_.clear();
            return;
        }
        outgoing_.erase(0, static_cast<std::size_t>(sent));
        limit -= static_cast<std::size_t>(sent);
    }
}

bool server_socket::may_reply() const
{
    int unread = 0;
    return !owes_nothing() && ::ioctl(descriptor_, SIOCOUTQ, &unread) == 0 && unread == 0;
}

void server_socket::flush_replies(std::size_t limit)
{
    static const auto unasked = std::getenv("TARNIX_FUZZ_UNASKED") != nullptr;
    if (!unasked && !may_reply())
        return;
    std::size_t count = 0;
    while (count < std::min(limit, outgoing_.size())) {
        const char next = outgoing_[count++];
        line_ += next;
        if (next != '\n')
            continue;
        const auto line = std::exchange(line_, {});
        if (!ends_reply(line))
            continue;
        last_code_ = line.substr(0, 3);
        owed_ = std::max(owed_ - 1, 0);
        if (!unasked)
            break;
    }
    flush(count);
}

std::string server_socket::receive()
{
    std::string received;
    std::array<char, 16384> buffer{};
    for (;;) {
        const auto count = ::recv(descriptor_, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count <= 0) {
            client_has_gone_ = count == 0 || (errno != EAGAIN && errno != EINTR);
            return received;
        }
        received.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

scripted_server::scripted_server(script behaviour) : script_(std::move(behaviour)) {}

bool scripted_server::accept(int descriptor, std::uint16_t to_port)
{
    if (to_port == port) {
        reply(controls_.emplace_back(descriptor), "220 Ready");
        return true;
    }
    data_.emplace(descriptor);
    if (script_.refuses_data)
        data_.reset();
    return data_.has_value();
}

void scripted_server::become_sane()
{
    end_transfer();
    controls_.clear();
    commands_.clear();
    script_ = {};
    script_.sane_at_the_end = true;
}

void scripted_server::serve()
{
    for (auto& client : controls_)
        read_commands(client);
    continue_transfer();
    const auto limit = script_.byte_by_byte ? 1 : std::numeric_limits<std::size_t>::max();
    for (auto& client : controls_)
        client.socket.flush_replies(limit);
    controls_.remove_if([this](const control& client) {
        const auto ends =
            client.socket.client_has_gone() ||
            (client.ends && (client.socket.is_flushed() || client.socket.owes_nothing()));
        if (ends && &client == transferring_)
            end_transfer();
        return ends;
    });
}

void scripted_server::read_commands(control& client)
{
    client.incoming += client.socket.receive();
    for (;;) {
        const auto end = client.incoming.find('\n');
        if (end == std::string::npos || client.ends)
            return;
        commands_.push_back(client.incoming.substr(0, end));
        client.incoming.erase(0, end + 1);
        show("client: ", commands_.back());
        answer(client, commands_.back());
    }
}

void scripted_server::answer(control& client, const std::string& command)
{
    const auto verb = verb_of(command);
    if (verb == "RETR" || verb == "LIST" || verb == "NLST" || verb == "STOR" || verb == "APPE")
        return begin_transfer(client, verb);
    const auto said = reply(client, sane_reply(verb));
    if (verb == "SIZE")
        last_size_ = said;
}

void scripted_server::begin_transfer(control& client, const std::string& verb)
{
    const auto said = reply(client, data_ ? "150 Here it comes" : "425 No data connection");
    if (!data_ || said.starts_with('4') || said.starts_with('5')) {
        data_.reset();
        return;
    }
    transferring_ = &client;
    completion_is_due_ = true;
    last_transfer_ = verb;
    if (verb == "STOR" || verb == "APPE") {
        transfer_ = transfer::receiving;
        last_received_.clear();
        return;
    }
    transfer_ = transfer::sending;
    last_sent_ = sane_data(verb);
    if (!script_.data.empty()) {
        last_sent_ = std::move(script_.data.front());
        script_.data.pop_front();
    }
    data_->send(last_sent_);
}

/// Whether libcurl goes on with the transfer, and so waits for another reply.
bool scripted_server::client_goes_on() const
{
    const auto& code = transferring_->socket.last_code();
    return transfer_ == transfer::receiving ? code < "400" : code == "150" || code == "126";
}

void scripted_server::continue_transfer()
{
    if (!data_ || transfer_ == transfer::none || !transferring_->socket.owes_nothing())
        return;
    if (completion_is_due_ && !client_goes_on())
        return end_transfer();
    if (script_.ends_early)
        complete();
    if (transfer_ == transfer::receiving)
        last_received_ += data_->receive();
    else
        data_->flush(script_.byte_by_byte ? 1 : std::numeric_limits<std::size_t>::max());
    const auto is_over =
        transfer_ == transfer::receiving ? data_->client_has_gone() : data_->is_flushed();
    if (!is_over)
        return;
    complete();
    end_transfer();
}

void scripted_server::complete()
{
    if (std::exchange(completion_is_due_, false))
        reply(*transferring_, "226 Done");
}

void scripted_server::end_transfer()
{
    data_.reset();
    transfer_ = transfer::none;
    transferring_ = nullptr;
}

std::string scripted_server::reply(control& client, const std::string& sane)
{
    std::string line;
    if (!script_.replies.empty()) {
        line = std::move(script_.replies.front());
        script_.replies.pop_front();
    } else if (!script_.sane_at_the_end) {
        client.ends = true;
        return {};
    }
    const auto answer = line.empty() ? scripted_reply{sane + "\r\n"} : read_reply(line);
    client.socket.send(answer.text);
    client.socket.owe_reply();
    show(answer.hangs_up ? "server, hanging up: " : "server: ", answer.text);
    client.ends = client.ends || answer.hangs_up;
    return answer.text;
}

} // namespace tarnix::fuzz
