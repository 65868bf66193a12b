#!/usr/bin/python3
"""servers.py removes what it made, however it ends."""

import os
import pwd
import signal
import socket
import subprocess
import sys
import unittest
from pathlib import Path

TOOL = sys.argv.pop(1)
LIMIT = 60


class Tool:
    """A running servers.py with its description."""

    def __init__(self, *kinds):
        self.process = subprocess.Popen([sys.executable, TOOL, *kinds], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.values = {}
        for line in self.process.stdout:
            if line == "ready\n":
                break
            key, _, value = line.rstrip("\n").partition("=")
            self.values[key] = value
        else:
            raise AssertionError(self.process.communicate()[1])

    def end(self, signal_number=None):
        if signal_number is not None:
            self.process.send_signal(signal_number)
        self.errors = self.process.communicate(timeout=LIMIT)[1]
        return self.process.returncode

    def server_process(self, program):
        """The process id of a server, by the configuration that it was started with."""
        folder = str(Path(self.values["vsftpd.root"]).parent)
        for entry in filter(str.isdigit, os.listdir("/proc")):
            try:
                words = Path("/proc", entry, "cmdline").read_bytes().decode().split("\0")
            except OSError:
                continue
            if words[0].endswith(program) and any(word.startswith(folder) for word in words):
                return int(entry)
        raise AssertionError(f"no {program} is running")


def user_exists(name):
    try:
        pwd.getpwnam(name)
    except KeyError:
        return False
    return True


def answers(port):
    with socket.socket() as client:
        return client.connect_ex(("127.0.0.1", int(port))) == 0


class ServersTool(unittest.TestCase):
    def expect_all(self, values, there):
        expect = self.assertTrue if there else self.assertFalse
        for key, value in values.items():
            name = key.partition(".")[2]
            if name == "user":
                expect(user_exists(value), f"user {value}")
            elif name == "port":
                expect(answers(value), f"port {value}")
            elif value.startswith("/"):
                expect(Path(value).exists(), value)
        expect(Path("/etc/pam.d", values["vsftpd.user"]).exists(), "PAM service")

    def test_end_of_input_ends_it(self):
        tool = Tool("vsftpd", "vsftpd-tls", "sshd")
        self.expect_all(tool.values, True)
        self.assertEqual(tool.end(), 0)
        self.expect_all(tool.values, False)

    def test_signals_end_it(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                tool = Tool("vsftpd", "sshd")
                self.assertEqual(tool.end(number), 0)
                self.expect_all(tool.values, False)

    def test_server_that_ends_by_itself_is_an_error_with_its_log(self):
        tool = Tool("vsftpd", "sshd")
        self.assertTrue(answers(tool.values["vsftpd.port"]))
        os.kill(tool.server_process("vsftpd"), signal.SIGKILL)
        self.assertEqual(tool.process.wait(LIMIT), 1)
        self.assertIn("vsftpd has ended; its log:", tool.process.stderr.read())
        tool.process.communicate()
        self.expect_all(tool.values, False)

    def test_next_run_removes_what_a_killed_one_left(self):
        killed = Tool("vsftpd")
        killed.end(signal.SIGKILL)
        self.assertTrue(user_exists(killed.values["vsftpd.user"]))
        Tool("vsftpd").end()
        self.expect_all(killed.values, False)

    def test_runs_do_not_disturb_each_other(self):
        first, second = Tool("vsftpd", "sshd"), Tool("vsftpd", "sshd")
        self.assertEqual(first.end(), 0)
        self.expect_all(first.values, False)
        self.expect_all(second.values, True)
        self.assertEqual(second.end(), 0)
        self.expect_all(second.values, False)

    def test_server_that_is_not_installed_is_an_error(self):
        environment = {**os.environ, "PATH": "/nonexistent"}
        # /usr/sbin is looked through in any case; the first program that is needed is elsewhere.
        done = subprocess.run([sys.executable, TOOL, "sshd"], env=environment, text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=LIMIT)
        self.assertEqual(done.returncode, 1)
        self.assertIn("is not installed", done.stderr)

    def test_unknown_kind_is_an_error(self):
        done = subprocess.run([sys.executable, TOOL, "nonesuch"], text=True,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=LIMIT)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stdout, "")


if __name__ == "__main__":
    if os.geteuid() != 0:
        # Only root may do to servers what is done here.
        os.execvp("sudo", ["sudo", sys.executable, os.path.abspath(__file__), TOOL])
    unittest.main(verbosity=2)
