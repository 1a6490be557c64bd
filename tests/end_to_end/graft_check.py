#!/usr/bin/python3
"""graft_check.py BEFORE.xlsx AFTER.xlsx: what `ordvane report --into` did to a workbook, judged without its code.

Every part of BEFORE must be in AFTER with the same compressed bytes, but for the few that list what is in a workbook.
In those nothing but whole elements may have come, and counts may have grown. Old sheets keep their places, ids and
names; no id is there twice; with openpyxl, old sheets read the same. With --recalculated, LibreOffice calculates both
workbooks and must find the same values on the old sheets. Prints the faults; exit status 1 if there is any.
"""
import difflib, re, struct, sys, zipfile
import pathlib
import xml.etree.ElementTree as ET

import openpyxl

LISTS = {"[Content_Types].xml", "xl/workbook.xml", "xl/_rels/workbook.xml.rels", "xl/styles.xml", "xl/calcChain.xml",
         "docProps/app.xml"}
GROWING = ("count", "size", "fullCalcOnLoad")
MAIN = "{http://schemas.openxmlformats.org/spreadsheetml/2006/main}"
LINK = "{http://schemas.openxmlformats.org/officeDocument/2006/relationships}id"


def stored(package, name):
    """The bytes of an entry as they stand in the file, and what its directory says of them."""
    info = package.getinfo(name)
    package.fp.seek(info.header_offset)
    header = package.fp.read(30)
    package.fp.seek(sum(struct.unpack("<HH", header[26:30])), 1)
    return package.fp.read(info.compress_size), info.compress_type, info.CRC, info.file_size, info.date_time


def changes(before, after):
    """What else than new elements and grown counts tells two texts apart."""
    cut = lambda text: re.findall(r"<[^>]*>|[^<]+", text)
    old, new = cut(before), cut(after)
    counts = lambda token: re.sub(r' (%s)="[^"]*"' % "|".join(GROWING), "", token)
    same = [counts(token) for token in old], [counts(token) for token in new]
    for kind, a, b, c, d in difflib.SequenceMatcher(None, *same, autojunk=False).get_opcodes():
        number = kind == "replace" and b - a == d - c == 1 and old[a].isdigit() and new[c].isdigit()
        if kind != "equal" and kind != "insert" and not number:
            yield "%s became %s" % ("".join(old[a:b])[:200], "".join(new[c:d])[:200])
    if len(old) < len(new):
        depth = 0
        for kind, a, b, c, d in difflib.SequenceMatcher(None, *same, autojunk=False).get_opcodes():
            if kind == "insert":
                for token in new[c:d]:
                    depth += 0 if token[1:2] in "?!" or token.endswith("/>") or token[0] != "<" else -1 if token[1] == "/" else 1
        if depth:
            yield "the new elements are not whole"


def sheets(package):
    root = ET.fromstring(package.read("xl/workbook.xml"))
    found = [(s.get("name"), s.get("sheetId"), s.get(LINK)) for s in root.iter(MAIN + "sheet")]
    names = {(n.get("name"), found[int(n.get("localSheetId"))][0] if n.get("localSheetId") else "", n.text)
             for n in root.iter(MAIN + "definedName")}
    return found, names


def recalculated(paths, ranges):
    """The values of ranges of both workbooks as LibreOffice calculates them."""
    sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "calc"))
    from libreoffice import LibreOffice  # where that is asked for, and is there
    with LibreOffice() as office:
        return [office.calculated(path, ranges) for path in paths]


def look(cell, known):
    style = tuple(cell._style or ())
    if style not in known:
        known[style] = cell.number_format, *(
            repr(part) for part in (cell.font, cell.fill, cell.border, cell.alignment, cell.protection))
    return known[style]


def same_value(a, b):
    if isinstance(a, float) and isinstance(b, (int, float)):
        return abs(a - b) <= 1e-9 * max(1, abs(a))
    return a == b


def check(before_path, after_path, recalculate):
    before, after = zipfile.ZipFile(before_path), zipfile.ZipFile(after_path)
    if after.testzip():
        yield "damaged: " + after.testzip()
    kept = [name for name in after.namelist() if name in set(before.namelist())]
    if kept != before.namelist():
        yield "parts are missing or in another order"
    for name in kept:
        if name not in LISTS:
            if stored(before, name) != stored(after, name):
                yield name + ": not the bytes of before"
        elif before.read(name) != after.read(name):
            for change in changes(before.read(name).decode(), after.read(name).decode()):
                yield "%s: %s" % (name, change)
    (old, old_names), (new, new_names) = sheets(before), sheets(after)
    if new[:len(old)] != old or len(new) == len(old):
        yield "sheets: %s became %s" % (old, new)
    if not old_names <= new_names:
        yield "names: %s are not there any more" % (old_names - new_names)
    for what in (1, 2):
        if len({sheet[what] for sheet in new}) != len(new):
            yield "an id of a sheet is there twice"
    for name in after.namelist():
        if name.endswith(".rels"):
            ids = [r.get("Id") for r in ET.fromstring(after.read(name))]
            if len(ids) != len(set(ids)):
                yield name + ": an id is there twice"
    a, b = openpyxl.load_workbook(before_path), openpyxl.load_workbook(after_path)
    looks = {}, {}  # by style
    for sheet in a.worksheets:
        twin = b[sheet.title]
        for row in sheet.iter_rows():
            for cell in row:
                other = twin[cell.coordinate]
                if str(cell.value) != str(other.value) and type(cell.value).__name__ not in ("ArrayFormula", "DataTableFormula"):
                    yield "%s!%s: %r became %r" % (sheet.title, cell.coordinate, cell.value, other.value)
                elif look(cell, looks[0]) != look(other, looks[1]):
                    yield "%s!%s: looks different" % (sheet.title, cell.coordinate)
    if recalculate:
        ranges = [(sheet.title, sheet.max_row - 1, sheet.max_column - 1) for sheet in a.worksheets]
        for (name, *_), left, right in zip(ranges, *recalculated((before_path, after_path), ranges)):
            for number, (row, twin) in enumerate(zip(left, right), 1):
                if not all(map(same_value, row, twin)):
                    yield "%s, row %d: calculated as %s, then %s" % (name, number, row, twin)


def main():
    paths = [a for a in sys.argv[1:] if not a.startswith("--")]
    faults = list(check(paths[0], paths[1], "--recalculated" in sys.argv))
    print("\n".join(faults[:20]))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
