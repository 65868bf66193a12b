#pragma once

#include <string>
#include <vector>

namespace tarnix::test {

/// Which checks run on a flavour.
enum class coverage {
    all,
    some,             ///< a success and a failure of each operation
    few,              ///< where all is as on another flavour but the way to the server
    no_data_transfer, ///< those that need no data connection
    none
};

/// One way to reach a real server: a row of the table that says which server runs where.
struct flavour {
    /// Rows of one group run in one process, so that their servers start once.
    std::string group;
    std::string name;
    /// The kind, as servers.py names it.
    std::string server;
    std::string tls_mode = "none";
    std::string connection_mode = "passive";
    /// The kind of the proxy between; empty for none.
    std::string proxy = {};
    bool tells_the_proxy_who_it_is = true;
    /// SFTP: the type of the key that logs in; empty for the password.
    std::string key = {};
    bool key_is_encrypted = false;
    bool with_public_key_file = false;
    coverage checks = coverage::some;
    /// Odd names and a folder with 10,000 entries are tried too. Not in passive mode, where libcurl
    /// 7.88 often waits a second for nothing.
    bool with_odd_names = false;
    /// A file over 4 GiB goes both ways.
    bool with_large_files = false;
    /// Why transfers of this kind cannot work, and what both layers say then, in one or another of
    /// these ways. The reason is empty for all others.
    std::string obstacle = {};
    std::vector<std::string> library_says = {};
    std::vector<std::string> session_says = {};

    bool is_sftp() const
    {
        return server.starts_with("sshd") || server.starts_with("proftpd-sftp");
    }
    bool offers_tls() const { return server.find("-tls") != server.npos; }
    bool uses_tls() const { return offers_tls() && tls_mode != "none"; }
    bool works() const { return obstacle.empty(); }
    /// A session does not even connect.
    bool is_refused_by_session() const
    {
        return session_says == std::vector<std::string>{"refused"};
    }
    /// The server program, whose habits to expect (differences.hpp).
    std::string software() const;
    /// As tests are named after it.
    std::string full_name() const { return group + "__" + name; }
    /// For people: "vsftpd-tls, passive, TLS strict".
    std::string description() const;
};

/// The table.
const std::vector<flavour>& flavours();

} // namespace tarnix::test
