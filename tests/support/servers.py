#!/usr/bin/python3
"""Starts real FTP, FTPS and SFTP servers on free loopback ports, for tests and for trying out.

    servers.py KIND...        kinds: see --help

Prints one line KIND.KEY=VALUE for everything a client needs to know, then "ready". The servers
run until standard input ends, until SIGINT, SIGTERM or SIGHUP, or until the parent dies; then
every process, throw-away user and file is removed again. A server that does not start, or that
ends by itself, is an error: its log goes to standard error and the exit status is 1.

Needs root, for the throw-away users; started by anyone else it runs itself with sudo.
"""

import argparse
import contextlib
import ctypes
import fcntl
import os
import pwd
import secrets
import select
import shutil
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import time
from pathlib import Path

START_SECONDS = 20
STOP_SECONDS = 10
PORT_ATTEMPTS = 5

PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
LIBC = ctypes.CDLL(None, use_errno=True)


class StartFailure(Exception):
    """A server cannot be used; the text says why and holds its log."""


class Stopped(Exception):
    """A signal asked for the end."""


class Signals:
    """Turns signals into something to read, which is looked at between steps: no step is ever left
    half done."""

    def __init__(self):
        self.pipe, wake = os.pipe2(os.O_CLOEXEC | os.O_NONBLOCK)
        signal.set_wakeup_fd(wake)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGCHLD):
            signal.signal(number, lambda number, frame: None)

    def wait_for(self, sources, seconds=None):
        """The sources that have something to read, at most after so many seconds. Raises Stopped
        when a signal has asked for the end."""
        ready = select.select([self.pipe, *sources], [], [], seconds)[0]
        if self.pipe in ready:
            if set(os.read(self.pipe, 4096)) != {signal.SIGCHLD}:
                raise Stopped
            ready.remove(self.pipe)
            reap_children()
        return ready


def prctl(option, value):
    if LIBC.prctl(option, ctypes.c_ulong(value), 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def find_program(name):
    path = shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
    if not path:
        raise StartFailure(f"{name} is not installed; script/setup installs it")
    return path


def run_program(*command, text=None):
    done = subprocess.run(
        [find_program(command[0]), *map(str, command[1:])],
        input=text,
        stdin=subprocess.DEVNULL if text is None else None,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        start_new_session=True,
    )
    if done.returncode != 0:
        raise StartFailure(f"{' '.join(map(str, command))} failed:\n{done.stdout}")
    return done.stdout


def process_table():
    """Process id: (parent's id, user id)."""
    table = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        with contextlib.suppress(OSError):
            status = Path("/proc", entry, "stat").read_bytes()
            parent = int(status[status.rindex(b")") + 2 :].split()[1])
            table[int(entry)] = (parent, os.stat(f"/proc/{entry}").st_uid)
    return table


def is_running(program):
    for entry in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            if Path("/proc", entry, "comm").read_text(encoding="utf-8").strip() == program:
                return True
    return False


def descendants():
    table = process_table()
    found, level = set(), {os.getpid()}
    while level:
        level = {process for process, (parent, _) in table.items() if parent in level} - found
        found |= level
    return found


def processes_of(user_id):
    return {process for process, (_, owner) in process_table().items() if owner == user_id}


def reap_children():
    """Also those that the servers left behind, which come to this process."""
    with contextlib.suppress(ChildProcessError):
        while os.waitpid(-1, os.WNOHANG)[0] != 0:
            pass


def kill_all(find):
    """Kills what `find` reports until it reports nothing."""
    deadline = time.monotonic() + STOP_SECONDS
    while processes := find():
        if time.monotonic() > deadline:
            raise StartFailure(f"processes {sorted(processes)} cannot be ended")
        for process in processes:
            with contextlib.suppress(ProcessLookupError):
                os.kill(process, signal.SIGKILL)
        reap_children()
        # Orphans of other parents are reaped by those; give them a moment of processor time.
        select.select([], [], [], 0.005)


class Registry:
    """The runs of this machine, one locked file each, that say what a run has made.

    The lock of a file ends with its run, however it ended. So what a dead run left behind is
    known, and the next run removes it. The folder's own lock serialises changes to the system's
    users, and goes away with the last run.
    """

    folder = Path("/run/tarnix-servers")
    ssh_folder = Path("/run/sshd")
    made_ssh_folder = "made-run-sshd"

    @contextlib.contextmanager
    def locked(self):
        while True:
            self.folder.mkdir(mode=0o700, exist_ok=True)
            handle = None
            # The last run may remove the folder between any two of these steps.
            with contextlib.suppress(FileNotFoundError):
                handle = os.open(self.folder, os.O_RDONLY | os.O_DIRECTORY)
                fcntl.flock(handle, fcntl.LOCK_EX)
                if os.fstat(handle).st_ino == os.stat(self.folder).st_ino:
                    break
            if handle is not None:
                os.close(handle)
        try:
            yield
        finally:
            os.close(handle)

    def records(self):
        return [path for path in self.folder.iterdir() if path.name != self.made_ssh_folder]

    def remove_dead_runs(self):
        for path in self.records():
            with open(path, "r+", encoding="utf-8") as record:
                try:
                    fcntl.flock(record, fcntl.LOCK_EX | fcntl.LOCK_NB)
                except BlockingIOError:
                    continue
                self.remove_things(record.read().splitlines())
                path.unlink()

    def remove_things(self, lines):
        things = [line.partition("=")[::2] for line in lines]
        for kind, value in things:
            if kind == "user":
                self.remove_user(value)
        for kind, value in things:
            if kind == "file":
                Path(value).unlink(missing_ok=True)
            elif kind == "folder":
                shutil.rmtree(value, ignore_errors=True)

    @staticmethod
    def remove_user(name):
        try:
            user_id = pwd.getpwnam(name).pw_uid
        except KeyError:
            return
        kill_all(lambda: processes_of(user_id))
        run_program("userdel", name)

    def need_ssh_folder(self):
        """sshd starts only with this folder, which systemd makes where it runs."""
        with self.locked():
            if not self.ssh_folder.exists():
                (self.folder / self.made_ssh_folder).touch()
                self.ssh_folder.mkdir(mode=0o755)

    def leave(self, record):
        with contextlib.suppress(FileNotFoundError):
            Path(record.name).unlink()
        if self.records():
            return
        marker = self.folder / self.made_ssh_folder
        if marker.exists():
            marker.unlink()
            # One that the system has started meanwhile needs it from now on.
            if not is_running("sshd"):
                with contextlib.suppress(OSError):
                    self.ssh_folder.rmdir()
        self.folder.rmdir()


def temporary_base():
    """A folder for temporary files that the servers' users can enter."""
    for name in (os.environ.get("TMPDIR"), "/tmp", "/var/tmp"):
        if not name or not os.path.isdir(name):
            continue
        folder = Path(name).resolve()
        if all(path.stat().st_mode & stat.S_IXOTH for path in (folder, *folder.parents)):
            return folder
    raise StartFailure("no folder for temporary files that every user can enter")


class Run:
    """Everything that this process makes on the machine."""

    def __init__(self, signals):
        self.signals = signals
        self.name = "tnx" + secrets.token_hex(3)
        self.registry = Registry()
        # Who reads the files, besides root.
        self.reader = int(os.environ.get("SUDO_UID", os.getuid()))
        self.folder = None
        with self.registry.locked():
            self.registry.remove_dead_runs()
            self.record = open(self.registry.folder / self.name, "x+", encoding="utf-8")
            fcntl.flock(self.record, fcntl.LOCK_EX)
        self.users = 0

    def note(self, kind, value):
        """Always before the thing is made, so that nothing is ever forgotten."""
        self.record.write(f"{kind}={value}\n")
        self.record.flush()

    def make_folder(self):
        folder = temporary_base() / f"tarnix-servers-{self.name}"
        self.note("folder", folder)
        folder.mkdir()
        folder.chmod(0o711)
        self.folder = folder

    def make_user(self, home):
        """A user of the system with this home folder; its name and password."""
        name = f"{self.name}{chr(ord('a') + self.users)}"
        self.users += 1
        password = secrets.token_urlsafe(12)
        digest = run_program("openssl", "passwd", "-6", "-stdin", text=password).strip()
        with self.registry.locked():
            self.note("user", name)
            run_program("useradd", "--system", "--no-create-home", "--home-dir", home,
                        "--no-user-group", "--gid", "nogroup", "--shell", "/usr/sbin/nologin", name)
            run_program("chpasswd", "-e", text=f"{name}:{digest}\n")
        return name, password

    def write_system_file(self, path, text):
        self.note("file", path)
        Path(path).write_text(text, encoding="utf-8")

    def give(self, path, mode=0o600):
        """Lets the caller of this program read a file that was made for it."""
        os.chown(path, self.reader, -1)
        os.chmod(path, mode)
        return path

    def end(self):
        kill_all(descendants)
        with self.registry.locked():
            self.record.seek(0)
            self.registry.remove_things(self.record.read().splitlines())
            self.registry.leave(self.record)
        self.record.close()


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


class Vsftpd(Server):
    kind = "vsftpd"
    greeting_start = b"220 "

    def prepare(self):
        self.program = find_program("vsftpd")
        self.home = self.make_home()
        self.user, self.password = self.run.make_user(self.home)
        self.empty = self.folder / "empty"
        self.empty.mkdir(mode=0o755)
        # The stock service wants a login shell; these users have none.
        self.pam_service = self.user
        self.run.write_system_file(
            f"/etc/pam.d/{self.pam_service}",
            "auth required pam_unix.so nodelay\naccount required pam_unix.so\n",
        )

    def settings(self):
        return {
            "listen": "YES",
            "listen_ipv6": "NO",
            "listen_address": "127.0.0.1",
            "listen_port": self.port,
            "pasv_address": "127.0.0.1",
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
        configuration.write_text("".join(f"{key}={value}\n" for key, value in self.settings().items()))
        return [self.program, configuration]

    def description(self):
        return {**super().description(), "user": self.user, "password": self.password,
                "root": self.home}


class VsftpdTls(Vsftpd):
    """Offers TLS (AUTH TLS) and does not insist on it."""

    kind = "vsftpd-tls"

    def prepare(self):
        super().prepare()
        self.ca_file, ca_key = self.make_ca("ca")
        self.other_ca_file, _ = self.make_ca("other-ca")
        self.certificate, self.key = self.make_certificate(self.ca_file, ca_key)

    def make_ca(self, name):
        certificate, key = self.folder / f"{name}.pem", self.folder / f"{name}.key"
        run_program("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                    "ec_paramgen_curve:P-256", "-noenc", "-days", "2", "-subj",
                    f"/CN=tarnix test {name}", "-addext", "keyUsage=critical,keyCertSign,cRLSign",
                    "-keyout", key, "-out", certificate)
        return self.run.give(certificate, 0o644), key

    def make_certificate(self, ca_file, ca_key):
        certificate, key = self.folder / "server.pem", self.folder / "server.key"
        run_program("openssl", "req", "-x509", "-CA", ca_file, "-CAkey", ca_key, "-newkey", "ec",
                    "-pkeyopt", "ec_paramgen_curve:P-256", "-noenc", "-days", "2", "-subj",
                    "/CN=localhost", "-addext", "basicConstraints=critical,CA:FALSE",
                    "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1",
                    "-keyout", key, "-out", certificate)
        return certificate, key

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

    def description(self):
        return {**super().description(), "ca_file": self.ca_file,
                "other_ca_file": self.other_ca_file}


class Sshd(Server):
    """OpenSSH for SFTP only, with a password or with one of two ed25519 keys."""

    kind = "sshd"
    greeting_start = b"SSH-2.0-"

    def prepare(self):
        # It starts itself again for each connection, hence the absolute path.
        self.program = find_program("sshd")
        self.run.registry.need_ssh_folder()
        self.home = self.make_home()
        self.user, self.password = self.run.make_user(self.home)
        self.passphrase = secrets.token_urlsafe(12)
        self.host_key = self.make_key("host_key", "")
        self.other_host_key = self.make_key("other_host_key", "")
        self.private_key = self.make_key("client_key", "")
        self.encrypted_private_key = self.make_key("encrypted_client_key", self.passphrase)
        self.unknown_private_key = self.make_key("unknown_client_key", "")
        for key in (self.private_key, self.encrypted_private_key, self.unknown_private_key):
            self.run.give(key)
        self.authorized_keys = self.folder / "authorized_keys"
        self.authorized_keys.write_text(
            self.public(self.private_key).read_text()
            + self.public(self.encrypted_private_key).read_text())
        self.authorized_keys.chmod(0o644)

    def make_key(self, name, passphrase):
        key = self.folder / name
        # Few rounds: a test wants an encrypted key, not a strong one.
        run_program("ssh-keygen", "-q", "-t", "ed25519", "-a", "1", "-N", passphrase,
                    "-C", f"tarnix {name}", "-f", key)
        return key

    @staticmethod
    def public(key):
        return key.with_name(key.name + ".pub")

    def command(self):
        configuration = self.folder / "sshd_config"
        configuration.write_text(f"""\
ListenAddress 127.0.0.1
Port {self.port}
HostKey {self.host_key}
PidFile none
VersionAddendum {self.mark}
AllowUsers {self.user}
AuthorizedKeysFile {self.authorized_keys}
StrictModes no
UsePAM no
PasswordAuthentication yes
KbdInteractiveAuthentication no
PubkeyAuthentication yes
MaxStartups 200
MaxSessions 200
UseDNS no
LogLevel VERBOSE
Subsystem sftp internal-sftp -u 0000
""")
        return [self.program, "-D", "-f", configuration, "-E", self.log]

    def known_hosts(self, name, key):
        algorithm, encoded = self.public(key).read_text().split()[:2]
        path = self.folder / name
        path.write_text("".join(f"[{host}]:{self.port} {algorithm} {encoded}\n"
                                for host in ("127.0.0.1", "localhost")))
        return self.run.give(path, 0o644)

    def description(self):
        fingerprint = run_program("ssh-keygen", "-l", "-E", "sha256", "-f",
                                  self.public(self.host_key)).split()[1]
        return {
            **super().description(),
            "user": self.user,
            "password": self.password,
            "root": self.home,
            "known_hosts": self.known_hosts("known_hosts", self.host_key),
            "wrong_known_hosts": self.known_hosts("wrong_known_hosts", self.other_host_key),
            "host_key_sha256": fingerprint.removeprefix("SHA256:"),
            "private_key": self.private_key,
            "public_key": self.public(self.private_key),
            "encrypted_private_key": self.encrypted_private_key,
            "encrypted_public_key": self.public(self.encrypted_private_key),
            "passphrase": self.passphrase,
            "unknown_private_key": self.unknown_private_key,
        }


KINDS = {server.kind: server for server in (Vsftpd, VsftpdTls, Sshd)}


def serve_until_end(servers, signals):
    """Returns when standard input ends; raises when a server ends by itself or at a signal."""
    ended = {server.ended: server for server in servers}
    while True:
        for source in signals.wait_for([0, *ended]):
            if source in ended:
                raise StartFailure(ended[source].failure("has ended"))
            if not os.read(0, 4096):
                return


def serve(kinds, signals):
    run = Run(signals)
    try:
        run.make_folder()
        servers = [KINDS[kind](run) for kind in kinds]
        for server in servers:
            server.start()
        for server in servers:
            for key, value in server.description().items():
                print(f"{server.kind}.{key}={value}")
        print("ready", flush=True)
        serve_until_end(servers, signals)
    finally:
        run.end()


def become_root(arguments):
    try:
        os.execvp("sudo", ["sudo", sys.executable, os.path.abspath(__file__), *arguments])
    except OSError as error:
        raise StartFailure(f"needs root, or sudo: {error}") from error


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kinds", nargs="+", choices=sorted(KINDS), metavar="KIND",
                        help=", ".join(sorted(KINDS)))
    kinds = list(dict.fromkeys(parser.parse_args().kinds))
    if sys.stdin is None:
        parser.error("standard input is closed; the servers run for as long as it is open")
    try:
        if os.geteuid() != 0:
            become_root(kinds)
        signals = Signals()
        prctl(PR_SET_PDEATHSIG, signal.SIGTERM)
        prctl(PR_SET_CHILD_SUBREAPER, 1)
        os.umask(0o022)
        serve(kinds, signals)
    except Stopped:
        pass
    except StartFailure as failure:
        print(f"servers.py: {failure}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
