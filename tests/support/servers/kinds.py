"""The kinds of servers, by their names."""

from .loopback import IPV4, IPV6
from .openssh import Sshd
from .proftpd import Proftpd, ProftpdSftp, ProftpdTls
from .proxies import Squid, SquidAuth, Tinyproxy, TinyproxyAuth
from .pure_ftpd import PureFtpd, PureFtpdTls
from .pyftpdlib_server import Pyftpdlib, PyftpdlibTls
from .vsftpd import Vsftpd, VsftpdTls

FILE_SERVERS = {
    "vsftpd": Vsftpd,
    "vsftpd-tls": VsftpdTls,
    "proftpd": Proftpd,
    "proftpd-tls": ProftpdTls,
    "proftpd-sftp": ProftpdSftp,
    "pure-ftpd": PureFtpd,
    "pure-ftpd-tls": PureFtpdTls,
    "pyftpdlib": Pyftpdlib,
    "pyftpdlib-tls": PyftpdlibTls,
    "sshd": Sshd,
}

PROXIES = {
    "squid": Squid,
    "squid-auth": SquidAuth,
    "tinyproxy": Tinyproxy,
    "tinyproxy-auth": TinyproxyAuth,
}

# What makes a server of each kind, and where it listens.
KINDS = {
    **{kind: (server, IPV4) for kind, server in FILE_SERVERS.items()},
    **{f"{kind}-ipv6": (server, IPV6) for kind, server in FILE_SERVERS.items()},
    **{kind: (proxy, IPV4) for kind, proxy in PROXIES.items()},
}


def make(run, kind):
    server, loopback = KINDS[kind]
    return server(run, kind, loopback)
