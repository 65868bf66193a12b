"""The processes of this machine, and the end of those that a run has started."""

import contextlib
import ctypes
import os
import select
import signal
import time
from pathlib import Path

from .failures import StartFailure

STOP_SECONDS = 10

PR_SET_PDEATHSIG = 1
PR_SET_CHILD_SUBREAPER = 36
LIBC = ctypes.CDLL(None, use_errno=True)


def prctl(option, value):
    if LIBC.prctl(option, ctypes.c_ulong(value), 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


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
