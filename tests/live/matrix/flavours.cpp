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
        {.group = "sshd",
         .name = "password",
         .server = "sshd",
         .software = "sshd",
         .all_checks = true},
    };
    return all;
}

} // namespace tarnix::test
