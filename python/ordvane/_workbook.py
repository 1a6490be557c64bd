"""Workbook models that are asked again with other values."""

from __future__ import annotations

import ctypes
import os
import weakref
from ctypes import c_double, c_void_p
from typing import Union

from ._library import call, function, made

Path = Union[str, "os.PathLike[str]"]


class Model:
    """A workbook model. Cells are "Prices!C3", "C3" in a workbook of one sheet, or names of the workbook:

        model = ordvane.Model("plant.xlsx")
        model["Prices!C3"] = 12
        model["Results!B5"]

    gives a number, a text (errors as "#N/A"), or None for nothing. The workbook is never changed. A model belongs to one
    thread at a time."""

    def __init__(self, workbook: Path) -> None:
        self._handle = made("model_open", os.fsencode(workbook))
        weakref.finalize(self, function("model_free"), self._handle)

    def __setitem__(self, cell: str, value: float) -> None:
        """What a cell holds from now on."""
        call("model_set", self._handle, cell.encode(), value)

    def __getitem__(self, cell: str) -> Union[float, str, None]:
        """What a cell shows now."""
        number, text = c_double(), c_void_p()
        call("model_value", self._handle, cell.encode(), ctypes.byref(number), ctypes.byref(text))
        try:
            shown = function("bytes_data")(text)
            words = ctypes.string_at(shown, function("bytes_size")(text)).decode()
        finally:
            function("bytes_free")(text)
        return words or (None if number.value != number.value else number.value)

    def reset(self) -> None:
        """All cells hold what they hold in the workbook."""
        function("model_reset")(self._handle)
