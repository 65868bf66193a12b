#include "flavours.hpp"

namespace tarnix::test {

std::string flavour::description() const
{
    auto text = server;
    if (is_sftp())
        text += key.empty() ? ", password"
                            : ", " + key + (key_is_encrypted ? " encrypted key" : " key");
    else
        text += ", " + connection_mode + ", TLS " + tls_mode;
    if (with_public_key_file)
        text += " with public key file";
    if (!proxy.empty())
        text += ", through " + proxy;
    return text;
}

key_files key_names(const flavour& where)
{
    const auto name = "key_" + where.key;
    return where.key_is_encrypted ? key_files{name + "_encrypted", name + "_encrypted_public"}
                                  : key_files{name, name + "_public"};
}

const std::vector<flavour>& flavours()
{
    static const std::vector<flavour> all{
        {.group = "vsftpd",
         .name = "passive",
         .server = "vsftpd",
         .software = "vsftpd",
         .all_checks = true},
        {.group = "vsftpd",
         .name = "active",
         .server = "vsftpd",
         .software = "vsftpd",
         .connection_mode = "active",
         .all_checks = true},
        {.group = "vsftpd",
         .name = "opportunistic",
         .server = "vsftpd",
         .software = "vsftpd",
         .tls_mode = "opportunistic"},
        {.group = "vsftpd", .name = "ipv6_passive", .server = "vsftpd-ipv6", .software = "vsftpd"},
        {.group = "vsftpd",
         .name = "ipv6_active",
         .server = "vsftpd-ipv6",
         .software = "vsftpd",
         .connection_mode = "active"},
        {.group = "proftpd",
         .name = "passive",
         .server = "proftpd",
         .software = "proftpd",
         .all_checks = true},
        {.group = "proftpd",
         .name = "active",
         .server = "proftpd",
         .software = "proftpd",
         .connection_mode = "active",
         .all_checks = true},
        {.group = "proftpd",
         .name = "opportunistic",
         .server = "proftpd",
         .software = "proftpd",
         .tls_mode = "opportunistic"},
        {.group = "proftpd",
         .name = "ipv6_passive",
         .server = "proftpd-ipv6",
         .software = "proftpd"},
        {.group = "proftpd",
         .name = "ipv6_active",
         .server = "proftpd-ipv6",
         .software = "proftpd",
         .connection_mode = "active"},
        {.group = "pure_ftpd",
         .name = "passive",
         .server = "pure-ftpd",
         .software = "pure-ftpd",
         .all_checks = true},
        {.group = "pure_ftpd",
         .name = "active",
         .server = "pure-ftpd",
         .software = "pure-ftpd",
         .connection_mode = "active",
         .all_checks = true},
        {.group = "pure_ftpd",
         .name = "opportunistic",
         .server = "pure-ftpd",
         .software = "pure-ftpd",
         .tls_mode = "opportunistic"},
        {.group = "pure_ftpd",
         .name = "ipv6_passive",
         .server = "pure-ftpd-ipv6",
         .software = "pure-ftpd"},
        {.group = "pure_ftpd",
         .name = "ipv6_active",
         .server = "pure-ftpd-ipv6",
         .software = "pure-ftpd",
         .connection_mode = "active"},
        {.group = "pyftpdlib",
         .name = "passive",
         .server = "pyftpdlib",
         .software = "pyftpdlib",
         .all_checks = true},
        {.group = "pyftpdlib",
         .name = "active",
         .server = "pyftpdlib",
         .software = "pyftpdlib",
         .connection_mode = "active",
         .all_checks = true},
        {.group = "pyftpdlib",
         .name = "opportunistic",
         .server = "pyftpdlib",
         .software = "pyftpdlib",
         .tls_mode = "opportunistic"},
        {.group = "pyftpdlib",
         .name = "ipv6_passive",
         .server = "pyftpdlib-ipv6",
         .software = "pyftpdlib"},
        {.group = "pyftpdlib",
         .name = "ipv6_active",
         .server = "pyftpdlib-ipv6",
         .software = "pyftpdlib",
         .connection_mode = "active"},
        {.group = "vsftpd_tls",
         .name = "opportunistic",
         .server = "vsftpd-tls",
         .software = "vsftpd",
         .tls_mode = "opportunistic",
         .all_checks = true},
        {.group = "vsftpd_tls",
         .name = "strict",
         .server = "vsftpd-tls",
         .software = "vsftpd",
         .tls_mode = "strict",
         .all_checks = true},
        {.group = "vsftpd_tls",
         .name = "ipv6_strict",
         .server = "vsftpd-tls-ipv6",
         .software = "vsftpd",
         .tls_mode = "strict"},
        {.group = "sshd",
         .name = "password",
         .server = "sshd",
         .software = "sshd",
         .all_checks = true},
        {.group = "sshd", .name = "ipv6_password", .server = "sshd-ipv6", .software = "sshd"},
    };
    return all;
}

} // namespace tarnix::test
