"""The desktop application on a screen of its own with a real status area: its start, its memory, how long its main loop
ever keeps from answering."""

import os
import re
import shutil
import signal
import statistics
import subprocess
import time
from pathlib import Path

from apache import Apache
from service import read_status

NEEDED = ("Xvfb", "openbox", "trayer", "xdotool", "xev", "stdbuf", "yad")
STARTS = 10
CONFIGURATIONS = 20
FOLDERS_WATCHED = 100  # below each configuration's folder
START_GOAL = 0.5  # seconds
MEMORY_FILES = 100_000
MEMORY_GOAL = 120  # MB
SETTLING_SECONDS = 3
LOOP_FILES = 10_000
LOOP_GOAL = 100  # milliseconds
FILES_PER_FOLDER = 100
ICON_WIDTH = 16
PATIENCE = 1800
KEY_PRESSES = 5


class Screen:
    """Xvfb, a window manager and a status area; ended with the block."""

    def __enter__(self):
        missing = [program for program in NEEDED if not shutil.which(program)]
        if missing:
            raise SystemExit(f"not installed: {', '.join(missing)}")
        self.processes = []
        numbers, end = os.pipe()
        self.start("Xvfb", "-displayfd", str(end), "-screen", "0", "1280x800x24", pass_fds=(end,))
        os.close(end)
        with os.fdopen(numbers) as display:
            self.environment = {**os.environ, "DISPLAY": ":" + display.readline().strip(), "LC_ALL": "C.UTF-8"}
        self.start("openbox")
        self.start("trayer", "--SetDockType", "true", "--edge", "top", "--align", "right", "--widthtype", "request",
                   "--height", "24", "--monitor", "primary")
        self.area = wait_for("the status area", lambda: self.windows("--class", "trayer"))[-1]
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.terminate()
            process.wait()

    def start(self, *command, **options):
        environment = getattr(self, "environment", os.environ)
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=environment,
                                   **options)
        self.processes.append(process)
        return process

    def tool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env=self.environment, capture_output=True, text=True).stdout

    def windows(self, *how):
        return self.tool("search", *how).split()

    def width_of_area(self):
        return int(re.search(r"WIDTH=(\d+)", self.tool("getwindowgeometry", "--shell", self.area)).group(1))

    def seconds_to_icon(self, command):
        """From the start of a program to the moment when the status area has grown by its icon; its end is waited for,
        too."""
        wait_for("an empty status area", lambda: self.width_of_area() < ICON_WIDTH)
        with subprocess.Popen(["stdbuf", "-oL", "xev", "-id", self.area, "-event", "structure"], env=self.environment,
                              stdout=subprocess.PIPE, text=True) as events:
            begin = time.perf_counter()
            program = subprocess.Popen(command, env=self.environment, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
            try:
                for line in events.stdout:
                    width = re.search(r"width (\d+)", line)
                    if width and int(width.group(1)) >= ICON_WIDTH:
                        return time.perf_counter() - begin
            finally:
                program.terminate()
                program.wait()
                events.terminate()


def soon(condition, seconds):
    begin = time.perf_counter()
    while time.perf_counter() - begin < seconds:
        if answer := condition():
            return answer
        time.sleep(0.05)
    return None


def wait_for(what, condition):
    if answer := soon(condition, PATIENCE):
        return answer
    raise SystemExit(f"waited in vain for {what}")


def verdict(reached, goal):
    return "reached" if reached else f"MISSED, goal {goal}"


def start(bench):
    count = STARTS // 5 if bench.quick else STARTS
    for n in range(CONFIGURATIONS):
        local = bench.folder / f"local {n}"
        for m in range(FOLDERS_WATCHED):
            (local / f"folder {m}").mkdir(parents=True)
        bench.configure(f"configuration {n}", f"http://127.0.0.1:9/{n}/", local, "--autosync", "yes")
    command = [bench.tray, "--config-dir", bench.folder / "config"]
    with Screen() as screen:
        rounds = [(screen.seconds_to_icon(command), screen.seconds_to_icon(["yad", "--notification"]))
                  for _ in range(count)]
    ours, theirs = ([pair[side] for pair in rounds] for side in (0, 1))
    print(f"{f'start to status item, {CONFIGURATIONS} set up':<34} median {statistics.median(ours):6.3f} s   "
          f"worst {max(ours):6.3f} s   yad median {statistics.median(theirs):6.3f} s   worst {max(theirs):6.3f} s   "
          f"{verdict(statistics.median(ours) < START_GOAL, START_GOAL)}", flush=True)


class WatchedRun:
    """A run at the application's start, with the progress window and its details shown to the end of the run."""

    def __init__(self, bench, screen, program):
        self.bench, self.screen = bench, screen
        self.config = bench.folder / "config"
        for key, value in (("BXSYNC_SYNC_ON_STARTUP", "yes"), ("BXSYNC_HIDE_PROGRESS_DIALOG", "no")):
            subprocess.run([bench.tidemark, "settings", "set", key, value, "--config-dir", self.config], check=True)
        begin = time.perf_counter()
        self.process = subprocess.Popen([program, "--config-dir", self.config], env=screen.environment,
                                        stdout=subprocess.PIPE, text=True)
        self.show_details()
        wait_for("the end of the run", self.result)
        self.seconds = time.perf_counter() - begin
        if self.result() != "done":
            raise SystemExit(f"the run ended with: {self.result()}")
        wait_for("the end of the progress window", lambda: not self.progress_windows())

    def progress_windows(self):
        return self.screen.windows("--onlyvisible", "--name", "^Synchroni")

    def show_details(self):
        """By the keyboard. They make the window higher."""
        window = wait_for("the progress window", self.progress_windows)[0]
        before = self.height(window)
        # A window that takes the keyboard at that moment takes the keys, too.
        for _ in range(KEY_PRESSES):
            self.screen.tool("windowactivate", "--sync", window, "key", "alt+d")
            if soon(lambda: self.height(window) > before, 5):
                return
        raise SystemExit("the details do not open")

    def height(self, window):
        found = re.search(r"HEIGHT=(\d+)", self.screen.tool("getwindowgeometry", "--shell", window))
        if not found:
            raise SystemExit("the run was over before its window was seen: nothing was measured")
        return int(found.group(1))

    def result(self):
        status = read_status(self.config)
        return status and status["state"] == "idle" and status["configurations"][0]["lastResult"]

    def megabytes(self):
        text = Path(f"/proc/{self.process.pid}/status").read_text()
        return tuple(int(re.search(rf"{field}:\s+(\d+)", text).group(1)) / 1024 for field in ("VmRSS", "VmHWM"))

    def end(self):
        """What the program has printed."""
        self.process.send_signal(signal.SIGTERM)
        return self.process.communicate()[0]


def make_files(root, count):
    for n in range(count // FILES_PER_FOLDER):
        folder = root / f"folder {n:04d}"
        folder.mkdir(parents=True)
        for m in range(FILES_PER_FOLDER):
            (folder / f"file {m:03d}.bin").write_bytes(b"content")


def memory(bench):
    count = MEMORY_FILES // 10 if bench.quick else MEMORY_FILES
    server = Apache(bench.folder / "server")
    local = bench.folder / "local"
    local.mkdir()
    try:
        url = server.collection("files")
        make_files(server.files / "files", count)
        bench.configure("work", url, local)
        with Screen() as screen:
            run = WatchedRun(bench, screen, bench.tray)
            time.sleep(SETTLING_SECONDS)
            after, peak = run.megabytes()
            run.end()
    finally:
        server.stop()
    print(f"{f'memory, {count} files down':<34} after {after:6.1f} MB   peak {peak:6.1f} MB   run {run.seconds:6.1f} s   "
          f"{verdict(peak < MEMORY_GOAL, MEMORY_GOAL)}", flush=True)


def main_loop(bench):
    count = LOOP_FILES // 10 if bench.quick else LOOP_FILES
    server = Apache(bench.folder / "server")
    local = bench.folder / "local"
    try:
        make_files(local, count)
        bench.configure("work", server.collection("files"), local)
        with Screen() as screen:
            run = WatchedRun(bench, screen, bench.build / "bench" / "bench_desktop")
            words = run.end().split()
    finally:
        server.stop()
    answers = dict(zip(words[::2], map(float, words[1::2])))
    print(f"{f'main loop, {count} files up':<34} median {answers['median']:6.2f} ms   "
          f"99 % {answers['percentile99']:6.2f} ms   worst {answers['worst']:6.2f} ms   run {run.seconds:6.1f} s   "
          f"{verdict(answers['worst'] < LOOP_GOAL, LOOP_GOAL)}", flush=True)
