"""vsftpd: FTP, and FTP with TLS."""

from .certificates import WithCertificates
from .loopback import IPV6
from .programs import find_program
from .server import FtpServer


class Vsftpd(FtpServer):
    def prepare(self):
        self.program = find_program("vsftpd")
        super().prepare()
        self.empty = self.folder / "empty"
        self.empty.mkdir(mode=0o755)
        # The stock service wants a login shell; these users have none.
        self.pam_service = self.user.name
        self.run.write_system_file(
            f"/etc/pam.d/{self.pam_service}",
            "auth required pam_unix.so nodelay\naccount required pam_unix.so\n",
        )

    def listening(self):
        address = self.loopback.address
        if self.loopback is IPV6:
            return {"listen": "NO", "listen_ipv6": "YES", "listen_address6": address}
        return {"listen": "YES", "listen_ipv6": "NO", "listen_address": address,
                "pasv_address": address}

    def settings(self):
        return {
            **self.listening(),
            "listen_port": self.port,
            "background": "NO",
            "anonymous_enable": "NO",
            "local_enable": "YES",
            "write_enable": "YES",
            "local_umask": "000",
            "ascii_upload_enable": "YES",
            "ascii_download_enable": "YES",
            "pam_service_name": self.pam_service,
            "session_support": "NO",
            "check_shell": "NO",
            "delay_failed_login": "0",
            "max_clients": "0",
            "max_per_ip": "0",
            "secure_chroot_dir": self.empty,
            # Sandboxes that containers refuse.
            "seccomp_sandbox": "NO",
            "isolate": "NO",
            "isolate_network": "NO",
            "ftpd_banner": self.mark,
            "xferlog_enable": "YES",
            "xferlog_std_format": "NO",
            "log_ftp_protocol": "YES",
            "vsftpd_log_file": self.log,
        }

    def command(self):
        configuration = self.folder / "vsftpd.conf"
        configuration.write_text(
            "".join(f"{key}={value}\n" for key, value in self.settings().items()))
        return [self.program, configuration]


class VsftpdTls(WithCertificates, Vsftpd):
    """Offers TLS (AUTH TLS) and does not insist on it."""

    def settings(self):
        return {
            **super().settings(),
            "ssl_enable": "YES",
            "rsa_cert_file": self.certificate,
            "rsa_private_key_file": self.key,
            "ssl_ciphers": "HIGH",
            "ssl_tlsv1": "YES",
            "force_local_logins_ssl": "NO",
            "force_local_data_ssl": "NO",
            "require_ssl_reuse": "NO",
        }
