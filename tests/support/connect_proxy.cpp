#include <support/connect_proxy.hpp>

#include <cstdio>
#include <exception>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>

namespace tarnix::test {

namespace {

/// The lines of a request up to the empty one.
std::string read_head(tcp_stream& client)
{
    std::string head;
    while (!head.ends_with("\r\n\r\n")) {
        const auto bytes = client.read_some();
        if (bytes.empty())
            throw disconnected("the client left in the middle of a request");
        head += bytes;
    }
    return head;
}

connect_proxy::request parse(const std::string& head)
{
    constexpr std::string_view name = "Proxy-Authorization: ";
    connect_proxy::request request;
    std::istringstream lines(head);
    for (std::string line; std::getline(lines, line);) {
        line.pop_back(); // the carriage return
        if (request.line.empty())
            request.line = line;
        else if (line.starts_with(name))
            request.authorization = line.substr(name.size());
    }
    return request;
}

std::optional<tcp_stream> reach(unsigned short port, const stop_signal& stop)
{
    try {
        return tcp_stream::connect_to(port, stop);
    } catch (const disconnected&) {
        return std::nullopt;
    }
}

} // namespace

connect_proxy::connect_proxy(const std::string& authorization)
    : authorization_(authorization), listener_(stop_), acceptor_([this] { accept_connections(); })
{
}

connect_proxy::~connect_proxy()
{
    stop_.raise();
}

std::vector<connect_proxy::request> connect_proxy::requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<std::string> connect_proxy::faults() const
{
    const std::lock_guard lock(mutex_);
    return faults_;
}

void connect_proxy::accept_connections()
{
    std::vector<std::jthread> tunnels;
    try {
        for (;;)
            tunnels.emplace_back([this](tcp_stream client) { serve(std::move(client)); },
                                 listener_.accept());
    } catch (const disconnected&) {
        // Stopped; leaving joins the tunnels, which see the same signal.
    } catch (const std::exception& error) {
        add_fault(error.what());
    }
}

void connect_proxy::serve(tcp_stream client)
{
    try {
        tunnel(client);
    } catch (const disconnected&) {
        // An end like another.
    } catch (const std::exception& error) {
        add_fault(error.what());
    }
}

void connect_proxy::tunnel(tcp_stream& client)
{
    const auto asked = parse(read_head(client));
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(asked);
    }
    if (asked.authorization != authorization_) {
        client.write("HTTP/1.1 407 Proxy Authentication Required\r\n"
                     "Proxy-Authenticate: Basic realm=\"test\"\r\nContent-Length: 0\r\n\r\n");
        return;
    }
    int port = 0;
    if (std::sscanf(asked.line.c_str(), "CONNECT 127.0.0.1:%d HTTP/1.1", &port) != 1) {
        client.write("HTTP/1.1 403 Forbidden\r\nContent-Length: 0\r\n\r\n");
        return;
    }
    auto target = reach(static_cast<unsigned short>(port), stop_);
    if (!target) {
        client.write("HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n");
        return;
    }
    client.write("HTTP/1.1 200 Connection established\r\nX-Proxy: test\r\n\r\n");
    relay(client, *target, stop_);
}

void connect_proxy::add_fault(const std::string& what)
{
    const std::lock_guard lock(mutex_);
    faults_.push_back(what);
}

} // namespace tarnix::test
