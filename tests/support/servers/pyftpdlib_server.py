"""pyftpdlib: FTP."""

import json
import shutil
from pathlib import Path

from .server import FtpServer

# Debian's packages for Python are for Debian's own.
PYTHON = "/usr/bin/python3"


class Pyftpdlib(FtpServer):
    def prepare(self):
        self.make_account()
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
