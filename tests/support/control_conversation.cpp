#include <support/control_conversation.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>

namespace tarnix::test {

namespace {

std::string replaced(std::string text, const std::string& what, const std::string& by)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
    return text;
}

/// With the quotes doubled, as the protocol wants them.
std::string quoted(const std::string& path)
{
    return '"' + replaced(path, "\"", "\"\"") + '"';
}

} // namespace

std::string control_conversation::end_of(const std::string& word)
{
    return word + " (end)";
}

server_behaviour server_state::current_behaviour()
{
    const std::lock_guard lock(behaviour_mutex);
    return behaviour;
}

control_conversation::control_conversation(tcp_stream control, int number, server_state& server)
    : control_(std::move(control)),
      listed_(server.control_connections, control_.descriptor_number()),
      number_(number),
      server_(server),
      folder_(server.login_folder)
{
}

void control_conversation::run()
{
    control_.set_pacing(server_.current_behaviour().control);
    word_ = greeting;
    answer();
    for (int count = 1; open_ && read_command(); ++count) {
        if (count == server_.current_behaviour().last_command)
            return;
        answer();
    }
}

bool control_conversation::read_command()
{
    auto end = unread_.find('\n');
    while (end == std::string::npos) {
        const auto bytes = control_.read_some();
        if (bytes.empty())
            return false;
        unread_ += bytes;
        end = unread_.find('\n');
    }
    auto line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    if (line.ends_with('\r'))
        line.pop_back();
    server_.received.add_command(number_, line);
    const auto blank = line.find(' ');
    word_ = line.substr(0, blank);
    std::transform(word_.begin(), word_.end(), word_.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    argument_ = blank == std::string::npos ? "" : line.substr(blank + 1);
    return true;
}

void control_conversation::answer()
{
    const auto scripted = server_.script.next(word_);
    fault_ = server_.faults.next(word_);
    if (!fault_ && scripted.rewritten)
        fault_ = reply_fault{.words = scripted.rewritten};
    if (scripted.close)
        control_.hold_back();
    if (scripted.instead)
        control_.write(*scripted.instead);
    else if (fault_ && fault_->is_refused)
        send("");
    else if (word_ == greeting)
        reply(220, "Ready.");
    else
        (this->*action_for(word_))();
    open_ = open_ && !scripted.close;
}

void control_conversation::send(const std::string& due)
{
    if (!fault_)
        return control_.write(due);
    const auto& fault = *fault_;
    const auto words = fault.words ? fault.words(due) : due;
    open_ = open_ && fault.then == reply_fault::ending::none;
    if (fault.then == reply_fault::ending::reset)
        control_.reset_when_closed();
    control_.set_pacing(fault.how);
    do {
        control_.write(words);
    } while (fault.repeats);
    control_.set_pacing(server_.current_behaviour().control);
}

control_conversation::action control_conversation::action_for(const std::string& word)
{
    using self = control_conversation;
    static const std::map<std::string, action> actions{
        {"USER", &self::user},         {"PASS", &self::pass},
        {"PWD", &self::pwd},           {"CWD", &self::cwd},
        {"CDUP", &self::cdup},         {"TYPE", &self::type},
        {"SIZE", &self::size},         {"MDTM", &self::modification_time},
        {"SYST", &self::system_type},  {"FEAT", &self::features},
        {"AUTH", &self::auth},         {"NOOP", &self::noop},
        {"QUIT", &self::quit},         {"MKD", &self::make_folder},
        {"RMD", &self::remove_folder}, {"DELE", &self::delete_file},
        {"RNFR", &self::rename_from},  {"RNTO", &self::rename_to},
        {"EPSV", &self::epsv},         {"PASV", &self::pasv},
        {"EPRT", &self::eprt},         {"PORT", &self::port},
        {"LIST", &self::list},         {"NLST", &self::name_list},
        {"RETR", &self::retrieve},     {"STOR", &self::store},
    };
    const auto found = actions.find(word);
    return found == actions.end() ? &self::unknown : found->second;
}

void control_conversation::reply(int code, const std::string& text)
{
    send(reply_line(code, text));
}

void control_conversation::reply_if(bool done, int code, const std::string& text)
{
    if (done)
        reply(code, text);
    else
        reply(550, "Refused.");
}

std::string control_conversation::target() const
{
    return file_tree::resolve(folder_, argument_);
}

void control_conversation::user()
{
    reply(331, "Password, please.");
}

void control_conversation::pass()
{
    reply(230, "Logged in.");
}

void control_conversation::pwd()
{
    reply(257, quoted(folder_) + " is the working folder.");
}

void control_conversation::cwd()
{
    const bool exists = server_.tree.is_folder(target());
    if (exists)
        folder_ = target();
    reply_if(exists, 250, "Moved.");
}

void control_conversation::cdup()
{
    folder_ = file_tree::resolve(folder_, "..");
    reply(250, "Moved.");
}

void control_conversation::type()
{
    is_text_ = argument_.starts_with('A');
    reply(200, "Type set.");
}

void control_conversation::size()
{
    const auto content = server_.tree.read(target());
    reply_if(content.has_value(), 213, std::to_string(content ? content->size() : 0));
}

void control_conversation::modification_time()
{
    reply_if(server_.tree.is_file(target()), 213, "20200102030405");
}

void control_conversation::system_type()
{
    reply(215, "UNIX Type: L8");
}

void control_conversation::features()
{
    send("211-Features:\r\n EPSV\r\n EPRT\r\n SIZE\r\n MDTM\r\n UTF8\r\n211 End\r\n");
}

void control_conversation::auth()
{
    reply(500, "No TLS here.");
}

void control_conversation::noop()
{
    reply(200, "Done nothing.");
}

void control_conversation::quit()
{
    reply(221, "Goodbye.");
    open_ = false;
}

void control_conversation::make_folder()
{
    reply_if(server_.tree.make_folder(target()), 257, quoted(target()) + " created.");
}

void control_conversation::remove_folder()
{
    reply_if(server_.tree.remove_folder(target()), 250, "Removed.");
}

void control_conversation::delete_file()
{
    reply_if(server_.tree.remove_file(target()), 250, "Deleted.");
}

void control_conversation::rename_from()
{
    rename_source_ = target();
    reply_if(server_.tree.is_file(target()) || server_.tree.is_folder(target()), 350, "To what?");
}

void control_conversation::rename_to()
{
    reply_if(server_.tree.rename(rename_source_, target()), 250, "Renamed.");
}

void control_conversation::epsv()
{
    data_ = data_connection::passive(server_.stop, server_.address);
    reply(229, "Connect to me (|||" + std::to_string(data_->port()) + "|)");
}

void control_conversation::pasv()
{
    data_ = data_connection::passive(server_.stop, server_.address);
    reply(227, "Connect to me (" + replaced(server_.address, ".", ",") + ',' +
                   std::to_string(data_->port() / 256) + ',' + std::to_string(data_->port() % 256) +
                   ')');
}

void control_conversation::eprt()
{
    int client_port = 0;
    if (std::sscanf(argument_.c_str(), "|1|127.0.0.1|%d|", &client_port) != 1)
        return reply(522, "Only 127.0.0.1.");
    data_ = data_connection::active(static_cast<unsigned short>(client_port), server_.stop);
    reply(200, "I shall connect.");
}

void control_conversation::port()
{
    int high = 0;
    int low = 0;
    if (std::sscanf(argument_.c_str(), "127,0,0,1,%d,%d", &high, &low) != 2)
        return reply(501, "Only 127.0.0.1.");
    data_ = data_connection::active(static_cast<unsigned short>(high * 256 + low), server_.stop);
    reply(200, "I shall connect.");
}

std::vector<std::string> control_conversation::names_to_list(bool& exists) const
{
    exists = true;
    if (server_.tree.is_folder(target()))
        return server_.tree.names(target());
    exists = server_.tree.is_file(target());
    return {argument_};
}

void control_conversation::list()
{
    bool exists = false;
    std::vector<std::string> lines;
    const auto folder = server_.tree.is_folder(target()) ? target() : folder_;
    for (const auto& name : names_to_list(exists)) {
        const auto content = server_.tree.read(file_tree::resolve(folder, name));
        lines.push_back((content ? "-rw-r--r-- 1 u u " + std::to_string(content->size())
                                 : std::string("drwxr-xr-x 2 u u 4096")) +
                        " Jan 02 2020 " + name);
    }
    send_listing(exists, lines);
}

void control_conversation::name_list()
{
    bool exists = false;
    const auto names = names_to_list(exists);
    send_listing(exists, names);
}

void control_conversation::send_listing(bool exists, const std::vector<std::string>& lines)
{
    if (const auto scripted = server_.current_behaviour().listing)
        return send_data(*scripted);
    if (!exists)
        return reply(550, "No such file or folder.");
    std::string text;
    for (const auto& line : lines)
        text += line + "\r\n";
    send_data(text);
}

void control_conversation::retrieve()
{
    const auto content = server_.tree.read(target());
    if (!content)
        return reply(550, "No such file.");
    send_data(is_text_ ? replaced(*content, "\n", "\r\n") : *content);
}

void control_conversation::store()
{
    run_transfer([this] {
        misconduct_data({});
        const auto bytes = data_->receive();
        server_.received.add_data(bytes);
        return server_.tree.write(target(), is_text_ ? replaced(bytes, "\r\n", "\n") : bytes);
    });
}

void control_conversation::send_data(const std::string& bytes)
{
    run_transfer([&] {
        misconduct_data(bytes);
        data_->send(bytes, server_.current_behaviour().data);
        return true;
    });
}

void control_conversation::misconduct_data(const std::string& bytes)
{
    const auto behaviour = server_.current_behaviour();
    if (behaviour.conduct == data_conduct::usual)
        return;
    if (behaviour.conduct == data_conduct::unopened)
        wait_for_the_end();
    auto stream = data_->open();
    if (behaviour.conduct == data_conduct::idle)
        wait_for_the_end();
    stream.set_pacing(behaviour.data);
    while (behaviour.conduct == data_conduct::endless)
        stream.write(bytes);
    stream.reset_when_closed();
    throw disconnected("broken as scripted");
}

void control_conversation::wait_for_the_end()
{
    while (!control_.read_some().empty()) {
    }
    throw disconnected("the client has left");
}

bool control_conversation::connect_data()
{
    try {
        data_->connect_early();
        return true;
    } catch (const disconnected&) {
        return false;
    }
}

template <typename Transfer>
void control_conversation::run_transfer(Transfer transfer)
{
    if (!data_)
        return reply(425, "Which data connection?");
    if (server_.current_behaviour().connects_early && !connect_data())
        return reply(425, "You do not listen.");
    reply(150, "Here we go.");
    if (!open_)
        return;
    bool complete = false;
    bool accepted = false;
    try {
        accepted = transfer();
        complete = true;
    } catch (const disconnected&) {
        // The data connection broke; the control connection may well live on.
    }
    data_.reset();
    const auto scripted = server_.script.next(end_of(word_));
    fault_ = server_.faults.next(end_of(word_));
    if (scripted.instead)
        control_.write(*scripted.instead);
    else if (fault_ && fault_->is_refused)
        send("");
    else if (!complete)
        reply(426, "The data connection broke.");
    else
        reply_if(accepted, 226, "Transfer complete.");
    open_ = open_ && !scripted.close;
}

void control_conversation::unknown()
{
    reply(500, "Unknown command.");
}

} // namespace tarnix::test
