#!/usr/bin/python3
"""Recalculates the reports of a run the slow and obvious way and compares every number of a report workbook.

Usage: oracle.py RUN.run.json WORKBOOK.xlsx [--percent] [--max-inputs N] [--threshold X]
       [--low-color RRGGBB|none] [--all-inputs] [--target X] [--shown FOLDER]

Reads the run file itself; nothing here comes from the program. The workbook must hold every report. FOLDER holds 1.json,
2.json, ..., what `ordvane show --json` says of each simulation: numbers of the same kind. Prints the differences and exits 1
when there are any. Numbers must be equal to the last bit: the operations and their order are part of the reports. Answers are
compared to a part in 1e9: here they are worked out in another way.
"""

import argparse
import collections
import csv
import itertools
import json
import math
import pathlib
import posixpath
import re
import sys
import warnings
import xml.etree.ElementTree as ElementTree
import zipfile

import openpyxl
import openpyxl.styles.stylesheet
from openpyxl.utils import range_boundaries

# Dates are compared as the numbers they are.
openpyxl.styles.stylesheet.is_date_format = lambda _: False

NOTHING = " - "
MISSING = -1e300
# Errors sort below the missing number and everything else; those with the higher number come first.
ERRORS = {"#NULL!": 2000, "#DIV/0!": 2007, "#VALUE!": 2015, "#REF!": 2023, "#NAME?": 2029, "#NUM!": 2036, "#N/A": 2042}



# ---- The run ----

def number_of(field):
    """A field of the run as a number: empty is missing, an error or a text is far below every number."""
    if field is None or field == "":
        return MISSING
    if isinstance(field, (int, float)) or re.fullmatch(r"-?[0-9.]+([eE][-+]?[0-9]+)?", field):
        return float(field)
    return -1e302 * ERRORS.get(field, ERRORS["#VALUE!"])


def usable(value):
    return math.isfinite(value) and value > MISSING


class Run:
    def __init__(self, path):
        run = json.loads(path.read_text(encoding="utf-8"))
        self.simulations = run.get("simulations", 1)
        self.every_input, self.outputs = run["inputs"], run["outputs"]
        self.inputs = [item for item in self.every_input if item.get("savedSamples", True)]
        for item in self.inputs + self.outputs:
            item["base"] = number_of(item.get("base"))
        table = run["recalculations"]
        if isinstance(table, str):
            with (path.parent / table).open(encoding="utf-8-sig", newline="") as file:
                table = list(csv.reader(file))[1:]
        # values[simulation][input][step] = [input's value, output 1, output 2, ...]
        self.values = [[[None] * item["steps"] for item in self.every_input] for _ in range(self.simulations)]
        for row in table:
            simulation, position, step = (int(field) for field in row[:3])
            self.values[simulation - 1][position - 1][step - 1] = [number_of(field) for field in row[3:]]
        kept = [i for i, item in enumerate(self.every_input) if item.get("savedSamples", True)]
        self.values = [[of_inputs[i] for i in kept] for of_inputs in self.values]
        self.recalculations = sum(item["steps"] for item in self.inputs)
        self.read_groups(run, path, kept)
        books = {item["book"] for item in self.inputs}
        sheets = {item["sheet"] for item in self.inputs}
        self.target = None  # of all outputs
        self.range_mode = 2 if len(books) > 1 else 1 if len(sheets) > 1 else 0

    def read_groups(self, run, path, kept):
        """groups[g] = members as positions in `inputs`; combinations[simulation][g] = rows like those of `values`."""
        groups = run.get("groups", [])
        if isinstance(groups, dict):
            every = itertools.combinations([i + 1 for i in kept], groups["size"])
            groups = [{"members": list(members), "steps": groups["steps"]} for members in every]
        self.groups = [[kept.index(member - 1) for member in group["members"]] for group in groups]
        table = run.get("groupRecalculations", [])
        if isinstance(table, str):
            with (path.parent / table).open(encoding="utf-8-sig", newline="") as file:
                table = list(csv.reader(file))[1:]
        self.widest = max(map(len, self.groups), default=0)
        self.combinations = [[[] for _ in groups] for _ in range(self.simulations)]
        for row in table:
            group = self.groups[int(row[1]) - 1]
            self.combinations[int(row[0]) - 1][int(row[1]) - 1].append(
                ([number_of(field) for field in row[3:3 + len(group)]],
                 [number_of(field) for field in row[3 + self.widest:]]))
        self.multi_way = sum(len(rows) for rows in self.combinations[0])


# ---- The arithmetic ----

def difference(value, base):
    """Without what rounding leaves behind: a part in 1e12 of the larger number."""
    return 0.0 if abs(value - base) <= 1e-12 * max(abs(value), abs(base)) else value - base


def change(value, base):
    """Fractional change of an input or output."""
    return difference(value, base) / abs(base) if usable(value) and usable(base) and base != 0 else MISSING


def shown(value):
    return value if usable(value) else NOTHING


def told(value):
    return value if usable(value) else None


def shown_difference(value, base):
    return difference(value, base) if usable(value) and usable(base) else NOTHING


def shown_change(value, base):
    return shown(change(value, base))


Effect = collections.namedtuple("Effect", "low low_change low_input high high_change high_input")
NO_EFFECT = Effect(*[MISSING] * 6)


def effect_of(steps, output, base):
    """Lowest and highest value of an output over one input's steps, the first step where there are several."""
    rows = [(row[1 + output], change(row[1 + output], base), row[0]) for row in steps if usable(row[1 + output])]
    if not rows:
        return NO_EFFECT
    return Effect(*min(rows, key=lambda row: row[0]), *max(rows, key=lambda row: row[0]))


Facts = collections.namedtuple("Facts", "moves compared idle")


def facts_of(results, base):
    """Whether results differ from each other or from the base, whether there was anything to compare, and whether all is
    known and nothing moved."""
    numbers = list(filter(usable, results))
    moves = any(difference(number, other) != 0 for number in numbers[:1] for other in numbers[1:])
    moves = moves or usable(base) and any(difference(number, base) != 0 for number in numbers)
    compared = len(numbers) > 1 or bool(numbers) and usable(base)
    return Facts(moves, compared, compared and not moves and len(numbers) == len(results))


def leaves_out_base(steps, output, base, output_base):
    """No step stood at the input's base, and the base lies outside the values tried, or the output's outside the results."""
    rows = [(row[0], row[1 + output]) for row in steps if usable(row[1 + output])]
    tried, results = [value for value, _ in rows if usable(value)], [result for _, result in rows]
    if not rows or not usable(base) or any(difference(value, base) == 0 for value in tried):
        return False

    def outside(values, value):
        return not values or difference(value, min(values)) < 0 or difference(value, max(values)) > 0
    return outside(tried, base) or usable(output_base) and outside(results, output_base)


# ---- What the steps answer ----

class Near(float):
    """A figure that is worked out in another way than the program's."""

    def __eq__(self, other):
        return isinstance(other, (int, float)) and math.isclose(self, other, rel_tol=1e-9, abs_tol=1e-300)

    def __ne__(self, other):
        return not self == other

    __hash__ = None


def near(value):
    return None if value is None or not math.isfinite(value) else Near(value)


Answers = collections.namedtuple("Answers", "share cumulative down up elasticity arc roots turns bend failed")


def roots_of(points, target, asked=None):
    """Where the points, None for a failed one, reach the target: those on it, and between neighbours on both sides.
    Each with whether a step stands there, and whether it is the answer of the model. `asked`: those, all of them."""
    size = max([abs(target)] + [abs(point[1]) for point in points if point])
    side = [point and (0 if abs(point[1] - target) <= 1e-12 * size else math.copysign(1, point[1] - target)) for point in points]
    side = [None] + side + [None]
    roots = []
    for here, point in enumerate(points, start=1):
        if side[here] == 0 and not side[here - 1] == side[here + 1] == 0:
            roots.append((point[0], True, False))
        if side[here] and side[here + 1] == -side[here]:
            (x, y), (to_x, to_y) = point, points[here]
            if asked is None:
                roots.append((x + (to_x - x) * ((target - y) / (to_y - y)), False, False))
                continue
            answer = next(answer for answer in asked if x <= answer["value"] <= to_x)
            if answer["result"] is not None and abs(answer["result"] - target) <= 1e-6 * abs(to_y - y):
                roots.append((answer["value"], False, True))
    return roots


def elasticity_of(points, base, output_base):
    """From the steps beside the base, or from the base and the step beside it. A step that failed has no result."""
    if 0 in (base, output_base) or not usable(base) or not usable(output_base):
        return None
    sides = [0 if difference(x, base) == 0 else math.copysign(1, x - base) for x, _ in points]
    if any(side == 0 and point[1] is None for point, side in zip(points, sides)):
        return None
    below = [point for point, side in zip(points, sides) if side < 0][-1:]
    above = [point for point, side in zip(points, sides) if side > 0][:1]
    middle = ([point for point, side in zip(points, sides) if side == 0] or [(base, output_base)])[-1]
    ends = [point for point in below + above if point[1] is not None]
    if not ends:
        return None
    (x, y), (to_x, to_y) = sorted((ends + [middle])[:2], key=lambda point: point[0])
    return difference(to_y, y) / abs(output_base) / ((to_x - x) / abs(base))


def is_date(item):
    """Said to be one, or shown as one: its format has letters of dates that are no text."""
    code = re.sub(r'"[^"]*"|\\.|\[[^\]]*\]', "", item.get("numberFormat", "General"))
    return item.get("date", False) or (code != "General" and re.search("[dmyhs]", code, re.IGNORECASE) is not None)


def arc_of(points):
    (x, y), (to_x, to_y) = points[0], points[-1]
    if 0 in (x + to_x, y + to_y, to_x - x):
        return None
    return (to_y - y) / abs((y + to_y) / 2) / ((to_x - x) / abs((x + to_x) / 2))


def turns_and_bend(points):
    """Input values of the highest and the lowest result inside, and the distance from the line between the ends."""
    (x, y), (to_x, to_y) = points[0], points[-1]
    results = [point[1] for point in points]
    swing = difference(max(results), min(results))
    if len(points) < 2 or swing == 0:
        return [], None
    rounding = 1e-12 * max(map(abs, results))
    turns = [next(point[0] for point in points if point[1] == extreme) for extreme, ends in
             ((max(results), max(y, to_y)), (min(results), min(y, to_y))) if abs(extreme - ends) > rounding]
    if x == to_x:
        return turns, None
    lines = [y + (to_y - y) * ((point[0] - x) / (to_x - x)) for point in points]
    distances = [abs(result - line) for result, line in zip(results, lines)]
    return turns, max((distance for distance in distances if distance > rounding), default=0) / swing


def target_of(run, item, i):
    """What the output is to reach, and what the model answered about the input, where it was asked for that target."""
    own = item.get("target", 0)
    if "breakEven" not in item or run.target not in (None, own):
        return own if run.target is None else run.target, None
    return own, [answer for answer in item["breakEven"] if answer["input"] == i + 1]


def answers_of(run, values, output, effects, ranks, facts):
    item, of_inputs = run.outputs[output], []
    widest = max((difference(effect.high, effect.low) for effect in effects), default=0)
    parts = [(difference(effect.high, effect.low) / widest) ** 2 if widest else 0 for effect in effects]
    for i, (steps, effect) in enumerate(zip(values, effects)):
        known = sorted((row for row in steps if usable(row[0])), key=lambda row: row[0])
        every = [(row[0], row[1 + output]) if usable(row[1 + output]) else None for row in known]
        points = [point for point in every if point]
        with_failed = [(row[0], row[1 + output] if usable(row[1 + output]) else None) for row in known]
        failed = sum(1 for row in steps if not usable(row[1 + output]))
        if failed == len(steps):
            of_inputs.append(Answers(*[None] * 6, [], [], None, failed))
            continue
        share = math.fsum(parts) and parts[i] / math.fsum(parts)
        so_far = math.fsum(part for part, rank in zip(parts, ranks) if rank <= ranks[i]) / (math.fsum(parts) or 1)
        shares = (share, so_far) if widest and points else (None, None)
        has_base = usable(item["base"])
        dates = is_date(item) or is_date(run.inputs[i])
        turns, bend = turns_and_bend(points) if points else ([], None)
        of_inputs.append(Answers(
            *shares, min(difference(effect.low, item["base"]), 0) if has_base else None,
            max(difference(effect.high, item["base"]), 0) if has_base else None,
            None if dates else elasticity_of(with_failed, run.inputs[i]["base"], item["base"]),
            arc_of(points) if len(points) > 1 and not dates else None,
            [] if facts[i].idle else roots_of(every, *target_of(run, item, i)), turns, bend, failed))
    return of_inputs


def one_of(values):
    """The cell of a list of input values: the only one; of several the text is not looked at."""
    return NOTHING if not values else Near(values[0]) if len(values) == 1 else None


def answer_cells(answers, fields):
    return [answers.failed if field == "failed" else one_of([root[0] for root in answers.roots]) if field == "roots"
            else one_of(answers.turns) if field == "turns"
            else NOTHING if getattr(answers, field) is None else near(getattr(answers, field)) for field in fields]


def ranks_of(swings):
    """1 for the largest; equal ones in their order."""
    order = sorted(range(len(swings)), key=lambda i: -swings[i])
    ranks = [0] * len(swings)
    for rank, i in enumerate(order, start=1):
        ranks[i] = rank
    return ranks


def quicksort(keys, companion, low, high):
    """Positions count from 1. Which of two equal keys comes first is decided by the swaps alone."""
    if low >= high:
        return
    pivot, left, right = keys[(low + high) // 2], low, high
    while left <= right:
        while keys[left] < pivot and left < high:
            left += 1
        while pivot < keys[right] and right > low:
            right -= 1
        if left <= right:
            keys[left], keys[right] = keys[right], keys[left]
            companion[left], companion[right] = companion[right], companion[left]
            left, right = left + 1, right - 1
    quicksort(keys, companion, low, right)
    quicksort(keys, companion, left, high)


class OutputResult:
    def __init__(self, run, simulation, output, options):
        values = run.values[simulation]
        self.item, self.base = run.outputs[output], run.outputs[output]["base"]
        self.position, self.values = output, values
        self.effects = [effect_of(steps, output, self.base) for steps in values]
        self.facts = [facts_of([row[1 + output] for row in steps], self.base) for steps in values]
        self.ranks = ranks_of([effect.high - effect.low for effect in self.effects])
        self.answers = answers_of(run, values, output, self.effects, self.ranks, self.facts)
        self.limit = min(options.max_inputs, len(run.inputs))  # inputs on a graph; 0 for an output without graphs
        if options.threshold is not None and not self.item.get("date", False):
            self.limit = min(self.limit, self.over_threshold(options.threshold))

    def over_threshold(self, threshold):
        """How many inputs, by rank, come before the first whose swing in percent is below the threshold."""
        if self.base == 0 or not usable(self.base):
            return len(self.ranks)
        by_rank = sorted(zip(self.ranks, self.effects))
        for count, (_, effect) in enumerate(by_rank):
            if abs(effect.high_change - effect.low_change) < threshold:
                return count
        return len(by_rank)

    def step_ranks(self):
        """{(input, step): rank}, 1 for the lowest change of the output."""
        where = [(i, s) for i, steps in enumerate(self.values) for s in range(len(steps))]
        keys, companion = [None], list(range(len(where) + 1))
        for i, s in where:
            value = self.values[i][s][1 + self.position]
            keys.append(MISSING if value == MISSING else value - self.base)
        quicksort(keys, companion, 1, len(where))
        return {where[recalculation - 1]: rank for rank, recalculation in enumerate(companion) if rank}


JointEffect = collections.namedtuple("JointEffect", "low low_at high high_at swing width interaction")


def equal(a, b):
    return usable(a) and usable(b) and difference(a, b) == 0


def same_reach(first, second):
    """Two lists of values reach from the same least to the same greatest one."""
    first, second = [list(filter(usable, values)) for values in (first, second)]
    if not first or not second:
        return not first and not second
    return equal(min(first), min(second)) and equal(max(first), max(second))


def is_comparable(members, rows, output, alone):
    """Whether the swing of a group and the swings of its members come from the same values."""
    results = [row[1][output] for row in rows]
    own = [[step[1 + output] for step in alone[m]] for m in members]
    if not all(usable(result) for values in [results, *own] for result in values):
        return False
    tried = [[[step[0] for step in alone[m]], [row[0][k] for row in rows]] for k, m in enumerate(members)]
    if not all(same_reach(*values) for values in tried):
        return False
    # Without the steps and combinations that have no counterpart, every swing must be what it is with them.
    for (steps, joint), values in zip(tried, own):
        kept = [result for step, result in zip(steps, values) if any(equal(step, value) for value in joint)]
        if not same_reach(kept, values):
            return False
    kept = [result for row, result in zip(rows, results)
            if all(any(equal(value, step) for step in steps) for value, (steps, _) in zip(row[0], tried))]
    return same_reach(kept, results)


def joint_effect(members, rows, output, base, alone):
    """What a group's combinations do to an output, beside what each member does alone."""
    results = [(results[output], number) for number, (_, results) in enumerate(rows) if usable(results[output])]
    if not results:
        return JointEffect(MISSING, None, MISSING, None, 0, 0, MISSING)
    low, low_at = min(results, key=lambda result: result[0])
    high, high_at = max(results, key=lambda result: result[0])
    swing = difference(high, low)
    width = change(high, base) - change(low, base) if usable(base) and base != 0 else swing
    interaction = MISSING
    if is_comparable(members, rows, output, alone):
        own_swings, largest = 0.0, max(abs(low), abs(high))
        for m in members:
            effect = effect_of(alone[m], output, base)
            own_swings += difference(effect.high, effect.low)
            largest = max(largest, abs(effect.high), abs(effect.low))
        interaction = swing - own_swings
        if abs(interaction) <= 1e-12 * largest * (len(members) + 1):
            interaction = 0  # rounding alone
    return JointEffect(low, low_at, high, high_at, swing, width, interaction)


class JointResult:
    """All groups of one output."""

    def __init__(self, run, simulation, output, alone, options):
        self.item, self.base, self.position = run.outputs[output], run.outputs[output]["base"], output
        self.rows = run.combinations[simulation]
        self.joint = [joint_effect(members, rows, output, self.base, alone.values)
                      for members, rows in zip(run.groups, self.rows)]
        self.facts = [facts_of([results[output] for _, results in rows], self.base) for rows in self.rows]
        self.ranks = ranks_of([effect.swing for effect in self.joint])
        self.order = sorted(range(len(self.ranks)), key=lambda g: self.ranks[g])
        self.limit = min(options.max_inputs, len(self.ranks))
        if self.base != 0 and usable(self.base):
            narrow = [rank for rank, g in enumerate(self.order) if abs(self.joint[g].width) < (options.threshold or 0)]
            self.limit = min([self.limit, *narrow])
        # What the bars reach over, as for single inputs.
        self.effects = [Effect(e.low, change(e.low, self.base), None, e.high, change(e.high, self.base), None)
                        for e in self.joint]


def variance_shares(values, results):
    """The parts of the variance that each member makes alone, and what only all together make, over a whole grid: None
    where there is none. `results` by the places of the members' values."""
    count, largest = len(results), max(map(abs, results.values()))
    if not all(map(usable, results.values())):
        return None
    mean = sum_of(results.values()) / count

    def beyond_rounding(variance):
        return 0.0 if math.sqrt(variance) <= 1e-12 * largest else variance
    parts, effects = [], []
    for m, tried in enumerate(values):
        of_values = [sum_of(r for places, r in results.items() if places[m] == i) / (count / len(tried)) - mean
                     for i in range(len(tried))]
        effects.append(of_values)
        parts.append(beyond_rounding(sum_of(effect * effect for effect in of_values) / len(tried)))
    left = []
    for places, result in results.items():
        rest = result - mean
        for of_values, place in zip(effects, places):
            rest -= of_values[place]
        left.append(rest * rest)
    parts.append(beyond_rounding(sum_of(left) / count))
    variance = sum_of(parts)
    return [part / variance for part in parts] if variance > 0 else None


def sum_of(numbers):
    """One after the other, as a loop adds them: sum() of Python rounds less."""
    total = 0.0
    for number in numbers:
        total += number
    return total


# ---- The tables ----

class Texts:
    def __init__(self, path):
        self.by_name = {}
        for line in path.read_text(encoding="utf-8").splitlines():
            match = re.match(r"([a-z_.]+)\s*=\s*(.*?)\s*$", line)
            if match:
                text = match[2].replace("\\\\", "\0").replace("\\s", " ").replace("\\n", "\n").replace("\0", "\\")
                self.by_name[match[1]] = text

    def __getitem__(self, name):
        return self.by_name[name]

    def headings(self, names):
        return [self["heading." + name] for name in names.split()]

    def places(self, run):
        return self.headings("workbook") * (run.range_mode == 2) + self.headings("worksheet") * (run.range_mode > 0)


def label(item):
    """An item as tables name it: by its name or the texts beside its cell, and its cell."""
    name = item.get("name", "").strip() or " / ".join(text["text"] for text in item.get("labels", []))
    return f'{name} ({item["cell"]})' if name else f'({item["cell"]})'


def places(run, item):
    """The columns that say where an input is."""
    return [item["book"]] * (run.range_mode == 2) + [item["sheet"]] * (run.range_mode > 0)


def tornado_table(texts, run, result):
    header = [*texts.headings("rank name cell value change_percent value value change_percent value"), texts["label.base_value"],
              *texts.headings("input"), *[texts["answers." + name] for name in (
                  "share cumulative downside upside elasticity_base elasticity_arc turns_at bend failed").split()]]
    rows = [None] * result.limit
    for item, rank, effect, facts, answers in zip(run.inputs, result.ranks, result.effects, result.facts, result.answers):
        if rank <= result.limit:
            if facts.idle:  # no step is behind its ends
                effect = effect._replace(low_input=MISSING, high_input=MISSING)
            rows[rank - 1] = places(run, item) + [rank, label(item), item["cell"], *map(shown, effect),
                                                  shown(item["base"])] + answer_cells(
                answers, "roots share cumulative down up elasticity arc turns bend failed".split())
    return header, rows


def filled(text, *arguments):
    for place, argument in enumerate(arguments, start=1):
        text = text.replace(f"{{{place}}}", str(argument))
    return text


def tornado_remarks(texts, run, result, options):
    """The lines between chart and table: inputs left out, results that are no numbers, steps that leave out the base."""
    items = list(zip(run.inputs, result.ranks, result.facts, result.values))
    idle = [label(item) for item, rank, facts, _ in sorted(items, key=lambda row: row[1])
            if rank <= result.limit and facts.idle and not options.all_inputs]
    failed, without_base = [], []
    for item, rank, facts, steps in items:
        bad = sum(1 for row in steps if not usable(row[1 + result.position]))
        if bad:
            failed.append(filled(texts["inputs.failed_results_item"], label(item), bad, len(steps)))
        if rank <= result.limit and not facts.idle and leaves_out_base(steps, result.position, item["base"], result.base):
            without_base.append(label(item))
    lines = []
    for line, entries in (("without_effect", idle if len(idle) < result.limit else []), ("failed_results", failed),
                          ("base_left_out", without_base)):
        text = ", ".join(entries[:12])
        if len(entries) > 12:
            text = filled(texts["list.further"], text, len(entries) - 12)
        lines += [filled(texts["inputs." + line], text)] * bool(entries)
    return lines


def step_table(texts, run, result):
    """The table of the spider and the sensitivity graph."""
    header, rows = texts.headings("name cell step value change change_percent value change change_percent"), []
    for item, rank, steps in zip(run.inputs, result.ranks, result.values):
        if rank > result.limit:
            continue
        base = item["base"]
        for step, row in enumerate(steps, start=1):
            value = row[1 + result.position]
            rows.append(places(run, item) + [
                label(item), item["cell"], step, shown(row[0]), shown_difference(row[0], base), shown_change(row[0], base),
                shown(value), shown_difference(value, result.base), shown_change(value, result.base)])
    return header, rows


def sensitivity_table(texts, run, result):
    """The step table with answers in the first row of every input."""
    header, rows = step_table(texts, run, result)
    header += texts.headings("input") + [texts["answers." + name] for name in "share elasticity_base turns_at bend".split()]
    shown_inputs = (answers for answers, rank in zip(result.answers, result.ranks) if rank <= result.limit)
    return header, [row + (answer_cells(next(shown_inputs), "roots share elasticity turns bend".split())
                           if row[len(row) - 7] == 1 else [""] * 5) for row in rows]


def output_detail_table(texts, run, result):
    header = (texts.headings("rank name") + texts.places(run) + texts.headings("cell step value change_percent value change_percent"))
    rows = [None] * run.recalculations
    for (i, s), rank in result.step_ranks().items():
        item, row = run.inputs[i], result.values[i][s]
        value = row[1 + result.position]
        rows[rank - 1] = [rank, label(item), *places(run, item), item["cell"], s + 1, shown(row[0]),
                          shown_change(row[0], item["base"]), shown(value),
                          shown(change(value, result.base))]
    return header, rows[:65525]


def detail_by_input_table(texts, run, results):
    results = results[:80]
    header = (texts.headings("name") + texts.places(run) + texts.headings("cell step")
              + texts.headings("value change change_percent") * (1 + len(results)))
    rows = []
    for item, steps in zip(run.inputs, results[0].values):
        for step, row in enumerate(steps, start=1):
            line = [label(item), *places(run, item), item["cell"], texts["detail_by_input.step"].replace("{1}", str(step))]
            for value, base in [(row[0], item["base"])] + [(row[1 + r.position], r.base) for r in results]:
                line += [shown(value), shown_difference(value, base), shown_change(value, base)]
            rows.append(line)
    return header, rows[:65525]


def multi_tornado_table(texts, run, result):
    header = [*texts.headings("rank"), texts["multi_tornado.input_or_group"],
              *texts.headings("value change_percent value change_percent")]
    rows = []
    for rank, g in enumerate(result.order[:result.limit], start=1):
        items = [run.inputs[m] for m in run.groups[g]]
        where = [", ".join(dict.fromkeys(item[kind] for item in items)) for kind in ("book", "sheet")]
        effect = result.effects[g]
        rows.append(where[2 - run.range_mode:] + [
            rank, " \u00d7 ".join(label(item) for item in items), shown(effect.low), shown(effect.low_change),
            shown(effect.high), shown(effect.high_change)])
    return header, rows


def in_reading_order(rows):
    """Positions of a group's combinations by what the first member is set to, then the second, ..."""
    return sorted(range(len(rows)), key=lambda position: rows[position][0])


def combination_cells(texts, run, results, g, position, first):
    """One row of the multi-way detail behind its number: the group, its members, then every output."""
    values = results[0].rows[g][position][0]
    cells = [results[0].ranks[g]]
    for m, value in zip(run.groups[g], values):
        item = run.inputs[m]
        cells += [label(item), *places(run, item), shown(value)]
    cells += [""] * ((run.widest - len(values)) * (2 + run.range_mode))
    for r in results:
        value, effect = r.rows[g][position][1][r.position], r.joint[g]
        ends = {effect.high_at: texts["range.high"], effect.low_at: texts["range.low"]}
        side = "" if effect.swing == 0 else ends.get(position, "")
        cells += [shown(value), shown(change(value, r.base)), side]
        cells += [r.ranks[g], shown(effect.interaction)] if first else ["", ""]
    return cells


def multi_detail_tables(texts, run, results):
    """The highest and lowest results, and every combination; the second stands under the columns of the first."""
    results = results[:80]
    of_member = texts.headings("name") + texts.places(run)
    header = ([texts["multi_way.combination"], texts["multi_way.group"]] + (of_member + texts.headings("value")) * run.widest
              + [*texts.headings("value change_percent"), texts["multi_way.in_group"], *texts.headings("rank"),
                 texts["multi_way.interaction"]] * len(results))
    extremes = []
    for r in results:
        name = r.item.get("name", "").strip()
        left = [""] * (1 + run.widest * (2 + run.range_mode) + 5 * results.index(r))
        right = [""] * (4 + 5 * (len(results) - 1 - results.index(r)))
        for text, end, sign in (("multi_way.highest", "high", -1), ("multi_way.lowest", "low", 1)):
            found = [g for g in results[0].order if usable(r.joint[g].low)]
            line = [texts[text].replace("{1}", name) if name else None]
            if found:
                g = min(found, key=lambda g: sign * getattr(r.joint[g], end))
                line += combination_cells(texts, run, results, g, getattr(r.joint[g], end + "_at"), True)
            else:
                line += [*left, NOTHING, *right]
            extremes.append(line)
    body = []
    for g in results[0].order:
        for number, position in enumerate(in_reading_order(results[0].rows[g])):
            body.append([number + 1] + combination_cells(texts, run, results, g, position, number == 0))
    return header, extremes, body[:65525]


def matrix_table(texts, run, results):
    """Which input moves what: swings beside the widest of each output."""
    results = results[:80]
    header = texts.headings("name") + texts.places(run) + texts.headings("cell") + [
        texts["matrix.share"], *texts.headings("rank")] * len(results)
    rows = [None] * len(run.inputs)
    swings = [[difference(e.high, e.low) if usable(e.high) else MISSING for e in r.effects] for r in results]
    for i, item in enumerate(run.inputs):
        row = [label(item), *places(run, item), item["cell"]]
        for r, of_output in zip(results, swings):
            row += [shown(of_output[i] / max(of_output) if max(of_output) > 0 and usable(of_output[i]) else of_output[i]), r.ranks[i]]
        rows[results[0].ranks[i] - 1] = row
    return header, rows


class GroupGrid:
    """The results of a group by the values of its members."""

    def __init__(self, run, joint, g):
        self.items, rows = [run.inputs[m] for m in run.groups[g]], joint.rows[g]
        self.values = [sorted({row[0][m] for row in rows}) for m in range(len(self.items))]
        self.is_shown = len(self.items) in (2, 3) and all(usable(v) for tried in self.values for v in tried)
        self.results = dict.fromkeys(itertools.product(*(range(len(tried)) for tried in self.values)), MISSING)
        for values, results in reversed(rows):
            self.results[tuple(tried.index(v) for v, tried in zip(values, self.values))] = results[joint.position]

    def base(self):
        places = [[i for i, value in enumerate(tried) if usable(item["base"]) and difference(value, item["base"]) == 0]
                  for item, tried in zip(self.items, self.values)]
        return tuple(of[0] for of in places) if all(places) else None


def grid_shares_table(texts, run, joint):
    """The table above the grids of an output, and the grids below it."""
    grids = [(rank, GroupGrid(run, joint, g)) for rank, g in enumerate(joint.order, start=1)]
    grids = [(rank, grid) for rank, grid in grids if grid.is_shown]
    widest = max([len(grid.items) for _, grid in grids], default=0)
    header = [texts["multi_way.inputs"], *texts.headings("rank"),
              *(filled(texts["grids.alone"], m + 1) for m in range(widest)), texts["grids.together"]]
    rows = []
    for rank, grid in grids:
        shares = variance_shares(grid.values, grid.results) or [NOTHING] * (len(grid.items) + 1)
        blank = [""] * (widest - len(grid.items))
        rows.append([" \u00d7 ".join(map(label, grid.items)), rank, *shares[:-1], *blank, shares[-1]])
    return header, rows, [grid for _, grid in grids]


def summary_table(texts, run, results, options):
    automatic = sum(1 for item in run.inputs if "DralAuto" in item.get("formula", ""))
    unreported = sum(1 for result in results if result.limit <= 0)
    figures = [("runs", run.simulations), ("recalculations", run.recalculations + run.multi_way), ("outputs", len(run.outputs)),
               ("outputs_selected", len(results)), ("outputs_without_graph", unreported), ("inputs", len(run.inputs)),
               ("inputs_of_user", len(run.inputs) - automatic), ("inputs_automatic", automatic),
               ("recalculations_multi_way", run.multi_way), ("most_inputs", options.max_inputs),
               ("smallest_swing", options.threshold or 0)]
    every = [value for result in results for steps in result.values for step in steps
             for value in [step[1 + result.position]]]
    failed = sum(1 for value in every if not usable(value))
    rows = [[texts["summary." + name], value] for name, value in figures]
    if failed:
        rows.append([texts["summary.failed_results"], filled(texts["summary.failed_results_count"], failed, len(every))])
    return [texts["summary.labels"], texts["summary.values"]], rows


def missing_table(texts, run, results):
    """The outputs that no graph could show."""
    header = [texts["not_shown.output"], *texts.headings("cell")]
    return header, [[label(r.item), r.item["cell"]] for r in results if r.limit <= 0]


# ---- The workbook ----

C = "{http://schemas.openxmlformats.org/drawingml/2006/chart}"
A = "{http://schemas.openxmlformats.org/drawingml/2006/main}"


def sheet_and_range(formula):
    title, address = formula.rsplit("!", 1)
    return title.removeprefix("'").removesuffix("'").replace("''", "'"), address


def line_of(steps, input_base, output, output_base, percent):
    """What a graph draws of an input: a point for each step, None for one that lacks a number; none at either end."""
    points = [(row[0], row[1 + output]) for row in steps]
    if percent:
        points = [(change(x, input_base), change(y, output_base)) for x, y in points]
    points = [(x, y) if usable(x) and usable(y) else None for x, y in points]
    drawn = [i for i, point in enumerate(points) if point]
    return points[drawn[0]:drawn[-1] + 1] if drawn else []


class Comparison:
    def __init__(self, workbook):
        warnings.simplefilter("error")  # what another reader finds odd is a fault
        self.book = openpyxl.load_workbook(workbook, data_only=True)
        with zipfile.ZipFile(workbook) as package:
            self.chart_parts = {posixpath.basename(name): ElementTree.fromstring(package.read(name))
                                for name in package.namelist() if re.fullmatch(r"xl/charts/chart\d+\.xml", name)}
        self.differences, self.compared = [], 0

    def differ(self, where, text):
        self.differences.append(f"{where}: {text}")

    def sheets_titled(self, title):
        return [sheet for sheet in self.book.worksheets
                if any(sheet.cell(row, 1).value == title for row in range(1, 4))]

    def header_of(self, sheet, header):
        """Row and column where the column captions begin."""
        for row in sheet.iter_rows():
            captions = [cell.value for cell in row]
            for start in range(len(captions) - len(header) + 1):
                if captions[start:start + len(header)] == header:
                    return row[start].row, row[start].column
        return None

    def table(self, sheet, header, rows, skipped=0, further_down=0):
        """Compares a table's body. `skipped` leading columns stand left of the captions looked for. None in the rows stands
        for anything, "" for an empty cell."""
        found = self.header_of(sheet, header)
        if not found:
            return self.differ(sheet.title, f"no table with the columns {header}")
        top, left = found[0] + 1 + further_down, found[1] - skipped
        for offset, expected in enumerate(rows):
            for column, value in enumerate(expected):
                cell = sheet.cell(top + offset, left + column)
                if value is not None:
                    found_value = "" if cell.value is None else cell.value
                    self.cell(f"{sheet.title}!{cell.coordinate}", found_value, value)
        below = [sheet.cell(top + len(rows), left + column).value for column in range(skipped + len(header))]
        if any(value is not None for value in below):
            self.differ(sheet.title, f"rows beyond the expected {len(rows)}: {below}")
        return None

    def cell(self, where, value, expected):
        self.compared += 1
        number = isinstance(expected, (int, float))
        if number != (isinstance(value, (int, float)) and not isinstance(value, bool)) or value != expected:
            self.differ(where, f"{value!r}, expected {expected!r}")

    def shown(self, where, output, result, joint, run):
        """What the terminal says of an output."""
        self.cell(f"{where} base", output["base"], told(result.base))
        for effect in output["inputs"]:
            i = result.ranks.index(effect["rank"])
            expected, facts, steps = result.effects[i], result.facts[i], result.values[i]
            if facts.idle:
                expected = expected._replace(low_input=MISSING, high_input=MISSING)
            fields = ("low", "lowChange", "inputAtLow", "high", "highChange", "inputAtHigh")
            self.cell(f"{where} {effect['cell']}", [effect[field] for field in fields], list(map(told, expected)))
            failed = sum(not usable(row[1 + result.position]) for row in steps)
            left_out = leaves_out_base(steps, result.position, run.inputs[i]["base"], result.base) and not facts.idle
            self.cell(f"{where} {effect['cell']}", [effect[field] for field in ("failed", "moves", "leavesOutBase", "cell")],
                      [failed, facts.moves, left_out, run.inputs[i]["cell"]])
            answers = result.answers[i]
            fields = "share cumulativeShare downside upside elasticity arcElasticity bend".split()
            self.cell(f"{where} {effect['cell']} answers", [effect[field] for field in fields],
                      list(map(near, [*answers[:6], answers.bend])))
            self.cell(f"{where} {effect['cell']} break-even", [[root["input"], root["calculated"], root["refined"]] for root in effect["breakEven"]],
                      [[Near(x), *how] for x, *how in answers.roots])
            self.cell(f"{where} {effect['cell']} turns", [effect[field]["input"] for field in ("peak", "valley") if effect[field]],
                      answers.turns)
        for group in output.get("groups", []):
            g = joint.ranks.index(group["rank"])
            expected = [*joint.effects[g][:2], *joint.effects[g][3:5], joint.joint[g].interaction]
            fields = ("low", "lowChange", "high", "highChange", "interaction")
            self.cell(f"{where} group {g + 1}", [group[field] for field in fields], list(map(told, expected)))
        if [len(output["inputs"]), len(output.get("groups", []))] != [len(result.ranks), len(joint.ranks)]:
            self.differ(where, "inputs or groups are missing")

    def names_output(self, sheet, item, base_label):
        """The block above the table names the output and its base value."""
        named = any(item["cell"] in str(cell.value) and item.get("name", "").strip() in str(cell.value)
                    for row in sheet.iter_rows(max_row=8) for cell in row)
        if not named:
            self.differ(sheet.title, f'does not name {item["name"]} ({item["cell"]})')
        for row in sheet.iter_rows(min_row=2, max_row=6, max_col=2):
            if row[0].value == base_label:
                self.cell(f"{sheet.title}!{row[1].coordinate}", row[1].value, shown(item["base"]))

    def grids(self, sheet, grids, top, target):
        """The grids follow one another below a row: values, results, the frame at the base case, the line between results
        below the target and others."""
        corners = [row[0].row for row in sheet.iter_rows(min_row=top, max_col=2)
                   if row[0].value and isinstance(row[1].value, (int, float)) and not isinstance(row[0].value, (int, float))]
        panels = [(grid, third) for grid in grids for third in (range(len(grid.values[2])) if len(grid.items) > 2 else [None])]
        if len(corners) != len(panels):
            return self.differ(sheet.title, f"{len(corners)} grids, expected {len(panels)}")
        for corner, (grid, third) in zip(corners, panels):
            down, across = grid.values[:2]
            results = [[grid.results[(i, j) if third is None else (i, j, third)] for j in range(len(across))]
                       for i in range(len(down))]
            expected = [[label(grid.items[0]), *across]] + [[v, *map(shown, row)] for v, row in zip(down, results)]
            for i, row in enumerate(expected):
                for j, value in enumerate(row):
                    self.cell(f"{sheet.title}!{corner + i},{j + 1}", sheet.cell(corner + i, 1 + j).value, value)
            base = grid.base()
            for i, j in itertools.product(range(len(down)), range(len(across))):
                cell = sheet.cell(corner + 1 + i, 2 + j)
                is_base = base is not None and base[:2] == (i, j) and base[2:] == (() if third is None else (third,))
                parted = [0 <= k < len(down) and l < len(across) and usable(results[i][j]) and usable(results[k][l])
                          and (results[i][j] < target) != (results[k][l] < target) for k, l in ((i, j + 1), (i + 1, j))]
                found = [side.style == "thick" for side in (cell.border.right, cell.border.bottom)]
                self.compared += 1
                if (found, cell.font.b) != (parted, is_base):
                    self.differ(f"{sheet.title}!{cell.coordinate}", f"line and base are {found}, {cell.font.b}, expected "
                                                                    f"{parted}, {is_base}")
        return None

    def says(self, sheet, text):
        """One cell holds the text."""
        self.compared += 1
        if not any(cell.value == text for row in sheet.iter_rows() for cell in row):
            self.differ(sheet.title, f'does not say "{text}"')

    def charts(self):
        """Every number and text that a chart keeps a copy of is that of the cell it refers to."""
        for part, chart in self.chart_parts.items():
            for reference in chart.iter():
                if reference.tag in (C + "numRef", C + "strRef"):
                    self.reference(part, reference)

    def bars(self, sheet, result, options, low_color=None, inputs=()):
        """The bars that are seen in the stacked bar chart of a sheet reach from the low to the high end; those of what moves
        nothing are left out unless all are wanted, and what moves the output to one place has a narrow one there. With a
        low colour, what lies on the side of an end that an input value below its base made has that colour, and nothing
        else."""
        base = 0.0 if options.percent else result.base
        every = sorted(zip(result.ranks, result.effects, result.facts, inputs or [{"base": MISSING}] * len(result.ranks)),
                       key=lambda row: row[0])
        bars = [bar for bar in every[:max(result.limit, 0)] if options.all_inputs or not bar[2].idle]
        low_ends = [[bool(inputs) and usable(value) and usable(item["base"]) and value < item["base"]
                     for value in (effect.low_input, effect.high_input)] for _, effect, _, item in bars]
        ends = [(effect.low_change, effect.high_change) if options.percent else (effect.low, effect.high)
                for _, effect, _, _ in bars]
        drawn = any(usable(low) for low, _ in ends)
        reach = [end for pair in ends for end in pair if usable(end)] + [base] * usable(base)
        point = max((max(reach) - min(reach)) / 50, max(map(abs, reach)) / 50 if len(set(reach)) == 1 else 0) if reach else 0
        charts = [bars for chart in self.chart_parts.values() for bars in chart.iter(C + "barChart")
                  if sheet_and_range(bars.find(f".//{C}val//{C}f").text)[0] == sheet.title]
        if len(charts) != drawn:
            return self.differ(sheet.title, f"{len(charts)} bar charts, expected {int(drawn)}")
        for row, (low, high) in enumerate(ends if drawn else []):
            right = left = 0.0  # where the next part begins
            seen = []
            for series in charts[0].iter(C + "ser"):
                part = float(series.findall(f"{C}val//{C}pt")[row].findtext(C + "v"))
                start = right if part > 0 else left
                right, left = (right + part, left) if part > 0 else (right, left + part)
                if part == 0 or series.find(f"{C}spPr/{A}noFill") is not None:
                    continue
                seen += [start, start + part]
                looks = [series] + [p for p in series.findall(f"{C}dPt") if p.find(f"{C}idx").get("val") == str(row)]
                color = looks[-1].find(f"{C}spPr/{A}solidFill/{A}srgbClr").get("val")
                is_low = low_color is not None and usable(base) and low_ends[row][start + part / 2 > base]
                if len(looks) > 1 and low_color is None or (color == low_color) != is_low:
                    self.differ(sheet.title, f"bar {row + 1} from {start} by {part} has the colour {color}")
            self.compared += 1
            one_place = usable(low) and difference(low, high) == 0
            has_bar = usable(low) and (not one_place or bars[row][2].moves or not bars[row][2].compared)
            expected = [low, high] if has_bar else []
            found = [min(seen), max(seen)] if seen else []
            if one_place and found and not found[0] < low < found[1]:
                self.differ(sheet.title, f"bar {row + 1} at {low} is not to be seen")
            slack = point if one_place else 1e-12 * max(map(abs, expected), default=0)
            if len(found) != len(expected) or any(abs(f - e) > slack for f, e in zip(found, expected)):
                self.differ(sheet.title, f"bar {row + 1} reaches over {found}, expected {expected}")
        return None

    def reference(self, part, reference):
        formula = reference.findtext(C + "f")
        title, address = sheet_and_range(formula)
        sheet = self.book[title]
        left, top, right, bottom = range_boundaries(address.replace("$", ""))
        cells = [sheet.cell(row, column).value for row in range(top, bottom + 1) for column in range(left, right + 1)]
        cache = reference.find(C + ("numCache" if reference.tag.endswith("numRef") else "strCache"))
        kept = {int(point.get("idx")): point.findtext(C + "v") for point in cache.iter(C + "pt")}
        if int(cache.find(C + "ptCount").get("val")) != len(cells):
            self.differ(part, f"{formula} has {len(cells)} cells, the copy another number")
        for index, value in enumerate(cells):
            if reference.tag.endswith("numRef"):
                value = value if isinstance(value, (int, float)) else None
                copy = float(kept[index]) if index in kept else None
            else:
                value, copy = None if value is None else str(value), kept.get(index)
            self.compared += 1
            if copy != value:
                self.differ(part, f"{formula} cell {index + 1}: kept {copy!r}, the cell has {value!r}")

    def lines(self, sheet, run, result, options, percent, together):
        """The lines of points on a sheet, in one chart or in one each, are those of the inputs that can be drawn."""
        expected = [line_of(steps, item["base"], result.position, result.base, percent)
                    for item, rank, steps, facts in zip(run.inputs, result.ranks, result.values, result.facts)
                    if rank <= result.limit and (options.all_inputs or not facts.idle)]
        expected = [line for line in expected if line]
        charts = [(chart, [series for series in chart.iter(C + "ser")
                           if series.find(f".//{C}yVal//{C}f") is not None
                           and sheet_and_range(series.find(f".//{C}yVal//{C}f").text)[0] == sheet.title])
                  for _, chart in sorted(self.chart_parts.items(), key=lambda part: int(re.sub(r"\D", "", part[0])))]
        charts = [(chart, series) for chart, series in charts if series and chart.find(f".//{C}barChart") is None]
        found, marks = [], []
        for chart, every in charts:
            for series in every:
                unjoined = series.find(f"{C}spPr/{A}ln/{A}noFill") is not None
                axes = []
                for axis in ("xVal", "yVal"):
                    cache = series.find(f"{C}{axis}//{C}numCache")
                    values = {int(p.get("idx")): float(p.findtext(C + "v")) for p in cache.iter(C + "pt")}
                    axes.append([values.get(i) for i in range(int(cache.find(C + "ptCount").get("val")))])
                (marks if unjoined else found).append([None if None in point else point for point in zip(*axes)])
            self.axes_around(sheet, chart, [point for line in (found if together else found[-1:]) for point in line if point])
        self.compared += 1
        if not together:
            self.marks(sheet, result, marks, [
                (item["base"], answers.roots) for item, rank, steps, facts, answers in
                zip(run.inputs, result.ranks, result.values, result.facts, result.answers)
                if rank <= result.limit and (options.all_inputs or not facts.idle)
                and line_of(steps, item["base"], result.position, result.base, percent)],
                run.target if run.target is not None else result.item.get("target", 0), percent)
        if found != expected or len(charts) != (bool(expected) if together else len(expected)):
            self.differ(sheet.title, f"draws {found} in {len(charts)} charts, expected {expected}")

    def marks(self, sheet, result, found, roots, target, percent):
        """Charts mark where the output is at its target."""
        expected = [[(change(x, base), change(target, result.base)) if percent else (x, target) for x, *_ in each]
                    for base, each in roots if each]
        expected = [[(Near(x), Near(y)) for x, y in line] for line in expected]
        self.compared += 1
        if found != expected:
            self.differ(sheet.title, f"marks {found}, expected {expected}")

    def axes_around(self, sheet, chart, points):
        """Both axes have bounds that hold every point, and a whole number of units; zero is a tick where they span it."""
        for axis, values in zip(chart.iter(C + "valAx"), zip(*points)):
            low, high, unit = (float(axis.find(f".//{C}{tag}").get("val")) for tag in ("min", "max", "majorUnit"))
            ticks = (high - low) / unit
            zero = low / unit if low < 0 < high else 0
            self.compared += 1
            if (min(values) < low or max(values) > high or not 1 <= round(ticks) <= 13
                    or any(abs(count - round(count)) > 1e-6 for count in (ticks, zero))):
                self.differ(sheet.title, f"an axis from {low!r} to {high!r} by {unit!r} around {values}")


# Kind -> (text of the sheet's title, what makes the table, leading columns without a caption looked for)
PER_OUTPUT = {"tornado": ("tornado.title", tornado_table, True), "spider": ("spider.title", step_table, True),
              "sensitivity": ("sensitivity.title", sensitivity_table, True),
              "output-detail": ("output_detail.title", output_detail_table, False)}


def compare(run, workbook, texts, options):
    comparison = Comparison(workbook)
    results = [[OutputResult(run, s, o, options) for o in range(len(run.outputs))] for s in range(run.simulations)]

    def sheets(title, count, kind):
        found = comparison.sheets_titled(texts[title])
        if len(found) != count:
            comparison.differ(kind, f"{len(found)} sheets, expected {count}")
        return found

    for kind, (title, make, skips) in PER_OUTPUT.items():
        wanted = [result for of_run in results for result in of_run if result.limit > 0 or kind == "output-detail"]
        for sheet, result in zip(sheets(title, len(wanted), kind), wanted):
            if kind in ("spider", "sensitivity"):
                comparison.lines(sheet, run, result, options, options.percent or kind == "spider", kind == "spider")
            comparison.names_output(sheet, result.item, texts["label.base_value"])
            comparison.table(sheet, *make(texts, run, result), skipped=run.range_mode if skips else 0)
            if kind == "tornado":
                for line in tornado_remarks(texts, run, result, options):
                    comparison.says(sheet, line)
                comparison.bars(sheet, result, options, options.low_color, run.inputs)
    joint = [[JointResult(run, s, o, results[s][o], options) for o in range(len(run.outputs))]
             for s in range(run.simulations)]
    if run.groups:
        every = [result for of_run in joint for result in of_run]
        for sheet, result in zip(sheets("multi_tornado.title", len(every), "multi-tornado"), every):
            comparison.names_output(sheet, result.item, texts["label.base_value"])
            if result.limit > 0:
                comparison.table(sheet, *multi_tornado_table(texts, run, result), skipped=run.range_mode)
            else:
                comparison.says(sheet, texts["multi_tornado.no_bars"])
            comparison.bars(sheet, result, options)
        with_grids = [result for result in every if grid_shares_table(texts, run, result)[2]]
        for sheet, result in zip(sheets("grids.title", len(with_grids), "grids"), with_grids):
            header, rows, grids = grid_shares_table(texts, run, result)
            comparison.names_output(sheet, result.item, texts["label.base_value"])
            comparison.table(sheet, header, rows)
            comparison.grids(sheet, grids, (comparison.header_of(sheet, header) or (1, 1))[0] + len(rows) + 1,
                             run.target if run.target is not None else result.item.get("target", 0))
        for sheet, of_run in zip(sheets("multi_way.title", run.simulations, "multi-detail"), joint):
            header, extremes, body = multi_detail_tables(texts, run, of_run)
            comparison.table(sheet, header, extremes)
            comparison.table(sheet, header, body, further_down=len(extremes) + 3)  # a blank row and two captions
    for sheet, of_run in zip(sheets("matrix.title", run.simulations, "matrix"), results):
        comparison.table(sheet, *matrix_table(texts, run, of_run))
    for sheet, of_run in zip(sheets("detail_by_input.title", run.simulations, "detail-by-input"), results):
        comparison.table(sheet, *detail_by_input_table(texts, run, of_run))
    for sheet, of_run in zip(sheets("summary.title", run.simulations, "summary"), results):
        comparison.table(sheet, *summary_table(texts, run, of_run, options))
    tables = [missing_table(texts, run, of_run) for of_run in results]
    tables = [(header, rows) for header, rows in tables if rows]
    for sheet, (header, rows) in zip(sheets("not_shown.title", len(tables), "missing"), tables):
        comparison.table(sheet, header, rows)
    comparison.charts()
    for s in range(run.simulations if options.shown else 0):
        outputs = json.loads((options.shown / f"{s + 1}.json").read_text(encoding="utf-8"))["outputs"]
        for o, (output, result) in enumerate(zip(outputs, results[s], strict=True)):
            comparison.shown(f"show, simulation {s + 1}, output {o + 1}", output, result, joint[s][o], run)
    return comparison


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("run", type=pathlib.Path)
    parser.add_argument("workbook", type=pathlib.Path)
    parser.add_argument("--percent", action="store_true")
    parser.add_argument("--max-inputs", type=int, default=20)
    parser.add_argument("--threshold", type=lambda text: float(text.rstrip("%")) / (100 if text.endswith("%") else 1))
    parser.add_argument("--low-color", type=lambda text: None if text == "none" else text, default="E69F00")
    parser.add_argument("--target", type=float)
    parser.add_argument("--all-inputs", action="store_true")
    parser.add_argument("--shown", type=pathlib.Path)
    parser.add_argument("--show", type=int, default=40, help="differences printed")
    options = parser.parse_args()
    run = Run(options.run)
    run.target = options.target
    strings = pathlib.Path(__file__).resolve().parents[2] / "resources" / "strings" / "en.txt"
    comparison = compare(run, options.workbook, Texts(strings), options)
    for difference in comparison.differences[:options.show]:
        print(difference)
    print(f"{options.run.name}: {comparison.compared} cells compared, {len(comparison.differences)} differences")
    sys.exit(1 if comparison.differences or not comparison.compared else 0)


if __name__ == "__main__":
    main()
