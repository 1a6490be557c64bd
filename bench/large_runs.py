#!/usr/bin/python3
"""Shows that memory does not grow with a run: the same answers of small and large ones, from CSV and binary tables.

Usage: large_runs.py BUILD_FOLDER [--full]

For each run and form, processor time and the peak resident memory of the command: its own (anonymous), and the pages of files
that it has mapped, which the system takes back when others need them. Exits 1 when a command's own memory is more than its bound,
when the mapped pages are, or when the two forms answer differently. --full: a run of 100 million results, too, which takes some
minutes and 4 GB of the folder for temporary files.
"""

import hashlib
import os
import pathlib
import subprocess
import sys
import tempfile
import threading
import time

from record import Record, megabytes, seconds

# inputs x steps x outputs
SIZES = [(100, 100, 100), (400, 400, 100)]
FULL = (1000, 1000, 100)
MIB = 2**20
MAPPED = 192 * MIB
# what is asked, and the most that it may take itself: for the inputs and outputs asked for, whatever the steps
ONE_OUTPUT = ["--output", "Output 1"]
CASES = [(["show", *ONE_OUTPUT], 96 * MIB), (["show", "--csv"], 256 * MIB), (["report", "--quiet", "--overwrite", *ONE_OUTPUT], 256 * MIB)]


class Peak(threading.Thread):
    """Looks at a process every few milliseconds."""

    def __init__(self, pid):
        super().__init__()
        self.pid, self.own, self.mapped = pid, 0, 0
        self.start()

    def run(self):
        while True:
            try:
                lines = pathlib.Path(f"/proc/{self.pid}/status").read_text(encoding="ascii", errors="replace").splitlines()
            except OSError:
                return
            kilobytes = {name: int(value.split()[0]) for name, _, value in (line.partition(":") for line in lines) if name.startswith("Rss")}
            if not kilobytes:
                return
            self.own = max(self.own, 1024 * kilobytes["RssAnon"])
            self.mapped = max(self.mapped, 1024 * (kilobytes["RssFile"] + kilobytes["RssShmem"]))
            time.sleep(0.005)


def measured(command):
    with subprocess.Popen([str(part) for part in command], stdout=subprocess.PIPE, env={**os.environ, "SOURCE_DATE_EPOCH": "0"}) as process:
        peak = Peak(process.pid)
        answer = hashlib.sha256(process.stdout.read())
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = status
    peak.join()
    if status != 0:
        raise SystemExit(f"status {status}: {' '.join(map(str, command))}")
    return answer, usage.ru_utime + usage.ru_stime, peak


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    faults = []
    record = Record(build, "large_runs")
    table = record.table("large runs", "run", "asked", "form", "processor", "own memory", "mapped")
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        csv, binary, workbook = (folder / name for name in ("a.run.json", "b.run.json", "a.xlsx"))
        for size in SIZES + [FULL] * ("--full" in sys.argv):
            subprocess.run([build / "bench/make_run", *map(str, size), "1", csv], check=True)
            subprocess.run([build / "ordvane", "export", csv, "--what", "run", "--as", "binary", "-o", binary, "--overwrite"], check=True)
            for asked, bound in CASES:
                answers = set()
                for form, run in (("CSV", csv), ("binary", binary)):
                    target = ["-o", workbook] if asked[0] == "report" else []
                    answer, processor, peak = measured([build / "ordvane", asked[0], run, *asked[1:], *target])
                    if target:
                        answer.update(workbook.read_bytes())
                    answers.add(answer.hexdigest())
                    name = " x ".join(map(str, size))
                    what = f"`{asked[0]}` of {'one output' if ONE_OUTPUT[0] in asked else 'all outputs'}"
                    table.row(name, what, form, seconds(processor), megabytes(peak.own), megabytes(peak.mapped))
                    for what, found, most in (("memory of its own", peak.own, bound), ("mapped memory", peak.mapped, MAPPED)):
                        if found > most:
                            faults.append(f"{name}, {' '.join(asked)}, {form}: {found / MIB:.0f} MiB of {what}, {most / MIB:.0f} at most")
                if len(answers) > 1:
                    faults.append(f"{size}, {asked}: the forms answer differently")
    record.end(faults)


main()
