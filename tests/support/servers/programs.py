"""Programs that script/setup has installed, or unpacked because their packages conflict."""

import os
import shutil
import subprocess
from pathlib import Path

from .failures import StartFailure

UNPACKED = Path(__file__).resolve().parents[3] / "build" / "servers"


def find_program(name):
    path = shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin")
    if not path:
        raise StartFailure(f"{name} is not installed; script/setup installs it")
    return path


def find_unpacked(name):
    """The path of a file or folder of the packages that conflict with installed ones."""
    path = UNPACKED / name
    if not path.exists():
        raise StartFailure(f"{path} is missing; script/setup unpacks it")
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
