#!/usr/bin/python3
"""Starts real FTP, FTPS and SFTP servers on free loopback ports, for tests and for trying out.

    servers.py KIND...

Prints one line KIND.KEY=VALUE for everything a client needs to know, then "ready". The servers
run until standard input ends, until SIGINT, SIGTERM or SIGHUP, or until the parent dies; then
every process, throw-away user and file is removed again. A server that does not start, or that
ends by itself, is an error: its log goes to standard error and the exit status is 1.

Needs root, for the throw-away users; started by anyone else it runs itself with sudo.
"""

import sys

# Root would leave its bytecode in the folder of another user.
sys.dont_write_bytecode = True

from servers.command_line import main

if __name__ == "__main__":
    sys.exit(main(__doc__))
