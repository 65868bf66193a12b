"""What all runs on this machine have made."""

import contextlib
import fcntl
import os
import pwd
import shutil
from pathlib import Path

from .processes import is_running, kill_all, processes_of
from .programs import run_program


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
