"""A screen of its own with a real status area, the hands of the person in front of it, and the development server."""

import os
import shutil
import subprocess
import time
import urllib.request
from pathlib import Path

NEEDED = ("Xvfb", "openbox", "trayer", "xdotool", "import")
STEP = 0.05
PATIENCE = 1200
TRIES = 5


def missing():
    return [program for program in NEEDED if not shutil.which(program)]


def run(*command, check=False):
    done = subprocess.run(command, capture_output=True, text=True, timeout=60)
    if check and done.returncode != 0:
        raise SystemExit(f"{command} ended with {done.returncode}: {done.stderr}")
    return done.stdout.strip()


def soon(condition, looks=20):
    for _ in range(looks):
        if condition():
            return True
        time.sleep(STEP)
    return False


def wait_for(what, condition, looks=PATIENCE):
    if not soon(condition, looks):
        raise SystemExit(f"waited in vain for {what}")


class Processes:
    """What is started here is ended here, by its number."""

    def __init__(self, folder):
        self.folder = folder
        self.all = []

    def start(self, *command, **options):
        path = self.folder / f"{len(self.all):02}-{Path(command[0]).name}.log"
        with open(path, "wb") as log:
            process = subprocess.Popen(command, stdout=log, stderr=log, stdin=subprocess.DEVNULL, **options)
        process.said = path
        self.all.append(process)
        return process

    def report(self):
        for process in self.all:
            print(f"--- {process.said.name}, {process.poll()}\n{process.said.read_text(errors='replace')[-2000:]}")

    def end(self):
        for process in reversed(self.all):
            if process.poll() is not None:
                continue
            process.terminate()
            try:
                process.wait(timeout=30)
            except subprocess.TimeoutExpired:
                process.kill()


class Desktop:
    """The screen, and what a person does in front of it."""

    def __init__(self, processes, shots):
        self.shots = shots
        self.taken = 0
        display, end = os.pipe()
        # Without "-noreset" a look at the empty screen throws out whoever is about to come.
        processes.start("Xvfb", "-noreset", "-displayfd", str(end), "-screen", "0", "1280x800x24", pass_fds=(end,))
        os.close(end)
        with os.fdopen(display) as numbers:
            os.environ["DISPLAY"] = ":" + numbers.readline().strip()
        processes.start("openbox")
        wait_for("the window manager", lambda: run("xdotool", "get_desktop"))
        processes.start("trayer", "--SetDockType", "true", "--edge", "top", "--align", "right", "--widthtype",
                        "request", "--height", "24", "--monitor", "primary")
        wait_for("the status area", lambda: run("xdotool", "search", "--class", "trayer"))

    def shot(self, name):
        """A picture of the screen once two looks at it are the same, or nearly: a countdown never stands still."""
        picture = self.picture()
        for _ in range(TRIES):
            before, picture = picture, self.picture()
            if picture and picture == before:
                break
            time.sleep(STEP)
        self.taken += 1
        (self.shots / f"{self.taken:02} {name}.png").write_bytes(picture)

    def picture(self):
        """Nothing when a window went away under the look at it."""
        return subprocess.run(["import", "-window", "root", "-define", "png:exclude-chunks=date,time", "png:-"],
                              capture_output=True, timeout=60).stdout

    def windows(self, title):
        """The visible windows with this title, which the program's name may follow."""
        return run("xdotool", "search", "--onlyvisible", "--name", f"^{title}( — Tidemark)?$").split()

    def active(self):
        return run("xdotool", "getactivewindow")

    def use(self, title):
        """Waits for a window and gives it the keyboard."""
        def has_keyboard():
            ids = self.windows(title)
            if ids and self.active() in ids:
                return True
            if ids:
                run("xdotool", "windowactivate", ids[-1])
            return False
        wait_for(f"the window “{title}”", has_keyboard)

    def gone(self, title):
        wait_for(f"the end of the window “{title}”", lambda: not self.windows(title))

    def keys(self, *keys):
        run("xdotool", "key", "--clearmodifiers", *keys, check=True)

    def corner(self, title, corner):
        """What that corner of the window ("SouthEast") looks like; nothing when the window has just gone."""
        return subprocess.run(["import", "-window", (self.windows(title) or ["none"])[-1], "-gravity", corner, "-crop",
                               "160x60+0+0", "rgb:-"], capture_output=True, timeout=60).stdout

    def press_and_see(self, title, corner, *keys):
        """Presses keys and waits until that corner of the window looks different."""
        before = self.corner(title, corner)
        self.keys(*keys)
        wait_for(f"a change in “{title}”", lambda: self.corner(title, corner) not in (b"", before))

    def type(self, text):
        run("xdotool", "type", "--clearmodifiers", text, check=True)

    def fill(self, *texts):
        """Writes over one field after the other, and stays in the last."""
        for number, text in enumerate(texts):
            self.keys(*(["Tab"] if number else []), "ctrl+a")
            self.type(text)

    def panel(self):
        """Where the status area is, and how large."""
        ids = run("xdotool", "search", "--onlyvisible", "--class", "trayer").splitlines()
        lines = run("xdotool", "getwindowgeometry", "--shell", ids[-1]).splitlines() if ids else []
        return {"WIDTH": 0, **{key: int(value) for key, value in (line.split("=") for line in lines)}}

    def has_status_item(self):
        return self.panel()["WIDTH"] >= 20

    def menus(self):
        return run("xdotool", "search", "--onlyvisible", "--class", "tidemark-tray").split()

    def choose(self, *keys, shot=None):
        """Opens the status item's menu and goes through it with the keyboard."""
        # A window that comes or goes at that moment closes the menu: a person clicks again, too.
        before = self.menus()
        for _ in range(TRIES):
            panel = self.panel()
            run("xdotool", "mousemove", str(panel["X"] + 12), str(panel["Y"] + 12), "click", "3", check=True)
            if soon(lambda: self.menus() != before):
                break
            before = self.menus()
        else:
            raise SystemExit("the menu does not open")
        self.keys(*keys[:-1])
        if shot:
            self.shot(shot)
        self.keys(keys[-1])


class Server:
    """The development server, which always comes back at the same address."""

    def __init__(self, processes, program, folder, user):
        self.processes, self.program, self.user = processes, program, user
        self.root = folder / "server"
        self.root.mkdir()
        self.port_file, self.password_file = folder / "port", folder / "password"
        self.port, self.process = "0", None

    def start(self, password=None):
        """With the last password unless there is a new one."""
        if password:
            self.password_file.write_text(password)
        self.port_file.unlink(missing_ok=True)
        self.process = self.processes.start(
            self.program, "--root", str(self.root), "--port", self.port, "--port-file", str(self.port_file),
            "--product", "--control", "--auth", "basic", "--user", self.user,
            "--password-file", str(self.password_file))
        wait_for("the server", lambda: self.port_file.exists() and self.port_file.read_text().strip())
        self.port = self.port_file.read_text().strip()
        self.url = f"http://127.0.0.1:{self.port}"

    def stop(self):
        self.process.terminate()
        self.process.wait(timeout=30)

    def control(self, method, what, body=None):
        request = urllib.request.Request(f"{self.url}/.devserver/{what}", data=body and body.encode(), method=method)
        with urllib.request.urlopen(request, timeout=30) as answer:
            return answer.read().decode()

    def slow(self, method, milliseconds):
        self.control("POST", "fault", f"{method}:*:*:delay={milliseconds}\n")

    def release(self):
        self.control("DELETE", "fault")

    def requests(self):
        return self.control("GET", "requests").splitlines()
