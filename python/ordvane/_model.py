"""The items of a run as a program gives them, made into what the library reads: words as JSON, numbers as arrays."""

from __future__ import annotations

import dataclasses
import json
from array import array
from collections.abc import Iterable, Mapping
from typing import Any, Dict, List, Optional, Sequence, Tuple, Union

from ._library import Error

Numbers = Any  # a list, NumPy array, pandas Series or DataFrame: anything of numbers, nested in any way
NAN = float("nan")


@dataclasses.dataclass
class _Item:
    name: str = ""
    base: Optional[float] = None
    book: str = ""
    sheet: str = ""
    cell: str = ""
    formula: str = ""
    function: str = ""
    range: str = ""
    number_format: str = ""
    date: bool = False
    locked: bool = True
    labels: Mapping[str, str] = dataclasses.field(default_factory=dict)
    default_name: str = ""


@dataclasses.dataclass(init=False)
class Input(_Item):
    """An input and the values that it was set to: one for each step, or a list of these for each simulation. The other
    fields are those of a run file; a place in a workbook is made up where there is none."""

    values: Numbers = ()
    saved_samples: bool = True
    automatic: bool = False
    low: Optional[float] = None
    high: Optional[float] = None

    def __init__(self, name: str = "", values: Numbers = (), base: Optional[float] = None, **fields: Any) -> None:
        _set_fields(self, {"name": name, "values": values, "base": base, **fields})


@dataclasses.dataclass(init=False)
class Output(_Item):
    """An output. The fields are those of a run file; a place in a workbook is made up where there is none."""

    range_name: str = ""
    range_index: int = 0

    def __init__(self, name: str = "", base: Optional[float] = None, **fields: Any) -> None:
        _set_fields(self, {"name": name, "base": base, **fields})


@dataclasses.dataclass
class Group:
    """Inputs varied together. `members`: their names or positions; `values`: for each of them what it was set to, one
    for each step, or a list of these for each simulation."""

    members: Sequence[Union[str, int]]
    values: Sequence[Numbers]


def _set_fields(item: Any, given: Dict[str, Any]) -> None:
    for field in dataclasses.fields(item):
        default = field.default if field.default is not dataclasses.MISSING else {}
        setattr(item, field.name, given.pop(field.name, default))
    if given:
        raise TypeError(f"{type(item).__name__} has no field {', '.join(given)}")


class Values:
    """Numbers one after the other, and by position the texts that stand among them."""

    def __init__(self) -> None:
        self.numbers = array("d")
        self.texts: Dict[int, str] = {}

    def add(self, data: Any) -> "Values":
        if hasattr(data, "to_numpy"):
            data = data.to_numpy()
        dtype = getattr(data, "dtype", None)
        if dtype is not None and hasattr(data, "tobytes") and dtype.kind in "fiu":
            self.numbers.frombytes(data.astype("float64").tobytes())
        elif isinstance(data, Iterable) and not isinstance(data, (str, bytes)) and getattr(data, "ndim", 1) > 0:
            for each in data.tolist() if hasattr(data, "tolist") else data:
                self.add(each)
        else:
            self._add_one(data)
        return self

    def _add_one(self, value: Any) -> None:
        if value is None or type(value).__name__ == "NAType":  # pandas.NA
            self.numbers.append(NAN)
        elif isinstance(value, (bool, str)) or type(value).__name__ in ("bool_", "bool"):
            self.texts[len(self.numbers)] = value if isinstance(value, str) else str(bool(value)).upper()
            self.numbers.append(NAN)
        else:
            self.numbers.append(float(value))


def _simulations_of(values: Numbers) -> Optional[int]:
    """How many simulations the values are given for; none when one list is for all of them."""
    shape = getattr(values, "shape", None)
    if shape is not None:
        return shape[0] if len(shape) > 1 else None
    values = list(values)
    nested = values and isinstance(values[0], Iterable) and not isinstance(values[0], str)
    return len(values) if nested else None


class _Steps:
    """What one input was set to, by simulation."""

    def __init__(self, values: Numbers, simulations: int, where: str) -> None:
        flat = Values().add(values)
        if flat.texts:
            at, text = next(iter(flat.texts.items()))
            raise Error("bad_run", f"run:{where}.values[{at}]: is {text!r}; a number is expected")
        own = _simulations_of(values)
        if own not in (None, simulations):
            raise Error("bad_run", f"run:{where}.values: are for {own} simulations; {simulations} are expected")
        self.count, rest = divmod(len(flat.numbers), own or 1)
        if rest:
            raise Error("bad_run", f"run:{where}.values: have not as many elements in each simulation")
        self._numbers = flat.numbers
        self._own = own is not None

    def of(self, simulation: int) -> array:
        first = simulation * self.count if self._own else 0
        return self._numbers[first : first + self.count]


def _laid_out(steps: List[_Steps], simulations: int) -> array:
    numbers = array("d")
    for simulation in range(simulations):
        for each in steps:
            numbers.extend(each.of(simulation))
    return numbers


# The run file's names.
_NAMES = {
    "number_format": "numberFormat",
    "default_name": "defaultName",
    "saved_samples": "savedSamples",
    "range_name": "rangeName",
    "range_index": "rangeIndex",
}


def _described(item: _Item) -> Dict[str, Any]:
    described: Dict[str, Any] = {"base": None if item.base is None or item.base != item.base else float(item.base)}
    for field in dataclasses.fields(item):
        value = getattr(item, field.name)
        if field.name in ("base", "values", "labels") or value == field.default:
            continue
        described[_NAMES.get(field.name, field.name)] = value
    if item.labels:
        described["labels"] = [{"cell": cell, "text": text} for cell, text in item.labels.items()]
    return described


def _member_position(member: Union[str, int], inputs: Sequence[Input], where: str) -> int:
    if isinstance(member, int):
        return member
    found = [position for position, item in enumerate(inputs) if item.name == member]
    if len(found) != 1:
        what = "is the name of no input" if not found else "is the name of more than one input"
        raise Error("bad_run", f"run:{where}.members: {member!r} {what}")
    return found[0]


def _results(data: Any, outputs: Sequence[Output]) -> Values:
    """Rows of outputs. Columns by name, as of a frame, are brought into the order of the outputs."""
    if not (isinstance(data, Mapping) or hasattr(data, "columns")):
        return Values().add(data)
    names = [output.name for output in outputs]
    there = list(data.columns) if hasattr(data, "columns") else list(data)
    if sorted(map(str, there)) != sorted(names):
        raise Error("bad_run", f"run:results: have columns {there}; {names}, the names of the outputs, are expected")
    columns = [Values().add(data[name]) for name in names]
    rows = len(columns[0].numbers)
    if any(len(column.numbers) != rows for column in columns):
        raise Error("bad_run", "run:results: have columns of different lengths")
    table = Values()
    table.numbers = array("d", bytes(8 * rows * len(columns)))
    for at, column in enumerate(columns):
        table.numbers[at :: len(columns)] = column.numbers
        table.texts.update({row * len(columns) + at: text for row, text in column.texts.items()})
    return table


@dataclasses.dataclass
class Description:
    """What the library makes a run of."""

    words: bytes  # JSON
    values: array
    results: Values
    group_values: array
    group_results: Values


def describe(
    inputs: Sequence[Input],
    outputs: Sequence[Output],
    results: Any,
    simulations: int,
    groups: Sequence[Group],
    group_results: Any,
) -> Description:
    words: Dict[str, Any] = {"simulations": simulations, "inputs": [], "outputs": [_described(o) for o in outputs]}
    steps: List[_Steps] = []
    for position, item in enumerate(inputs):
        steps.append(_Steps(item.values, simulations, f"inputs[{position}]"))
        words["inputs"].append({**_described(item), "steps": steps[-1].count})
    group_steps: List[_Steps] = []
    for position, group in enumerate(groups):
        where = f"groups[{position}]"
        own = [_Steps(values, simulations, where) for values in group.values]
        group_steps.extend(own)
        words.setdefault("groups", []).append(
            {
                "members": [_member_position(member, inputs, where) + 1 for member in group.members],
                "steps": [each.count for each in own],
            }
        )
    try:
        text = json.dumps(words, allow_nan=False)
    except ValueError as error:
        raise Error("bad_run", f"run: {error}") from error
    return Description(
        text.encode(),
        _laid_out(steps, simulations),
        _results(results, outputs),
        _laid_out(group_steps, simulations),
        _results(group_results, outputs) if groups else Values(),
    )
