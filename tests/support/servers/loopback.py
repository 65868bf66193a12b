"""The loopback addresses that servers listen on."""

import contextlib
import random
import socket
from dataclasses import dataclass
from pathlib import Path

from .failures import StartFailure

PORT_RANGE_OF_CLIENTS = Path("/proc/sys/net/ipv4/ip_local_port_range")
PORT_ATTEMPTS = 1000


@dataclass(frozen=True)
class Loopback:
    family: socket.AddressFamily
    address: str
    # As a URL takes it.
    host: str

    def free_port(self):
        """Not one of those that the system gives to clients, where it can: a client could take it
        before the server does, and whoever waits for the server could connect to himself."""
        first_of_clients = int(PORT_RANGE_OF_CLIENTS.read_text(encoding="utf-8").split()[0])
        for _ in range(PORT_ATTEMPTS):
            port = random.randrange(5000, max(first_of_clients, 20000))
            with socket.socket(self.family) as taken, contextlib.suppress(OSError):
                # As servers do: a connection that has just ended keeps its port for a minute.
                taken.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                taken.bind((self.address, port))
                return port
        raise StartFailure(f"no port of {self.address} is free")


IPV4 = Loopback(socket.AF_INET, "127.0.0.1", "127.0.0.1")
IPV6 = Loopback(socket.AF_INET6, "::1", "[::1]")
