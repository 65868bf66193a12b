"""The command: starts the servers of some kinds and serves until the end is asked for."""

import argparse
import os
import signal
import sys
import textwrap

from .failures import StartFailure, Stopped
from .kinds import KINDS, make
from .processes import PR_SET_CHILD_SUBREAPER, PR_SET_PDEATHSIG, prctl
from .run import Run
from .signals import Signals


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
        servers = [make(run, kind) for kind in kinds]
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
        os.execvp("sudo", ["sudo", sys.executable, os.path.abspath(sys.argv[0]), *arguments])
    except OSError as error:
        raise StartFailure(f"needs root, or sudo: {error}") from error


def main(description):
    parser = argparse.ArgumentParser(
        description=description,
        epilog=textwrap.fill("kinds: " + ", ".join(sorted(KINDS)), 80, break_on_hyphens=False),
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kinds", nargs="+", choices=sorted(KINDS), metavar="KIND", help="see below")
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
