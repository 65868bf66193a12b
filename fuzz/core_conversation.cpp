#include "conversation/commands.hpp"
#include "conversation/network.hpp"
#include "conversation/script.hpp"
#include "conversation/scripted_server.hpp"
#include "require.hpp"

#include <support/temporary_folder.hpp>

#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <fl/i18n/ustring_conversion.hpp>
#include <foundation/core/except.hpp>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The operations of the library on one handle, with a server that says what the input tells it to
// say. After that the handle must do with a sane server all that a fresh one does.

namespace {

using namespace tarnix::fuzz;
using namespace tarnix::io::ftp::core;
using tarnix::test::read_bytes;
using tarnix::test::write_bytes;

const std::string local_content = "what is uploaded\n";

std::string local_file()
{
    static const tarnix::test::temporary_folder folder;
    return folder / "local";
}

ustring utf16(const std::string& text)
{
    return fl::i18n::utf8_to_ustring(text);
}

void log_in(curl_ptr& handle)
{
    // The last two: bytes per second, seconds.
    connect(handle, "ftp://127.0.0.1/", "user", "password", scripted_server::port, "passive",
            "none", false, "", true, true, 1, 2);
}

/// Runs `step`; what it raises must be one of `allowed`.
template <typename Step>
void run(std::initializer_list<std::string_view> allowed, Step step)
{
    const auto start = network::waited();
    try {
        step();
    } catch (const foundation::core::except::IMsgIDException& error) {
        const auto& message = error.message_id();
        require(std::find(allowed.begin(), allowed.end(), message.id) != allowed.end(),
                "an operation raises what it is said to raise, not " + error.error_id());
        require(!tarnix::host::message_text(message).empty(), "each identifier has a text");
    }
    require(network::waited() - start < std::chrono::minutes(30), "everything ends in time");
}

/// A program that does what the script says.
class client {
public:
    client(curl_ptr& handle, script plan, const scripted_server& server)
        : handle_(handle), plan_(std::move(plan)), server_(server)
    {
    }

    void run_all();

private:
    void run(char operation);
    void send();
    void receive();
    std::string operand();

    curl_ptr& handle_;
    script plan_;
    const scripted_server& server_;
};

/// From the script, as long as it can stand in a command.
std::string client::operand()
{
    if (plan_.operands.empty())
        return "name";
    auto text = std::move(plan_.operands.front());
    plan_.operands.pop_front();
    const auto may_not_stand = [](unsigned char c) { return c < 0x20 || c >= 0x7F; };
    text.erase(std::remove_if(text.begin(), text.end(), may_not_stand), text.end());
    return text;
}

void client::send()
{
    write_bytes(local_file(), local_content);
    send_file(handle_, utf16(local_file()), utf16(operand()), plan_.text_mode);
    require(plan_.text_mode || server_.last_received() == local_content,
            "an upload that went well has arrived");
}

void client::receive()
{
    receive_file(handle_, utf16(operand()), utf16(local_file()), plan_.text_mode);
    // Of a path that names a folder, as "" and "x/.." do, the listing is fetched, as text.
    const auto is_text = plan_.text_mode || server_.last_transfer() != "RETR";
    require(is_text || server_.last_sent().starts_with(read_bytes(local_file())),
            "a download that went well holds nothing but what the server sent");
}

void client::run(char operation)
{
    using tarnix::fuzz::require;
    switch (operation) {
    case 'c':
        return ::run({"NoSuchDirectory", "InternalError"}, [&] {
            const auto folder = cd(handle_, add_trailing_slash(fullurl(handle_, operand(), false)));
            require(!folder.empty(), "a folder has a name");
        });
    case 'd':
        return ::run({"FileUnavailable", "FTPError"}, [&] { receive(); });
    case 'f':
        return ::run({"DeleteFailed"}, [&] { delete_remote_file(handle_, utf16(operand())); });
    case 'i':
        return ::run({"FTPError"}, [&] { is_file(handle_, utf16(operand())); });
    case 'l':
        return ::run({}, [&] { list(handle_, operand()); });
    case 'm':
        return ::run({"CouldNotCreateFolder", "InternalError"},
                     [&] { create_folder(handle_, operand()); });
    case 'n':
        return ::run({}, [&] {
            const auto names = dir(handle_, operand());
            require(std::find(names.begin(), names.end(), "") == names.end(),
                    "no name of a listing is empty");
        });
    case 'o':
        return ::run({}, [&] { is_folder(handle_, operand()); });
    case 'p':
        return ::run({"InternalError"},
                     [&] { require(!pwd(handle_).empty(), "the working folder has a name"); });
    case 'r':
        return ::run({"FolderNotEmpty", "FTPError"}, [&] { delete_folder(handle_, operand()); });
    case 's':
        return ::run({}, [&] { syst(handle_); });
    case 't':
        return transfer_timeout(handle_, 3000);
    case 'u':
        return ::run({"UploadFailed"}, [&] { send(); });
    case 'v':
        return ::run({"FTPError"}, [&] {
            const auto from = operand();
            rename_remote_file(handle_, utf16(from), utf16(operand()));
        });
    case 'x':
        return ::run({"BadLogin", "NoConnection", "NoSuchDirectory", "InternalError"},
                     [&] { log_in(handle_); });
    default:
        return;
    }
}

void client::run_all()
{
    constexpr std::size_t most_operations = 12;
    run('x');
    const auto operations = plan_.operations.substr(0, most_operations);
    for (const char operation : operations)
        run(operation);
}

/// What a sane server hears when everything is done once, and what comes of it.
std::vector<std::string> transcript_with_sane_server(curl_ptr& handle, scripted_server& server)
{
    server.become_sane();
    transfer_timeout(handle, 0);
    log_in(handle);
    require(pwd(handle) == "/home/u", "afterwards the folder is known");
    require(dir(handle, "").size() == 4, "afterwards names can be listed");
    require(!list(handle, "").empty(), "afterwards a folder can be listed");
    require(!syst(handle).empty(), "afterwards the system is known");
    receive_file(handle, u"remote", utf16(local_file()), false);
    require(read_bytes(local_file()) == "hello", "afterwards a file can be fetched");
    send_file(handle, utf16(local_file()), u"remote", false);
    require(server.last_received() == "hello", "afterwards a file can be stored");
    create_folder(handle, "new");
    delete_folder(handle, "new");
    delete_remote_file(handle, u"old");
    rename_remote_file(handle, u"a", u"b");
    require(is_folder(handle, "/home/u"), "afterwards folders are known");
    require(cd(handle, "ftp://127.0.0.1//home/u/") == "/home/u", "afterwards folders are entered");
    return server.commands();
}

std::vector<std::string> transcript_of_fresh_handle()
{
    scripted_server server({});
    const network lives(server);
    curl_ptr handle(false);
    return transcript_with_sane_server(handle, server);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const tarnix::host::standalone host;
    static const auto quiet = tarnix::host::set_warning_handler([](const auto&) {});
    static const auto expected = transcript_of_fresh_handle();
    const auto plan = read_script({reinterpret_cast<const char*>(data), size});
    scripted_server server(plan);
    const network lives(server);
    curl_ptr handle(false);
    client(handle, plan, server).run_all();
    // With this the library asks whether a name is a file, also where only SFTP servers know it.
    require_clean_commands(server.commands(), "statvfs");
    require(transcript_with_sane_server(handle, server) == expected,
            "whatever happened, all options are as they were");
    return 0;
}
