"""pyftpdlib: FTP, and FTP with TLS."""

import json
import shutil
from pathlib import Path

from .certificates import WithCertificates
from .server import FtpServer

# Debian's packages for Python are for Debian's own.
PYTHON = "/usr/bin/python3"


class Pyftpdlib(FtpServer):
    def prepare(self):
        super().prepare()
        self.run.hand_over(self.log, self.user)
        # The user need not be able to read the folder of the tests.
        self.program = self.folder / "program.py"
        shutil.copyfile(Path(__file__).with_name("pyftpdlib_program.py"), self.program)
        self.program.chmod(0o644)

    def runs_as(self):
        return self.user

    def settings(self):
        return {
            "address": self.loopback.address,
            "port": self.port,
            "banner": self.mark,
            "user": self.user.name,
            "password": self.user.password,
            "root": str(self.home),
            "log": str(self.log),
        }

    def command(self):
        settings = self.folder / "settings.json"
        settings.write_text(json.dumps(self.settings()), encoding="utf-8")
        settings.chmod(0o600)
        self.run.hand_over(settings, self.user)
        return [PYTHON, self.program, settings]


class PyftpdlibTls(WithCertificates, Pyftpdlib):
    """Offers TLS (AUTH TLS) and does not insist on it."""

    def prepare(self):
        super().prepare()
        self.run.hand_over(self.key, self.user)

    def settings(self):
        return {**super().settings(), "certificate": str(self.certificate), "key": str(self.key)}
