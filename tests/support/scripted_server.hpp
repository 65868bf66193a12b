#pragma once

#include <support/control_conversation.hpp>

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace tarnix::test {

/// An FTP server in this process, on loopback and a port that the system chooses. Left alone it
/// behaves well, over a file tree in memory; scripts make it refuse, lie, stay silent and break
/// connections. It records every command. Scripts may be changed while it runs. Its destructor
/// ends all conversations at once, whatever the clients do.
class scripted_server {
public:
    /// The login folder exists from the start.
    explicit scripted_server(const std::string& login_folder = "/",
                             const std::string& address = usual_loopback);
    ~scripted_server();
    scripted_server(const scripted_server&) = delete;
    scripted_server& operator=(const scripted_server&) = delete;

    const std::string& address() const { return state_.address; }
    unsigned short port() const { return listener_.port(); }
    file_tree& tree() { return state_.tree; }
    const file_tree& tree() const { return state_.tree; }

    // Scripts. `word` is a command word in capitals, or one of the next two.

    /// The reply to connecting.
    static std::string greeting() { return control_conversation::greeting; }
    /// The reply at the end of a transfer that `word` began.
    static std::string end_of(const std::string& word)
    {
        return control_conversation::end_of(word);
    }

    /// The command is not carried out and this is the reply.
    void reply_to(const std::string& word, int code, const std::string& text,
                  occurrence nth = every);
    void reply_raw(const std::string& word, const std::string& bytes, occurrence nth = every);
    /// The command is carried out, and its reply becomes what `how` makes of it.
    void rewrite(const std::string& word,
                 const std::function<std::string(const std::string& due)>& how);
    void stay_silent_on(const std::string& word, occurrence nth = every);
    void close_on(const std::string& word, occurrence nth = every);
    /// The command is carried out and answered; then the connection is dropped.
    void close_after(const std::string& word, occurrence nth = every);
    /// New control connections are dropped at their nth command, which gets no answer.
    void drop_connections_at_command(int nth);
    /// Every listing is this text.
    void list_as(const std::string& text);
    void pace_control(const pacing& how);
    void pace_data(const pacing& how);
    void conduct_data(data_conduct how);
    /// In active mode the server connects to the client before it announces a transfer, not after.
    void connect_data_early();
    /// What goes wrong at which step.
    step_faults& disturbances() { return state_.faults; }
    /// Ends the control connections that are idle now, at once: without a word, or with a 421.
    void drop_connections();
    void time_out_connections();
    /// Well-behaved again.
    void clear_script();

    // What reached the server.

    /// The commands of all connections.
    std::vector<std::string> received() const;
    /// The commands of one connection, the first being 1.
    std::vector<std::string> received_on(int connection) const;
    /// The commands, which are then forgotten, as is the data.
    std::vector<std::string> take_received();
    /// The bytes of each upload, as they came.
    std::vector<std::string> received_data() const { return state_.received.data(); }
    /// What went wrong in the server itself.
    std::vector<std::string> faults() const { return state_.received.faults(); }

private:
    void accept_connections();
    void converse(tcp_stream control, int number);

    server_state state_;
    tcp_listener listener_;
    std::jthread acceptor_;
};

} // namespace tarnix::test
