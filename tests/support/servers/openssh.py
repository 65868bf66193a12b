"""OpenSSH: SFTP."""

import secrets

from .programs import find_program, run_program
from .server import SftpServer


class Sshd(SftpServer):
    """OpenSSH for SFTP only, with a password or with one of two ed25519 keys."""

    def prepare(self):
        # It starts itself again for each connection, hence the absolute path.
        self.program = find_program("sshd")
        self.run.registry.need_ssh_folder()
        self.make_account()
        self.passphrase = secrets.token_urlsafe(12)
        self.host_key = self.make_key("host_key", "")
        self.other_host_key = self.make_key("other_host_key", "")
        self.private_key = self.make_key("client_key", "")
        self.encrypted_private_key = self.make_key("encrypted_client_key", self.passphrase)
        self.unknown_private_key = self.make_key("unknown_client_key", "")
        for key in (self.private_key, self.encrypted_private_key, self.unknown_private_key):
            self.run.give(key)
        self.authorized_keys = self.folder / "authorized_keys"
        self.authorized_keys.write_text(
            self.public(self.private_key).read_text()
            + self.public(self.encrypted_private_key).read_text())
        self.authorized_keys.chmod(0o644)

    def make_key(self, name, passphrase):
        key = self.folder / name
        # Few rounds: a test wants an encrypted key, not a strong one.
        run_program("ssh-keygen", "-q", "-t", "ed25519", "-a", "1", "-N", passphrase,
                    "-C", f"tarnix {name}", "-f", key)
        return key

    @staticmethod
    def public(key):
        return key.with_name(key.name + ".pub")

    def command(self):
        configuration = self.folder / "sshd_config"
        configuration.write_text(f"""\
ListenAddress {self.loopback.address}
Port {self.port}
HostKey {self.host_key}
PidFile none
VersionAddendum {self.mark}
AllowUsers {self.user.name}
AuthorizedKeysFile {self.authorized_keys}
StrictModes no
UsePAM no
PasswordAuthentication yes
KbdInteractiveAuthentication no
PubkeyAuthentication yes
MaxStartups 200
MaxSessions 200
UseDNS no
LogLevel VERBOSE
Subsystem sftp internal-sftp -u 0000
""")
        return [self.program, "-D", "-f", configuration, "-E", self.log]

    def known_hosts(self, name, key):
        algorithm, encoded = self.public(key).read_text().split()[:2]
        path = self.folder / name
        path.write_text("".join(f"[{host}]:{self.port} {algorithm} {encoded}\n"
                                for host in (self.loopback.address, "localhost")))
        return self.run.give(path, 0o644)

    def description(self):
        fingerprint = run_program("ssh-keygen", "-l", "-E", "sha256", "-f",
                                  self.public(self.host_key)).split()[1]
        return {
            **super().description(),
            "known_hosts": self.known_hosts("known_hosts", self.host_key),
            "wrong_known_hosts": self.known_hosts("wrong_known_hosts", self.other_host_key),
            "host_key_sha256": fingerprint.removeprefix("SHA256:"),
            "private_key": self.private_key,
            "public_key": self.public(self.private_key),
            "encrypted_private_key": self.encrypted_private_key,
            "encrypted_public_key": self.public(self.encrypted_private_key),
            "passphrase": self.passphrase,
            "unknown_private_key": self.unknown_private_key,
        }
