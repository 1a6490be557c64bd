#!/usr/bin/python3
"""Recalculates workbooks with LibreOffice and writes the value of each formula cell.

Usage: recalculate.py FOLDER WORKBOOK.xlsx...

Writes FOLDER/NAME.json for each: a list of [sheet number, cell, value]; errors are {"error": "Err:n"}.
"""

import json
import pathlib
import sys

from libreoffice import LibreOffice, places

FORMULAS = 16  # com.sun.star.sheet.CellFlags.FORMULA
NUMBER = 1  # com.sun.star.sheet.FormulaResult.VALUE


def value_of(cell):
    if cell.getError():
        return {"error": f"Err:{cell.getError()}"}
    return cell.Value if cell.FormulaResultType2 == NUMBER else cell.String


def formula_values(document):
    for number in range(document.Sheets.Count):
        sheet = document.Sheets.getByIndex(number)
        for row, column in places(sheet.queryContentCells(FORMULAS)):
            cell = sheet.getCellByPosition(column, row)
            yield number, cell.AbsoluteName.rpartition(".")[2].replace("$", ""), value_of(cell)


def main(folder, *workbooks):
    with LibreOffice() as office:
        for workbook in map(pathlib.Path, workbooks):
            values = office.opened(workbook, lambda document: list(formula_values(document)))
            pathlib.Path(folder, workbook.stem + ".json").write_text(json.dumps(values), encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
