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

from desktop import missing, wait_for
from tray_user import LIST_ALL, LIST_ONE, PROGRESS, QUIT, SETTINGS, SYNC_ALL, SYNC_ONE, VERSION, TrayUser

SKIPPED = 77


class Story(TrayUser):
    def first_start(self):
        """Nothing is configured: the assistant asks, does not take a wrong password, and the first sync begins."""
        (self.remote / "letters").mkdir(parents=True)
        for number in range(8):
            (self.remote / "letters" / f"letter {number}.txt").write_text(f"Dear {number}")
        self.server.start("secret")
        self.begin()
        desktop = self.desktop
        desktop.use("Welcome to Tidemark")
        desktop.shot("assistant, empty")
        desktop.fill(f"{self.server.url}/documents", "anna", "wrong")
        ready = desktop.corner("Welcome to Tidemark", "SouthEast")
        desktop.keys("Return")
        wait_for("the refusal", lambda: any('"status":401' in line.replace(" ", "") for line in self.server.requests()))
        wait_for("its answer", lambda: desktop.corner("Welcome to Tidemark", "SouthEast") == ready)
        desktop.shot("assistant, wrong password")
        desktop.fill("secret")
        desktop.press_and_see("Welcome to Tidemark", "NorthWest", "Return")
        desktop.shot("assistant, folder")
        desktop.fill("Documents", str(self.local))
        desktop.press_and_see("Welcome to Tidemark", "NorthWest", "Return")
        desktop.shot("assistant, done")
        self.server.slow("GET", 1000)
        desktop.keys("Return")
        desktop.gone("Welcome to Tidemark")
        desktop.use(PROGRESS)
        desktop.shot("first sync")
        desktop.press_and_see(PROGRESS, "SouthWest", "alt+d")
        desktop.shot("first sync, details")
        self.server.release()
        wait_for("the files", lambda: self.local.is_dir() and len(self.both_sides()[0]) == 8)
        self.idle()
        self.in_step()

    def conflict(self):
        """Three files changed on both sides, one question: the answer is for all of them."""
        names = [f"letter {number}.txt" for number in range(3)]
        now = int(time.time())
        for number, name in enumerate(names):
            for side, folder, moment in (("here", self.local, now - 60), ("there", self.remote, now - 120)):
                path = folder / "letters" / name
                path.write_text(f"{number} {side}")
                os.utime(path, (moment, moment))
        self.desktop.choose(*SYNC_ALL, "Return", shot="menu")
        self.desktop.use("Conflict")
        self.desktop.shot("conflict")
        self.desktop.keys("alt+o")
        self.desktop.shot("conflict, for all that follow")
        self.desktop.keys("alt+k")
        self.idle()
        files = self.in_step()
        assert all(files[f"letters/{name}"] == f"{number} here".encode() for number, name in enumerate(names)), files

    def settings(self):
        """A log for the first configuration; a second one made after it, with a timetable of its own."""
        desktop = self.desktop
        self.open_settings("settings")
        self.turn_to(3)
        desktop.keys("alt+f")
        desktop.fill(str(self.logs))
        desktop.shot("settings, log folder")
        desktop.keys("alt+a")
        wait_for("the log folder", lambda: str(self.logs) in self.command("config", "show", "Documents").stdout)

        (self.server.root / "photos").mkdir()
        desktop.press_and_see("Settings", "NorthWest", "alt+u")
        self.page = 0
        desktop.fill("Photos", f"{self.server.url}/photos", str(self.photos))
        desktop.shot("settings, new configuration")
        self.turn_to(2)
        due = self.soon_due()
        desktop.keys("alt+e", "Tab", "Tab")
        desktop.fill(str(due.tm_min))
        desktop.keys("alt+d")
        desktop.shot("settings, timetable")
        desktop.keys("alt+a")
        wait_for("the new configuration", lambda: "Photos" in self.command("config", "list").stdout)
        schedules = self.command("config", "schedule", "Photos", "list").stdout
        assert f"{due.tm_min:02}" in schedules, schedules
        desktop.keys("Escape")
        desktop.gone("Settings")
        self.photos.mkdir(exist_ok=True)
        (self.photos / "beach.jpg").write_text("beach")

    def schedule(self):
        """Nobody asked for it but the timetable."""
        wait_for("the timetable's run", lambda: (self.server.root / "photos" / "beach.jpg").exists(), 3000)
        self.idle()
        self.open_settings("settings, two configurations")
        self.desktop.keys("alt+t")
        self.desktop.shot("settings, delete")
        self.desktop.keys("alt+y")
        wait_for("the configuration's end", lambda: "Photos" not in self.command("config", "list").stdout)
        assert (self.photos / "beach.jpg").exists() and (self.server.root / "photos" / "beach.jpg").exists()
        self.desktop.keys("Escape")
        self.desktop.gone("Settings")

    def menu(self):
        """Every entry does what it says; the maintenance has a chapter of its own."""
        desktop = self.desktop
        (self.local / "note.txt").write_text("note")
        desktop.choose(*LIST_ALL, "Return")
        desktop.use("Changes")
        desktop.shot("changes")
        desktop.keys("Escape")
        desktop.gone("Changes")
        assert not (self.remote / "note.txt").exists(), "listing changes nothing"
        desktop.choose(*LIST_ONE, "Right", "Return", shot="menu, changes of")
        desktop.use("Changes")
        desktop.keys("alt+s")
        self.arrives("note.txt")
        desktop.gone("Changes")

        (self.local / "other.txt").write_text("other")
        desktop.choose(*SYNC_ONE, "Right", "Return", shot="menu, one configuration")
        self.arrives("other.txt")

        desktop.choose(*VERSION, "Return")
        desktop.use("About Tidemark")
        desktop.shot("version")
        desktop.keys("Escape")
        desktop.gone("About Tidemark")

        self.open_settings("settings, folders")
        desktop.keys("alt+w")
        desktop.use("Logs")
        desktop.shot("log")
        desktop.keys("Escape")
        desktop.gone("Logs")
        desktop.keys("Escape")
        desktop.gone("Settings")

    def second_start(self):
        """There is one program for these configurations: the second one shows the first one's settings."""
        again = subprocess.run([self.tray, "--config-dir", str(self.config)], timeout=60)
        assert again.returncode == 0
        self.desktop.use("Settings")
        self.desktop.keys("Escape")
        self.desktop.gone("Settings")
        refused = self.command("run", fails=True)
        assert refused.returncode == 7 and "tidemark-tray" in refused.stderr, refused.stderr

    def server_restart(self):
        """The server goes in the middle of a run and comes back: the countdown goes on by itself."""
        self.command("settings", "set", "BXSYNC_HTTP_RECONNECTION_INTERVAL", "3")
        photos = [f"photo {number:02}.jpg" for number in range(20)]
        for photo in photos:
            (self.local / photo).write_bytes(photo.encode() * 1000)
        self.server.slow("PUT", 200)
        self.desktop.choose(*SYNC_ALL, "Return")
        wait_for("the first photos", lambda: sum((self.remote / photo).exists() for photo in photos) > 3)
        self.server.stop()
        wait_for("the lost connection", lambda: self.desktop.windows("Connection Lost"))
        self.desktop.shot("connection lost")
        assert not all((self.remote / photo).exists() for photo in photos), "the run was not cut short"
        self.server.start()
        for photo in photos:
            self.arrives(photo, idle=False)
        self.idle()
        self.desktop.gone("Connection Lost")
        self.in_step()

    def changed_password(self):
        """The server's password is another one: a wrong answer is asked again, the right one lets the run go on."""
        self.server.stop()
        self.server.start("sesame")
        (self.local / "signed in.txt").write_text("signed in")
        self.desktop.choose(*SYNC_ALL, "Return")
        self.desktop.use("Sign In")
        self.desktop.shot("sign in")
        first = self.desktop.windows("Sign In")
        self.desktop.fill("wrong")
        self.desktop.keys("Return")
        wait_for("the next question", lambda: self.desktop.windows("Sign In") not in ([], first))
        self.desktop.use("Sign In")
        self.desktop.shot("sign in, again")
        self.desktop.fill("sesame")
        self.desktop.keys("Return")
        self.arrives("signed in.txt")

        # What was right is kept: the next run asks nobody.
        (self.local / "remembered.txt").write_text("remembered")
        self.desktop.choose(*SYNC_ALL, "Return")
        self.arrives("remembered.txt")

    def saved_file(self):
        """A file that is saved is noticed."""
        desktop = self.desktop
        self.open_settings("settings, before automatic sync")
        self.turn_to(2)
        desktop.press_and_see("Settings", "SouthEast", "alt+f")
        desktop.keys("alt+a")
        wait_for("the watcher", self.watches)
        desktop.shot("settings, automatic sync")
        (self.local / "letters" / "saved.txt").write_text("saved")
        self.arrives("letters/saved.txt")
        desktop.use("Settings")
        desktop.press_and_see("Settings", "SouthEast", "alt+f")
        desktop.keys("alt+a")
        wait_for("the watcher's end", lambda: not self.watches())
        desktop.keys("Escape")
        desktop.gone("Settings")

    def maintenance(self):
        """Each asks first, and "no" is the answer that Return gives."""
        desktop = self.desktop
        state = next(self.config.rglob("*.psi"))
        self.maintain(0, "Reset Sync Information", "Return", shot="menu, maintenance")
        assert state.exists()
        self.maintain(0, "Reset Sync Information", "alt+y")
        wait_for("the reset", lambda: not state.exists())

        before = self.in_step()
        (self.local / "only here.txt").write_text("only here")
        self.maintain(1, "Download All Files Again", "Return")
        assert (self.local / "only here.txt").exists()
        self.maintain(1, "Download All Files Again", "alt+y")
        wait_for("the emptied folder", lambda: not (self.local / "only here.txt").exists())
        wait_for("all files", lambda: self.both_sides()[0] == before)
        self.idle()

        (self.remote / "only there.txt").write_text("only there")
        self.maintain(2, "Upload All Files Again", "alt+y")
        wait_for("the emptied server folder", lambda: not (self.remote / "only there.txt").exists())
        wait_for("all files", lambda: self.both_sides()[1] == before)
        self.idle()

    def open_questions(self):
        """The program is told to end while it asks: it ends, and nothing is lost on either side."""
        letter = self.local / "letters" / "letter 0.txt"
        letter.write_text("mine")
        (self.remote / "letters" / "letter 0.txt").write_text("the server's own")
        before = self.both_sides()
        self.desktop.choose(*SYNC_ALL, "Return")
        self.desktop.use("Conflict")
        self.program.send_signal(signal.SIGTERM)
        self.ended()
        assert self.both_sides() == before
        self.begin()
        self.desktop.choose(*SYNC_ALL, "Return")
        self.desktop.use("Conflict")
        self.desktop.keys("alt+u")
        self.idle()
        assert self.in_step()["letters/letter 0.txt"] == b"mine"

        (self.local / "much.bin").write_bytes(b"much" * 100_000)
        self.server.slow("PUT", 2000)
        self.desktop.choose(*SYNC_ALL, "Return")
        wait_for("the upload", lambda: any('"PUT"' in line for line in self.server.requests()))
        self.server.stop()
        self.desktop.use("Connection Lost")
        self.program.send_signal(signal.SIGTERM)
        self.ended()
        assert (self.local / "much.bin").stat().st_size == 400_000
        self.server.start()
        self.begin()

    def quit(self):
        desktop = self.desktop
        self.open_settings("settings, before the end")
        desktop.keys("alt+g")
        desktop.use("General Settings")
        desktop.keys("alt+e")
        desktop.shot("general settings")
        desktop.keys("alt+v")
        wait_for("the setting", lambda: "BXSYNC_SYNC_ON_EXIT=yes" in self.command("settings", "list").stdout)
        desktop.gone("General Settings")
        (self.local / "last.txt").write_text("last")
        self.desktop.choose(*QUIT, "Return")
        self.ended()
        assert "last.txt" in self.in_step()

    def chapters(self):
        return (self.first_start, self.conflict, self.settings, self.menu, self.second_start, self.schedule,
                self.server_restart, self.changed_password, self.saved_file, self.maintenance, self.open_questions,
                self.quit)

    def tell(self):
        for chapter in self.chapters():
            began = time.monotonic()
            try:
                chapter()
            except BaseException:
                self.desktop.shot(f"failure in {chapter.__name__}")
                raise
            print(f"{chapter.__name__}: {time.monotonic() - began:.1f} s", flush=True)


def main():
    if missing():
        print("skipped: not installed:", ", ".join(missing()))
        return SKIPPED
    tidemark, tray, devserver = sys.argv[1:4]
    shots = Path(sys.argv[4] if len(sys.argv) > 4 else tempfile.mkdtemp(prefix="tidemark-shots-"))
    shutil.rmtree(shots, ignore_errors=True)
    shots.mkdir(parents=True)
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
            story.processes.report()
            raise
        finally:
            story.processes.end()
    print("the story went as told")
    return 0


if __name__ == "__main__":
    sys.exit(main())
