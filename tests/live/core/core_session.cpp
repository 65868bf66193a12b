#include "core_session.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace tarnix::test {

namespace fs = std::filesystem;

namespace {

constexpr long request_limit_in_milliseconds = 60'000;

/// The settings of the machine must not send tests through a proxy.
bool clear_proxies()
{
    for (const auto* name : {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY", "ftp_proxy",
                             "FTP_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
        ::unsetenv(name);
    return true;
}

const bool proxies_cleared = clear_proxies();

/// Also folders that were locked on purpose.
void remove_unlocked(const fs::path& path)
{
    if (fs::is_directory(fs::symlink_status(path))) {
        std::error_code not_ours;
        fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, not_ours);
        for (const auto& entry : fs::directory_iterator(path))
            remove_unlocked(entry.path());
    }
    fs::remove(path);
}

} // namespace

ftp_login::ftp_login(const live_server& server)
    : url("ftp://" + server.host()),
      user(server.user()),
      password(server.password()),
      port(server.port())
{
}

sftp_login::sftp_login(const live_server& server)
    : host(server.host()), user(server.user()), password(server.password()), port(server.port())
{
}

std::string connect(core::curl_ptr& handle, const ftp_login& login)
{
    return core::connect(handle, login.url, login.user, login.password, login.port,
                         login.connection_mode, login.tls_mode, login.use_proxy, login.ca_file,
                         login.verify_peer, login.verify_host, 0, 0);
}

std::string connect_with_password(core::curl_ptr& handle, const sftp_login& login)
{
    return core::connect_with_password(handle, login.host, login.user, login.port, login.password,
                                       login.use_proxy, login.starting_folder, "", true, true, 0, 0,
                                       login.start_at_root);
}

std::string connect_with_keys(core::curl_ptr& handle, const sftp_login& login)
{
    return core::connect_with_keys(handle, login.host, login.user, login.port,
                                   login.public_key_file, login.private_key_file, login.passphrase,
                                   login.use_proxy, login.starting_folder, "", true, true, 0, 0,
                                   login.start_at_root);
}

void make_folder(const fs::path& path)
{
    if (fs::exists(path))
        return;
    make_folder(path.parent_path());
    fs::create_directory(path);
    fs::permissions(path, fs::perms::all);
}

taken_port::taken_port(state wanted) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (socket_ < 0 || ::bind(socket_, generic, size) != 0 ||
        (wanted == state::silent && ::listen(socket_, 8) != 0) ||
        ::getsockname(socket_, generic, &size) != 0) {
        ::close(socket_);
        throw std::runtime_error("no port to take");
    }
    number_ = ntohs(address.sin_port);
}

taken_port::~taken_port()
{
    ::close(socket_);
}

void reset(const live_server& server)
{
    for (const auto& entry : fs::directory_iterator(server.root()))
        remove_unlocked(entry.path());
    fs::resize_file(server["log"], 0);
}

std::vector<std::string> commands_received(const live_server& server)
{
    // ... FTP command: Client "127.0.0.1", "CWD a b"
    std::vector<std::string> commands;
    std::istringstream lines(read_bytes(server["log"]));
    for (std::string line; std::getline(lines, line);) {
        if (line.find("FTP command: Client ") == std::string::npos)
            continue;
        const auto start = line.find("\", \"");
        if (start != std::string::npos)
            commands.push_back(line.substr(start + 4, line.rfind('"') - start - 4));
    }
    return commands;
}

core_session::core_session()
    : earlier_handler_(tarnix::host::set_warning_handler(
          [this](const resource_core::BaseMsgID& warning) { warnings_.push_back(warning); }))
{
    core::transfer_timeout(session_, request_limit_in_milliseconds);
}

core_session::~core_session()
{
    tarnix::host::set_warning_handler(earlier_handler_);
}

} // namespace tarnix::test
