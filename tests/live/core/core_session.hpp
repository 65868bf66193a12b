#pragma once

#include <support/live_server.hpp>
#include <support/temporary_folder.hpp>

#include <resource_core/base_msg_id.hpp>
#include <tarnix/host/standalone.hpp>
#include <tarnix/io/ftp/core.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tarnix::test {

namespace core = tarnix::io::ftp::core;
namespace ids = core::ids;

/// The arguments of `core::connect`, right for a server unless changed.
struct ftp_login {
    explicit ftp_login(const live_server& server);

    std::string url;
    std::string user;
    std::string password;
    long port;
    std::string connection_mode = "passive";
    std::string tls_mode = "none";
    bool use_proxy = false;
    std::string ca_file;
    bool verify_peer = true;
    bool verify_host = true;
};

/// The arguments of `core::connect_with_password` and `core::connect_with_keys`.
struct sftp_login {
    explicit sftp_login(const live_server& server);

    std::string host;
    std::string user;
    std::string password;
    std::string public_key_file;
    std::string private_key_file;
    std::string passphrase;
    long port;
    bool use_proxy = false;
    std::string starting_folder;
    bool start_at_root = false;
};

std::string connect(core::curl_ptr& handle, const ftp_login& login);
std::string connect_with_password(core::curl_ptr& handle, const sftp_login& login);
std::string connect_with_keys(core::curl_ptr& handle, const sftp_login& login);

/// Makes a folder, and those above it, that the server's user can write to as well.
void make_folder(const std::filesystem::path& path);

/// A port of this machine that is taken, and where nobody ever answers.
class taken_port {
public:
    enum class state { closed, silent };

    explicit taken_port(state wanted);
    taken_port(const taken_port&) = delete;
    taken_port& operator=(const taken_port&) = delete;
    ~taken_port();

    long number() const { return number_; }

private:
    int socket_;
    long number_ = 0;
};

/// Empties what sessions with the server see, and forgets what was logged there.
void reset(const live_server& server);

/// The commands that vsftpd received since the last reset, e.g. "CWD a b".
std::vector<std::string> commands_received(const live_server& server);

/// One unconnected session on the stand-alone host, with warnings kept and every request bounded.
class core_session : public testing::Test {
protected:
    core_session();
    ~core_session() override;

    core::curl_ptr& session() { return session_; }
    std::vector<resource_core::BaseMsgID>& warnings() { return warnings_; }
    const temporary_folder& local() const { return local_; }

private:
    tarnix::host::standalone host_;
    std::vector<resource_core::BaseMsgID> warnings_;
    tarnix::host::warning_handler earlier_handler_;
    temporary_folder local_;
    core::curl_ptr session_;
};

} // namespace tarnix::test
