"""Runs, their rankings and their reports."""

from __future__ import annotations

import ctypes
import dataclasses
import datetime
import json
import os
import weakref
from array import array
from ctypes import POINTER, c_double, c_size_t, c_void_p
from typing import Any, BinaryIO, Callable, Dict, Iterator, List, NamedTuple, Optional, Sequence, Tuple, Union

from . import _library
from ._library import call, function, made, taken_bytes
from ._model import Group, Input, Output, Values, describe

Path = Union[str, "os.PathLike[str]"]
OutputName = Union[str, int]  # name, cell or position
Color = Union[str, int]  # "#1F4E79", "1F4E79" or 0x1F4E79


def _number(value: float) -> Optional[float]:
    return None if value != value else value


@dataclasses.dataclass(frozen=True)
class Effect:
    """What one input did to an output while every other input was at its base. None is a figure that is not there."""

    rank: int  # 1 moves the output most
    input: str  # name, or address where it has none
    input_index: int  # position among the run's inputs
    low: Optional[float]  # lowest value of the output
    high: Optional[float]
    swing: Optional[float]  # high less low
    low_change: Optional[float]  # (low - base) / |base|
    high_change: Optional[float]
    input_at_low: Optional[float]  # what the input was set to where the output was lowest
    input_at_high: Optional[float]
    steps: int  # recalculations of the input
    failed: int  # how many of their results are no numbers; the figures are without them
    moves: bool  # results differ from one another or from the base value
    leaves_out_base: bool  # no step stood at the input's base, and its effect from there may be larger


@dataclasses.dataclass(frozen=True)
class GroupMember:
    """An input of a group."""

    input: str
    input_index: int
    at_low: Optional[float]  # what it was set to where the output was lowest
    at_high: Optional[float]
    own_swing: Optional[float]  # of the output when this input alone is varied


@dataclasses.dataclass(frozen=True)
class GroupEffect:
    """What inputs varied together did to an output."""

    rank: int  # among the groups
    members: Tuple[GroupMember, ...]
    low: Optional[float]
    high: Optional[float]
    swing: Optional[float]
    low_change: Optional[float]
    high_change: Optional[float]
    own_swings: Optional[float]  # of the members, added up
    interaction: Optional[float]  # swing less own_swings: 0 where the effects add up
    interaction_state: str  # "measured", or why there is none: "no_own_swing", "other_values" or "errors"
    steps: int  # combinations of the group
    failed: int  # how many of their results are no numbers
    moves: bool
    leaves_out_base: bool  # no combination stood at the base values: its effect may be larger


@dataclasses.dataclass(frozen=True)
class Ranking:
    """Which inputs move an output. Iterating gives the effects of single inputs, the strongest first."""

    output: str
    output_index: int
    base: Optional[float]
    effects: Tuple[Effect, ...]
    groups: Tuple[GroupEffect, ...]

    def __iter__(self) -> Iterator[Effect]:
        return iter(self.effects)

    def __len__(self) -> int:
        return len(self.effects)

    def __getitem__(self, place: int) -> Effect:
        return self.effects[place]

    def to_dicts(self) -> List[Dict[str, Any]]:
        """The effects as dictionaries."""
        return [dataclasses.asdict(effect) for effect in self.effects]

    def to_pandas(self) -> Any:
        """The effects as a pandas DataFrame. Needs pandas."""
        import pandas  # pylint: disable=import-outside-toplevel

        return pandas.DataFrame(self.to_dicts(), columns=[field.name for field in dataclasses.fields(Effect)])


class Written(NamedTuple):
    """What was written."""

    sheets: int
    charts: int


@dataclasses.dataclass(frozen=True)
class ReportOptions:
    """What reports are made and what they show."""

    outputs: Sequence[OutputName] = ()  # none: all
    matrix: bool = True  # inputs against outputs
    tornado: bool = True
    spider: bool = True
    sensitivity: bool = True
    output_detail: bool = False
    detail_by_input: bool = False
    multi_way: bool = False  # of inputs varied together; the run must have groups
    percent: bool = False  # graphs show changes in percent of the base value
    max_inputs: int = 20  # most inputs on a graph, 1 to 32
    all_inputs: bool = False  # graphs have also the inputs that do not move their output
    threshold: Optional[float] = None  # only inputs with a swing of at least this share of the base value
    bar_color: Optional[Color] = None
    base_color: Optional[Color] = None
    low_color: Optional[Color] = None  # of the parts of bars that inputs below their base make
    labels: str = "inputs"  # at the ends of bars: "inputs", "outputs" or "both"
    watermark: str = ""
    language: str = "en"
    created: Optional[datetime.datetime] = None  # none: a fixed date, so that the same run gives the same bytes
    overwrite: bool = False  # a file that is there; where reports are added, sheets of earlier ones
    progress: Optional[Callable[[str], None]] = None  # told now and then what is being done
    cancelled: Optional[Callable[[], bool]] = None  # asked now and then whether to stop


class _Callbacks:
    """The caller's functions. What one of them raises ends the job and comes out of the call; so does Ctrl-C."""

    def __init__(self, options: ReportOptions) -> None:
        self._options = options
        self._raised: Optional[BaseException] = None
        self.progress = _library.Progress(self._progress)
        self.cancelled = _library.Cancelled(self._cancelled)

    def _progress(self, text: bytes, _user: Any) -> None:
        try:
            if self._options.progress:
                self._options.progress(text.decode())
        except BaseException as error:  # pylint: disable=broad-except
            self._raised = error

    def _cancelled(self, _user: Any) -> int:
        try:
            if self._raised is None and self._options.cancelled and self._options.cancelled():
                return 1
        except BaseException as error:  # pylint: disable=broad-except
            self._raised = error
        return 0 if self._raised is None else 1

    def raise_again(self) -> None:
        if self._raised is not None:
            raise self._raised


class _Options:
    """Options as the library has them, for one call."""

    def __init__(self, run: "Run", options: ReportOptions) -> None:
        self.callbacks = _Callbacks(options)
        self.handle = c_void_p(function("options_new")())
        if not self.handle:
            raise MemoryError
        try:
            self._set_all(run, options)
        except BaseException:
            self.free()
            raise

    def free(self) -> None:
        function("options_free")(self.handle)

    def _set(self, name: str, *value: Any) -> None:
        if function("options_" + name)(self.handle, *value) != 0:
            raise MemoryError

    def _set_all(self, run: "Run", options: ReportOptions) -> None:
        for output in options.outputs:
            self._set("add_output", run.find_output(output))
        for flag in _library.FLAGS:
            self._set("set_" + flag, int(getattr(options, flag)))
        for color in _library.COLORS:
            if getattr(options, color) is not None:
                self._set("set_" + color, _rgb(getattr(options, color)))
        if options.labels not in _library.LABELS:
            raise ValueError(f"{options.labels!r} is no kind of label; one of {', '.join(_library.LABELS)} is expected")
        self._set("set_labels", _library.LABELS.index(options.labels))
        self._set("set_max_inputs", options.max_inputs)
        if options.threshold is not None:
            self._set("set_threshold", options.threshold)
        self._set("set_watermark", options.watermark.encode())
        self._set("set_language", options.language.encode())
        if options.created is not None:
            self._set("set_created", int(options.created.timestamp()))
        self._set("set_progress", self.callbacks.progress, None)
        self._set("set_cancelled", self.callbacks.cancelled, None)


def _rgb(color: Color) -> int:
    if isinstance(color, int):
        return color
    digits = color[1:] if color.startswith("#") else color
    if len(digits) != 6:
        raise ValueError(f"{color!r} is no colour; six hexadecimal digits are expected")
    return int(digits, 16)


def _pointer(numbers: array) -> Any:
    return ctypes.cast((c_double * len(numbers)).from_buffer(numbers), POINTER(c_double)) if numbers else None


def _texts(values: Values) -> Any:
    texts = [_library.Text(at, text.encode()) for at, text in values.texts.items()]
    return (_library.Text * len(texts))(*texts)


class Run:
    """A recorded what-if run. It never changes."""

    def __init__(self, handle: c_void_p) -> None:
        """For `read` and `from_arrays`."""
        self._handle = handle
        weakref.finalize(self, function("run_free"), handle)

    @classmethod
    def read(cls, path: Path) -> "Run":
        """Reads and verifies a run file."""
        return cls(made("run_read", os.fsencode(path)))

    @classmethod
    def from_arrays(
        cls,
        inputs: Sequence[Input],
        outputs: Sequence[Output],
        results: Any,
        *,
        simulations: int = 1,
        groups: Sequence[Group] = (),
        group_results: Any = (),
    ) -> "Run":
        """Makes and verifies a run.

        `results` are what the outputs showed: a row for each step, all steps of the first input, then those of the
        second, and so on, with a column for each output; of one output a plain list will do. They may be nested
        lists, an array, or columns by the names of the outputs: a frame or a dictionary. Of several simulations they
        are one after the other. None and NaN stand for no result, texts for text results and, as "#N/A", for
        spreadsheet errors.

        `group_results` are the same for the groups: a row for each combination, the last member changing fastest.
        """
        given = describe(inputs, outputs, results, simulations, groups, group_results)
        texts, group_texts = _texts(given.results), _texts(given.group_results)
        arrays = _library.Arrays(
            size=ctypes.sizeof(_library.Arrays),
            values=_pointer(given.values),
            value_count=len(given.values),
            results=_pointer(given.results.numbers),
            result_count=len(given.results.numbers),
            texts=texts,
            text_count=len(texts),
            group_values=_pointer(given.group_values),
            group_value_count=len(given.group_values),
            group_results=_pointer(given.group_results.numbers),
            group_result_count=len(given.group_results.numbers),
            group_texts=group_texts,
            group_text_count=len(group_texts),
        )
        return cls(made("run_from_arrays", given.words, ctypes.byref(arrays)))

    @classmethod
    def sweep(
        cls,
        workbook: Path,
        definition: Union[str, Dict[str, Any]],
        run_file: Optional[Path] = None,
        cancelled: Optional[Callable[[], bool]] = None,
    ) -> "Run":
        """Makes the run of a workbook. `definition` is a what-if definition, a dictionary or JSON. With `run_file` the
        run is written there, too, and interrupted work goes on there. Ctrl-C ends a sweep."""
        words = definition if isinstance(definition, str) else json.dumps(definition)
        callbacks = _Callbacks(ReportOptions(cancelled=cancelled))
        place = None if run_file is None else os.fsencode(run_file)
        try:
            return cls(made("sweep_workbook", os.fsencode(workbook), words.encode(), place, callbacks.cancelled, None))
        except _library.Error:
            callbacks.raise_again()
            raise

    @property
    def simulations(self) -> int:
        """Number of simulations."""
        return function("run_simulations")(self._handle)

    @property
    def recalculations(self) -> int:
        """Of one simulation, with those of groups."""
        return function("run_recalculations")(self._handle)

    @property
    def inputs(self) -> List[str]:
        """Names of the inputs."""
        return self._names("input")

    @property
    def outputs(self) -> List[str]:
        """Names of the outputs."""
        return self._names("output")

    def _names(self, kind: str) -> List[str]:
        count = function(f"run_{kind}_count")(self._handle)
        return [function(f"run_{kind}_name")(self._handle, position).decode() for position in range(count)]

    def find_output(self, output: OutputName) -> int:
        """Position of an output by name or cell: "Profit", "C14", "Plan!C14". A position is left as it is."""
        if isinstance(output, int):
            return output
        position = c_size_t()
        call("run_find_output", self._handle, output.encode(), ctypes.byref(position))
        return position.value

    def describe(self) -> str:
        """What is in the run, for people."""
        return taken_bytes("run_describe", self._handle).decode()

    def __repr__(self) -> str:
        return f"<ordvane.Run of {len(self.inputs)} inputs and {len(self.outputs)} outputs>"

    def rank(self, output: OutputName, simulation: int = 1) -> Ranking:
        """Which inputs move the output, and by how much."""
        position = self.find_output(output)
        ranking = made("rank", self._handle, position, simulation)
        try:
            return Ranking(
                output=function("ranking_name")(ranking).decode(),
                output_index=position,
                base=_number(function("ranking_base")(ranking)),
                effects=tuple(_effects(ranking)),
                groups=tuple(_groups(ranking)),
            )
        finally:
            function("ranking_free")(ranking)

    def report(
        self, target: Union[Path, BinaryIO], options: Optional[ReportOptions] = None, **changes: Any
    ) -> Optional[Written]:
        """Writes reports into a new workbook: a file, which appears whole or not at all, or what is open for writing
        bytes. Options may be given by name: run.report("x.xlsx", percent=True). Says what was written into a file."""
        if hasattr(target, "write"):
            target.write(self.report_bytes(options, **changes))  # type: ignore[union-attr]
            return None
        return self._report_to_file("write_reports", target, options, changes)  # type: ignore[arg-type]

    def report_into(self, workbook: Path, options: Optional[ReportOptions] = None, **changes: Any) -> Written:
        """Adds reports to an .xlsx or .xlsm file that is there, as sheets after its own; all else in it stays."""
        return self._report_to_file("add_reports", workbook, options, changes)

    def report_bytes(self, options: Optional[ReportOptions] = None, **changes: Any) -> bytes:
        """The bytes of a new workbook with reports."""
        return self._with_options(
            options, changes, lambda handle: taken_bytes("pack_reports", self._handle, handle)
        )

    def _report_to_file(
        self, name: str, workbook: Path, options: Optional[ReportOptions], changes: Dict[str, Any]
    ) -> Written:
        written = _library.Written()
        self._with_options(
            options,
            changes,
            lambda handle: call(name, self._handle, os.fsencode(workbook), handle, ctypes.byref(written)),
        )
        return Written(written.sheets, written.charts)

    def _with_options(
        self, options: Optional[ReportOptions], changes: Dict[str, Any], job: Callable[[c_void_p], Any]
    ) -> Any:
        held = _Options(self, dataclasses.replace(options or ReportOptions(), **changes))
        try:
            return job(held.handle)
        except _library.Error:
            held.callbacks.raise_again()
            raise
        finally:
            held.free()


def _effects(ranking: c_void_p) -> Iterator[Effect]:
    effect = _library.Effect()
    for place in range(function("ranking_effect_count")(ranking)):
        function("ranking_effect")(ranking, place, ctypes.byref(effect), ctypes.sizeof(effect))
        yield Effect(
            input=effect.name.decode(), input_index=effect.input, rank=effect.rank, **_figures(effect), **_steps(effect)
        )


def _groups(ranking: c_void_p) -> Iterator[GroupEffect]:
    group = _library.GroupEffect()
    for place in range(function("ranking_group_count")(ranking)):
        function("ranking_group")(ranking, place, ctypes.byref(group), ctypes.sizeof(group))
        members = tuple(_members(ranking, place, group.members))
        state = function("interaction_state_name")(group.interaction_state).decode()
        yield GroupEffect(
            rank=group.rank, members=members, interaction_state=state, **_figures(group), **_steps(group)
        )


def _members(ranking: c_void_p, place: int, count: int) -> Iterator[GroupMember]:
    member = _library.GroupMember()
    for position in range(count):
        function("ranking_group_member")(ranking, place, position, ctypes.byref(member), ctypes.sizeof(member))
        yield GroupMember(input=member.name.decode(), input_index=member.input, **_figures(member))


def _figures(structure: ctypes.Structure) -> Dict[str, Optional[float]]:
    return {
        name: _number(getattr(structure, name)) for name, kind in structure._fields_ if kind is c_double
    }


def _steps(structure: ctypes.Structure) -> Dict[str, Any]:
    return {
        "steps": structure.steps,
        "failed": structure.failed,
        "moves": bool(structure.moves),
        "leaves_out_base": bool(structure.leaves_out_base),
    }
