"""Runs a program and says how long it took and how much memory it held at its peak; prints rows of a table."""

import os
import subprocess
import time
from dataclasses import dataclass


@dataclass
class Measure:
    seconds: float
    megabytes: float


def run(command, **options):
    """Wall time and peak resident size of one program, from its own wait status. What the one before has left to be
    written to the disk is not to slow this one."""
    os.sync()
    start = time.perf_counter()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, **options)
    errors = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    seconds = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        text = errors.decode(errors="replace")[-400:]
        raise SystemExit(f"{command[0]} ended with status {process.returncode}: {text}")
    return Measure(seconds, usage.ru_maxrss / 1024)


def row(what, ours, theirs, name, goal=None):
    """One comparison; `goal` is the largest ratio of our time to theirs that is accepted."""
    ratio = ours.seconds / theirs.seconds
    verdict = "" if goal is None else ("  reached" if ratio <= goal else f"  MISSED, goal {goal}")
    print(f"{what:<30} tidemark {ours.seconds:8.2f} s {ours.megabytes:6.1f} MB   "
          f"{name:<7} {theirs.seconds:8.2f} s {theirs.megabytes:6.1f} MB   ratio {ratio:5.2f}{verdict}", flush=True)
