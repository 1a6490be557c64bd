#!/usr/bin/python3
"""Compares every number that stands in more than one report of a workbook, and with what `ordvane show --json` says.

Usage: agreement.py WORKBOOK.xlsx SHOWN.json [SHOWN-OF-SIMULATION-2.json ...]

Knows nothing of the run: it only asks whether two sheets, or a sheet and the terminal, say different things of the same
quantity. The workbook must hold all reports. Prints the contradictions and, for every pair of places, how many numbers they
share; exits 1 when there is a contradiction, or when a pair of reports that must share numbers shares none.
"""

import collections
import itertools
import json
import pathlib
import re
import sys

import openpyxl

from oracle import NOTHING, Comparison, Texts

STRINGS = pathlib.Path(__file__).resolve().parents[2] / "resources" / "strings" / "en.txt"
MUST_SHARE = [("spider", "sensitivity"), ("spider", "detail by input"), ("output detail", "detail by input"),
              ("tornado", "show"), ("tornado", "output detail"), ("tornado", "spider")]
MUST_SHARE_WITH_GROUPS = [("multi-way tornado", "show"), ("multi-way tornado", "multi-way detail"), ("multi-way detail", "show")]


class Facts:
    """What each place says of a quantity; a quantity is a tuple such as (simulation, output, input, step, "change")."""

    def __init__(self):
        self.said = collections.defaultdict(dict)

    def add(self, place, quantity, value, where):
        if isinstance(value, str):
            value = None if value == NOTHING else value
        known = self.said[quantity].setdefault(place, (value, where))
        if known[0] != value:
            self.said[quantity][place + " again"] = (value, where)

    def contradictions(self):
        for quantity, places in self.said.items():
            if len({value for value, _ in places.values()}) > 1:
                yield quantity, places

    def shared(self):
        pairs = collections.Counter()
        for places in self.said.values():
            pairs.update(itertools.combinations(sorted(places), 2))
        return pairs


class Sheet:
    """One report sheet: its title block by label, and its tables by captions."""

    def __init__(self, comparison, sheet, texts):
        self.comparison, self.sheet, self.texts = comparison, sheet, texts
        self.lines = {sheet.cell(row, 1).value: sheet.cell(row, 2).value for row in range(2, 7)}
        run = re.match(r"(\d+)", str(self.lines.get(texts["label.run"], "1")))
        self.simulation = int(run[1])

    def line(self, label):
        return self.lines.get(self.texts["label." + label])

    def rows(self, header, names):
        """The body below these captions, as dictionaries by `names`; identity cells left blank repeat the row above."""
        found = self.comparison.header_of(self.sheet, header)
        if not found:
            return
        top, left = found
        captions = {self.sheet.cell(top, column).value: column for column in range(1, left + len(header))}
        identity = {key: captions.get(self.texts["heading." + name]) for key, name in
                    (("book", "workbook"), ("sheet", "worksheet"), ("name", "name"), ("cell", "cell"))}
        last = {}
        for row in itertools.count(top + 1):
            cells = {name: self.sheet.cell(row, left + at) for at, name in enumerate(names) if name}
            if all(cell.value is None for cell in cells.values()):
                return
            for key, column in identity.items():
                if column and self.sheet.cell(row, column).value is not None:
                    last[key] = self.sheet.cell(row, column).value
            yield tuple(last.get(key) for key in ("book", "sheet", "name", "cell")), cells


def step_number(value):
    return int(re.search(r"\d+", str(value))[0])


class Reader:
    def __init__(self, workbook, shown, texts):
        self.comparison = Comparison(workbook)
        self.texts, self.facts = texts, Facts()
        self.shown = shown
        self.labels = {}  # (simulation, label of an output) -> its positions

    def sheets(self, title):
        return [Sheet(self.comparison, sheet, self.texts) for sheet in self.comparison.sheets_titled(self.texts[title])]

    def outputs_of(self, sheets):
        """Each sheet with the position of its output: the sheets of a kind stand in the order of the outputs."""
        taken = collections.Counter()
        for sheet in sheets:
            key = (sheet.simulation, self.label_of(sheet))
            positions = self.labels[key]
            yield positions[min(taken[key], len(positions) - 1)], sheet
            taken[key] += 1

    def label_of(self, sheet):
        return str(sheet.line("output")).strip()

    def add_steps(self, place, simulation, output, source, cells, sheet):
        step = step_number(cells["step"].value)
        for name, cell in cells.items():
            if name == "step":
                continue
            about = output if name.startswith("output") else None
            self.facts.add(place, (simulation, about, source, step, name), cell.value, f"{sheet.title}!{cell.coordinate}")

    def read(self):
        details = self.sheets("output_detail.title")
        for position, sheet in enumerate(details):
            at = sum(1 for other in details[:position] if other.simulation == sheet.simulation)
            self.labels.setdefault((sheet.simulation, self.label_of(sheet)), []).append(at)
        for report, place in (("tornado", "tornado"), ("spider", "spider"), ("sensitivity", "sensitivity"),
                              ("output_detail", "output detail"), ("multi_tornado", "multi-way tornado")):
            for output, sheet in self.outputs_of(self.sheets(report + ".title")):
                self.facts.add(place, (sheet.simulation, output, "base"), sheet.line("base_value"), sheet.sheet.title)
                getattr(self, "read_" + place.replace(" ", "_").replace("-", "_"))(place, output, sheet)
        for sheet in self.sheets("detail_by_input.title"):
            self.read_detail_by_input(sheet)
        for sheet in self.sheets("multi_way.title"):
            self.read_multi_way_detail(sheet)
        for simulation, shown in enumerate(self.shown, start=1):
            self.read_shown(simulation, shown)
        self.read_summaries(details)

    def read_tornado(self, place, output, sheet):
        header = [*self.texts.headings("rank name cell value change_percent value value change_percent value"),
                  self.texts["label.base_value"]]
        names = ["rank", None, None, "low", "low change", "input at low", "high", "high change", "input at high", "input base"]
        for source, cells in sheet.rows(header, names):
            rank = cells["rank"].value
            for name in names[3:]:
                where = f"{sheet.sheet.title}!{cells[name].coordinate}"
                self.facts.add(place, (sheet.simulation, output, "rank", rank, name), cells[name].value, where)
            self.facts.add(place, (sheet.simulation, output, "rank", rank, "cell"), source[3], sheet.sheet.title)
            self.ends(place, sheet, output, source, {"low": cells["low"].value, "high": cells["high"].value})

    def ends(self, place, sheet, output, source, ends):
        for end, value in ends.items():
            self.facts.add(place, (sheet.simulation, output, source, end), value, sheet.sheet.title)

    def read_spider(self, place, output, sheet):
        header = self.texts.headings("name cell step value change change_percent value change change_percent")
        names = [None, None, "step", "input value", "input change", "input percent", "output value", "output change", "output percent"]
        results = collections.defaultdict(list)
        for source, cells in sheet.rows(header, names):
            self.add_steps(place, sheet.simulation, output, source, cells, sheet.sheet)
            results[source].append(cells["output value"].value)
        self.ends_of_steps(place, sheet, output, results)

    read_sensitivity = read_spider

    def ends_of_steps(self, place, sheet, output, results):
        for source, values in results.items():
            numbers = [value for value in values if isinstance(value, (int, float))]
            self.ends(place, sheet, output, source, {"low": min(numbers, default=NOTHING), "high": max(numbers, default=NOTHING)})

    def read_output_detail(self, place, output, sheet):
        texts = self.texts
        figures = texts.headings("cell step value change_percent value change_percent")
        captions = [(texts.headings("rank name") + places + figures, len(places)) for places in
                    ([], texts.headings("worksheet"), texts.headings("workbook worksheet"))]
        header, places = next((c for c in captions if self.comparison.header_of(sheet.sheet, c[0])), captions[0])
        names = [None] * (3 + places) + ["step", "input value", "input percent", "output value", "output percent"]
        results = collections.defaultdict(list)
        for source, cells in sheet.rows(header, names):
            self.add_steps(place, sheet.simulation, output, source, cells, sheet.sheet)
            results[source].append(cells["output value"].value)
        self.ends_of_steps(place, sheet, output, results)

    def read_detail_by_input(self, sheet):
        outputs = len(self.shown[sheet.simulation - 1]["outputs"])
        three = self.texts.headings("value change change_percent")
        header = self.texts.headings("cell step") + three * (1 + outputs)
        names = [None, "step", "input value", "input change", "input percent"]
        names += [(k, name) for k in range(outputs) for name in ("output value", "output change", "output percent")]
        for source, cells in sheet.rows(header, names):
            of_input = {name: cell for name, cell in cells.items() if isinstance(name, str)}
            self.add_steps("detail by input", sheet.simulation, None, source, of_input, sheet.sheet)
            for k in range(outputs):
                of_output = {name[1]: cell for name, cell in cells.items() if isinstance(name, tuple) and name[0] == k}
                self.add_steps("detail by input", sheet.simulation, k, source, {"step": cells["step"], **of_output}, sheet.sheet)

    def read_multi_way_tornado(self, place, output, sheet):
        header = [*self.texts.headings("rank"), self.texts["multi_tornado.input_or_group"],
                  *self.texts.headings("value change_percent value change_percent")]
        names = ["rank", None, "low", "low change", "high", "high change"]
        for _, cells in sheet.rows(header, names):
            for name in names[2:]:
                self.facts.add(place, (sheet.simulation, output, "group", cells["rank"].value, name), cells[name].value,
                               f"{sheet.sheet.title}!{cells[name].coordinate}")

    def read_multi_way_detail(self, sheet):
        """Groups by the rank that they have for an output, which stands in the first row of each."""
        outputs = len(self.shown[sheet.simulation - 1]["outputs"])
        texts, place = self.texts, "multi-way detail"
        header = [*texts.headings("value change_percent"), texts["multi_way.in_group"], *texts.headings("rank"),
                  texts["multi_way.interaction"]] * outputs
        found = self.comparison.header_of(sheet.sheet, header)
        if not found:
            return
        top, left = found
        ranks, groups = {}, collections.defaultdict(list)
        for row in range(top + 1 + 2 * outputs + 3, sheet.sheet.max_row + 1):
            group = sheet.sheet.cell(row, 2).value
            if not isinstance(group, int):
                break
            for k in range(outputs):
                result, change, _, rank, interaction = (sheet.sheet.cell(row, left + 5 * k + at).value for at in range(5))
                if rank is not None:
                    ranks[k, group] = rank
                    self.facts.add(place, (sheet.simulation, k, "group", rank, "interaction"), interaction, sheet.sheet.title)
                if isinstance(result, (int, float)):
                    groups[k, group].append((result, change))
        for (k, group), results in groups.items():
            for end, choose in (("low", min), ("high", max)):
                value, change = choose(results, key=lambda result: result[0])
                self.facts.add(place, (sheet.simulation, k, "group", ranks[k, group], end), value, sheet.sheet.title)
                self.facts.add(place, (sheet.simulation, k, "group", ranks[k, group], end + " change"), change, sheet.sheet.title)

    def read_shown(self, simulation, shown):
        names = {"low": "low", "low change": "lowChange", "input at low": "inputAtLow", "high": "high",
                 "high change": "highChange", "input at high": "inputAtHigh", "cell": "cell"}
        for k, output in enumerate(shown["outputs"]):
            where = f"show, output {k + 1}"
            self.facts.add("show", (simulation, k, "base"), output["base"], where)
            for effect in output["inputs"]:
                for name, field in names.items():
                    self.facts.add("show", (simulation, k, "rank", effect["rank"], name), effect[field], where)
            for group in output.get("groups", []):
                for name in ("low", "high", "low change", "high change", "interaction"):
                    field = re.sub(" c", "C", name)
                    self.facts.add("show", (simulation, k, "group", group["rank"], name), group[field], where)

    def read_summaries(self, details):
        """The totals are those of the sheets."""
        for sheet in self.sheets("summary.title"):
            found = self.comparison.header_of(sheet.sheet, [self.texts["summary.labels"], self.texts["summary.values"]])
            totals = {sheet.sheet.cell(row, 1).value: sheet.sheet.cell(row, 2).value for row in range(found[0] + 1, found[0] + 12)}
            of_simulation = [s for s in details if s.simulation == sheet.simulation]
            drawn = sum(1 for s in self.sheets("tornado.title") if s.simulation == sheet.simulation)
            without = len(of_simulation) - drawn
            for name, count in (("outputs_selected", len(of_simulation)), ("outputs_without_graph", without)):
                quantity = (sheet.simulation, "total", name)
                self.facts.add("summary", quantity, totals[self.texts["summary." + name]], sheet.sheet.title)
                self.facts.add("sheets", quantity, count, "sheets")


def main():
    workbook, *shown = sys.argv[1:]
    shown = [json.loads(pathlib.Path(path).read_text(encoding="utf-8")) for path in shown]
    reader = Reader(workbook, shown, Texts(STRINGS))
    reader.read()
    contradictions = list(reader.facts.contradictions())
    for quantity, places in contradictions[:40]:
        print(quantity, "; ".join(f"{place} {where}: {value!r}" for place, (value, where) in sorted(places.items())))
    shared = reader.facts.shared()
    for pair, count in sorted(shared.items()):
        print(f"{pair[0]} and {pair[1]}: {count} numbers in both")
    has_groups = any(output.get("groups") for of_run in shown for output in of_run["outputs"])
    expected = MUST_SHARE + (MUST_SHARE_WITH_GROUPS if has_groups else [])
    apart = [pair for pair in expected if not shared[tuple(sorted(pair))]]
    for pair in apart:
        print(f"{pair[0]} and {pair[1]} share no number")
    print(f"{len(contradictions)} contradictions")
    sys.exit(1 if contradictions or apart else 0)


if __name__ == "__main__":
    main()
