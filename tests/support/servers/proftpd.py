"""proftpd: FTP, and FTP with TLS."""

from .certificates import WithCertificates
from .loopback import IPV6
from .programs import find_unpacked
from .server import FileServer, FtpServer


class ProftpdProcess(FileServer):
    """What the configurations for all protocols have in common."""

    def prepare(self):
        self.program = find_unpacked("usr/sbin/proftpd")
        self.modules = find_unpacked("usr/lib/proftpd")
        self.make_account()

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
