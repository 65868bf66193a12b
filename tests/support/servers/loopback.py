"""The loopback addresses that servers listen on."""

import socket
from dataclasses import dataclass


@dataclass(frozen=True)
class Loopback:
    family: socket.AddressFamily
    address: str
    # As a URL takes it.
    host: str

    def free_port(self):
        with socket.socket(self.family) as taken:
            taken.bind((self.address, 0))
            return taken.getsockname()[1]


IPV4 = Loopback(socket.AF_INET, "127.0.0.1", "127.0.0.1")
IPV6 = Loopback(socket.AF_INET6, "::1", "[::1]")
