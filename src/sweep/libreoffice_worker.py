"""Recalculates a workbook in LibreOffice for a sweep, which starts this program and asks it by pipe.

Argument: a folder of its own with the copy of the workbook; the profile and all else go there. Each line of standard input
is JSON. The first names the workbook, the inputs, the outputs,
formulas with functions that LibreOffice has to know, and what is held of clock and random numbers; every other one is a list of recalculations, each a list
of [input, value]. Answers are lines, too: the engine's version or an error, then a list of results for each recalculation:
a number, a text, null for nothing, or {"error": number}.

When standard input ends, so does everything that was started here, however busy it is, and the folder goes.
"""

import json
import math
import os
import pathlib
import queue
import re
import shutil
import signal
import subprocess
import sys
import threading
import time

FOLDER = pathlib.Path(sys.argv[1])
FAILED = 2
CHANGING = re.compile(r"""("(?:[^"]|"")*"|'(?:[^']|'')*')|(?<![\w.])(NOW|TODAY|RAND)\(\)""")
requests = queue.SimpleQueue()


def end_all():
    """Ends every other process of the group, and removes the folder."""
    group = os.getpgrp()
    for _ in range(50):
        others = []
        for status in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                state, _, its_group = status.read_text().rpartition(")")[2].split()[:3]
            except OSError:
                continue
            if int(its_group) == group and state != "Z" and int(status.parent.name) != os.getpid():
                others.append(int(status.parent.name))
        for process in others:
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass
        if not others:
            break
        time.sleep(0.02)
    shutil.rmtree(FOLDER, ignore_errors=True)


def read_requests():
    for line in sys.stdin:
        requests.put(json.loads(line))
    end_all()
    os._exit(0)


def answer(value):
    sys.stdout.write(json.dumps(value) + "\n")
    sys.stdout.flush()


def fail(problem):
    answer({"error": problem})
    end_all()
    os._exit(FAILED)


def started():
    """The component context of a LibreOffice of our own."""
    pipe = f"ordvane{os.getpid()}"
    environment = dict(os.environ, SC_FORCE_CALCULATION="core")  # groups of formulas in threads give wrong results
    try:
        process = subprocess.Popen(
            ["soffice", f"-env:UserInstallation={(FOLDER / 'profile').as_uri()}", "--headless", "--norestore", "--nologo",
             "--nodefault", f"--accept=pipe,name={pipe};urp;"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=environment)
    except FileNotFoundError:
        fail("LibreOffice is not installed")
    local = uno.getComponentContext()
    resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
    while True:  # the caller's time limit ends it
        try:
            return resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
        except NoConnectException:
            if process.poll() not in (None, 0, 81):
                fail(f"LibreOffice ended with status {process.returncode}")
            time.sleep(0.1)


def version(context):
    provider = context.ServiceManager.createInstanceWithContext("com.sun.star.configuration.ConfigurationProvider", context)
    path = PropertyValue(Name="nodepath", Value="/org.openoffice.Setup/Product")
    product = provider.createInstanceWithArguments("com.sun.star.configuration.ConfigurationAccess", (path,))
    return product.getByName("ooSetupVersionAboutBox")


def frozen_formula(formula, now, randoms):
    """A formula with numbers in the place of what would be another one with every calculation."""
    randoms = iter(randoms)
    numbers = {"NOW": lambda: now, "TODAY": lambda: math.floor(now), "RAND": lambda: next(randoms)}
    return CHANGING.sub(lambda found: found[1] or repr(float(numbers[found[2]]())), formula)


def freeze(document, frozen):
    now = frozen["now"]
    for holder in (document, *document.Sheets):
        for name in holder.NamedRanges:
            name.Content = frozen_formula(name.Content, now, ())
    for sheet, address, randoms in frozen["cells"]:
        cell = cell_of(document, (sheet, address))
        if cell.ArrayFormula:
            cursor = document.Sheets.getByName(sheet).createCursorByRange(cell)
            cursor.collapseToCurrentArray()
            cursor.setArrayFormula(frozen_formula(cell.ArrayFormula.strip("{}"), now, randoms))
        else:
            cell.setFormula(frozen_formula(cell.Formula, now, randoms))


def opened(context, workbook, frozen):
    desktop = context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)
    quietly = {"Hidden": True, "MacroExecutionMode": 0, "UpdateDocMode": 0}
    document = desktop.loadComponentFromURL(
        pathlib.Path(workbook).as_uri(), "_blank", 0, tuple(PropertyValue(Name=n, Value=v) for n, v in quietly.items()))
    if document is None or not hasattr(document, "Sheets"):
        fail("LibreOffice cannot open the workbook")
    freeze(document, frozen)
    document.enableAutomaticCalculation(True)  # workbooks that are calculated by hand would stay as they are
    document.calculateAll()
    return document


def cell_of(document, place):
    sheet, cell = place
    if not document.Sheets.hasByName(sheet):
        fail(f"LibreOffice finds no sheet {sheet!r} in the workbook")
    return document.Sheets.getByName(sheet).getCellRangeByName(cell)


def check_functions(document, places):
    """Refuses what would be an error at every step: functions that are macros, and those known to nobody."""
    mapper = document.createInstance("com.sun.star.sheet.FormulaOpCodeMapper")
    special = mapper.getAvailableMappings(ENGLISH, SPECIAL)
    unknown = {special[kind].Token.OpCode for kind in (BAD, MACRO)}
    for place in places:
        for token in cell_of(document, place).getTokens():
            if token.OpCode in unknown:
                name = re.sub(r"^(_XLFN\.|_XLWS\.)+", "", str(token.Data).upper())
                fail(f"{place[0]}!{place[1]}: {name}: LibreOffice knows no such function or name")


def iterated(document):
    """What makes the next calculation of a circular reference begin anew, whatever was calculated before."""
    if not document.IsIterationEnabled:
        return lambda: None

    def begin_anew():
        for enabled in (False, True):
            document.IsIterationEnabled = enabled
            document.calculateAll()
    return begin_anew


def result(cell):
    value = cell.getDataArray()[0][0]  # one call where a number is
    if isinstance(value, float):
        return value
    error = cell.getError()
    if error:
        return {"error": error}
    return value or None


def kept(cell):
    """What puts the cell back to its content."""
    if cell.Type == VALUE:
        number = cell.Value
        return lambda: cell.setValue(number)
    if cell.Type == TEXT:
        text = cell.String
        return lambda: cell.setString(text)
    formula = cell.Formula
    return lambda: cell.setFormula(formula)


def recalculate(inputs, put_back, outputs, changed, begin_anew, recalculation):
    wanted = dict(recalculation)
    for position in list(changed):
        if position not in wanted:
            put_back[position]()
            del changed[position]
    for position, value in wanted.items():
        if changed.get(position) != value:
            inputs[position].setValue(value)
            changed[position] = value
    begin_anew()
    return [result(cell) for cell in outputs]


def main():
    threading.Thread(target=read_requests, daemon=True).start()
    first = requests.get()
    context = started()
    document = opened(context, first["workbook"], first["frozen"])
    inputs, outputs = ([cell_of(document, place) for place in first[kind]] for kind in ("inputs", "outputs"))
    check_functions(document, first["foreign"])
    put_back, changed, begin_anew = [kept(cell) for cell in inputs], {}, iterated(document)
    answer({"engine": f"LibreOffice {version(context)}"})
    while True:
        for recalculation in requests.get():
            answer(recalculate(inputs, put_back, outputs, changed, begin_anew, recalculation))


try:
    import uno  # before com.sun.star, which it makes importable
    from com.sun.star.beans import PropertyValue
    from com.sun.star.connection import NoConnectException
    from com.sun.star.sheet.FormulaLanguage import ENGLISH
    from com.sun.star.sheet.FormulaMapGroup import SPECIAL
    from com.sun.star.sheet.FormulaMapGroupSpecialOffset import BAD, MACRO
    from com.sun.star.table.CellContentType import TEXT, VALUE

    main()
except ModuleNotFoundError:
    fail("LibreOffice's Python bridge (python3-uno) is not installed")
except Exception as error:  # to whoever asked, in the place of an answer
    fail(f"{type(error).__name__}: {error}".splitlines()[0])
