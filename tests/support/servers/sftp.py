"""What all SFTP servers have in common: the keys of both sides."""

import secrets

from .programs import run_program
from .server import FileServer

# How ssh-keygen makes the key pairs that clients log in with. The RSA keys are the smallest that
# servers take: larger ones take longer to make than all the rest.
KEY_TYPES = {
    "ed25519": ("-t", "ed25519"),
    "ecdsa": ("-t", "ecdsa"),
    "rsa": ("-t", "rsa", "-b", "1024"),
}


class SftpServer(FileServer):
    def prepare(self):
        super().prepare()
        self.passphrase = secrets.token_urlsafe(12)
        self.host_key = self.make_key("host_key")
        self.other_host_key = self.make_key("other_host_key")
        self.client_keys = {}
        for kind in KEY_TYPES:
            self.client_keys[f"key_{kind}"] = self.make_key(f"client_{kind}", kind)
            self.client_keys[f"key_{kind}_encrypted"] = self.make_key(
                f"client_{kind}_encrypted", kind, self.passphrase)
        self.unknown_private_key = self.make_key("unknown_client_key")
        for key in (*self.client_keys.values(), self.unknown_private_key):
            self.run.give(key)

    def make_key(self, name, kind="ed25519", passphrase=""):
        key = self.folder / name
        # Few rounds: a test wants an encrypted key, not a strong one.
        run_program("ssh-keygen", "-q", *KEY_TYPES[kind], "-a", "1", "-N", passphrase,
                    "-C", f"tarnix {name}", "-f", key)
        return key

    @staticmethod
    def public(key):
        return key.with_name(key.name + ".pub")

    def first_words(self, client):
        return client.makefile("rb").readline()

    def known_hosts(self, name, key):
        algorithm, encoded = self.public(key).read_text().split()[:2]
        path = self.folder / name
        path.write_text("".join(f"[{host}]:{self.port} {algorithm} {encoded}\n"
                                for host in (self.loopback.address, "localhost")))
        return self.run.give(path, 0o644)

    def description(self):
        fingerprint = run_program("ssh-keygen", "-l", "-E", "sha256", "-f",
                                  self.public(self.host_key)).split()[1]
        keys = {**self.client_keys,
                "private_key": self.client_keys["key_ed25519"],
                "encrypted_private_key": self.client_keys["key_ed25519_encrypted"]}
        return {
            **super().description(),
            "known_hosts": self.known_hosts("known_hosts", self.host_key),
            "wrong_known_hosts": self.known_hosts("wrong_known_hosts", self.other_host_key),
            "host_key_sha256": fingerprint.removeprefix("SHA256:"),
            **keys,
            **{public_name(name): self.public(key) for name, key in keys.items()},
            "passphrase": self.passphrase,
            "unknown_private_key": self.unknown_private_key,
        }


def public_name(name):
    """What a description calls the public half of a private key."""
    if name.startswith("key_"):
        return name + "_public"
    return name.replace("private", "public")
