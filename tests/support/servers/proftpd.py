"""proftpd: FTP, FTP with TLS, and SFTP."""

from .certificates import WithCertificates
from .loopback import IPV6
from .programs import find_unpacked, run_program
from .server import FileServer, FtpServer
from .sftp import SftpServer


class ProftpdProcess(FileServer):
    """What the configurations for all protocols have in common."""

    def prepare(self):
        self.program = find_unpacked("usr/sbin/proftpd")
        self.modules = find_unpacked("usr/lib/proftpd")
        super().prepare()

    def settings(self):
        """The lines of the configuration, in their order."""
        return [
            f"ModulePath {self.modules}",
            f"ServerName {self.mark}",
            f'ServerIdent on "{self.mark}"',
            "ServerType standalone",
            f"UseIPv6 {'on' if self.loopback is IPV6 else 'off'}",
            f"DefaultAddress {self.loopback.address}",
            f"Port {self.port}",
            "SocketBindTight on",
            "User nobody",
            "Group nogroup",
            f"SystemLog {self.log}",
            f"ExtendedLog {self.log} ALL",
            "TransferLog none",
            "WtmpLog off",
            f"PidFile {self.folder / 'pid'}",
            "ScoreboardFile none",
            "ControlsEngine off",
            "DelayEngine off",
            "UseReverseDNS off",
            "AuthOrder mod_auth_unix.c",
            "RequireValidShell off",
            "UseFtpUsers off",
            "Umask 000 000",
            "AllowOverwrite on",
            "AllowStoreRestart on",
            "MaxInstances none",
        ]

    def command(self):
        configuration = self.folder / "proftpd.conf"
        configuration.write_text("\n".join(self.settings()) + "\n")
        return [self.program, "-n", "-c", configuration]


class Proftpd(ProftpdProcess, FtpServer):
    pass


class ProftpdTls(WithCertificates, Proftpd):
    """Offers TLS (AUTH TLS) and does not insist on it."""

    def settings(self):
        return [
            *super().settings(),
            "LoadModule mod_tls.c",
            "TLSEngine on",
            f"TLSLog {self.log}",
            "TLSRequired off",
            "TLSVerifyClient off",
            "TLSOptions NoSessionReuseRequired",
            f"TLSECCertificateFile {self.certificate}",
            f"TLSECCertificateKeyFile {self.key}",
        ]


class ProftpdSftp(ProftpdProcess, SftpServer):
    """mod_sftp, with a password or a key."""

    def prepare(self):
        super().prepare()
        self.authorized_keys = self.folder / "authorized_keys"
        self.authorized_keys.write_text(
            "".join(run_program("ssh-keygen", "-e", "-m", "RFC4716", "-f", self.public(key))
                    for key in self.client_keys.values()))

    def settings(self):
        return [
            *super().settings(),
            "LoadModule mod_sftp.c",
            "SFTPEngine on",
            f"SFTPLog {self.log}",
            f"SFTPHostKey {self.host_key}",
            "SFTPKeyLimits MinimumRSASize 1024",
            "SFTPAuthMethods publickey password",
            f"SFTPAuthorizedUserKeys file:{self.authorized_keys}",
        ]
