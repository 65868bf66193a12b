#pragma once

#include "script.hpp"

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnix::fuzz {

/// A socket of the server's. Owns it; never waits.
class server_socket {
public:
    explicit server_socket(int descriptor) : descriptor_(descriptor) {}
    ~server_socket();
    server_socket(const server_socket&) = delete;
    server_socket& operator=(const server_socket&) = delete;

    /// To be sent when the client looks.
    void send(std::string_view bytes) { outgoing_ += bytes; }
    /// No more than `limit` bytes of what is to be sent.
    void flush(std::size_t limit);
    /// The same for replies: one for each call of `owe_reply`, and the next one not before the
    /// client has read the one before. libcurl 7.88 reads a reply that it has not asked for with a
    /// pointer into memory that it has freed; see docs/reliability.md. With the environment
    /// variable TARNIX_FUZZ_UNASKED everything is sent at once all the same.
    void flush_replies(std::size_t limit);
    void owe_reply() { ++owed_; }
    bool owes_nothing() const { return owed_ == 0; }
    /// Of the reply that was sent last.
    const std::string& last_code() const { return last_code_; }
    bool is_flushed() const { return outgoing_.empty(); }
    /// What has arrived. Empty when nothing has.
    std::string receive();
    bool client_has_gone() const { return client_has_gone_; }

private:
    bool may_reply() const;

    int descriptor_;
    std::string outgoing_;
    int owed_ = 0;
    std::string last_code_;
    std::string line_; ///< the beginning, already sent, of the line that is sent next
    bool client_has_gone_ = false;
};

/// An FTP server in the thread of its client: it says what a script tells it to say.
class scripted_server {
public:
    static constexpr std::uint16_t port = 2121;

    explicit scripted_server(script behaviour);

    /// A client has connected to the port; takes the server's end. False when the server does not
    /// take it.
    bool accept(int descriptor, std::uint16_t to_port);

    /// Does all that can be done without waiting.
    void serve();

    /// Closes all connections; from now on every reply is the sane one.
    void become_sane();

    /// The lines that clients sent, without their line feed, since the start or `become_sane`.
    const std::vector<std::string>& commands() const { return commands_; }
    /// What went over the last data connection in which the server sent, or received.
    const std::string& last_sent() const { return last_sent_; }
    const std::string& last_received() const { return last_received_; }
    /// The command that began the last transfer.
    const std::string& last_transfer() const { return last_transfer_; }
    /// The last reply to SIZE.
    const std::string& last_size() const { return last_size_; }

private:
    enum class transfer { none, sending, receiving };

    struct control {
        explicit control(int descriptor) : socket(descriptor) {}

        server_socket socket;
        std::string incoming;
        bool ends = false; ///< when all is sent
    };

    void read_commands(control& client);
    void answer(control& client, const std::string& command);
    void begin_transfer(control& client, const std::string& verb);
    void continue_transfer();
    bool client_goes_on() const;
    void complete();
    void end_transfer();
    /// Sends the next reply of the script; `sane` is the one of a sane server. Returns what was
    /// sent.
    std::string reply(control& client, const std::string& sane);

    script script_;
    std::list<control> controls_;
    std::optional<server_socket> data_;
    transfer transfer_ = transfer::none;
    control* transferring_ = nullptr;
    bool completion_is_due_ = false;
    std::vector<std::string> commands_;
    std::string last_sent_;
    std::string last_received_;
    std::string last_transfer_;
    std::string last_size_;
};

} // namespace tarnix::fuzz
