"""The C interface of libordvane (ordvane.h), called with ctypes."""

from __future__ import annotations

import ctypes
import os
from ctypes import POINTER, c_char_p, c_double, c_int32, c_int64, c_size_t, c_uint32, c_void_p
from typing import Any, Callable, List, Optional

SONAME = "libordvane.so.0"

Progress = ctypes.CFUNCTYPE(None, c_char_p, c_void_p)
Cancelled = ctypes.CFUNCTYPE(c_int32, c_void_p)


class Error(Exception):
    """What went wrong. `code` says it for programs: "invalid_argument", "bad_run", "bad_workbook", "file_exists",
    "file", "cancelled", "nothing_to_report", "out_of_memory", "not_calculated" or "failed". Nothing was written."""

    def __init__(self, code: str, message: str) -> None:
        super().__init__(message)
        self.code = code


class Text(ctypes.Structure):
    _fields_ = [("at", c_size_t), ("text", c_char_p)]


class Arrays(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("values", POINTER(c_double)),
        ("value_count", c_size_t),
        ("results", POINTER(c_double)),
        ("result_count", c_size_t),
        ("texts", POINTER(Text)),
        ("text_count", c_size_t),
        ("group_values", POINTER(c_double)),
        ("group_value_count", c_size_t),
        ("group_results", POINTER(c_double)),
        ("group_result_count", c_size_t),
        ("group_texts", POINTER(Text)),
        ("group_text_count", c_size_t),
    ]


_STEPS = [("steps", c_int32), ("failed", c_int32), ("moves", c_int32), ("leaves_out_base", c_int32)]


class Effect(ctypes.Structure):
    _fields_ = [
        ("input", c_size_t),
        ("name", c_char_p),
        ("rank", c_int32),
        ("low", c_double),
        ("high", c_double),
        ("swing", c_double),
        ("low_change", c_double),
        ("high_change", c_double),
        ("input_at_low", c_double),
        ("input_at_high", c_double),
        *_STEPS,
    ]


class GroupEffect(ctypes.Structure):
    _fields_ = [
        ("members", c_size_t),
        ("rank", c_int32),
        ("low", c_double),
        ("high", c_double),
        ("swing", c_double),
        ("low_change", c_double),
        ("high_change", c_double),
        ("own_swings", c_double),
        ("interaction", c_double),
        ("interaction_state", c_int32),
        *_STEPS,
    ]


class GroupMember(ctypes.Structure):
    _fields_ = [
        ("input", c_size_t),
        ("name", c_char_p),
        ("at_low", c_double),
        ("at_high", c_double),
        ("own_swing", c_double),
    ]


class Written(ctypes.Structure):
    _fields_ = [("sheets", c_size_t), ("charts", c_size_t)]


_OBJECT = POINTER(c_void_p)  # where a function puts an object that it makes
_ERROR = POINTER(c_void_p)

# Result and arguments of each function. Those that end in _ERROR give a code.
_FUNCTIONS = {
    "version": (c_char_p, []),
    "code_name": (c_char_p, [c_int32]),
    "language": (c_char_p, [c_size_t]),
    "error_message": (c_char_p, [c_void_p]),
    "error_free": (None, [c_void_p]),
    "bytes_data": (c_void_p, [c_void_p]),
    "bytes_size": (c_size_t, [c_void_p]),
    "bytes_free": (None, [c_void_p]),
    "run_read": (c_int32, [c_char_p, _OBJECT, _ERROR]),
    "run_from_arrays": (c_int32, [c_char_p, POINTER(Arrays), _OBJECT, _ERROR]),
    "run_free": (None, [c_void_p]),
    "run_simulations": (c_int32, [c_void_p]),
    "run_input_count": (c_size_t, [c_void_p]),
    "run_output_count": (c_size_t, [c_void_p]),
    "run_recalculations": (c_size_t, [c_void_p]),
    "run_input_name": (c_char_p, [c_void_p, c_size_t]),
    "run_output_name": (c_char_p, [c_void_p, c_size_t]),
    "run_find_output": (c_int32, [c_void_p, c_char_p, POINTER(c_size_t), _ERROR]),
    "run_describe": (c_int32, [c_void_p, _OBJECT, _ERROR]),
    "rank": (c_int32, [c_void_p, c_size_t, c_int32, _OBJECT, _ERROR]),
    "ranking_free": (None, [c_void_p]),
    "ranking_name": (c_char_p, [c_void_p]),
    "ranking_base": (c_double, [c_void_p]),
    "ranking_effect_count": (c_size_t, [c_void_p]),
    "ranking_group_count": (c_size_t, [c_void_p]),
    "ranking_effect": (c_int32, [c_void_p, c_size_t, POINTER(Effect), c_size_t]),
    "ranking_group": (c_int32, [c_void_p, c_size_t, POINTER(GroupEffect), c_size_t]),
    "ranking_group_member": (c_int32, [c_void_p, c_size_t, c_size_t, POINTER(GroupMember), c_size_t]),
    "interaction_state_name": (c_char_p, [c_int32]),
    "options_new": (c_void_p, []),
    "options_free": (None, [c_void_p]),
    "options_add_output": (c_int32, [c_void_p, c_size_t]),
    "options_set_progress": (c_int32, [c_void_p, Progress, c_void_p]),
    "options_set_cancelled": (c_int32, [c_void_p, Cancelled, c_void_p]),
    "options_set_watermark": (c_int32, [c_void_p, c_char_p]),
    "options_set_language": (c_int32, [c_void_p, c_char_p]),
    "options_set_threshold": (c_int32, [c_void_p, c_double]),
    "options_set_created": (c_int32, [c_void_p, c_int64]),
    "write_reports": (c_int32, [c_void_p, c_char_p, c_void_p, POINTER(Written), _ERROR]),
    "add_reports": (c_int32, [c_void_p, c_char_p, c_void_p, POINTER(Written), _ERROR]),
    "model_open": (c_int32, [c_char_p, _OBJECT, _ERROR]),
    "model_free": (None, [c_void_p]),
    "model_set": (c_int32, [c_void_p, c_char_p, c_double, _ERROR]),
    "model_reset": (None, [c_void_p]),
    "model_value": (c_int32, [c_void_p, c_char_p, POINTER(c_double), _OBJECT, _ERROR]),
    "sweep_workbook": (c_int32, [c_char_p, c_char_p, c_char_p, Cancelled, c_void_p, _OBJECT, _ERROR]),
    "pack_reports": (c_int32, [c_void_p, c_void_p, _OBJECT, _ERROR]),
}
FLAGS = (
    "matrix",
    "tornado",
    "spider",
    "sensitivity",
    "output_detail",
    "detail_by_input",
    "multi_way",
    "percent",
    "all_inputs",
    "overwrite",
)
COLORS = ("bar_color", "base_color", "low_color")
LABELS = ("inputs", "outputs", "both")
for _name in (*FLAGS, "max_inputs", "labels"):
    _FUNCTIONS["options_set_" + _name] = (c_int32, [c_void_p, c_int32])
for _name in COLORS:
    _FUNCTIONS["options_set_" + _name] = (c_int32, [c_void_p, c_uint32])


def _place() -> str:
    """The library that the variable names, as one in a build folder; the one installed with this package below a
    prefix of its own; else the system's."""
    named = os.environ.get("ORDVANE_LIBRARY")
    beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../..", SONAME)
    return named or (beside if os.path.exists(beside) else SONAME)


def _load() -> ctypes.CDLL:
    library = ctypes.CDLL(_place())
    for name, (result, arguments) in _FUNCTIONS.items():
        function = getattr(library, "ordvane_" + name)
        function.restype = result
        function.argtypes = arguments
    return library


_library = _load()


def function(name: str) -> Callable[..., Any]:
    """A function of the interface, by its name without ordvane_. It gives what it gives in C."""
    return getattr(_library, "ordvane_" + name)


def call(name: str, *arguments: Any) -> None:
    """Calls a function whose last argument takes an error, and raises the error."""
    error = c_void_p()
    code = function(name)(*arguments, ctypes.byref(error))
    if code == 0:
        return
    try:
        message = function("error_message")(error)
    finally:
        function("error_free")(error)
    raise Error(function("code_name")(code).decode(), message.decode() or "out of memory")


def made(name: str, *arguments: Any) -> c_void_p:
    """Calls a function that makes an object, and gives the object."""
    result = c_void_p()
    call(name, *arguments, ctypes.byref(result))
    return result


def taken_bytes(name: str, *arguments: Any) -> bytes:
    """Calls a function that makes bytes, and gives these."""
    result = made(name, *arguments)
    try:
        return ctypes.string_at(function("bytes_data")(result), function("bytes_size")(result))
    finally:
        function("bytes_free")(result)


def version() -> str:
    """Of the library."""
    return function("version")().decode()


def languages() -> List[str]:
    """Codes of the languages that reports can be in."""
    codes: List[str] = []
    while True:
        code: Optional[bytes] = function("language")(len(codes))
        if code is None:
            return codes
        codes.append(code.decode())
