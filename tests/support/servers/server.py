"""What all kinds of servers have in common."""

import os
import secrets
import signal
import socket
import subprocess
import time

from .failures import StartFailure
from .processes import PR_SET_PDEATHSIG, prctl

START_SECONDS = 20
PORT_ATTEMPTS = 5


class Server:
    """One server: says how it is prepared and started and what clients must know."""

    def __init__(self, run, kind, loopback):
        self.run = run
        self.kind = kind
        self.loopback = loopback
        self.folder = run.folder / self.kind
        self.folder.mkdir(mode=0o711)
        self.folder.chmod(0o711)
        self.output = self.folder / "output"
        self.log = self.folder / "log"
        self.log.touch()
        run.give(self.log, 0o644)
        # Which server answered is seen from what it says, not only from the port.
        self.mark = f"tarnix-{secrets.token_hex(4)}"
        self.port = None
        # Readable when the server has ended.
        self.ended = None

    def prepare(self):
        raise NotImplementedError

    def command(self):
        """The command that serves `self.port` in the foreground."""
        raise NotImplementedError

    def runs_as(self):
        """The throw-away user that the command is started as; root when there is none."""
        return None

    def first_words(self, client):
        """What the server says to a new connection, as far as `self.mark`."""
        raise NotImplementedError

    def description(self):
        return {"host": self.loopback.host, "port": self.port, "log": self.log}

    def start(self):
        self.prepare()
        for _ in range(PORT_ATTEMPTS):
            self.port = self.loopback.free_port()
            with open(self.output, "wb") as output:
                process = subprocess.Popen(
                    list(map(str, self.command())),
                    stdin=subprocess.DEVNULL,
                    stdout=output,
                    stderr=subprocess.STDOUT,
                    cwd=self.folder,
                    start_new_session=True,
                    **self.identity(),
                    preexec_fn=lambda: prctl(PR_SET_PDEATHSIG, signal.SIGKILL),
                )
            self.ended = os.pidfd_open(process.pid)
            if self.wait_until_it_answers():
                return
        raise StartFailure(self.failure("does not start"))

    def identity(self):
        user = self.runs_as()
        return {"user": user.id, "group": "nogroup", "extra_groups": []} if user else {}

    def wait_until_it_answers(self):
        """False when the process ended, as it does when another one took its port."""
        deadline = time.monotonic() + START_SECONDS
        while time.monotonic() < deadline:
            if self.answers():
                return True
            if self.run.signals.wait_for([self.ended], 0.01):
                os.close(self.ended)
                return False
        raise StartFailure(self.failure(f"does not answer within {START_SECONDS} s"))

    def answers(self):
        place = (self.loopback.address, self.port)
        try:
            with socket.create_connection(place, timeout=START_SECONDS) as client:
                return self.mark.encode() in self.first_words(client)
        except OSError:
            return False

    def failure(self, what):
        texts = [path.read_text(errors="replace") for path in (self.output, self.log)]
        return f"{self.kind} {what}; its log:\n" + "".join(texts)


class FileServer(Server):
    """A server that clients log in to, with the account of a throw-away user. Its files belong to
    that user, and everyone may read, change and remove them."""

    def prepare(self):
        # Tests of any user work in it beside the server.
        self.home = self.folder / "home"
        self.home.mkdir()
        self.home.chmod(0o777)
        self.user = self.run.make_user(self.home)

    def description(self):
        return {**super().description(), "user": self.user.name, "password": self.user.password,
                "root": self.home}


class FtpServer(FileServer):
    def first_words(self, client):
        words = b""
        for line in client.makefile("rb"):
            words += line
            if line.startswith(b"220 "):
                break
        return words
