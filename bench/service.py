"""The service that watches: how soon a saved file is on the server, what watching and idling cost."""

import glob
import json
import os
import random
import signal
import socket
import statistics
import subprocess
import time
from pathlib import Path

from apache import Apache

ARRIVALS = 200
WATCHED_FOLDERS = 100_000
IDLE_SECONDS = 60
IDLE_GOAL = 0.1  # seconds of processor time in a minute
WATCH_LIMIT = Path("/proc/sys/fs/inotify/max_user_watches")
PATIENCE = 120


def read_status(config):
    """What the program that serves a configuration directory tells of itself, or nothing."""
    for path in glob.glob(f"{config}/run/status-*[!w]"):
        try:
            with socket.socket(socket.AF_UNIX) as client:
                client.connect(path)
                return json.loads(b"".join(iter(lambda: client.recv(65536), b"")))
        except (OSError, ValueError):
            return None
    return None


class Service:
    """`tidemark run`, from its start to the moment when it watches everything."""

    def __init__(self, bench):
        self.config = bench.folder / "config"
        begin = time.perf_counter()
        self.process = subprocess.Popen([bench.tidemark, "run", "--quiet", "--config-dir", self.config])
        while not self.watches():
            if self.process.poll() is not None or time.perf_counter() - begin > PATIENCE:
                raise SystemExit("the service does not come to watch")
            time.sleep(0.001)
        self.start_seconds = time.perf_counter() - begin

    def watches(self):
        status = read_status(self.config)
        if not status:
            return False
        states = {c["watcher"] for c in status["configurations"] if c["enabled"]}
        if states - {"off", "watching"}:
            raise SystemExit(f"not watched: {states}")
        return states == {"watching"}

    def megabytes(self):
        for line in Path(f"/proc/{self.process.pid}/status").read_text().splitlines():
            if line.startswith("VmRSS"):
                return int(line.split()[1]) / 1024
        return 0.0

    def processor_seconds(self):
        """Of all threads, in nanoseconds' resolution where the system has it."""
        try:
            return sum(int(Path(task, "schedstat").read_text().split()[0])
                       for task in glob.glob(f"/proc/{self.process.pid}/task/*")) / 1e9
        except OSError:
            fields = Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")", 1)[1].split()
            return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def end(self):
        self.process.send_signal(signal.SIGTERM)
        self.process.wait()


def configure(bench, name, server, local, watched=True):
    local.mkdir(exist_ok=True)
    bench.configure(name, server.collection(name), local, "--autosync", "yes" if watched else "no")


def wait_for(path, size):
    while True:
        try:
            if path.stat().st_size == size:
                return time.perf_counter()
        except FileNotFoundError:
            pass
        time.sleep(0.0005)


def arrivals(bench):
    """From the close of a file to its whole content on the server, at random moments of the service's second."""
    server = Apache(bench.folder / "server")
    local = bench.folder / "local"
    configure(bench, "work", server, local)
    service = Service(bench)
    count = ARRIVALS // 10 if bench.quick else ARRIVALS
    content = os.urandom(4096)
    seconds = []
    try:
        for n in range(count):
            time.sleep(random.random())
            with open(local / f"file {n}", "wb") as out:
                out.write(content)
            closed = time.perf_counter()
            seconds.append(wait_for(server.files / "work" / f"file {n}", len(content)) - closed)
    finally:
        service.end()
        server.stop()
    print(f"{'close to arrival, ' + str(count) + ' files':<34} median {statistics.median(seconds):6.3f} s   "
          f"worst {max(seconds):6.3f} s   floor of a check a second: median  0.500 s   worst  1.000 s", flush=True)


def raise_watch_limit(needed):
    """The limit as it was, or nothing where it is high enough."""
    before = int(WATCH_LIMIT.read_text())
    if before >= needed:
        return None
    try:
        WATCH_LIMIT.write_text(str(needed))
    except OSError:
        raise SystemExit(f"fs.inotify.max_user_watches is {before}: as root, sysctl fs.inotify.max_user_watches={needed}")
    return before


def idle(bench, service, what):
    seconds = IDLE_SECONDS // 10 if bench.quick else IDLE_SECONDS
    before = service.processor_seconds()
    time.sleep(seconds)
    used = (service.processor_seconds() - before) * IDLE_SECONDS / seconds
    verdict = "reached" if used < IDLE_GOAL else f"MISSED, goal {IDLE_GOAL}"
    print(f"{'idle, ' + what:<34} processor {used:6.3f} s in a minute   {verdict}", flush=True)


def watching(bench):
    count = WATCHED_FOLDERS // 10 if bench.quick else WATCHED_FOLDERS
    server = Apache(bench.folder / "server")
    small, large = bench.folder / "small", bench.folder / "large"
    configure(bench, "small", server, small)
    service = Service(bench)
    alone = service.megabytes()
    print(f"{'watching 1 folder':<34} start {service.start_seconds:8.3f} s   memory {alone:6.1f} MB", flush=True)
    idle(bench, service, "1 folder watched")
    service.end()

    for n in range(count // 100):
        for m in range(99):
            (large / f"folder {n:04d}" / f"folder {m:02d}").mkdir(parents=True)
    configure(bench, "large", server, large)
    limit = raise_watch_limit(count + 1000)
    try:
        service = Service(bench)
        print(f"{'watching ' + str(count) + ' folders':<34} start {service.start_seconds:8.3f} s   "
              f"memory {service.megabytes():6.1f} MB   {(service.megabytes() - alone) * 1024 * 1024 / count:.0f} "
              f"bytes a folder", flush=True)
        idle(bench, service, f"{count} folders watched")
        service.end()
    finally:
        if limit is not None:
            WATCH_LIMIT.write_text(str(limit))
        server.stop()
