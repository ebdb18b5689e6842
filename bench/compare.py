#!/usr/bin/env python3
"""The comparisons of bench/run.sh: every figure of ours stands beside another program's from the same run."""

import argparse
import filecmp
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
from apache import Apache  # noqa: E402
import desktop  # noqa: E402
from measure import row, run  # noqa: E402
from service import arrivals, watching  # noqa: E402

FOLDERS, FILES_PER_FOLDER, FILE_SIZE = 100, 100, 4096
BIG = 1 << 30
KEY = "a key of the benchmark"
PROPPATCH = ('<?xml version="1.0" ?><D:propertyupdate xmlns:D="DAV:" xmlns:Z="http://www.marlock.example/ns/webdav">'
             '<D:set><D:prop><Z:SyncDate>Sun, 15 Nov 2026 10:00:00 +0000</Z:SyncDate></D:prop></D:set>'
             '</D:propertyupdate>')


class Bench:
    """What every comparison needs: the programs, a temporary folder, the sizes."""

    def __init__(self, build, folder, quick):
        self.build = build
        self.tidemark = build / "src" / "tidemark"
        self.tray = build / "src" / "tidemark-tray"
        self.folder = folder
        self.quick = quick
        self.folders = FOLDERS // 10 if quick else FOLDERS
        self.big = BIG // 10 if quick else BIG

    def configure(self, name, server_url, local, *options, key=None):
        if key:
            options = (*options, "--key-stdin")
        subprocess.run([self.tidemark, "config", "create", name, "--url", server_url, "--local", local,
                        "--config-dir", self.folder / "config", "--on-conflict", "upload",
                        "--on-server-delete", "delete", "--on-local-delete", "delete", *options],
                       check=True, stdout=subprocess.DEVNULL, input=f"{key}\n" if key else "", text=True)

    def sync(self, name):
        return run([self.tidemark, "sync", name, "--quiet", "--config-dir", self.folder / "config"])

    def rclone(self, url, *arguments):
        return run(["rclone", *arguments, "--webdav-url", url, "--webdav-vendor", "other"],
                   env={**os.environ, "RCLONE_CONFIG": "/dev/null"})

    def curl(self, entries):
        """One curl process, one connection, the requests in order."""
        config = self.folder / "curl.config"
        common = "silent\nshow-error\nfail\n"
        config.write_text("\nnext\n".join(common + entry for entry in entries) + "\n")
        return run(["curl", "-K", config])


def files_of(tree):
    return sorted(p for p in tree.rglob("*") if p.is_file())


def make_tree(root, folders):
    content = os.urandom(FILE_SIZE)
    for f in range(folders):
        folder = root / f"folder {f:03d}"
        folder.mkdir(parents=True)
        for n in range(FILES_PER_FOLDER):
            (folder / f"file {n:03d}.bin").write_bytes(content)
    return root


def make_big_file(path, size):
    with open(path, "wb") as out:
        for _ in range(size >> 20):
            out.write(os.urandom(1 << 20))


def escaped(path):
    return str(path).replace(" ", "%20")


def curl_up(url, tree):
    body = PROPPATCH.replace('"', '\\"')
    for folder in sorted(p for p in tree.iterdir() if p.is_dir()):
        yield f'url = "{url}{escaped(folder.name)}/"\nrequest = "MKCOL"\noutput = "/dev/null"'
    for path in files_of(tree):
        target = url + escaped(path.relative_to(tree))
        yield f'url = "{target}"\nupload-file = "{path}"\noutput = "/dev/null"'
        yield f'url = "{target}"\nrequest = "PROPPATCH"\ndata = "{body}"\noutput = "/dev/null"'


def curl_down(url, tree, target):
    for path in files_of(tree):
        name = path.relative_to(tree)
        yield f'create-dirs\nurl = "{url}{escaped(name)}"\noutput = "{target / name}"'


def in_turns(*runs, rounds=3):
    """Of each the run that took the middle time."""
    done = [[run() for run in runs] for _ in range(rounds)]
    return [sorted(of_one, key=lambda run: run.seconds)[rounds // 2] for of_one in zip(*done)]


def many_files(bench):
    tree = make_tree(bench.folder / "many", bench.folders)
    count = bench.folders * FILES_PER_FOLDER
    server = Apache(bench.folder / "server")
    try:
        ours = server.collection("ours")
        curls = server.collection("curls")
        rclones = server.collection("rclones")

        bench.configure("up", ours, tree)
        up = bench.sync("up")
        row(f"{count} files up", up, bench.curl(curl_up(curls, tree)), "curl", 1.3)
        row(f"{count} files up", up, bench.rclone(rclones, "sync", str(tree), ":webdav:"), "rclone")

        # In turns: the first run after so many uploads waits for the disk, whoever makes it.
        quiet, rclone_quiet = in_turns(lambda: bench.sync("up"),
                                       lambda: bench.rclone(rclones, "sync", str(tree), ":webdav:"))
        row("nothing changed", quiet, rclone_quiet, "rclone", 0.5)

        target = bench.folder / "down"
        for name in ("ours", "curl", "rclone"):
            (target / name).mkdir(parents=True)
        bench.configure("down", ours, target / "ours")
        down = bench.sync("down")
        row(f"{count} files down", down, bench.curl(curl_down(ours, tree, target / "curl")), "curl", 1.5)
        row(f"{count} files down", down, bench.rclone(ours, "sync", ":webdav:", str(target / "rclone")), "rclone")

        peak = max(up.megabytes, quiet.megabytes, down.megabytes)
        print(f"peak memory of tidemark {peak:.1f} MB{'  reached' if peak < 40 else '  MISSED, goal 40'}", flush=True)
    finally:
        server.stop()


def big_file(bench):
    server = Apache(bench.folder / "server")
    source, target = bench.folder / "big-up", bench.folder / "big-down"
    source.mkdir()
    target.mkdir()
    make_big_file(source / "big.bin", bench.big)
    size = f"one file of {bench.big >> 20} MiB"
    try:
        ours, theirs = server.collection("ours"), server.collection("theirs")
        bench.configure("big-up", ours, source)
        up = bench.sync("big-up")
        row(f"{size} up", up, bench.curl(
            [f'url = "{theirs}big.bin"\nupload-file = "{source}/big.bin"\noutput = "/dev/null"']), "curl", 1.1)
        bench.configure("big-down", ours, target)
        down = bench.sync("big-down")
        row(f"{size} down", down, bench.curl([f'url = "{ours}big.bin"\noutput = "{bench.folder}/curl.bin"']),
            "curl", 1.1)
    finally:
        server.stop()


def requests(bench):
    """Small requests on one connection; 0.8 of another's rate is 1.25 of its time."""
    count = 1000 if bench.quick else 10000
    for tls in (False, True):
        server = Apache(bench.folder / f"server-{tls}", tls)
        try:
            url = server.collection("files") + "small"
            (server.files / "files" / "small").write_text("small")
            ours = run([bench.build / "bench" / "bench_requests", url, str(count)])
            theirs = bench.curl([f'url = "{url}"\nhead\ninsecure\noutput = "/dev/null"'] * count)
            row(f"{count} requests, {'https' if tls else 'http'}", ours, theirs, "curl", 1.25)
        finally:
            server.stop()


def crypto(bench):
    """What encryption adds to one big file."""
    server = Apache(bench.folder / "server")
    source = bench.folder / "crypto-up"
    source.mkdir()
    make_big_file(source / "big.bin", bench.big)
    size = f"one file of {bench.big >> 20} MiB"
    try:
        up, down = {}, {}
        for name, key in (("plain", None), ("encrypted", KEY)):
            url = server.collection(name)
            bench.configure(f"up-{name}", url, source, key=key)
            up[name] = bench.sync(f"up-{name}")
            target = bench.folder / f"down-{name}"
            target.mkdir()
            bench.configure(f"down-{name}", url, target, key=key)
            down[name] = bench.sync(f"down-{name}")
            if not filecmp.cmp(source / "big.bin", target / "big.bin", shallow=False):
                raise SystemExit(f"{name}: what came back is not what went up")
            shutil.rmtree(target)
        row(f"{size} up, encrypted", up["encrypted"], up["plain"], "plain", 1.25)
        row(f"{size} down, decrypted", down["encrypted"], down["plain"], "plain", 1.25)
    finally:
        server.stop()


def aes_streams(bench):
    """The streams alone; 0.8 of another's throughput is 1.25 of its time."""
    plain, cipher, target = (bench.folder / name for name in ("plain", "cipher", "target"))
    make_big_file(plain, bench.big)
    padded = KEY.encode().ljust(32, b"\0").hex()
    openssl = ["openssl", "enc", "-aes-256-cbc", "-K", padded, "-iv", padded[:32]]
    subprocess.run([*openssl, "-in", plain, "-out", cipher], check=True)
    ours = bench.build / "bench" / "bench_aes"
    size = f"{bench.big >> 20} MiB"
    row(f"{size} encrypted", run([ours, "encrypt", plain, KEY]), run([*openssl, "-in", plain, "-out", "/dev/null"]),
        "openssl", 1.25)
    mine = run([ours, "decrypt", cipher, KEY, target])
    if not filecmp.cmp(plain, target, shallow=False):
        raise SystemExit("what was decrypted is not what was encrypted")
    target.unlink()
    row(f"{size} decrypted", mine, run([*openssl, "-d", "-in", cipher, "-out", target]), "openssl", 1.25)


def micro(bench):
    subprocess.run([bench.build / "bench" / "bench_micro"], check=True)


def cancel(bench):
    """How soon a cancel from another thread ends a request that stands still."""
    subprocess.run([bench.build / "bench" / "bench_cancel", "20" if bench.quick else "200"], check=True)


BENCHES = {"micro": [micro], "sync": [many_files, big_file], "requests": [requests], "cancel": [cancel],
           "crypto": [aes_streams, crypto], "service": [arrivals, watching],
           "desktop": [desktop.start, desktop.memory, desktop.main_loop]}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=Path, required=True)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("names", nargs="*")
    arguments = parser.parse_args()
    unknown = set(arguments.names) - set(BENCHES)
    if unknown:
        parser.error(f"no such benchmark: {', '.join(sorted(unknown))} (there are {', '.join(BENCHES)})")
    for name in arguments.names or BENCHES:
        for bench in BENCHES[name]:
            with tempfile.TemporaryDirectory(prefix="tidemark-bench-") as folder:
                path = Path(folder)
                path.chmod(0o755)
                bench(Bench(arguments.build.resolve(), path, arguments.quick))


if __name__ == "__main__":
    main()
