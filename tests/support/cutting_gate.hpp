#pragma once

#include <support/loopback_socket.hpp>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tarnix::test {

/// Stands between a client and a server on this machine, passes on what they say, and breaks a
/// connection after any byte that it is told. It writes the port of a data connection in a reply
/// to EPSV or PASV, and in the commands EPRT and PORT, to one of its own, so that those connections
/// go through it too; of the commands it records "....." in place of the port.
class cutting_gate {
public:
    /// What goes through the connections: FTP in clear, or something to be passed on unread.
    enum class speech { ftp, opaque };
    enum class channel { control, data };
    enum class direction { to_server, to_client };
    /// How the client finds the connection broken. The server finds the end of the stream, on a
    /// data connection that is reset a reset too.
    enum class breaking { closed, reset };

    /// Where to cut, counted in bytes of that kind from when the gate is told. No bytes more means:
    /// to the server at once, or when the next such connection is made; to the client before the
    /// first byte.
    struct cut {
        channel where = channel::control;
        direction way = direction::to_server;
        std::size_t after = 0;
        breaking how = breaking::closed;
    };

    /// Something that passed, in the order in which it did: a piece of the one, then the other.
    struct passage {
        channel where;
        int connection; ///< counted from 1
        direction way;
        std::string bytes;
    };

    /// For a server at `address`, where the gate takes a port, too.
    cutting_gate(const std::string& address, unsigned short server_port,
                 speech spoken = speech::ftp);
    /// For a server at another address than the gate's.
    cutting_gate(const std::string& address, speech spoken, const std::string& server_address,
                 unsigned short server_port);
    ~cutting_gate();
    cutting_gate(const cutting_gate&) = delete;
    cutting_gate& operator=(const cutting_gate&) = delete;

    const std::string& address() const { return address_; }
    unsigned short port() const { return listener_.port(); }

    /// A port of the gate through which one data connection to that port of the server can be made,
    /// for clients whose replies the gate cannot read.
    unsigned short door_to(unsigned short server_port);

    /// Counts and records from here on, and cuts once: there.
    void start(const std::optional<cut>& there = std::nullopt);
    /// Waits for the cut; false when it did not come in time.
    bool has_cut_within(std::chrono::milliseconds time) const;
    /// What passed since the start, and how much of that before the cut.
    std::vector<passage> passed() const;
    std::vector<passage> passed_before_cut() const;
    /// Waits until both sides of all connections have ended; false when they did not in time. The
    /// server has done by then whatever it was told.
    bool is_quiet_within(std::chrono::milliseconds time) const;
    /// What went wrong in the gate itself.
    std::vector<std::string> faults() const;

private:
    /// One connection: the client's, the server's. A side is gone when it has ended; with the
    /// client gone, what the server says goes nowhere.
    struct link {
        channel kind;
        int number;
        std::optional<tcp_stream> client;
        std::optional<tcp_stream> server;
        bool client_ended = false;
        bool server_ended = false;
        bool client_went_first = false;
        std::string unfinished_command{};
        std::string unfinished_line{};
    };

    /// Awaits a data connection: of the client, or in active mode of the server.
    struct data_listener {
        int control;
        /// Of the other one.
        unsigned short port;
        tcp_listener listener;
        bool is_active = false;
    };

    void run();
    void wait_and_pass();
    void wake_up();
    void take_doors();
    void take_start();
    void accept_control();
    void accept_data(data_listener& from);
    void join(channel kind, std::optional<tcp_stream> client, std::optional<tcp_stream> server);
    bool is_read(const link& one) const;
    void read_from_client(link& from);
    void read_from_server(link& from);
    void pass_commands(link& along);
    void pass_lines(link& along);
    void pass(link& along, direction way, const std::string& bytes);
    void pass(link& along, direction way, const std::string& bytes, const std::string& recorded);
    std::string redirected(const link& control, std::string line);
    std::optional<unsigned short> active_port(const link& control, const std::string& command);
    void break_off(link& victim);
    static void end_server_side(link& broken);
    void sweep();

    const std::string address_;
    const std::string server_address_;
    const unsigned short server_port_;
    const speech spoken_;
    stop_signal stop_;
    descriptor wake_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    bool start_wanted_ = false;
    std::list<data_listener> new_doors_;
    std::optional<cut> cut_;
    std::size_t still_to_pass_ = 0;
    bool has_cut_ = false;
    bool is_quiet_ = true;
    std::vector<passage> passed_;
    std::ptrdiff_t cut_position_ = 0;
    std::vector<std::string> faults_;
    // Of the gate's own thread.
    int connections_ = 0;
    std::list<link> links_;
    std::list<data_listener> data_listeners_;
    tcp_listener listener_;
    std::jthread runner_;
};

} // namespace tarnix::test
