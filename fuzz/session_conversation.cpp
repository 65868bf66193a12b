#include "conversation/commands.hpp"
#include "conversation/network.hpp"
#include "conversation/script.hpp"
#include "conversation/scripted_server.hpp"
#include "require.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/ftp/session.hpp>
#include <tarnix/host/standalone.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A whole session with a server that says what the input tells it to say.

namespace {

using namespace tarnix::fuzz;
using namespace tarnix::ftp;
using tarnix::test::read_bytes;
using tarnix::test::write_bytes;

const std::string password = "pAsSwOrD";
const std::string local_content = "what is uploaded\n";

bool has_control_character(std::string_view text)
{
    return std::any_of(text.begin(), text.end(),
                       [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

url server_url()
{
    return parse_url("ftp://user@127.0.0.1:" + std::to_string(scripted_server::port));
}

session_options options_for(const script& plan)
{
    using std::chrono_literals::operator""s;
    session_options options;
    options.password = password;
    options.connect_timeout = 2s;
    options.reply_timeout = 2s;
    options.low_speed_time = 2s;
    if (plan.opportunistic_tls) {
        options.tls = tls_mode::opportunistic;
        options.verify_peer = false;
        options.verify_host = false;
    }
    if (plan.cancelled_by_user)
        options.cancelled = [asked = 0]() mutable { return ++asked > 20; };
    return options;
}

/// For uploads and downloads; alone in its folder.
std::filesystem::path local_file()
{
    static const tarnix::test::temporary_folder folder;
    return folder / "local";
}

/// The names of a listing as a program gets it that knows all three kinds of line ends.
std::vector<std::string> names_in(const std::string& listing)
{
    std::vector<std::string> names(1);
    for (const char c : listing) {
        if (c == '\r' || c == '\n')
            names.emplace_back();
        else
            names.back() += c;
    }
    const auto is_no_name = [](const std::string& name) {
        return name.empty() || name == "." || name == "..";
    };
    names.erase(std::remove_if(names.begin(), names.end(), is_no_name), names.end());
    return names;
}

void require_clear(const std::exception& error)
{
    const std::string_view text = error.what();
    require(!text.empty(), "a failure says something");
    require(!has_control_character(text), "a failure has no control characters");
    require(text.find(password) == std::string_view::npos, "a failure keeps the password");
}

/// Runs `step`, which may fail as a session may.
template <typename Step>
bool succeeds(Step step)
{
    const auto start = network::waited();
    bool done = false;
    try {
        step();
        done = true;
    } catch (const invalid_input& error) {
        require_clear(error);
    } catch (const std::exception& error) {
        if (!kind_of(error))
            throw;
        require_clear(error);
    }
    require(network::waited() - start < std::chrono::minutes(5), "everything ends in time");
    return done;
}

/// A user who does what the script says.
class client {
public:
    client(session& connected, script plan, const scripted_server& server)
        : session_(connected), plan_(std::move(plan)), server_(server)
    {
    }

    void run(char operation);
    std::string_view operations() const { return plan_.operations; }

private:
    /// From the script, else the names that the server told last.
    std::string operand();
    void upload();
    void download();
    void look_at_names();
    transfer_mode mode() const
    {
        return plan_.text_mode ? transfer_mode::text : transfer_mode::binary;
    }

    session& session_;
    script plan_;
    const scripted_server& server_;
    std::vector<std::string> seen_{"name"};
};

std::string client::operand()
{
    if (!plan_.operands.empty()) {
        auto text = std::move(plan_.operands.front());
        plan_.operands.pop_front();
        return text;
    }
    std::rotate(seen_.begin(), seen_.begin() + 1, seen_.end());
    return seen_.back();
}

void client::upload()
{
    session_.upload(write_bytes(local_file(), local_content), operand(), mode());
    require(mode() == transfer_mode::text || server_.last_received() == local_content,
            "an upload that went well has arrived");
}

void client::download()
{
    const std::string before = "what was there before";
    write_bytes(local_file(), before);
    const auto done = succeeds([&] { session_.download(operand(), local_file(), mode()); });
    const auto content = read_bytes(local_file());
    require(done || content == before, "a download that failed leaves the file as it was");
    const std::filesystem::directory_iterator files(local_file().parent_path());
    require(std::distance(begin(files), end(files)) == 1, "a download leaves nothing else behind");
    if (!done || mode() == transfer_mode::text)
        return;
    const auto& sent = server_.last_sent();
    // libcurl reads no further than to the size that the server told before.
    const auto told = "213 " + std::to_string(content.size());
    require(content == sent ||
                (sent.starts_with(content) && server_.last_size().find(told) != std::string::npos),
            "a download that went well is what the server sent");
}

void client::look_at_names()
{
    const auto names = session_.names(operand());
    require(names.empty() || names == names_in(server_.last_sent()),
            "the names are those of the listing");
    if (!names.empty())
        seen_ = names;
}

void client::run(char operation)
{
    switch (operation) {
    case 'c':
        return session_.change_folder(operand());
    case 'd':
        return download();
    case 'e':
        return static_cast<void>(session_.exists(operand()));
    case 'f':
        return session_.remove_file(operand());
    case 'i':
        return static_cast<void>(session_.is_file(operand()));
    case 'l':
        return static_cast<void>(session_.list(operand()));
    case 'm':
        return session_.make_folder(operand());
    case 'n':
        return look_at_names();
    case 'o':
        return static_cast<void>(session_.is_folder(operand()));
    case 'r':
        return session_.remove_folder(operand());
    case 's':
        return static_cast<void>(session_.system_type());
    case 'u':
        return upload();
    case 'v': {
        const auto from = operand();
        return session_.rename(from, operand());
    }
    default:
        return;
    }
}

void require_sane_folder(const std::string& folder)
{
    require(folder.starts_with('/'), "the working folder is absolute");
    require(folder == "/" || !folder.ends_with('/'), "the working folder has no slash at its end");
    require(!has_control_character(folder), "the working folder has no control characters");
}

void meet(const script& plan, scripted_server& server)
{
    constexpr std::size_t most_operations = 12;
    std::optional<session> connected;
    if (!succeeds([&] { connected.emplace(server_url(), options_for(plan)); }))
        return;
    require_sane_folder(connected->working_folder());
    client user(*connected, plan, server);
    for (const char operation : user.operations().substr(0, most_operations)) {
        const auto folder = connected->working_folder();
        const auto done = succeeds([&] { user.run(operation); });
        require_sane_folder(connected->working_folder());
        require((done && operation == 'c') || connected->working_folder() == folder,
                "the working folder stays unless it is changed");
    }
}

void meet_sane_server(scripted_server& server)
{
    server.become_sane();
    session connected(server_url(), options_for({}));
    require(connected.working_folder() == "/home/u", "afterwards a sane server can be met");
    require(connected.names() == std::vector<std::string>{"name", "other name"},
            "afterwards a sane server can be listed");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const tarnix::host::standalone host;
    const auto plan = read_script({reinterpret_cast<const char*>(data), size});
    scripted_server server(plan);
    const network lives(server);
    meet(plan, server);
    require_clean_commands(server.commands());
    meet_sane_server(server);
    require_clean_commands(server.commands());
    return 0;
}
