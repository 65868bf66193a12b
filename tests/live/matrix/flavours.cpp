#include "flavours.hpp"

#include <algorithm>
#include <utility>

namespace tarnix::test {

namespace {

/// One thing in which a flavour differs from the usual: passive mode without TLS for FTP, the
/// password for SFTP, no proxy, some checks.
using piece = void (*)(flavour&);

constexpr piece opportunistic = [](flavour& one) { one.tls_mode = "opportunistic"; };
constexpr piece strict = [](flavour& one) { one.tls_mode = "strict"; };
constexpr piece active = [](flavour& one) { one.connection_mode = "active"; };

constexpr piece ed25519 = [](flavour& one) { one.key = "ed25519"; };
constexpr piece ecdsa = [](flavour& one) { one.key = "ecdsa"; };
constexpr piece rsa = [](flavour& one) { one.key = "rsa"; };
constexpr piece encrypted = [](flavour& one) { one.key_is_encrypted = true; };
constexpr piece public_key = [](flavour& one) { one.with_public_key_file = true; };

constexpr piece squid = [](flavour& one) { one.proxy = "squid"; };
constexpr piece squid_auth = [](flavour& one) { one.proxy = "squid-auth"; };
constexpr piece tinyproxy = [](flavour& one) { one.proxy = "tinyproxy"; };
constexpr piece tinyproxy_auth = [](flavour& one) { one.proxy = "tinyproxy-auth"; };

constexpr piece all_checks = [](flavour& one) { one.checks = coverage::all; };
constexpr piece few_checks = [](flavour& one) { one.checks = coverage::few; };
constexpr piece odd_names = [](flavour& one) { one.with_odd_names = true; };
constexpr piece large_files = [](flavour& one) { one.with_large_files = true; };

void hinder(flavour& one, coverage still_checked, std::string why,
            std::vector<std::string> library_says, std::vector<std::string> session_says)
{
    one.checks = still_checked;
    one.obstacle = std::move(why);
    one.library_says = std::move(library_says);
    one.session_says = std::move(session_says);
}

constexpr piece server_has_no_tls = [](flavour& one) {
    hinder(one, coverage::none, "The server has no TLS.", {"raises NoConnection"},
           {"fails: security"});
};

constexpr piece no_active_tls = [](flavour& one) {
    hinder(one, coverage::no_data_transfer,
           "libcurl 7.88 does not secure data connections in active mode.", {"raises UploadFailed"},
           {"refused"});
};

constexpr piece tls_data_closed = [](flavour& one) {
    hinder(one, coverage::no_data_transfer,
           "pyftpdlib 1.5.7 closes TLS data connections while they are set up.",
           {"raises UploadFailed", "raises InternalError"},
           {"fails: connection", "fails: security", "fails: transfer"});
};

constexpr piece sha1_refused = [](flavour& one) {
    hinder(one, coverage::none,
           "OpenSSH 8.8 and later refuse the SHA-1 signatures of libssh2 1.10.",
           {"raises BadLogin"}, {"fails: login"});
};

constexpr piece as_nobody = [](flavour& one) {
    one.tells_the_proxy_who_it_is = false;
    hinder(one, coverage::none, "The proxy wants to know who comes.", {"raises NoConnection"},
           {"fails: connection"});
};

struct row {
    const char* group;
    const char* name;
    const char* server;
    std::vector<piece> pieces;
};

const std::vector<row>& rows()
{
    static const std::vector<row> all{
        // clang-format off
        {"vsftpd", "passive",       "vsftpd",      {all_checks, large_files}},
        {"vsftpd", "active",        "vsftpd",      {active, all_checks, odd_names}},
        {"vsftpd", "opportunistic", "vsftpd",      {opportunistic, few_checks}},
        {"vsftpd", "strict",        "vsftpd",      {strict, server_has_no_tls}},
        {"vsftpd", "ipv6_passive",  "vsftpd-ipv6", {}},
        {"vsftpd", "ipv6_active",   "vsftpd-ipv6", {active, few_checks}},

        {"proftpd", "passive",       "proftpd",      {all_checks}},
        {"proftpd", "active",        "proftpd",      {active, all_checks, odd_names}},
        {"proftpd", "opportunistic", "proftpd",      {opportunistic, few_checks}},
        {"proftpd", "strict",        "proftpd",      {strict, server_has_no_tls}},
        {"proftpd", "ipv6_passive",  "proftpd-ipv6", {}},
        {"proftpd", "ipv6_active",   "proftpd-ipv6", {active, few_checks}},

        {"pure_ftpd", "passive",       "pure-ftpd",      {all_checks}},
        {"pure_ftpd", "active",        "pure-ftpd",      {active, all_checks, odd_names}},
        {"pure_ftpd", "opportunistic", "pure-ftpd",      {opportunistic, few_checks}},
        {"pure_ftpd", "strict",        "pure-ftpd",      {strict, server_has_no_tls}},
        {"pure_ftpd", "ipv6_passive",  "pure-ftpd-ipv6", {}},
        {"pure_ftpd", "ipv6_active",   "pure-ftpd-ipv6", {active, few_checks}},

        {"pyftpdlib", "passive",       "pyftpdlib",      {all_checks}},
        {"pyftpdlib", "active",        "pyftpdlib",      {active, all_checks, odd_names}},
        {"pyftpdlib", "opportunistic", "pyftpdlib",      {opportunistic, few_checks}},
        {"pyftpdlib", "strict",        "pyftpdlib",      {strict, server_has_no_tls}},
        {"pyftpdlib", "ipv6_passive",  "pyftpdlib-ipv6", {}},
        {"pyftpdlib", "ipv6_active",   "pyftpdlib-ipv6", {active, few_checks}},

        {"vsftpd_tls", "opportunistic", "vsftpd-tls",      {opportunistic}},
        {"vsftpd_tls", "strict",        "vsftpd-tls",      {strict, all_checks}},
        {"vsftpd_tls", "none",          "vsftpd-tls",      {few_checks}},
        {"vsftpd_tls", "ipv6_strict",   "vsftpd-tls-ipv6", {strict}},
        {"vsftpd_tls", "active_strict", "vsftpd-tls",      {strict, active, no_active_tls}},

        {"proftpd_tls", "opportunistic", "proftpd-tls",      {opportunistic}},
        {"proftpd_tls", "strict",        "proftpd-tls",      {strict, all_checks}},
        {"proftpd_tls", "none",          "proftpd-tls",      {few_checks}},
        {"proftpd_tls", "ipv6_strict",   "proftpd-tls-ipv6", {strict}},
        {"proftpd_tls", "active_strict", "proftpd-tls",      {strict, active, no_active_tls}},

        {"pure_ftpd_tls", "opportunistic", "pure-ftpd-tls",      {opportunistic}},
        {"pure_ftpd_tls", "strict",        "pure-ftpd-tls",      {strict, all_checks}},
        {"pure_ftpd_tls", "none",          "pure-ftpd-tls",      {few_checks}},
        {"pure_ftpd_tls", "ipv6_strict",   "pure-ftpd-tls-ipv6", {strict}},
        {"pure_ftpd_tls", "active_strict", "pure-ftpd-tls",      {strict, active, no_active_tls}},

        {"pyftpdlib_tls", "opportunistic", "pyftpdlib-tls",      {opportunistic, tls_data_closed}},
        {"pyftpdlib_tls", "strict",        "pyftpdlib-tls",      {strict, tls_data_closed}},
        {"pyftpdlib_tls", "none",          "pyftpdlib-tls",      {few_checks}},
        {"pyftpdlib_tls", "ipv6_strict",   "pyftpdlib-tls-ipv6", {strict, tls_data_closed}},
        {"pyftpdlib_tls", "active_strict", "pyftpdlib-tls",      {strict, active, no_active_tls}},

        {"sshd", "password",                          "sshd",      {all_checks, odd_names}},
        {"sshd", "ipv6_password",                     "sshd-ipv6", {}},
        {"sshd", "ed25519",                           "sshd",      {ed25519, few_checks}},
        {"sshd", "ed25519_with_public_key",           "sshd",      {ed25519, public_key, few_checks}},
        {"sshd", "ed25519_encrypted",                 "sshd",      {ed25519, encrypted, few_checks}},
        {"sshd", "ed25519_encrypted_with_public_key", "sshd",      {ed25519, encrypted, public_key, few_checks}},
        {"sshd", "ecdsa",                             "sshd",      {ecdsa, few_checks}},
        {"sshd", "ecdsa_with_public_key",             "sshd",      {ecdsa, public_key, few_checks}},
        {"sshd", "ecdsa_encrypted",                   "sshd",      {ecdsa, encrypted, few_checks}},
        {"sshd", "ecdsa_encrypted_with_public_key",   "sshd",      {ecdsa, encrypted, public_key, few_checks}},
        {"sshd", "rsa",                               "sshd",      {rsa, sha1_refused}},
        {"sshd", "rsa_with_public_key",               "sshd",      {rsa, public_key, sha1_refused}},
        {"sshd", "rsa_encrypted",                     "sshd",      {rsa, encrypted, sha1_refused}},
        {"sshd", "rsa_encrypted_with_public_key",     "sshd",      {rsa, encrypted, public_key, sha1_refused}},

        {"proftpd_sftp", "password",                          "proftpd-sftp",      {all_checks, odd_names}},
        {"proftpd_sftp", "ipv6_password",                     "proftpd-sftp-ipv6", {}},
        {"proftpd_sftp", "ed25519",                           "proftpd-sftp",      {ed25519, few_checks}},
        {"proftpd_sftp", "ed25519_with_public_key",           "proftpd-sftp",      {ed25519, public_key, few_checks}},
        {"proftpd_sftp", "ed25519_encrypted",                 "proftpd-sftp",      {ed25519, encrypted, few_checks}},
        {"proftpd_sftp", "ed25519_encrypted_with_public_key", "proftpd-sftp",      {ed25519, encrypted, public_key, few_checks}},
        {"proftpd_sftp", "ecdsa",                             "proftpd-sftp",      {ecdsa, few_checks}},
        {"proftpd_sftp", "ecdsa_with_public_key",             "proftpd-sftp",      {ecdsa, public_key, few_checks}},
        {"proftpd_sftp", "ecdsa_encrypted",                   "proftpd-sftp",      {ecdsa, encrypted, few_checks}},
        {"proftpd_sftp", "ecdsa_encrypted_with_public_key",   "proftpd-sftp",      {ecdsa, encrypted, public_key, few_checks}},
        {"proftpd_sftp", "rsa",                               "proftpd-sftp",      {rsa, few_checks}},
        {"proftpd_sftp", "rsa_with_public_key",               "proftpd-sftp",      {rsa, public_key, few_checks}},
        {"proftpd_sftp", "rsa_encrypted",                     "proftpd-sftp",      {rsa, encrypted, few_checks}},
        {"proftpd_sftp", "rsa_encrypted_with_public_key",     "proftpd-sftp",      {rsa, encrypted, public_key, few_checks}},

        {"proxies", "squid_ftp",                     "vsftpd",     {squid}},
        {"proxies", "squid_ftps",                    "vsftpd-tls", {strict, squid}},
        {"proxies", "squid_sftp",                    "sshd",       {squid}},
        {"proxies", "squid_auth_ftp",                "vsftpd",     {squid_auth, few_checks}},
        {"proxies", "squid_auth_ftp_as_nobody",      "vsftpd",     {squid_auth, as_nobody}},
        {"proxies", "squid_auth_ftps",               "vsftpd-tls", {strict, squid_auth, few_checks}},
        {"proxies", "squid_auth_ftps_as_nobody",     "vsftpd-tls", {strict, squid_auth, as_nobody}},
        {"proxies", "squid_auth_sftp",               "sshd",       {squid_auth, few_checks}},
        {"proxies", "squid_auth_sftp_as_nobody",     "sshd",       {squid_auth, as_nobody}},
        {"proxies", "tinyproxy_ftp",                 "vsftpd",     {tinyproxy}},
        {"proxies", "tinyproxy_ftps",                "vsftpd-tls", {strict, tinyproxy}},
        {"proxies", "tinyproxy_sftp",                "sshd",       {tinyproxy}},
        {"proxies", "tinyproxy_auth_ftp",            "vsftpd",     {tinyproxy_auth, few_checks}},
        {"proxies", "tinyproxy_auth_ftp_as_nobody",  "vsftpd",     {tinyproxy_auth, as_nobody}},
        {"proxies", "tinyproxy_auth_ftps",           "vsftpd-tls", {strict, tinyproxy_auth, few_checks}},
        {"proxies", "tinyproxy_auth_ftps_as_nobody", "vsftpd-tls", {strict, tinyproxy_auth, as_nobody}},
        {"proxies", "tinyproxy_auth_sftp",           "sshd",       {tinyproxy_auth, few_checks}},
        {"proxies", "tinyproxy_auth_sftp_as_nobody", "sshd",       {tinyproxy_auth, as_nobody}},
        // clang-format on
    };
    return all;
}

std::vector<flavour> put_together()
{
    std::vector<flavour> all;
    for (const auto& [group, name, server, pieces] : rows()) {
        auto& one = all.emplace_back(flavour{.group = group, .name = name, .server = server});
        for (const auto apply : pieces)
            apply(one);
    }
    return all;
}

} // namespace

std::string flavour::software() const
{
    return server.substr(0, std::min(server.find("-tls"), server.find("-ipv6")));
}

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
    static const auto all = put_together();
    return all;
}

} // namespace tarnix::test
