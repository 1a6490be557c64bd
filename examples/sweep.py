#!/usr/bin/python3
"""Records a what-if run of any workbook with LibreOffice: every input stepped alone, all others at their base, then
groups of inputs together.

Usage: sweep.py WORKBOOK.xlsx WHATIF.json RUN.run.json

WHATIF.json holds the lists "inputs" (sheet, cell, low, high, steps) and "outputs" (sheet, cell); every item may have a
name, or instead the label that stands beside its cell. The steps of an input are evenly spaced from low to high, both
included. A low or high may be a date, "2026-04-01". The list "groups" may follow: each holds its "inputs" (names, or
positions in the list, counted from 1) and the number of "steps" that each takes (one number, or one an input); every
combination of the steps is recalculated. {"size": 2, "steps": 3} instead of the list stands for all pairs, each input
with three steps. Writes RUN.run.json and, beside it, the recalculated values in RUN.run.csv and RUN.run.groups.csv. The
workbook itself is not changed.
"""

import contextlib
import csv
import datetime
import itertools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

import uno  # before com.sun.star, which it makes importable
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException
from com.sun.star.table.CellContentType import EMPTY, FORMULA, TEXT, VALUE
from openpyxl import load_workbook
from openpyxl.styles.numbers import is_date_format

# LibreOffice's error numbers that have a counterpart in the file format; it shows the others as "Err:502" and so on.
NUMBER_ERRORS = {502, 503, 523}  # a function's argument, an overflow, no convergence


@contextlib.contextmanager
def spreadsheet_program():
    """Starts LibreOffice on a profile of its own and gives its desktop; ends it afterwards."""
    with tempfile.TemporaryDirectory() as folder:
        pipe = f"sweep{os.getpid()}"
        process = subprocess.Popen(
            ["soffice", f"-env:UserInstallation=file://{folder}/profile", "--headless", "--norestore", "--nologo",
             f"--accept=pipe,name={pipe};urp;"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            local = uno.getComponentContext()
            resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
            for _ in range(240):
                try:
                    context = resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
                    break
                except NoConnectException:
                    if process.poll() not in (None, 0, 81):
                        raise SystemExit(f"soffice ended with status {process.returncode}") from None
                    time.sleep(0.25)
            else:
                raise SystemExit("soffice did not answer within a minute")
            desktop = context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)
            yield desktop
            with contextlib.suppress(Exception):  # the connection breaks while the program ends
                desktop.terminate()
            process.wait(30)
        finally:
            if process.poll() is None:
                process.kill()
                process.wait()


def opened(desktop, path):
    hidden = PropertyValue(Name="Hidden", Value=True)
    document = desktop.loadComponentFromURL(path.resolve().as_uri(), "_blank", 0, (hidden,))
    if document is None or not hasattr(document, "Sheets"):
        raise SystemExit(f"{path}: not a workbook that LibreOffice can open")
    document.calculateAll()
    return document


def cell_of(document, item):
    if not document.Sheets.hasByName(item["sheet"]):
        raise SystemExit(f'{item["sheet"]}!{item["cell"]}: the workbook has no such sheet')
    return document.Sheets.getByName(item["sheet"]).getCellRangeByName(item["cell"])


def result(cell):
    """What a cell holds: a number, or the text of an error, or a text, or None for an empty cell."""
    error = cell.getError()
    if error:
        return "#NUM!" if error in NUMBER_ERRORS else cell.String if cell.String.startswith("#") else "#VALUE!"
    kind = cell.FormulaResultType2 if cell.Type == FORMULA else None
    if cell.Type == VALUE or kind == 1:  # FormulaResult.VALUE
        return cell.Value
    return None if cell.Type == EMPTY else cell.String


def whole_when_whole(number):
    return int(number) if isinstance(number, float) and number.is_integer() and abs(number) < 2**53 else number


def steps_of(item):
    """The values an input is set to, evenly spaced from low to high; twelve digits, so that 0.005 reads as that."""
    low, high = (serial_day(item[bound]) if isinstance(item[bound], str) else item[bound] for bound in ("low", "high"))
    last = item["steps"] - 1
    return [float(f"{low + (high - low) * step / last if last else low:.12g}") for step in range(item["steps"])]


def serial_day(text):
    return (datetime.date.fromisoformat(text) - datetime.date(1899, 12, 30)).days


def name_of(item):
    return item.get("name", item.get("label", ""))


def described(file_cell, cell, item, book):
    """The item as the run file has it: the name from the what-if, all else from the workbook."""
    base = result(cell)
    content = file_cell.value
    entry = {
        "name": name_of(item),
        "book": book,
        "sheet": item["sheet"],
        "cell": item["cell"],
        "formula": content if isinstance(content, str) and content.startswith("=") else str(whole_when_whole(base)),
        "base": whole_when_whole(base) if isinstance(base, float) else None,
        "numberFormat": file_cell.number_format,
    }
    if is_date_format(file_cell.number_format):
        entry["date"] = True
    return entry


def recalculated(cells, inputs, outputs):
    """One row per recalculation, as the CSV has it."""
    for position, (item, cell) in enumerate(zip(inputs, cells[0]), start=1):
        before = cell.Formula
        for step, value in enumerate(steps_of(item), start=1):
            cell.Value = value
            yield [1, position, step, whole_when_whole(value)] + [whole_when_whole(result(c)) for c in cells[1]]
        cell.Formula = before


def groups_of(plan):
    """The groups as the run file has them: positions of inputs, counted from 1, and the steps of each."""
    groups, names = plan.get("groups", []), [name_of(item) for item in plan["inputs"]]
    if isinstance(groups, dict):
        chosen = itertools.combinations(range(1, len(names) + 1), groups["size"])
        return [{"members": list(members), "steps": [groups["steps"]] * len(members)} for members in chosen]
    return [group_of(group, f"groups[{position}]", names) for position, group in enumerate(groups)]


def group_of(group, where, names):
    members = []
    for member in group["inputs"]:
        found = [position for position, name in enumerate(names, start=1) if member in (position, name)]
        if len(found) != 1:
            raise SystemExit(f'{where}: {len(found) or "no"} inputs are named {member!r}; one is expected')
        members += found
    if len(members) < 2 or len(set(members)) < len(members):
        raise SystemExit(f"{where}: at least two different inputs are expected")
    steps = group["steps"] if isinstance(group["steps"], list) else [group["steps"]] * len(members)
    if len(steps) != len(members):
        raise SystemExit(f"{where}: {len(steps)} numbers of steps for {len(members)} inputs")
    return {"members": members, "steps": steps}


def recalculated_together(cells, inputs, groups):
    """One row per combination of a group's steps, the last member's changing fastest."""
    widest = max(len(group["members"]) for group in groups)
    for number, group in enumerate(groups, start=1):
        members = [cells[0][m - 1] for m in group["members"]]
        before = [cell.Formula for cell in members]
        values = [steps_of(inputs[m - 1] | {"steps": count}) for m, count in zip(group["members"], group["steps"])]
        at = [None] * len(members)  # what each member is set to; nothing yet, so that a formula gives way to its value
        for combination, chosen in enumerate(itertools.product(*values), start=1):
            for cell, value, already in zip(members, chosen, at):
                if value != already:
                    cell.Value = value
            at = chosen
            yield ([1, number, combination] + [whole_when_whole(value) for value in chosen]
                   + [None] * (widest - len(chosen)) + [whole_when_whole(result(c)) for c in cells[1]])
        for cell, formula in zip(members, before):
            cell.Formula = formula


def write_rows(file, leading, outputs, rows):
    with file.open("w", newline="", encoding="utf-8") as target:
        writer = csv.writer(target, lineterminator="\n")
        writer.writerow(leading + [f"output{i + 1}" for i in range(len(outputs))])
        writer.writerows(rows)


def sweep(workbook, whatif, run_file):
    plan = json.loads(whatif.read_text(encoding="utf-8"))
    inputs, outputs, groups = plan["inputs"], plan["outputs"], groups_of(plan)
    in_file = load_workbook(workbook)
    csv_file = run_file.with_name(run_file.name.removesuffix(".json") + ".csv")
    groups_file = csv_file.with_suffix(".groups.csv")
    with spreadsheet_program() as desktop:
        document = opened(desktop, workbook)
        try:
            cells = [[cell_of(document, item) for item in items] for items in (inputs, outputs)]
            run = {"format": "ordvane-run", "version": 1, "simulations": 1}
            for key, items, found in (("inputs", inputs, cells[0]), ("outputs", outputs, cells[1])):
                run[key] = [described(in_file[item["sheet"]][item["cell"]], cell, item, workbook.name)
                            for item, cell in zip(items, found)]
            for item, entry in zip(inputs, run["inputs"]):
                entry["steps"] = item["steps"]
            run["recalculations"] = csv_file.name
            rows = list(recalculated(cells, inputs, outputs))
            if groups:
                in_short = isinstance(plan["groups"], dict)
                run["groups"], run["groupRecalculations"] = plan["groups"] if in_short else groups, groups_file.name
                group_rows = list(recalculated_together(cells, inputs, groups))
            if [result(cell) for cell in cells[1]] != [entry["base"] for entry in run["outputs"]]:
                raise SystemExit("the outputs did not return to their base values after the last step")
        finally:
            document.close(False)
    write_rows(csv_file, ["simulation", "input", "step", "value"], outputs, rows)
    if groups:
        widest = max(len(group["members"]) for group in groups)
        values = [f"value{i + 1}" for i in range(widest)]
        write_rows(groups_file, ["simulation", "group", "combination", *values], outputs, group_rows)
    text = json.dumps(run, indent=1, ensure_ascii=False)
    text = re.sub(r"\[\n([\d,\s]+?)\n *\]", lambda numbers: "[" + " ".join(numbers[1].split()) + "]", text)
    run_file.write_text(text + "\n", encoding="utf-8")


def main():
    if len(sys.argv) != 4 or not sys.argv[3].endswith(".run.json"):
        raise SystemExit(__doc__)
    sweep(*(pathlib.Path(argument) for argument in sys.argv[1:]))


if __name__ == "__main__":
    main()
