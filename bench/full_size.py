#!/usr/bin/python3
"""Measures the detail reports up to the size that a sheet holds, beside libxlsxwriter writing the same cells.

Usage: full_size.py BUILD_FOLDER [--quick]

`ordvane report` reads the run, ranks it, writes the report and the summary, on one core and on all; the peer writes the
same cells and formats from a dump, one row in memory at a time. At full size the command must take at most a seventh of the
peer's time on one core and a twelfth on more, make a file that is no larger, and stay below 250 MiB; otherwise the script
exits 1. Run it on an idle machine: the peer uses one core.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

from record import Record, measured, megabytes, seconds as shown

MEMORY_LIMIT = 250 * 2**20
LEAST_RATIO, LEAST_RATIO_OF_MORE_CORES = 7, 12
STEPS = 30
# report, inputs, outputs; the last of a report is its full size
CASES = [("detail-by-input", 34, 80), ("detail-by-input", 134, 80), ("detail-by-input", 534, 80),
         ("detail-by-input", 2185, 80), ("output-detail", 34, 1), ("output-detail", 534, 1), ("output-detail", 2185, 1)]
REPEATS = 3


def main():
    build = pathlib.Path(sys.argv[1])
    repeats = 1 if "--quick" in sys.argv else REPEATS
    faults = []
    record = Record(build, "full_size")
    table = record.table("full size", "report", "rows", "cores", "time", "peer", "times as fast", "processor", "memory", "file", "peer's")
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        run, dump, ours, theirs = (folder / name for name in ("r.run.json", "dump", "ours.xlsx", "theirs.xlsx"))
        for case, (report, inputs, outputs) in enumerate(CASES):
            subprocess.run([build / "bench/make_run", str(inputs), str(STEPS), str(outputs), "1", run], check=True)
            subprocess.run([build / "bench/dump_cells", run, dump, report], check=True)
            peer_seconds, _, _ = measured([build / "bench/peer_same_cells", dump, theirs], repeats)
            full = case + 1 == len(CASES) or CASES[case + 1][0] != report
            for cores in sorted({1, len(os.sched_getaffinity(0))}):
                command = [build / "ordvane", "report", run, "-o", ours, "--quiet", "--overwrite", "--" + report]
                seconds, processor, memory = measured(command, repeats, cores)
                sizes = [path.stat().st_size for path in (ours, theirs)]
                rows = min(inputs * STEPS, 65525)
                table.row(report.replace("-", " "), f"{rows:,}", cores, shown(seconds), shown(peer_seconds),
                          f"{peer_seconds / seconds:.1f}", shown(processor), megabytes(memory), *(f"{size / 1e6:.1f} MB" for size in sizes))
                record.ratio(f"{report}, {rows} rows on {cores}, time", seconds / peer_seconds)
                record.ratio(f"{report}, {rows} rows on {cores}, size", sizes[0] / sizes[1])
                least = LEAST_RATIO if cores == 1 else LEAST_RATIO_OF_MORE_CORES
                if full and report == "detail-by-input" and seconds > peer_seconds / least:
                    faults.append(f"{report}: takes more than 1/{least} of the peer's time on {cores} cores")
                if full and sizes[0] > sizes[1]:
                    faults.append(f"{report}: the file is larger than the peer's")
                if memory >= MEMORY_LIMIT:
                    faults.append(f"{report}: needs {MEMORY_LIMIT // 2**20} MiB or more")
    record.end(faults)


main()
