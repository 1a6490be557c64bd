#!/usr/bin/python3
"""Compares what was measured with what is recorded, and keeps docs/performance.md to the record.

Usage: page.py BUILD_FOLDER [--accept]
       page.py --check

Gathers bench/results/*.json of the build into bench/results.json. Exits 1 with their names when a ratio to a peer of the same run
is more than 15 % larger than the recorded one of bench/recorded.json, or a recorded one was not measured. With --accept what was
measured becomes the record, and the tables of the page are made from it. --check exits 1 when the tables of the page are not
those of the record.
"""

import json
import pathlib
import re
import sys

MOST = 1.15
BENCH = pathlib.Path(__file__).resolve().parent
RECORDED, PAGE = BENCH / "recorded.json", BENCH.parent / "docs/performance.md"
PLACE = re.compile(r"(<!-- measured: (.+?) -->\n)(.*?)(<!-- end -->)", re.DOTALL)


def read(file):
    return json.loads(file.read_text(encoding="utf-8"))


def write(file, document):
    file.write_text(json.dumps(document, indent=1, ensure_ascii=False, sort_keys=True) + "\n", encoding="utf-8")


def gathered(folder):
    """Measurements by the names of the scripts that made them."""
    measured = {file.stem: read(file) for file in sorted((folder / "results").glob("*.json"))}
    if not measured:
        raise SystemExit(f"{folder / 'results'}: nothing was measured; `make bench` does")
    write(folder / "results.json", measured)
    return measured


def regressions(measured, recorded):
    for script, record in recorded.items():
        now = measured.get(script, {}).get("ratios", {})
        for name, before in record["ratios"].items():
            if name not in now:
                yield f"{script}, {name}: not measured"
            elif now[name] > MOST * before:
                yield f"{script}, {name}: {now[name]:.3g} times the peer, {before:.3g} is recorded"


def markdown(table):
    rule = ["---"] + ["---:"] * (len(table["headings"]) - 1)
    return "".join("| " + " | ".join(row) + " |\n" for row in [table["headings"], rule, *table["rows"]])


def page(recorded):
    tables = {name: table for record in recorded.values() for name, table in record["tables"].items()}
    text = PAGE.read_text(encoding="utf-8")
    missing = [name for _, name, _, _ in PLACE.findall(text) if name not in tables]
    if missing:
        raise SystemExit(f"{PAGE.name}: no table is recorded for {', '.join(missing)}")
    return PLACE.sub(lambda place: place[1] + markdown(tables[place[2]]) + place[4], text)


def main():
    if sys.argv[1:] == ["--check"]:
        if page(read(RECORDED)) != PAGE.read_text(encoding="utf-8"):
            raise SystemExit(f"{PAGE.name}: its tables are not those of {RECORDED.name}; `bench/page.py BUILD --accept` writes both")
        return
    if len(sys.argv) not in (2, 3) or sys.argv[2:] not in ([], ["--accept"]):
        raise SystemExit(__doc__)
    measured = gathered(pathlib.Path(sys.argv[1]) / "bench")
    if sys.argv[2:]:
        # What was not measured this time stays as it is.
        write(RECORDED, (read(RECORDED) if RECORDED.exists() else {}) | measured)
        PAGE.write_text(page(read(RECORDED)), encoding="utf-8")
        return
    found = list(regressions(measured, read(RECORDED)))
    print("\n".join(found) if found else "no ratio is more than 15 % larger than the recorded one")
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
