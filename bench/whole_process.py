#!/usr/bin/python3
"""Measures `ordvane report` as a whole process: wall time and peak memory, beside libxlsxwriter in the same run.

Usage: whole_process.py BUILD_FOLDER [--quick]

The peer writes sheets of the same sizes as the report workbook, without charts and without reading a run; the ratio
therefore flatters the peer. Exits 1 when the largest run needs more than 1.5 GiB.
"""

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
# inputs, steps, outputs, what is asked for
CASES = [(200, 11, 20, []), (200, 11, 20, ["--all"]), (2000, 30, 50, []), (2000, 30, 50, ["--all"])]


def measured(command):
    """Seconds and peak bytes of the fastest of some runs."""
    best = None
    for _ in range(REPEATS):
        start = time.perf_counter()
        process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        seconds = time.perf_counter() - start
        if status != 0:
            raise SystemExit(f"status {status}: {' '.join(map(str, command))}")
        if best is None or seconds < best[0]:
            best = (seconds, usage.ru_maxrss * 1024)
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
    cases = CASES[:2] if "--quick" in sys.argv[2:] else CASES
    memory = int(re.search(r"MemTotal:\s+(\d+)", pathlib.Path("/proc/meminfo").read_text())[1]) / 2**20
    print(f"{os.cpu_count()} cores, {memory:.0f} GiB; fastest of {REPEATS}")
    print(f'{"run":34}{"cells":>12}{"time":>10}{"memory":>12}{"peer":>10}{"memory":>12}{"time/peer":>11}{"mem./peer":>11}')
    largest = 0
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        for inputs, steps, outputs, options in cases:
            run = folder / f"{inputs}x{steps}x{outputs}.run.json"
            if not run.exists():
                subprocess.run([build / "bench/make_run", str(inputs), str(steps), str(outputs), "1", run], check=True)
            book, peer_book = folder / "reports.xlsx", folder / "peer.xlsx"
            seconds, peak = measured([build / "ordvane", "report", run, "-o", book, "--quiet", "--overwrite", *options])
            sizes = sheet_sizes(book)
            peer_seconds, peer_peak = measured([build / "bench/peer_xlsxwriter", peer_book,
                                                *(f"{rows}x{columns}" for rows, columns in sizes)])
            largest = max(largest, peak)
            name = f"{inputs} x {steps} x {outputs} {' '.join(options)}"
            print(f"{name:34}{sum(rows * columns for rows, columns in sizes):>12,}{seconds:>9.2f}s{peak / 2**20:>8.0f} MiB"
                  f"{peer_seconds:>9.2f}s{peer_peak / 2**20:>8.0f} MiB{seconds / peer_seconds:>11.2f}"
                  f"{peak / peer_peak:>11.2f}", flush=True)
    if largest > MEMORY_LIMIT:
        raise SystemExit(f"peak memory of {largest / 2**30:.2f} GiB is over the limit of {MEMORY_LIMIT / 2**30} GiB")


if __name__ == "__main__":
    main()
