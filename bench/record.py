"""What a measurement says, printed as it comes and kept for `bench/page.py`: tables, and ratios to a peer of the same run.

A script makes one Record, and saves it at its end:

    record = Record(build, "growth")
    table = record.table("growth", "what grows", "run", "processor")
    table.row("outputs", "20 x 5 x 125", "1.11 s")
    record.ratio("outputs", 1.05)  # of ours to the peer's: less is better
    record.end(faults)  # saves it, and says what is wrong
"""

import collections
import json
import os
import pathlib
import re
import subprocess
import time


def megabytes(size):
    return f"{size / 2**20:,.0f} MiB"


def seconds(number):
    return f"{number:.1f} s" if number >= 10 else f"{number:.2f} s"


LEAST_SECONDS = 0.5

Figures = collections.namedtuple("Figures", "seconds processor peak")


def measured(command, repeats, cores=None, long=None):
    """Wall seconds, processor seconds and peak bytes of the fastest of some runs, on the first cores or on all; the first that
    takes longer than `long` seconds is the last. Short ones, which vary most, are repeated for half a second."""
    usable = sorted(os.sched_getaffinity(0))[:cores]
    best, runs, spent = None, 0, 0
    while runs < repeats or spent < LEAST_SECONDS:
        start = time.perf_counter()
        process = subprocess.Popen([str(part) for part in command], stdout=subprocess.DEVNULL,
                                   preexec_fn=lambda: os.sched_setaffinity(0, usable))
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.perf_counter() - start
        if status != 0:
            raise SystemExit(f"status {status}: {' '.join(map(str, command))}")
        figures = Figures(seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)
        best = min(best or figures, figures)
        runs, spent = runs + 1, spent + seconds
        if long is not None and seconds > long:
            break
    return best


class Table:
    def __init__(self, headings):
        self.headings, self.rows = list(headings), []
        self._print(self.headings)

    def row(self, *cells):
        self.rows.append([str(cell) for cell in cells])
        self._print(self.rows[-1])

    def _print(self, cells):
        print(f"{cells[0]:32}" + "".join(f"{cell:>14}" for cell in cells[1:]), flush=True)


class Record:
    def __init__(self, build, name):
        self._file = pathlib.Path(build) / "bench/results" / f"{name}.json"
        self._tables, self._ratios = {}, {}

    def table(self, name, *headings):
        self._tables[name] = Table(headings)
        return self._tables[name]

    def ratio(self, name, value):
        self._ratios[name] = value

    def save(self):
        memory = int(re.search(r"MemTotal:\s+(\d+)", pathlib.Path("/proc/meminfo").read_text(encoding="utf-8"))[1]) / 2**20
        self._file.parent.mkdir(parents=True, exist_ok=True)
        self._file.write_text(json.dumps({
            "machine": {"processors": os.cpu_count(), "memory": f"{memory:.0f} GiB"},
            "ratios": {name: round(value, 4) for name, value in self._ratios.items()},
            "tables": {name: {"headings": table.headings, "rows": table.rows} for name, table in self._tables.items()},
        }, indent=1, ensure_ascii=False) + "\n", encoding="utf-8")

    def end(self, faults):
        """Saves, says the faults, and ends the program with 1 where there is one."""
        self.save()
        for fault in faults:
            print(fault)
        raise SystemExit(1 if faults else 0)
