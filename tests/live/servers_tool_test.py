#!/usr/bin/python3
"""servers.py starts each kind of server, which answers, and removes what it made, however it
ends."""

import base64
import ftplib
import functools
import io
import os
import pwd
import re
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOL = sys.argv.pop(1)
LIMIT = 60

FTP = ["vsftpd", "proftpd", "pure-ftpd", "pyftpdlib"]
FTPS = ["vsftpd-tls", "proftpd-tls", "pure-ftpd-tls", "pyftpdlib-tls"]
SFTP = ["sshd", "proftpd-sftp"]
PROXIES = ["squid", "squid-auth", "tinyproxy", "tinyproxy-auth"]
UNPACKED = ["proftpd", "proftpd-tls", "proftpd-sftp", "pure-ftpd", "pure-ftpd-tls"]


def on_both_loopbacks(kinds):
    return kinds + [f"{kind}-ipv6" for kind in kinds]


ALL = on_both_loopbacks(FTP + FTPS + SFTP) + PROXIES
CONTENT = bytes(range(256)) * 300


class Tool:
    """A running servers.py with its description."""

    def __init__(self, *kinds, tool=TOOL):
        self.process = subprocess.Popen([sys.executable, tool, *kinds], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.values = {}
        for line in self.process.stdout:
            if line == "ready\n":
                break
            key, _, value = line.rstrip("\n").partition("=")
            self.values[key] = value
        else:
            raise AssertionError(self.process.communicate()[1])
        # It stands in the name of everything that a run makes.
        self.name = re.search("tarnix-servers-(tnx[0-9a-f]+)", str(self.values)).group(1)
        self.user_ids = {user.pw_uid for user in self.users()}

    def of(self, kind):
        prefix = kind + "."
        return {key[len(prefix):]: value for key, value in self.values.items()
                if key.startswith(prefix)}

    def end(self, signal_number=None):
        if signal_number is not None:
            self.process.send_signal(signal_number)
        self.errors = self.process.communicate(timeout=LIMIT)[1]
        return self.process.returncode

    def users(self):
        return [user for user in pwd.getpwall() if user.pw_name.startswith(self.name)]

    def processes(self):
        """Those of the servers: the id, and the words of the command."""
        found = {}
        for entry in filter(str.isdigit, os.listdir("/proc")):
            process = Path("/proc", entry)
            try:
                words = (process / "cmdline").read_bytes().decode(errors="replace").split("\0")
                if self.name in " ".join(words) or process.stat().st_uid in self.user_ids:
                    found[int(entry)] = words
            except OSError:
                continue
        return found

    def files(self):
        folders = {Path(self.values[key]).parents[2] for key in self.values if key.endswith(".log")}
        return [path for folder in (*folders, Path("/run/tarnix-servers"), Path("/etc/pam.d"),
                                    Path("/dev/shm"))
                if folder.exists() for path in folder.iterdir() if self.name in path.name]

    def ports(self):
        """The addresses that still answer."""
        places = [(values["host"].strip("[]"), int(values["port"]))
                  for values in map(self.of, {key.partition(".")[0] for key in self.values})]
        return [place for place in places if answers(place)]

    def left(self):
        """All that there is of it on this machine."""
        things = {"users": self.users(), "processes": self.processes(), "files": self.files(),
                  "ports": self.ports()}
        return {kind: found for kind, found in things.items() if found}

    def server_process(self, program):
        for process, words in self.processes().items():
            if words[0].endswith(program):
                return process
        raise AssertionError(f"no {program} is running")


def answers(place):
    try:
        socket.create_connection(place, timeout=LIMIT).close()
    except OSError:
        return False
    return True


def run_to_its_end(*kinds, tool=TOOL, environment=None):
    return subprocess.run([sys.executable, tool, *kinds], env=environment, text=True,
                          stdin=subprocess.DEVNULL, capture_output=True, timeout=LIMIT)


class ServersTool(unittest.TestCase):
    def expect_nothing_left(self, tool):
        self.assertEqual(tool.left(), {})

    def expect_all_there(self, tool):
        for key, value in tool.values.items():
            if value.startswith("/"):
                self.assertTrue(Path(value).exists(), key)
        self.assertEqual(len(tool.ports()), len({key.partition(".")[0] for key in tool.values}))

    def test_end_of_input_ends_it(self):
        tool = Tool("vsftpd", "vsftpd-tls", "sshd")
        self.expect_all_there(tool)
        self.assertEqual(len(tool.users()), 3)
        self.assertIn(Path("/etc/pam.d", tool.values["vsftpd.user"]), tool.files())
        self.assertEqual(tool.end(), 0)
        self.expect_nothing_left(tool)

    def test_signals_end_it(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                tool = Tool("vsftpd", "sshd")
                self.assertEqual(tool.end(number), 0)
                self.expect_nothing_left(tool)

    def test_server_that_ends_by_itself_is_an_error_with_its_log(self):
        tool = Tool("vsftpd", "sshd")
        os.kill(tool.server_process("vsftpd"), signal.SIGKILL)
        self.assertEqual(tool.process.wait(LIMIT), 1)
        self.assertIn("vsftpd has ended; its log:", tool.process.stderr.read())
        tool.process.communicate()
        self.expect_nothing_left(tool)

    def test_next_run_removes_what_a_killed_one_left(self):
        killed = Tool("vsftpd", "pyftpdlib", "squid")
        killed.end(signal.SIGKILL)
        self.assertEqual(len(killed.users()), 3)
        Tool("vsftpd").end()
        self.expect_nothing_left(killed)

    def test_runs_do_not_disturb_each_other(self):
        first, second = Tool("vsftpd", "sshd"), Tool("vsftpd", "sshd")
        self.assertEqual(first.end(), 0)
        self.expect_nothing_left(first)
        self.expect_all_there(second)
        self.assertEqual(second.end(), 0)
        self.expect_nothing_left(second)

    def test_server_that_is_not_installed_is_an_error(self):
        # /usr/sbin is looked through in any case; the first program that is needed is elsewhere.
        done = run_to_its_end("sshd", environment={**os.environ, "PATH": "/nonexistent"})
        self.assertEqual(done.returncode, 1)
        self.assertIn("is not installed; script/setup installs it", done.stderr)

    def test_unknown_kind_is_an_error(self):
        done = run_to_its_end("nonesuch")
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stdout, "")


class CopyOfTheTool(unittest.TestCase):
    """servers.py in a project where nothing is unpacked."""

    def setUp(self):
        self.project = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.tool = self.project / "tests/support/servers.py"
        shutil.copytree(Path(TOOL).with_suffix(""), self.tool.with_suffix(""))
        shutil.copy(TOOL, self.tool)

    def test_server_that_is_not_unpacked_is_an_error(self):
        for kind in UNPACKED:
            with self.subTest(kind=kind):
                done = run_to_its_end(kind, tool=self.tool)
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stdout, "")
                self.assertIn("is missing; script/setup unpacks it", done.stderr)

    def test_server_that_does_not_start_is_an_error_with_its_log(self):
        program = self.project / "build/servers/usr/sbin/proftpd"
        program.parent.mkdir(parents=True)
        program.write_text("#!/bin/sh\necho it is the wrong day\nexit 1\n")
        program.chmod(0o755)
        (self.project / "build/servers/usr/lib/proftpd").mkdir(parents=True)
        done = run_to_its_end("proftpd", tool=self.tool)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout, "")
        self.assertIn("proftpd does not start; its log:\nit is the wrong day\n", done.stderr)


def for_each(kinds):
    """Runs a test for each of these kinds, with what it describes."""
    def decorate(test):
        @functools.wraps(test)
        def run(self):
            for kind in kinds:
                with self.subTest(kind=kind):
                    test(self, self.tool.of(kind))
        return run
    return decorate


class Kinds(unittest.TestCase):
    """All kinds, which run beside each other."""

    @classmethod
    def setUpClass(cls):
        cls.tool = Tool(*ALL)

    @classmethod
    def tearDownClass(cls):
        # An error here is one of the program.
        if cls.tool.end() != 0:
            raise AssertionError(cls.tool.errors)
        if cls.tool.left():
            raise AssertionError(cls.tool.left())

    def log_in(self, client, values):
        client.connect(values["host"].strip("[]"), int(values["port"]), timeout=LIMIT)
        client.login(values["user"], values["password"])

    def move_a_file(self, client, values):
        self.assertEqual(client.pwd(), values["root"])
        client.storbinary("STOR stored", io.BytesIO(CONTENT))
        stored = Path(values["root"], "stored")
        self.assertEqual(stored.read_bytes(), CONTENT)
        self.assertEqual(stored.stat().st_mode & 0o777, 0o666)
        got = io.BytesIO()
        client.retrbinary("RETR stored", got.write)
        self.assertEqual(got.getvalue(), CONTENT)
        client.mkd("made")
        self.assertEqual(Path(values["root"], "made").stat().st_mode & 0o777, 0o777)
        client.rmd("made")
        client.delete("stored")
        self.assertEqual(os.listdir(values["root"]), [])

    def test_every_kind_is_tried_here(self):
        text = run_to_its_end("--help").stdout
        self.assertEqual(re.split(r"[,\s]+", text.partition("kinds: ")[2].strip()), sorted(ALL))

    @for_each(on_both_loopbacks(FTP + FTPS))
    def test_ftp_moves_files(self, values):
        with ftplib.FTP() as client:
            self.log_in(client, values)
            self.move_a_file(client, values)

    @for_each(FTP)
    def test_ftp_lists_ten_thousand_files(self, values):
        many = Path(values["root"], "many")
        many.mkdir()
        for number in range(10000):
            (many / str(number)).touch()
        lines = []
        with ftplib.FTP() as client:
            self.log_in(client, values)
            client.retrlines("LIST many", lines.append)
        self.assertEqual(len([line for line in lines if not line.startswith("total ")]), 10000)
        shutil.rmtree(many)

    @for_each(on_both_loopbacks(FTPS))
    def test_ftp_with_tls_moves_files(self, values):
        context = ssl.create_default_context(cafile=values["ca_file"])
        with ftplib.FTP_TLS(context=context) as client:
            self.log_in(client, values)
            client.prot_p()
            self.move_a_file(client, values)

    @for_each(FTPS)
    def test_other_ca_has_not_signed_the_certificate(self, values):
        context = ssl.create_default_context(cafile=values["other_ca_file"])
        with ftplib.FTP_TLS(context=context) as client, \
                self.assertRaises(ssl.SSLCertVerificationError):
            self.log_in(client, values)

    def sftp(self, values, *options, secret="", known_hosts="known_hosts"):
        """Stores a file; OpenSSH's own client, which is told the password or passphrase."""
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "content").write_bytes(CONTENT)
            ask = Path(folder, "ask")
            ask.write_text('#!/bin/sh\necho "$SECRET"\n')
            ask.chmod(0o700)
            environment = {**os.environ, "SSH_ASKPASS": str(ask), "SSH_ASKPASS_REQUIRE": "force",
                           "SECRET": secret}
            return subprocess.run(
                ["sftp", "-F", "none", "-o", "IdentityAgent=none", "-o", "IdentitiesOnly=yes",
                 "-o", "NumberOfPasswordPrompts=1", "-o", "StrictHostKeyChecking=yes",
                 "-o", f"UserKnownHostsFile={values[known_hosts]}",
                 *options, "-P", values["port"], f"{values['user']}@{values['host']}"],
                input="put content stored\n", text=True, cwd=folder, env=environment,
                capture_output=True, timeout=LIMIT)

    def expect_stored(self, values, done):
        self.assertEqual(done.returncode, 0, done.stderr)
        stored = Path(values["root"], "stored")
        self.assertEqual(stored.read_bytes(), CONTENT)
        stored.unlink()

    @for_each(on_both_loopbacks(SFTP))
    def test_sftp_takes_the_password(self, values):
        done = self.sftp(values, "-o", "PreferredAuthentications=password",
                         secret=values["password"])
        self.expect_stored(values, done)

    @for_each(SFTP)
    def test_sftp_takes_each_key(self, values):
        names = [f"key_{kind}{suffix}" for kind in ("ed25519", "ecdsa", "rsa")
                 for suffix in ("", "_encrypted")]
        for name in (*names, "private_key", "encrypted_private_key"):
            with self.subTest(key=name):
                secret = values["passphrase"] if "encrypted" in name else ""
                done = self.sftp(values, "-i", values[name], "-o",
                                 "PreferredAuthentications=publickey", secret=secret)
                self.expect_stored(values, done)
        for name in names:
            private = values[name]
            self.assertEqual(values[f"{name}_public"], f"{private}.pub")
            readable = subprocess.run(["ssh-keygen", "-y", "-P", "", "-f", private],
                                      stdin=subprocess.DEVNULL, capture_output=True)
            self.assertEqual(readable.returncode == 0, "encrypted" not in name, name)

    @for_each(SFTP)
    def test_sftp_refuses_the_unknown_key(self, values):
        done = self.sftp(values, "-i", values["unknown_private_key"], "-o",
                         "PreferredAuthentications=publickey")
        self.assertIn("Permission denied", done.stderr)

    @for_each(on_both_loopbacks(SFTP))
    def test_host_keys_are_told_apart(self, values):
        done = self.sftp(values, "-i", values["private_key"], known_hosts="wrong_known_hosts")
        self.assertIn("Host key verification failed", done.stderr)

    def through(self, proxy, target, credentials=None):
        """What a proxy answers, and the first line that comes from behind it."""
        with socket.create_connection((proxy["host"], int(proxy["port"])), timeout=LIMIT) as client:
            place = f"{target['host']}:{target['port']}"
            request = f"CONNECT {place} HTTP/1.1\r\nHost: {place}\r\n"
            if credentials:
                encoded = base64.b64encode(credentials.encode()).decode()
                request += f"Proxy-Authorization: Basic {encoded}\r\n"
            client.sendall(f"{request}\r\n".encode())
            answer = client.makefile("rb")
            status = int(answer.readline().split()[1])
            while status == 200 and answer.readline().strip():
                pass
            return status, answer.readline() if status == 200 else b""

    @for_each(PROXIES)
    def test_proxies_lead_to_every_server(self, proxy):
        credentials = f"{proxy['user']}:{proxy['password']}" if "user" in proxy else None
        for kind in on_both_loopbacks(FTP + SFTP):
            with self.subTest(target=kind):
                status, line = self.through(proxy, self.tool.of(kind), credentials)
                self.assertEqual(status, 200)
                self.assertRegex(line, b"^(220|SSH-2.0)")

    @for_each(["squid-auth", "tinyproxy-auth"])
    def test_proxies_want_the_credentials_that_they_describe(self, proxy):
        target = self.tool.of("vsftpd")
        self.assertEqual(self.through(proxy, target)[0], 407)
        self.assertIn(self.through(proxy, target, f"{proxy['user']}:wrong")[0], (401, 407))


if __name__ == "__main__":
    if os.geteuid() != 0:
        # Only root may do to servers what is done here.
        os.execvp("sudo", ["sudo", sys.executable, os.path.abspath(__file__), TOOL])
    unittest.main(verbosity=2)
