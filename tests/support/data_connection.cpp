#include <support/data_connection.hpp>

#include <utility>

namespace tarnix::test {

data_connection data_connection::passive(const stop_signal& stop, const std::string& address)
{
    return {tcp_listener(stop, address), stop};
}

data_connection data_connection::active(unsigned short port, const stop_signal& stop)
{
    return {port, stop};
}

data_connection::data_connection(peer client, const stop_signal& stop)
    : client_(std::move(client)), stop_(&stop)
{
}

unsigned short data_connection::port() const
{
    if (const auto* listener = std::get_if<tcp_listener>(&client_))
        return listener->port();
    return std::get<unsigned short>(client_);
}

void data_connection::send(const std::string& bytes, const pacing& how)
{
    auto stream = open();
    stream.set_pacing(how);
    stream.write(bytes);
}

std::string data_connection::receive()
{
    auto stream = open();
    std::string all;
    for (auto bytes = stream.read_some(); !bytes.empty(); bytes = stream.read_some())
        all += bytes;
    return all;
}

void data_connection::connect_early()
{
    if (std::holds_alternative<unsigned short>(client_))
        made_ = open();
}

tcp_stream data_connection::open()
{
    if (made_)
        return std::move(*std::exchange(made_, std::nullopt));
    if (auto* listener = std::get_if<tcp_listener>(&client_))
        return listener->accept();
    return tcp_stream::connect_to(std::get<unsigned short>(client_), *stop_);
}

} // namespace tarnix::test
