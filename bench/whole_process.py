#!/usr/bin/python3
"""Measures `ordvane report` as a whole process: time, processor time, peak memory, beside libxlsxwriter in the same run.

Usage: whole_process.py BUILD_FOLDER [--quick]

The peer writes sheets of the same sizes as the report workbook, without charts and without reading a run; the ratio
therefore flatters the peer. Exits 1 when the largest run needs more than 1.5 GiB.
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import zipfile

from record import Record, measured, megabytes, seconds as shown

MEMORY_LIMIT = 1.5 * 2**30
REPEATS = 3
LONG = 10  # seconds after which a measurement is not repeated
# inputs, steps, outputs, members and steps of the groups varied together, what is asked for
CASES = [(200, 11, 20, (), []), (200, 11, 20, (), ["--all"]), (100, 9, 10, (2, 3), ["--multi-way"]),
         (400, 9, 10, (2, 3), ["--multi-way"]), (2000, 30, 50, (), []), (2000, 30, 50, (), ["--all"])]
QUICK = 3  # cases


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
    record = Record(build, "whole_process")
    table = record.table("whole process", "run", "cells", "time", "peer", "ratio", "processor", "peer", "ratio", "memory", "peer", "ratio")
    largest = 0
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        for inputs, steps, outputs, groups, options in cases:
            run = folder / f"{inputs}x{steps}x{outputs}.run.json"
            if not run.exists():
                subprocess.run([build / "bench/make_run", *map(str, (inputs, steps, outputs, 1)), run, *map(str, groups)],
                               check=True)
            book, peer_book = folder / "reports.xlsx", folder / "peer.xlsx"
            ours = measured([build / "ordvane", "report", run, "-o", book, "--quiet", "--overwrite", *options], REPEATS, long=LONG)
            sizes = sheet_sizes(book)
            peer = measured([build / "bench/peer_xlsxwriter", peer_book, *(f"{rows}x{columns}" for rows, columns in sizes)], REPEATS, long=LONG)
            largest = max(largest, ours.peak)
            groups_of = f", {groups[0]} together" if groups else ""
            name = " ".join([f"{inputs} x {steps} x {outputs}{groups_of}", *(f"`{option}`" for option in options)])
            cells = sum(rows * columns for rows, columns in sizes)
            each = [f"{figure:.2f}" if show is None else show(figure)
                    for one, other, show in zip(ours, peer, (shown, shown, megabytes))
                    for figure, show in ((one, show), (other, show), (one / other, None))]
            table.row(name, f"{cells:,}", *each)
            record.ratio(f"{name}, processor", ours.processor / peer.processor)
            record.ratio(f"{name}, memory", ours.peak / peer.peak)
    record.save()
    if largest > MEMORY_LIMIT:
        raise SystemExit(f"peak memory of {largest / 2**30:.2f} GiB is over the limit of {MEMORY_LIMIT / 2**30} GiB")


if __name__ == "__main__":
    main()
