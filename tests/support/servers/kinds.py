"""The kinds of servers, by their names."""

from .openssh import Sshd
from .vsftpd import Vsftpd, VsftpdTls

KINDS = {server.kind: server for server in (Vsftpd, VsftpdTls, Sshd)}
