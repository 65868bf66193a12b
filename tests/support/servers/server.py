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


def free_port():
    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        return taken.getsockname()[1]


class Server:
    """One kind of server: says how it is prepared and started and what clients must know."""

    kind = ""
    greeting_start = b""

    def __init__(self, run):
        self.run = run
        self.folder = run.folder / self.kind
        self.folder.mkdir(mode=0o711)
        self.folder.chmod(0o711)
        self.output = self.folder / "output"
        self.log = self.folder / "log"
        self.log.touch()
        run.give(self.log, 0o644)
        # Which server answered is seen from its greeting, not only from the port.
        self.mark = f"tarnix-{secrets.token_hex(4)}"
        self.port = None
        # Readable when the server has ended.
        self.ended = None

    def make_home(self):
        """The folder that clients land in. Tests of any user work in it beside the server."""
        home = self.folder / "home"
        home.mkdir()
        home.chmod(0o777)
        return home

    def prepare(self):
        raise NotImplementedError

    def command(self):
        """The command that serves `self.port` in the foreground."""
        raise NotImplementedError

    def description(self):
        return {"host": "127.0.0.1", "port": self.port, "log": self.log}

    def start(self):
        self.prepare()
        for _ in range(PORT_ATTEMPTS):
            self.port = free_port()
            with open(self.output, "wb") as output:
                process = subprocess.Popen(
                    list(map(str, self.command())),
                    stdin=subprocess.DEVNULL,
                    stdout=output,
                    stderr=subprocess.STDOUT,
                    cwd=self.folder,
                    start_new_session=True,
                    preexec_fn=lambda: prctl(PR_SET_PDEATHSIG, signal.SIGKILL),
                )
            self.ended = os.pidfd_open(process.pid)
            if self.wait_until_it_answers():
                return
        raise StartFailure(self.failure("does not start"))

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
        try:
            with socket.create_connection(("127.0.0.1", self.port), timeout=START_SECONDS) as client:
                greeting = client.makefile("rb").readline()
        except OSError:
            return False
        return greeting.startswith(self.greeting_start) and self.mark.encode() in greeting

    def failure(self, what):
        texts = [path.read_text(errors="replace") for path in (self.output, self.log)]
        return f"{self.kind} {what}; its log:\n" + "".join(texts)
