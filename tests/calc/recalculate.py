#!/usr/bin/python3
"""Recalculates workbooks with LibreOffice and writes the value of each formula cell.

Usage: recalculate.py FOLDER WORKBOOK.xlsx...

Writes FOLDER/NAME.json for each: a list of [sheet number, cell, value]; errors are {"error": "Err:n"}.
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import uno  # before com.sun.star, which it makes importable
from com.sun.star.beans import PropertyValue
from com.sun.star.connection import NoConnectException

FORMULAS = 16  # com.sun.star.sheet.CellFlags.FORMULA
NUMBER = 1  # com.sun.star.sheet.FormulaResult.VALUE


def connect(pipe):
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    for _ in range(480):
        try:
            return resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
        except NoConnectException:
            time.sleep(0.25)
    raise SystemExit("soffice did not answer within two minutes")


def value_of(cell):
    if cell.getError():
        return {"error": f"Err:{cell.getError()}"}
    return cell.Value if cell.FormulaResultType2 == NUMBER else cell.String


def formula_values(document):
    document.calculateAll()
    for number in range(document.Sheets.Count):
        sheet = document.Sheets.getByIndex(number)
        for area in sheet.queryContentCells(FORMULAS).RangeAddresses:
            for column in range(area.StartColumn, area.EndColumn + 1):
                for row in range(area.StartRow, area.EndRow + 1):
                    cell = sheet.getCellByPosition(column, row)
                    name = cell.AbsoluteName.rpartition(".")[2].replace("$", "")
                    yield number, name, value_of(cell)


def main(folder, *workbooks):
    hidden = PropertyValue()
    hidden.Name, hidden.Value = "Hidden", True
    with tempfile.TemporaryDirectory() as profile:
        pipe = f"recalculate{os.getpid()}"
        # Threads that share the work of a formula give wrong results.
        process = subprocess.Popen(
            ["soffice", f"-env:UserInstallation=file://{profile}/profile", "--headless", "--norestore", "--nologo",
             f"--accept=pipe,name={pipe};urp;"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "SC_FORCE_CALCULATION": "core"})
        try:
            context = connect(pipe)
            desktop = context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)
            for workbook in map(pathlib.Path, workbooks):
                document = desktop.loadComponentFromURL(workbook.resolve().as_uri(), "_blank", 0, (hidden,))
                values = list(formula_values(document))
                pathlib.Path(folder, workbook.stem + ".json").write_text(json.dumps(values), encoding="utf-8")
                document.close(True)
            try:
                desktop.terminate()
            except Exception:  # it is gone before it answers
                pass
            process.wait(60)
        finally:
            process.kill()


if __name__ == "__main__":
    main(*sys.argv[1:])
