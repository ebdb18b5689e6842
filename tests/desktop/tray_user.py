"""The person of the story: the configuration and both folders at hand, the program started and asked how it does."""

import json
import subprocess
import time

from desktop import Desktop, Processes, Server, wait_for

# The status item's menu, one key press down for each entry.
SYNC_ALL, LIST_ALL, SYNC_ONE, LIST_ONE, SETTINGS, MAINTENANCE, VERSION, QUIT = (["Down"] * n for n in range(1, 9))
PROGRESS = "Synchronization"


class TrayUser:
    def __init__(self, tidemark, tray, devserver, folder, shots):
        self.tidemark, self.tray = tidemark, tray
        self.config = folder / "config"
        self.processes = Processes(folder)
        self.program = None
        try:
            self.server = Server(self.processes, devserver, folder, "anna")
            self.desktop = Desktop(self.processes, shots)
        except BaseException:
            self.processes.report()
            self.processes.end()
            raise
        self.remote = self.server.root / "documents"
        self.local, self.photos, self.logs = folder / "Documents", folder / "Photos", folder / "Logs"

    def command(self, *arguments, fails=False):
        done = subprocess.run([self.tidemark, "--config-dir", str(self.config), *arguments], capture_output=True,
                              text=True, timeout=60)
        assert fails or done.returncode == 0, (arguments, done.stderr)
        return done

    def state(self):
        """What the program says of itself; nothing while it does not run."""
        done = self.command("status", "--json", fails=True)
        return json.loads(done.stdout) if done.returncode == 0 else {}

    def begin(self):
        self.page = 0
        self.program = self.processes.start(self.tray, "--config-dir", str(self.config))
        wait_for("the application", self.state)
        wait_for("its place in the status area", self.desktop.has_status_item)

    def ended(self):
        assert self.program.wait(timeout=60) == 0, self.program.returncode
        assert not self.state()
        assert not (said := self.program.said.read_text()), said

    def idle(self):
        wait_for("the end of the run", lambda: self.state().get("state") == "idle")
        self.desktop.gone(PROGRESS)

    def watches(self):
        return any(one["watcher"] == "watching" for one in self.state().get("configurations", []))

    def arrives(self, name, idle=True):
        wait_for(f"{name} on the server", lambda: (self.remote / name).exists())
        if idle:
            self.idle()

    def both_sides(self):
        def files(folder):
            paths = (path for path in folder.rglob("*") if path.is_file())
            return {str(path.relative_to(folder)): path.read_bytes() for path in paths}
        return files(self.local), files(self.remote)

    def open_settings(self, shot):
        self.desktop.choose(*SETTINGS, "Return")
        self.desktop.use("Settings")
        self.desktop.shot(shot)

    def turn_to(self, page):
        """To a page of the settings, from where they were left: into one of its fields and on from there."""
        inside = ("alt+m", "alt+p", "alt+i", "alt+f")[self.page]
        self.desktop.keys(inside, *["ctrl+Tab"] * ((page - self.page) % 4))
        self.page = page

    def in_step(self):
        local, remote = self.both_sides()
        assert local == remote, (sorted(local), sorted(remote))
        return local

    def maintain(self, number, title, *answer, shot=None):
        self.desktop.choose(*MAINTENANCE, "Right", *["Down"] * number, "Return", shot=shot)
        self.desktop.use(title)
        self.desktop.shot(title.lower())
        self.desktop.keys(*answer)
        self.desktop.gone(title)

    @staticmethod
    def soon_due():
        """The beginning of a minute that is not upon us yet, whatever the machine is busy with."""
        return time.localtime(time.time() + 78 if time.localtime().tm_sec > 42 else time.time() + 60)
