"""Certificates for servers that offer TLS."""

from .programs import run_program

NEW_KEY = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-noenc", "-days", "2")


class WithCertificates:
    """Before a class of servers: gives them a certificate for loopback, and clients the CA that
    has signed it and another one that has not."""

    def prepare(self):
        super().prepare()
        self.ca_file, ca_key = self.make_ca("ca")
        self.other_ca_file, _ = self.make_ca("other-ca")
        self.certificate, self.key = self.make_certificate(self.ca_file, ca_key)

    def make_ca(self, name):
        certificate, key = self.folder / f"{name}.pem", self.folder / f"{name}.key"
        run_program("openssl", "req", "-x509", *NEW_KEY, "-subj", f"/CN=tarnix test {name}",
                    "-addext", "keyUsage=critical,keyCertSign,cRLSign",
                    "-keyout", key, "-out", certificate)
        return self.run.give(certificate, 0o644), key

    def make_certificate(self, ca_file, ca_key):
        certificate, key = self.folder / "server.pem", self.folder / "server.key"
        run_program("openssl", "req", "-x509", "-CA", ca_file, "-CAkey", ca_key, *NEW_KEY,
                    "-subj", "/CN=localhost", "-addext", "basicConstraints=critical,CA:FALSE",
                    "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1,IP:::1",
                    "-keyout", key, "-out", certificate)
        return certificate, key

    def description(self):
        return {**super().description(), "ca_file": self.ca_file,
                "other_ca_file": self.other_ca_file}
