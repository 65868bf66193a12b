#pragma once

#include <support/data_connection.hpp>
#include <support/file_tree.hpp>
#include <support/loopback_socket.hpp>
#include <support/open_connections.hpp>
#include <support/reply_script.hpp>
#include <support/step_faults.hpp>
#include <support/transcript.hpp>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tarnix::test {

/// What is scripted beside the answers to single commands.
struct server_behaviour {
    pacing control;
    pacing data;
    /// Each control connection is dropped at this command, which gets no answer.
    std::optional<int> last_command;
    /// In place of every listing.
    std::optional<std::string> listing;
    data_conduct conduct = data_conduct::usual;
    /// In active mode, before a transfer is announced.
    bool connects_early = false;
};

/// What the conversations of one server share; it outlives them.
struct server_state {
    server_state(const std::string& folder, const std::string& where)
        : login_folder(folder), address(where)
    {
        tree.add_folder(folder);
    }

    const std::string login_folder;
    const std::string address;
    stop_signal stop;
    file_tree tree;
    reply_script script;
    step_faults faults;
    transcript received;
    open_connections control_connections;
    std::mutex behaviour_mutex;
    server_behaviour behaviour;

    server_behaviour current_behaviour();
};

/// One FTP control connection, from the greeting to its end.
class control_conversation {
public:
    /// The words under which the greeting and the reply after a transfer are scripted.
    static constexpr auto greeting = "(greeting)";
    static std::string end_of(const std::string& word);

    control_conversation(tcp_stream control, int number, server_state& server);

    /// Returns when either side has closed; raises `disconnected` when that was no clean end.
    void run();

private:
    using action = void (control_conversation::*)();

    static action action_for(const std::string& word);

    bool read_command();
    void answer();
    /// Sends the reply that is due, or what the fault of this step makes of it.
    void send(const std::string& due);
    void reply(int code, const std::string& text);
    void reply_if(bool done, int code, const std::string& text);
    /// The path that the argument names.
    std::string target() const;

    void user();
    void pass();
    void pwd();
    void cwd();
    void cdup();
    void type();
    void size();
    void modification_time();
    void system_type();
    void features();
    void auth();
    void noop();
    void quit();
    void make_folder();
    void remove_folder();
    void delete_file();
    void rename_from();
    void rename_to();
    void epsv();
    void pasv();
    void eprt();
    void port();
    void list();
    void name_list();
    void retrieve();
    void store();
    void unknown();

    std::vector<std::string> names_to_list(bool& exists) const;
    void send_listing(bool exists, const std::vector<std::string>& lines);
    void send_data(const std::string& bytes);
    /// What is done instead of a transfer ends with `disconnected`.
    void misconduct_data(const std::string& bytes);
    void wait_for_the_end();
    bool connect_data();
    /// Announces a transfer, runs it and reports how it ended.
    template <typename Transfer>
    void run_transfer(Transfer transfer);

    tcp_stream control_;
    open_connections::entry listed_;
    int number_;
    server_state& server_;
    std::optional<reply_fault> fault_;
    std::string unread_;
    std::string word_;
    std::string argument_;
    std::string folder_;
    std::string rename_source_;
    bool is_text_ = false;
    bool open_ = true;
    std::optional<data_connection> data_;
};

} // namespace tarnix::test
