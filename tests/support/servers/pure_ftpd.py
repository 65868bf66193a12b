"""pure-ftpd: FTP, and FTP with TLS."""

from .certificates import WithCertificates
from .loopback import IPV4, IPV6
from .programs import find_unpacked, run_program
from .server import FtpServer


class PureFtpd(FtpServer):
    def prepare(self):
        self.program = find_unpacked("usr/sbin/pure-ftpd")
        super().prepare()
        # The system's own accounts are for login shells only.
        accounts = self.folder / "accounts"
        accounts.write_text(f"{self.user.name}:{self.user.digest}:{self.user.id}:65534::"
                            f"{self.home}::::::::::::\n")
        self.database = self.folder / "accounts.pdb"
        run_program(find_unpacked("usr/bin/pure-pw"), "mkdb", self.database, "-f", accounts)
        # It shows one of the texts of this file in its greeting.
        self.texts = self.folder / "texts"
        self.texts.write_text(f"{self.mark}\n%\n{self.mark}\n")

    def command(self):
        return [
            self.program,
            "-6" if self.loopback is IPV6 else "-4",
            "-S", f"{self.loopback.address},{self.port}",
            *(["-P", self.loopback.address] if self.loopback is IPV4 else []),
            "-g", self.folder / "pid",
            "-f", "none",
            "-O", f"clf:{self.log}",
            "-F", self.texts,
            "-l", f"puredb:{self.database}",
            "-E",
            "-H",
            "-U", "111:000",
            "-c", "200",
            "-C", "200",
            # The longest listing and the deepest recursive one.
            "-L", "100000:10",
            "-z",
        ]


class PureFtpdTls(WithCertificates, PureFtpd):
    """Offers TLS (AUTH TLS) and does not insist on it."""

    def command(self):
        return [*super().command(), "-Y", "1", "-2", f"{self.certificate},{self.key}"]
