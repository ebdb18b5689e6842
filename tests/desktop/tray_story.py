#!/usr/bin/env python3
"""The desktop application as a person meets it: the real program on a screen of its own with a real status area,
driven by mouse and keyboard, against the development server. Screenshots go to a folder that is printed.

    tray_story.py TIDEMARK TIDEMARK_TRAY DEVSERVER [SCREENSHOTS]
"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

NEEDED = ("Xvfb", "openbox", "trayer", "xdotool", "xwd", "convert")
SKIPPED = 77
PATIENCE = 600
TRIES = 5


class Desktop:
    """A screen, a window manager and a status area, ended with the story."""

    def __init__(self, folder):
        self.folder = folder
        self.processes = []
        display, end = os.pipe()
        self.start("Xvfb", "-displayfd", str(end), "-screen", "0", "1280x800x24", pass_fds=(end,))
        os.close(end)
        with os.fdopen(display) as numbers:
            os.environ["DISPLAY"] = ":" + numbers.readline().strip()
        self.start("openbox")
        self.start("trayer", "--SetDockType", "true", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "24",
                   "--monitor", "primary")
        wait_for("the status area", lambda: run("xdotool", "search", "--class", "trayer"))

    def start(self, *command, **options):
        log = open(self.folder / f"{Path(command[0]).name}-{len(self.processes)}.log", "wb")
        process = subprocess.Popen(command, stdout=log, stderr=log, stdin=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def end(self):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.terminate()
                process.wait(timeout=30)


def run(*command, check=False):
    done = subprocess.run(command, capture_output=True, text=True)
    if check and done.returncode != 0:
        raise SystemExit(f"{command} ended with {done.returncode}: {done.stderr}")
    return done.stdout.strip()


def soon(condition, looks=20):
    for _ in range(looks):
        if condition():
            return True
        time.sleep(0.05)
    return False


def wait_for(what, condition):
    if not soon(condition, PATIENCE):
        raise SystemExit(f"waited in vain for {what}")


class Story:
    def __init__(self, tidemark, tray, devserver, folder, shots):
        self.tidemark, self.tray, self.folder, self.shots = tidemark, tray, folder, shots
        self.config = folder / "config"
        self.local, self.remote = folder / "local", folder / "server" / "files"
        self.local.mkdir()
        self.remote.mkdir(parents=True)
        self.desktop = Desktop(folder)
        port = folder / "port"
        self.desktop.start(devserver, "--root", str(folder / "server"), "--port", "0", "--port-file", str(port),
                           "--product")
        wait_for("the server", lambda: port.exists() and port.read_text().strip())
        self.url = f"http://127.0.0.1:{port.read_text().strip()}/files"

    def command(self, *arguments):
        return subprocess.run([self.tidemark, "--config-dir", str(self.config), *arguments], capture_output=True,
                              text=True)

    def shot(self, name):
        picture = self.shots / f"{name}.png"
        with subprocess.Popen(["xwd", "-root", "-silent"], stdout=subprocess.PIPE) as screen:
            subprocess.run(["convert", "xwd:-", str(picture)], stdin=screen.stdout, check=True)

    def window(self, title):
        return run("xdotool", "search", "--onlyvisible", "--name", title)

    def panel(self):
        """Where the status area is, and how large."""
        ids = run("xdotool", "search", "--onlyvisible", "--class", "trayer").splitlines()
        lines = run("xdotool", "getwindowgeometry", "--shell", ids[-1]).splitlines() if ids else []
        return {"WIDTH": 0, **{key: int(value) for key, value in (line.split("=") for line in lines)}}

    def choose(self, *keys):
        """Opens the status item's menu and goes through it with the keyboard."""
        def windows():
            return run("xdotool", "search", "--onlyvisible", "--class", "tidemark-tray")

        # A window that comes or goes at that moment closes the menu: a person clicks again, too.
        before = windows()
        for _ in range(TRIES):
            panel = self.panel()
            run("xdotool", "mousemove", str(panel["X"] + 12), str(panel["Y"] + 12), "click", "3", check=True)
            if soon(lambda: windows() != before):
                break
            before = windows()
        else:
            raise SystemExit("the menu does not open")
        self.shot("menu")
        run("xdotool", "key", *keys, check=True)

    def tell(self):
        created = self.command("config", "create", "work", "--url", self.url, "--local", str(self.local))
        assert created.returncode == 0, created.stderr
        (self.local / "first.txt").write_text("first")
        program = self.desktop.start(self.tray, "--config-dir", str(self.config))
        wait_for("the application", lambda: self.command("status").returncode == 0)
        wait_for("its place in the status area", lambda: self.panel()["WIDTH"] >= 20)

        self.choose("Down", "Return")
        wait_for("the file on the server", lambda: (self.remote / "first.txt").exists())
        wait_for("the end of the run", lambda: "idle" in self.command("status").stdout)
        wait_for("the end of the progress window", lambda: not self.window("Synchroni"))
        self.choose("Up", "Up", "Return")
        wait_for("the version", lambda: self.window("Tidemark"))
        self.shot("version")
        run("xdotool", "key", "Escape")

        again = subprocess.run([self.tray, "--config-dir", str(self.config)], timeout=60)
        assert again.returncode == 0, "a second start shows the first one's settings"
        refused = self.command("run")
        assert refused.returncode == 7 and "tidemark-tray" in refused.stderr, refused.stderr
        self.shot("second start")

        assert self.command("settings", "set", "BXSYNC_SYNC_ON_EXIT", "yes").returncode == 0
        (self.local / "last.txt").write_text("last")
        program.send_signal(signal.SIGTERM)
        assert program.wait(timeout=60) == 0
        assert (self.remote / "last.txt").exists(), "the last sync"
        assert self.command("status").returncode != 0


def main():
    missing = [program for program in NEEDED if not shutil.which(program)]
    if missing:
        print("skipped: not installed:", ", ".join(missing))
        return SKIPPED
    tidemark, tray, devserver = sys.argv[1:4]
    shots = Path(sys.argv[4] if len(sys.argv) > 4 else tempfile.mkdtemp(prefix="tidemark-shots-"))
    shots.mkdir(parents=True, exist_ok=True)
    print("screenshots in", shots)
    with tempfile.TemporaryDirectory(prefix="tidemark-desktop-") as name:
        folder = Path(name)
        runtime = folder / "runtime"
        runtime.mkdir(mode=0o700)
        os.environ.update(XDG_RUNTIME_DIR=str(runtime), HOME=name, LC_ALL="C.UTF-8")
        story = Story(tidemark, tray, devserver, folder, shots)
        try:
            story.tell()
        except BaseException:
            story.shot("failure")
            raise
        finally:
            story.desktop.end()
    print("the story went as told")
    return 0


if __name__ == "__main__":
    sys.exit(main())
