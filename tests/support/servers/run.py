"""One run: its folder, its throw-away users, and the removal of everything that it made."""

import fcntl
import os
import pwd
import secrets
import stat
from dataclasses import dataclass
from pathlib import Path

from .failures import StartFailure
from .processes import descendants, kill_all
from .programs import run_program
from .registry import Registry


def temporary_base():
    """A folder for temporary files that the servers' users can enter."""
    for name in (os.environ.get("TMPDIR"), "/tmp", "/var/tmp"):
        if not name or not os.path.isdir(name):
            continue
        folder = Path(name).resolve()
        if all(path.stat().st_mode & stat.S_IXOTH for path in (folder, *folder.parents)):
            return folder
    raise StartFailure("no folder for temporary files that every user can enter")


@dataclass(frozen=True)
class User:
    name: str
    password: str
    # Of the password, as crypt(3) reads it.
    digest: str
    id: int


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
        """A user of the system with this home folder."""
        name = f"{self.name}u{self.users}"
        self.users += 1
        password = secrets.token_urlsafe(12)
        digest = run_program("openssl", "passwd", "-6", "-stdin", text=password).strip()
        with self.registry.locked():
            self.note("user", name)
            run_program("useradd", "--system", "--no-create-home", "--home-dir", home,
                        "--no-user-group", "--gid", "nogroup", "--shell", "/usr/sbin/nologin", name)
            run_program("chpasswd", "-e", text=f"{name}:{digest}\n")
        return User(name, password, digest, pwd.getpwnam(name).pw_uid)

    def write_system_file(self, path, text):
        self.note("file", path)
        Path(path).write_text(text, encoding="utf-8")

    def give(self, path, mode=0o600):
        """Lets the caller of this program read a file that was made for it."""
        os.chown(path, self.reader, -1)
        os.chmod(path, mode)
        return path

    @staticmethod
    def hand_over(path, user):
        """Makes a file one of a throw-away user's."""
        os.chown(path, user.id, -1)

    def end(self):
        kill_all(descendants)
        with self.registry.locked():
            self.record.seek(0)
            self.registry.remove_things(self.record.read().splitlines())
            self.registry.leave(self.record)
        self.record.close()
