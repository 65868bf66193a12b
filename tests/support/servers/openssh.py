"""OpenSSH: SFTP."""

from .programs import find_program
from .sftp import SftpServer


class Sshd(SftpServer):
    """For SFTP only, with a password or a key."""

    def prepare(self):
        # It starts itself again for each connection, hence the absolute path.
        self.program = find_program("sshd")
        self.run.registry.need_ssh_folder()
        super().prepare()
        self.authorized_keys = self.folder / "authorized_keys"
        self.authorized_keys.write_text(
            "".join(self.public(key).read_text() for key in self.client_keys.values()))
        self.authorized_keys.chmod(0o644)

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
