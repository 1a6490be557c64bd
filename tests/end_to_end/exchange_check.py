#!/usr/bin/python3
"""Recalculates what `ordvane export`, `diff` and `import` say of a run from its files alone, and compares.

Usage: exchange_check.py ORDVANE SOURCE_FOLDER RUN.run.json

Nothing here comes from the program but what is compared. Prints the differences and exits 1 when there are any.
"""

import csv
import importlib.util
import io
import json
import pathlib
import re
import subprocess
import sys
import tempfile

from oracle import difference, roots_of

ORDVANE, SOURCE, RUN = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3]).resolve()
FAULTS = []


def equal(what, found, expected):
    if found != expected and len(FAULTS) < 20:
        FAULTS.append(f"{what}: {str(found)[:300]}, expected {str(expected)[:300]}")


def ordvane(*arguments, status=0):
    ran = subprocess.run([ORDVANE, *map(str, arguments)], capture_output=True, text=True)
    equal(f"exit code of {arguments}: {ran.stderr}", ran.returncode, status)
    return ran.stdout


def number(field):
    """A number, or None for an empty field and for what is none."""
    try:
        return float(field) if field not in ("", "inf", "nan") else None
    except (TypeError, ValueError):
        return None


def table(path, name):
    with (path.parent / name).open(encoding="utf-8-sig", newline="") as file:
        return list(csv.reader(file))[1:]


class Run:
    """By input position, its rows of simulation 1: value and results as texts; the same of groups."""

    def __init__(self, path):
        self.tree = json.loads(path.read_text(encoding="utf-8"))
        self.inputs, self.outputs = self.tree["inputs"], self.tree["outputs"]
        self.rows = table(path, self.tree["recalculations"])
        self.groups = self.tree.get("groups", [])
        self.group_rows = table(path, self.tree["groupRecalculations"]) if self.groups else []

    def swing(self, i, o):
        results = [number(row[4 + o]) for row in self.rows if int(row[1]) == i + 1]
        results = [result for result in results if result is not None]
        low, high = (min(results), max(results)) if results else (None, None)
        return low, high, None if low is None else difference(high, low)

    def points(self, i, o):
        return sorted((number(row[3]), number(row[4 + o])) for row in self.rows if int(row[1]) == i + 1)


def check_steps(run):
    rows = list(csv.DictReader(io.StringIO(ordvane("export", RUN, "--what", "steps", "--raw-text"))))
    lines = [json.loads(line) for line in ordvane("export", RUN, "--what", "steps", "--as", "ndjson").splitlines()]
    document = json.loads(ordvane("export", RUN, "--what", "steps", "--as", "json"))
    equal("rows of JSON and NDJSON", document["rows"], lines)
    expected = [(row[1], None, row[2], [row[3]], o, row[4 + o]) for row in run.rows for o in range(len(run.outputs))]
    widest = max((len(group["members"]) for group in run.groups), default=0)
    expected += [("", row[1], row[2], row[3:3 + len(run.groups[int(row[1]) - 1]["members"])], o, row[3 + widest + o])
                 for row in run.group_rows for o in range(len(run.outputs))]
    equal("steps", len(rows), len(expected))
    for row, line, (position, group, step, values, o, result) in zip(rows, lines, expected):
        members = [int(position)] if not group else run.groups[int(group) - 1]["members"]
        names = [run.inputs[member - 1].get("name", "") for member in members]
        equal("input", (row["input"], row["group"], row["step"]), (";".join(names), group or "", step))
        equal("output", row["outputCell"], run.outputs[o]["cell"])
        equal("values", [number(value) for value in row["value"].split(";")], [number(value) for value in values])
        equal("result", row["result"] if number(result) is None else number(row["result"]),
              result if number(result) is None else number(result))
        equal("NDJSON", line["result"], number(result) if number(result) is not None else result or None)
    return document


def break_even(what, found, points, target=0.0):
    """Not of an output that does not move, or failed."""
    if any(result != points[0][1] for _, result in points) and all(result is not None for _, result in points):
        expected = [x for x, *_ in roots_of(points, target)]
        equal(what, len(found) == len(expected) and all(abs(a - b) <= 1e-9 * max(1, abs(b)) for a, b in zip(found, expected)), True)


def check_answers(run):
    """At the run's own targets, and at one that the inputs reach elsewhere."""
    check_answers_at(run, 0.0)
    low, high, _ = run.swing(0, 0)
    if high is not None:
        check_answers_at(run, low + (high - low) / 3, "--target", repr(low + (high - low) / 3))


def check_answers_at(run, target, *options):
    for row in csv.DictReader(io.StringIO(ordvane("export", RUN, "--what", "answers", "--raw-text", *options))):
        i, = (i for i, item in enumerate(run.inputs) if (item["sheet"], item["cell"]) == (row["inputSheet"], row["inputCell"]))
        o, = (o for o, item in enumerate(run.outputs) if (item["sheet"], item["cell"]) == (row["outputSheet"], row["outputCell"]))
        swings = [(run.swing(at, o)[2] or 0) ** 2 for at in range(len(run.inputs))]
        if sum(swings):
            equal("share", abs(float(row["share"]) - swings[i] / sum(swings)) < 1e-12, True)
        break_even("break-evens of " + row["input"] + ", " + row["output"],
                   [float(value) for value in row["breakEven"].split(";") if value], run.points(i, o), target)


def check_import(run, folder):
    """What is exported as a table ranks as before; without the column that says what was varied, so does a design in
    which every input stood at its base."""
    names = next(csv.reader(io.StringIO(ordvane("export", RUN, "--what", "table", "--raw-text"))))
    outputs = io.StringIO()
    csv.writer(outputs).writerow(names[-len(run.outputs):])
    study = folder / "study.csv"
    ordvane("export", RUN, "--what", "table", "-o", study)
    ordvane("import", study, "--outputs", outputs.getvalue().strip(), "-o", folder / "study.run.json")

    def ranking(path):
        rows = [json.loads(line) for line in ordvane("export", path, "--as", "ndjson").splitlines()]
        # A table has no formats, so that nobody knows any more which figures are dates, that have no elasticity.
        lost = ("output", "input", "elasticity", "arcElasticity")
        return [[value for name, value in row.items() if name not in lost and not name.endswith(("Sheet", "Cell"))] for row in rows]

    equal("ranking of what was imported", ranking(folder / "study.run.json"), ranking(RUN))
    ordvane("import", study, "--outputs", outputs.getvalue().strip(), "--as", "binary", "-o", folder / "binary.run.json")
    for what in ("steps", "table"):
        equal(f"{what} of the binary import", *(ordvane("export", folder / f"{name}.run.json", "--what", what) for name in ("binary", "study")))
    equal("table of the binary import", json.loads((folder / "binary.run.json").read_text(encoding="utf-8"))["recalculations"], "binary.run.bin")
    with study.open(encoding="utf-8", newline="") as file:
        other = [row[1:] for row in csv.reader(file)]
    with (folder / "other.csv").open("w", encoding="utf-8-sig", newline="") as file:  # as a German Excel writes it
        for row in other:
            csv.writer(file, delimiter=";").writerow(row if row is other[0] else [field.replace(".", ",") for field in row])
    ordvane("import", folder / "other.csv", "--outputs", outputs.getvalue().strip(), "-o", folder / "other.run.json")
    there = Run(folder / "other.run.json")
    for i, item in enumerate(there.inputs):
        values = [float(row[3]) for row in there.rows if int(row[1]) == i + 1]
        equal("steps of " + item["name"], (values, item["base"] in values), (sorted(values), True))


def check_diff(run, folder):
    """A run against one with an input renamed, one gone, a changed base value and results that are a tenth larger."""
    tree = json.loads(RUN.read_text(encoding="utf-8"))
    renamed, gone = 0, len(run.inputs) - 1
    for key in ("groups", "groupRecalculations"):
        tree.pop(key, None)
    tree["inputs"][renamed]["name"] = "Another name"
    del tree["inputs"][gone]
    factor = 1.1
    for output in tree["outputs"]:
        if isinstance(output["base"], (int, float)):
            output["base"] *= factor
    rows = [row[:4] + [field if number(field) is None else repr(number(field) * factor) for field in row[4:]]
            for row in run.rows if int(row[1]) != gone + 1]
    tree["recalculations"] = "now.csv"
    now = folder / "now.run.json"
    now.write_text(json.dumps(tree), encoding="utf-8")
    with (folder / "now.csv").open("w", encoding="utf-8", newline="") as file:
        csv.writer(file, lineterminator="\n").writerows([["simulation", "input", "step", "value"] + [
            f"output{o + 1}" for o in range(len(run.outputs))], *rows])
    after = Run(now)
    document = json.loads(ordvane("diff", RUN, now, "--json"))
    status = {item["name"]: item["status"] for item in document["inputs"]}
    equal("renamed", (status["Another name"], document["inputs"][0]["nameBefore"]), ("renamed", run.inputs[0]["name"]))
    equal("gone", status[run.inputs[gone]["name"]], "gone")
    equal("the others", {status[item["name"]] for item in run.inputs[1:gone]}, {"same"})
    for o, output in enumerate(document["outputs"]):
        before, base = run.outputs[o]["base"], after.outputs[o]["base"]
        equal("base values", (output["baseBefore"], output["base"]), (number(before), number(base)))
        if number(before) is not None and before:
            equal("base value's change", output["baseChangeShare"], difference(base, before) / abs(before))
        for row in output["inputs"]:
            i = next((i for i, item in enumerate(run.inputs) if item["cell"] == row["cell"] and item["sheet"] == row["sheet"]))
            old, new = run.swing(i, o), after.swing(i, o) if i != gone else (None, None, None)
            equal("low, high and swing that were", (row["lowBefore"], row["highBefore"], row["swingBefore"]), old)
            equal("low, high and swing", (row["low"], row["high"], row["swing"]), new)
            if i != gone:
                break_even("break-evens that were", row["breakEvenBefore"], run.points(i, o))
                break_even("break-evens", row["breakEven"], after.points(i, o))
    ordvane("diff", RUN, now, "--fail-over", "5%", status=1)
    ordvane("diff", RUN, RUN, "--fail-over", "0%")
    return document


def check_schema(document):
    """The fields that the schema requires are there, and it knows every one that is."""
    definitions = json.loads((SOURCE / "docs/exchange.schema.json").read_text(encoding="utf-8"))["$defs"]

    def fits(value, schema, where):
        schema = definitions[schema["$ref"].rsplit("/", 1)[1]] if "$ref" in schema else schema
        if isinstance(value, dict):
            equal(f"{where}: required fields", set(schema.get("required", [])) - set(value), set())
            for name, field in value.items():
                known = schema.get("properties", {}).get(name, schema.get("additionalProperties"))
                equal(f"{where}.{name} is in the schema", known is not None, True)
                fits(field, known or {}, f"{where}.{name}")
        elif isinstance(value, list):
            for element in value:
                fits(element, schema.get("items", {}), where + "[]")
        elif "type" in schema:
            kinds = schema["type"] if isinstance(schema["type"], list) else [schema["type"]]
            kind = {bool: "boolean", int: "integer", float: "number", str: "string", type(None): "null"}[type(value)]
            equal(f"{where}: kind", kind in kinds or (kind == "integer" and "number" in kinds), True)
        equal(f"{where}: const", value, schema.get("const", value))

    fits(document, {"$ref": "#/$defs/" + document["format"].removeprefix("ordvane-")}, document["format"])


def check_copy(folder):
    """The run written with binary tables is the same run, and NumPy reads them as the page says."""
    ordvane("export", RUN, "--what", "run", "--as", "binary", "-o", folder / "large.run.json")
    ordvane("export", folder / "large.run.json", "--what", "run", "-o", folder / "again.run.json")
    for copy in ("large", "again"):
        copy = folder / f"{copy}.run.json"
        equal(f"steps of {copy.name}", ordvane("export", copy, "--what", "steps"), ordvane("export", RUN, "--what", "steps"))
        equal(f"ranking of {copy.name}", ordvane("show", copy, "--json").replace(str(copy), ""), ordvane("show", RUN, "--json").replace(str(RUN), ""))
    description = json.loads((folder / "large.run.json").read_text(encoding="utf-8"))
    equal("tables", description["recalculations"], "large.run.bin")
    if importlib.util.find_spec("numpy"):
        page = (SOURCE / "docs/run-file.md").read_text(encoding="utf-8")
        read = {}
        exec(re.search("```python\n(.*?)```", page, re.S)[1].replace('"large', f'"{folder}/large'), read)
        rows = table(folder / "again.run.json", "again.run.csv")
        simulations = read["simulations"]
        for s in range(simulations):
            of_one = rows[s * len(rows) // simulations:(s + 1) * len(rows) // simulations]
            equal("values", [None if v != v else v for v in read["inputs"][s]], [number(row[3]) for row in of_one])
            for o in range(read["outputs"]):
                equal("results", [None if v != v else v for v in read["results"][s, o]], [number(row[4 + o]) for row in of_one])
        errors = {"#NULL!": 2000, "#DIV/0!": 2007, "#VALUE!": 2015, "#REF!": 2023, "#NAME?": 2029, "#NUM!": 2036, "#N/A": 2042}
        marks = [errors.get(row[4], 65536 * (row[4] != "" and number(row[4]) is None)) for row in rows[:read["recalculations"]]]
        equal("marks", [min(int(mark), 65536) for mark in read["marks"]], marks)


def check_reader(run, folder):
    ordvane("export", RUN, "--what", "steps", "-o", folder / "steps.csv")
    ran = subprocess.run([sys.executable, SOURCE / "examples/read_steps.py", folder / "steps.csv"], capture_output=True, text=True)
    equal("errors of the reader", ran.stderr, "")
    swings = {tuple(line.split("\t")[:2]): float(line.split("\t")[2]) for line in ran.stdout.splitlines()}
    for i, item in enumerate(run.inputs):
        for o, output in enumerate(run.outputs):
            low, high, _ = run.swing(i, o)
            if low is not None and [other["name"] for other in run.outputs].count(output["name"]) == 1:
                equal("swing of the reader", swings[item["name"], output["name"]], high - low)


def main():
    run = Run(RUN)
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        documents = [check_steps(run), check_diff(run, folder)]
        check_answers(run)
        check_import(run, folder)
        check_reader(run, folder)
        check_copy(folder)
        documents += [json.loads(ordvane("export", RUN, "--what", what, "--as", "json")) for what in ("ranking", "answers", "table")]
        for document in documents:
            check_schema(document)
    print("\n".join(FAULTS))
    return bool(FAULTS)


if __name__ == "__main__":
    sys.exit(main())
