"""Workbooks calculated by LibreOffice: the referee of the evaluator's numbers.

`write_workbook` writes the plainest .xlsx that holds given cells, no stored results in it, so that whoever opens it has to
calculate. `LibreOffice` runs one program in a profile of its own, in single-threaded core calculation (its threaded formula
groups give results that vary), kills it when it takes longer than a time limit, and starts it again.
"""

import contextlib
import itertools
import os
import shutil
import signal
import subprocess
import tempfile
import threading
import time
import zipfile
from xml.sax.saxutils import escape

import uno  # before com.sun.star, which it makes importable
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException

FAILED = 4  # com.sun.star.sheet.FormulaResult.ERROR
ERRORS = ("#NULL!", "#DIV/0!", "#VALUE!", "#REF!", "#NAME?", "#NUM!", "#N/A")

# LibreOffice's error numbers as the error values of the file format. Those that have no counterpart are what Excel gives
# there: a missing argument or a wrong one, a text where a number is due.
ERROR_NAMES = {502: "#NUM!", 503: "#NUM!", 523: "#NUM!", 519: "#VALUE!", 504: "#REF!", 524: "#REF!", 525: "#NAME?",
               508: "#NAME?", 532: "#DIV/0!", 533: "#NULL!", 521: "#NULL!", 32767: "#N/A"}


class Error(str):
    """The value of a cell that holds an error: its name. `number` is LibreOffice's, where that gave it."""

    number = 0


class Formula:
    """A formula, without the "=". `array`: the range that an array formula fills, such as "A1:B2"."""

    def __init__(self, text, array=None):
        self.text, self.array = text, array


def column_name(column):
    """Counted from 0."""
    name = ""
    column += 1
    while column:
        column, letter = divmod(column - 1, 26)
        name = chr(65 + letter) + name
    return name


def _cell_xml(row, column, value):
    place = f'<c r="{column_name(column)}{row + 1}"'
    if isinstance(value, Formula):
        kind = f' t="array" ref="{value.array}"' if value.array else ""
        return f"{place}><f{kind}>{escape(value.text)}</f></c>"
    if isinstance(value, bool):
        return f'{place} t="b"><v>{int(value)}</v></c>'
    if isinstance(value, Error):
        return f'{place} t="e"><v>{value}</v></c>'
    if isinstance(value, (int, float)):
        return f"{place}><v>{value!r}</v></c>"
    return f'{place} t="inlineStr"><is><t xml:space="preserve">{escape(value)}</t></is></c>'


def _sheet_xml(cells):
    rows = {}
    for (row, column), value in cells.items():
        rows.setdefault(row, []).append((column, value))
    parts = ['<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n<worksheet xmlns="http://schemas.openxmlformats.org/'
             'spreadsheetml/2006/main"><sheetData>']
    for row in sorted(rows):
        parts.append(f'<row r="{row + 1}">')
        parts += [_cell_xml(row, column, value) for column, value in sorted(rows[row], key=lambda cell: cell[0])]
        parts.append("</row>")
    parts.append("</sheetData></worksheet>")
    return "".join(parts)


def write_workbook(path, sheets, names=None, tables=()):
    """`sheets`: for each name the values by (row, column), counted from 0: numbers, texts, booleans, Error, Formula. `names`: what
    each stands for. `tables`: sheet, name, range and columns; one a sheet."""
    main = "http://schemas.openxmlformats.org/spreadsheetml/2006/main"
    links = "http://schemas.openxmlformats.org/officeDocument/2006/relationships"
    packages = "http://schemas.openxmlformats.org/package/2006"
    content = "application/vnd.openxmlformats-officedocument.spreadsheetml"
    numbers = range(1, len(sheets) + 1)
    head = '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n'
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as file:
        table_parts = "".join(f'<Override PartName="/xl/tables/table{n}.xml" ContentType="{content}.table+xml"/>'
                              for n in range(1, len(tables) + 1))
        file.writestr("[Content_Types].xml", head + f'<Types xmlns="{packages}/content-types">'
                      '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
                      f'<Override PartName="/xl/workbook.xml" ContentType="{content}.sheet.main+xml"/>'
                      + "".join(f'<Override PartName="/xl/worksheets/sheet{n}.xml" ContentType="{content}.worksheet+xml"/>'
                                for n in numbers) + table_parts + "</Types>")
        file.writestr("_rels/.rels", head + f'<Relationships xmlns="{packages}/relationships"><Relationship Id="rId1" '
                      f'Type="{links}/officeDocument" Target="xl/workbook.xml"/></Relationships>')
        file.writestr("xl/workbook.xml", head + f'<workbook xmlns="{main}" xmlns:r="{links}"><sheets>'
                      + "".join(f'<sheet name="{escape(name)}" sheetId="{n}" r:id="rId{n}"/>'
                                for n, name in zip(numbers, sheets)) + "</sheets>"
                      + ("<definedNames>" if names else "") + "".join(f'<definedName name="{name}">{escape(text)}</definedName>' for name, text in (names or {}).items())
                      + ("</definedNames>" if names else "") + "</workbook>")
        file.writestr("xl/_rels/workbook.xml.rels", head + f'<Relationships xmlns="{packages}/relationships">'
                      + "".join(f'<Relationship Id="rId{n}" Type="{links}/worksheet" Target="worksheets/sheet{n}.xml"/>'
                                for n in numbers) + "</Relationships>")
        for n, cells in zip(numbers, sheets.values()):
            part = _sheet_xml(cells)
            if any(list(sheets)[n - 1] == table[0] for table in tables):
                part = part.replace("</sheetData>", f'</sheetData><tableParts count="1"><tablePart xmlns:r="{links}" r:id="rId1"/>'
                                    "</tableParts>")
            file.writestr(f"xl/worksheets/sheet{n}.xml", part)
        for n, (sheet, name, area, columns) in enumerate(tables, 1):
            file.writestr(f"xl/tables/table{n}.xml", head + f'<table xmlns="{main}" id="{n}" name="{name}" displayName="{name}" '
                          f'ref="{area}"><tableColumns count="{len(columns)}">'
                          + "".join(f'<tableColumn id="{i}" name="{escape(column)}"/>' for i, column in enumerate(columns, 1))
                          + "</tableColumns></table>")
            file.writestr(f"xl/worksheets/_rels/sheet{list(sheets).index(sheet) + 1}.xml.rels",
                          head + f'<Relationships xmlns="{packages}/relationships"><Relationship Id="rId1" Type="{links}/table" '
                          f'Target="../tables/table{n}.xml"/></Relationships>')


def places(ranges):
    """Row and column of each cell, counted from 0."""
    for area in ranges.RangeAddresses:
        yield from itertools.product(range(area.StartRow, area.EndRow + 1), range(area.StartColumn, area.EndColumn + 1))


class TookTooLong(Exception):
    """LibreOffice did not answer within the time limit, or ended; it has been killed."""


class LibreOffice:
    """One running LibreOffice, started when it is first needed. Use as a context manager."""

    def __init__(self, time_limit=300):
        self.time_limit = time_limit
        self._folder = tempfile.mkdtemp(prefix="referee")
        self._process = self._desktop = None
        self._starts = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._kill()
        shutil.rmtree(self._folder, ignore_errors=True)

    def calculated(self, path, ranges):
        """For each (sheet, last row, last column): the values of its cells from A1 on, a list of rows. Numbers are floats
        (booleans too), texts str, errors Error, empty cells None."""
        return self.opened(path, lambda document: [self._values(document.Sheets.getByName(sheet), rows, columns)
                                                   for sheet, rows, columns in ranges])

    def opened(self, path, read):
        """What `read` gives for the document, once all of it is calculated."""
        return self._within_limit(lambda: self._opened(path, read))

    def _opened(self, path, read):
        hidden = PropertyValue(Name="Hidden", Value=True)
        document = self._desktop.loadComponentFromURL(f"file://{os.path.abspath(path)}", "_blank", 0, (hidden,))
        try:
            document.calculateAll()
            return read(document)
        finally:
            with contextlib.suppress(Exception):
                document.close(True)

    @staticmethod
    def _values(sheet, last_row, last_column):
        area = sheet.getCellRangeByPosition(0, 0, last_column, last_row)
        values = [list(row) for row in area.getDataArray()]
        for row, column in places(area.queryEmptyCells()):
            values[row][column] = None
        for row, column in places(area.queryFormulaCells(FAILED)):
            number = sheet.getCellByPosition(column, row).getError()
            values[row][column] = Error(ERROR_NAMES.get(number, "#VALUE!"))
            values[row][column].number = number
        return values

    def _within_limit(self, job):
        # A call into LibreOffice ends only when that answers or dies, so a thread of its own has to kill it.
        self._start()
        clock = threading.Timer(self.time_limit, self._kill_process)
        clock.start()
        try:
            return job()
        except Exception as problem:
            self._kill()
            raise TookTooLong(str(problem)) from problem
        finally:
            clock.cancel()

    def _start(self):
        if self._process is not None and self._process.poll() is None:
            return
        self._starts += 1
        pipe = f"referee{os.getpid()}n{self._starts}"
        self._process = subprocess.Popen(
            ["soffice", f"-env:UserInstallation=file://{self._folder}/profile", "--headless", "--norestore", "--nologo",
             f"--accept=pipe,name={pipe};urp;"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "SC_FORCE_CALCULATION": "core"}, start_new_session=True)
        local = uno.getComponentContext()
        resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
        while True:
            try:
                context = resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
                break
            except NoConnectException:
                if self._process.poll() not in (None, 0, 81):
                    raise
                time.sleep(0.25)
        self._desktop = context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)

    def _kill_process(self):
        if self._process is not None:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(self._process.pid, signal.SIGKILL)

    def _kill(self):
        self._kill_process()
        if self._process is not None:
            self._process.wait()
        self._process = self._desktop = None
