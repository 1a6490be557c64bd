"""What a measurement says, printed as it comes and kept for `bench/page.py`: tables, and ratios to a peer of the same run.

A script makes one Record, and saves it at its end:

    record = Record(build, "growth")
    table = record.table("growth", "what grows", "run", "processor")
    table.row("outputs", "20 x 5 x 125", "1.11 s")
    record.ratio("outputs", 1.05)  # of ours to the peer's: less is better
    record.save()
"""

import json
import os
import pathlib
import re


def megabytes(size):
    return f"{size / 2**20:,.0f} MiB"


def seconds(number):
    return f"{number:.1f} s" if number >= 10 else f"{number:.2f} s"


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
