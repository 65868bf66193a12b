"""An FTP server on pyftpdlib; its settings stand in the JSON file that it is started with."""

import json
import logging
import os
import sys

from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.filesystems import UnixFilesystem
from pyftpdlib.handlers import FTPHandler, TLS_FTPHandler
from pyftpdlib.servers import FTPServer


def serve(address, port, banner, user, password, root, log, certificate=None, key=None):
    logging.basicConfig(filename=log, level=logging.DEBUG)
    os.umask(0)
    authorizer = DummyAuthorizer()
    # Everything that there is: list, read, write, append, rename, delete, change modes and times.
    authorizer.add_user(user, password, root, perm="elradfmwMT")

    class Handler(TLS_FTPHandler if certificate else FTPHandler):
        certfile = certificate
        keyfile = key

    Handler.authorizer = authorizer
    # Paths are those of the machine, and a session starts in the user's folder.
    Handler.abstracted_fs = UnixFilesystem
    Handler.banner = banner
    Handler.auth_failed_timeout = 0
    server = FTPServer((address, port), Handler)
    server.max_cons = 500
    server.serve_forever(handle_exit=False)


with open(sys.argv[1], encoding="utf-8") as settings:
    serve(**json.load(settings))
