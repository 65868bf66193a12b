"""HTTP proxies for CONNECT, with and without credentials."""

import secrets

from .programs import find_program, run_program
from .server import Server


class Proxy(Server):
    """Leads to every port of loopback."""

    def prepare(self):
        # No proxy needs more rights than this user has.
        self.user = self.run.make_user(self.folder)
        self.run.hand_over(self.log, self.user)

    def runs_as(self):
        return self.user

    def first_words(self, client):
        # The page about an error names the proxy.
        client.sendall(b"GET / HTTP/1.0\r\n\r\n")
        return client.makefile("rb").read()

    def settings(self):
        """The lines of the configuration, in their order."""
        raise NotImplementedError

    def write_configuration(self):
        configuration = self.folder / "configuration"
        configuration.write_text("\n".join(self.settings()) + "\n")
        configuration.chmod(0o600)
        self.run.hand_over(configuration, self.user)
        return configuration


class WithCredentials:
    """Before a class of proxies: it wants a user name and a password."""

    proxy_user = "tarnix"

    def prepare(self):
        super().prepare()
        self.proxy_password = secrets.token_hex(8)

    def description(self):
        return {**super().description(), "user": self.proxy_user, "password": self.proxy_password}


class Squid(Proxy):
    def prepare(self):
        super().prepare()
        self.program = find_program("squid")
        # Of letters and digits; keeps its shared memory apart from that of other runs.
        self.service = self.run.name + self.kind.replace("-", "")
        for part in ("metadata", "queues", "readers"):
            self.run.note("file", f"/dev/shm/{self.service}-cf__{part}.shm")

    def allowed(self):
        return ["http_access allow to_localhost"]

    def settings(self):
        return [
            f"http_port {self.loopback.address}:{self.port}",
            f"visible_hostname {self.mark}",
            *self.allowed(),
            "http_access deny all",
            "cache deny all",
            f"access_log stdio:{self.log}",
            f"cache_log {self.log}",
            "cache_store_log none",
            "netdb_filename none",
            "pid_filename none",
            "pinger_enable off",
            f"coredump_dir {self.folder}",
            # It makes room for all that it may have, at once.
            "max_filedescriptors 4096",
        ]

    def command(self):
        return [self.program, "-N", "-n", self.service, "-f", self.write_configuration()]


class SquidAuth(WithCredentials, Squid):
    def prepare(self):
        super().prepare()
        self.accounts = self.folder / "accounts"
        digest = run_program("openssl", "passwd", "-6", "-stdin", text=self.proxy_password).strip()
        self.accounts.write_text(f"{self.proxy_user}:{digest}\n")
        self.accounts.chmod(0o600)
        self.run.hand_over(self.accounts, self.user)

    def allowed(self):
        return [
            f"auth_param basic program /usr/lib/squid/basic_ncsa_auth {self.accounts}",
            "acl known proxy_auth REQUIRED",
            "http_access allow known to_localhost",
        ]


class Tinyproxy(Proxy):
    def prepare(self):
        super().prepare()
        self.program = find_program("tinyproxy")
        self.page = self.folder / "page"
        self.page.write_text(self.mark)

    def settings(self):
        return [
            f"Listen {self.loopback.address}",
            f"Port {self.port}",
            f'LogFile "{self.log}"',
            "LogLevel Info",
            f'DefaultErrorFile "{self.page}"',
            "MaxClients 500",
            "Timeout 600",
        ]

    def command(self):
        return [self.program, "-d", "-c", self.write_configuration()]


class TinyproxyAuth(WithCredentials, Tinyproxy):
    def settings(self):
        return [*super().settings(), f"BasicAuth {self.proxy_user} {self.proxy_password}"]
