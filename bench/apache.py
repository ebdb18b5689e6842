"""An Apache with mod_dav on a free loopback port over a temporary folder, for the comparisons."""

import getpass
import grp
import os
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

MODULES = "/usr/lib/apache2/modules"

CONFIG = """
ServerRoot "{folder}"
ServerName 127.0.0.1
Listen 127.0.0.1:{port}
PidFile "{folder}/apache.pid"
ErrorLog "{folder}/error.log"
LoadModule mpm_event_module {modules}/mod_mpm_event.so
LoadModule authz_core_module {modules}/mod_authz_core.so
LoadModule dav_module {modules}/mod_dav.so
LoadModule dav_fs_module {modules}/mod_dav_fs.so
{tls}
User {user}
Group {group}
KeepAlive On
MaxKeepAliveRequests 0
KeepAliveTimeout 60
LimitRequestBody 0
DAVLockDB "{folder}/lock/db"
DocumentRoot "{folder}/files"
<Directory "{folder}/files">
  Dav On
  Require all granted
</Directory>
"""

TLS = """
LoadModule socache_shmcb_module {modules}/mod_socache_shmcb.so
LoadModule ssl_module {modules}/mod_ssl.so
SSLEngine on
SSLCertificateFile "{folder}/cert.pem"
SSLCertificateKeyFile "{folder}/key.pem"
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Apache:
    def __init__(self, folder, tls=False):
        self.folder = Path(folder)
        self.files = self.folder / "files"
        self.tls = tls
        self.port = free_port()
        self.user, self.group = self._owner()
        for path in (self.folder, self.files, self.folder / "lock"):
            path.mkdir(parents=True, exist_ok=True)
            path.chmod(0o755)
            self.own(path)
        if tls:
            self._make_certificate()
        config = CONFIG.format(
            folder=self.folder, port=self.port, modules=MODULES, user=self.user, group=self.group,
            tls=TLS.format(modules=MODULES, folder=self.folder) if tls else "")
        (self.folder / "apache.conf").write_text(config)
        self.process = subprocess.Popen(
            ["/usr/sbin/apache2", "-f", str(self.folder / "apache.conf"), "-DFOREGROUND"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self._wait_until_up()

    @property
    def url(self):
        return f"{'https' if self.tls else 'http'}://127.0.0.1:{self.port}/"

    def own(self, path):
        shutil.chown(path, self.user, self.group)

    def collection(self, name):
        """A folder on the server, made beside it; its URL."""
        (self.files / name).mkdir()
        self.own(self.files / name)
        return f"{self.url}{name}/"

    def stop(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait(timeout=30)

    @staticmethod
    def _owner():
        """Apache refuses to serve as root; its folders then belong to www-data."""
        if os.getuid() == 0:
            return "www-data", "www-data"
        return getpass.getuser(), grp.getgrgid(os.getgid()).gr_name

    def _make_certificate(self):
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1",
             "-addext", "subjectAltName=IP:127.0.0.1",
             "-keyout", self.folder / "key.pem", "-out", self.folder / "cert.pem"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def _wait_until_up(self):
        for _ in range(500):
            with socket.socket() as probe:
                if probe.connect_ex(("127.0.0.1", self.port)) == 0:
                    return
            time.sleep(0.02)
        raise RuntimeError("Apache did not start: " + (self.folder / "error.log").read_text())
