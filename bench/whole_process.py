#!/usr/bin/python3
"""Measures `ordvane report` as a whole process: time, processor time, peak memory, beside libxlsxwriter in the same run.

Usage: whole_process.py BUILD_FOLDER [--quick]

The peer writes sheets of the same sizes as the report workbook, without charts and without reading a run; the ratio
therefore flatters the peer. Exits 1 when the largest run needs more than 1.5 GiB.
"""

import collections
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import zipfile

MEMORY_LIMIT = 1.5 * 2**30
REPEATS = 3
LONG = 10  # seconds after which a measurement is not repeated
# inputs, steps, outputs, members and steps of the groups varied together, what is asked for
CASES = [(200, 11, 20, (), []), (200, 11, 20, (), ["--all"]), (100, 9, 10, (2, 3), ["--multi-way"]),
         (400, 9, 10, (2, 3), ["--multi-way"]), (2000, 30, 50, (), []), (2000, 30, 50, (), ["--all"])]
QUICK = 3  # cases

Figures = collections.namedtuple("Figures", "seconds processor peak")


def measured(command):
    """Wall seconds, processor seconds and peak bytes of the fastest of some runs."""
    best = None
    for _ in range(REPEATS):
        start = time.perf_counter()
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.perf_counter() - start
        if status != 0:
            raise SystemExit(f"status {status}: {' '.join(map(str, command))}")
        figures = Figures(seconds, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)
        best = min(best or figures, figures)
        if seconds > LONG:
            break
    return best


def sheet_sizes(workbook):
    """Rows and columns of every sheet, so that rows times columns is about its number of cells."""
    sizes = []
    with zipfile.ZipFile(workbook) as package:
        for name in package.namelist():
            if not re.fullmatch(r"xl/worksheets/sheet\d+\.xml", name):
                continue
            rows = cells = 0
            with package.open(name) as part:
                tail = b""
                while chunk := part.read(1 << 22):
                    chunk = tail + chunk
                    cut = chunk.rfind(b"<") if len(chunk) > 8 else 0
                    tail, chunk = chunk[cut:], chunk[:cut]
                    rows += chunk.count(b"<row ")
                    cells += chunk.count(b"<c ")
            if rows:
                sizes.append((rows, max(1, round(cells / rows))))
    return sizes


def main():
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    build = pathlib.Path(sys.argv[1])
    cases = CASES[:QUICK] if "--quick" in sys.argv[2:] else CASES
    memory = int(re.search(r"MemTotal:\s+(\d+)", pathlib.Path("/proc/meminfo").read_text())[1]) / 2**20
    print(f"{os.cpu_count()} cores, {memory:.0f} GiB; fastest of {REPEATS}, or the first where that takes over {LONG} s")
    print(f'{"run":28}{"":10}{"cells":>12}{"time":>10}{"processor":>11}{"memory":>11}')
    largest = 0
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        for inputs, steps, outputs, groups, options in cases:
            run = folder / f"{inputs}x{steps}x{outputs}.run.json"
            if not run.exists():
                subprocess.run([build / "bench/make_run", *map(str, (inputs, steps, outputs, 1)), run, *map(str, groups)],
                               check=True)
            book, peer_book = folder / "reports.xlsx", folder / "peer.xlsx"
            ours = measured([build / "ordvane", "report", run, "-o", book, "--quiet", "--overwrite", *options])
            sizes = sheet_sizes(book)
            peer = measured([build / "bench/peer_xlsxwriter", peer_book, *(f"{rows}x{columns}" for rows, columns in sizes)])
            largest = max(largest, ours.peak)
            name = f"{inputs} x {steps} x {outputs} {' '.join(options)}"
            cells = sum(rows * columns for rows, columns in sizes)
            for who, figures in (("ordvane", ours), ("peer", peer)):
                print(f"{name:28}{who:10}{cells:>12,}{figures.seconds:>9.2f}s{figures.processor:>10.2f}s"
                      f"{figures.peak / 2**20:>7.0f} MiB")
            ratios = [a / b for a, b in zip(ours, peer)]
            print(f'{name:28}{"ratio":10}{"":12}{ratios[0]:>10.2f}{ratios[1]:>11.2f}{ratios[2]:>11.2f}', flush=True)
    if largest > MEMORY_LIMIT:
        raise SystemExit(f"peak memory of {largest / 2**30:.2f} GiB is over the limit of {MEMORY_LIMIT / 2**30} GiB")


if __name__ == "__main__":
    main()
