#!/usr/bin/python3
"""Shows that the time of reports grows with what they show and no faster: with outputs, inputs, and the length of names.

Usage: growth.py BUILD_FOLDER

Processor time of `ordvane report` by value, or by character of names, for the smallest and the largest run of each kind. Exits 1
when the largest takes more than one and a half times as long for each. It needs no idle machine: processor times are compared.
"""

import json
import pathlib
import subprocess
import sys
import tempfile

from record import Record, measured

MOST = 1.5
REPEATS = 3
# what grows, options, runs of inputs x steps x outputs
CASES = [("outputs", [], [(20, 5, 125), (20, 5, 500), (20, 5, 2000)]),
         ("inputs", [], [(1000, 3, 3), (8000, 3, 3), (65000, 3, 3)]),
         ("inputs", ["--all"], [(1000, 5, 4), (4000, 5, 4), (13000, 5, 4)])]
NAMES = [100, 1000, 10000]  # characters, of 200 inputs and 5 outputs


def report(build, run, options):
    command = [build / "ordvane", "report", run, "-o", run.with_name("r.xlsx"), "--quiet", "--overwrite", *options]
    return measured(command, REPEATS).processor


def rename(run, characters):
    description = json.loads(run.read_text(encoding="utf-8"))
    for kind in ("inputs", "outputs"):
        for number, item in enumerate(description[kind]):
            item["name"] = f"{number} " + "quantity " * (characters // 9)
    run.write_text(json.dumps(description), encoding="utf-8")


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    faults = []
    record = Record(build, "growth")
    table = record.table("growth", "what grows", "run", "processor", "each", "to the first")

    def show(what, size, seconds, each, first):
        table.row(what, size, f"{seconds:.2f} s", f"{each * 1e6:.2f} µs", f"{each / first:.2f}")

    with tempfile.TemporaryDirectory() as folder:
        run = pathlib.Path(folder) / "r.run.json"
        for what, options, sizes in CASES:
            first = None
            for size in sizes:
                subprocess.run([build / "bench/make_run", *map(str, size), "1", run], check=True)
                seconds = report(build, run, options)
                each = seconds / (size[0] * size[1] * size[2])
                first = first or each
                show(", ".join([what, *(f"`{option}`" for option in options)]), " x ".join(map(str, size)), seconds, each, first)
            record.ratio(" ".join([what, *options]), each / first)
            if each > MOST * first:
                faults.append(f"{what}: {each / first:.1f} times the time for each value")
        first = None
        for characters in NAMES:
            subprocess.run([build / "bench/make_run", "200", "5", "5", "1", run], check=True)
            rename(run, characters)
            seconds = report(build, run, [])
            each = seconds / (205 * characters)
            first = first or each
            show("length of names", f"{characters:,} characters", seconds, each, first)
        record.ratio("length of names", each / first)
        if each > MOST * first:
            faults.append(f"names: {each / first:.1f} times the time for each character")
    record.end(faults)


if __name__ == "__main__":
    main()
