#!/usr/bin/python3
"""Measures `ordvane sweep` as a whole process, beside the plainest client of LibreOffice in the same run.

Usage: sweeps.py BUILD_FOLDER [--quick]

Models are the solar plant and those in ../shared/models, where they are. The client starts one soffice, connects by a pipe,
sets cells, and reads the outputs; only its recalculations are timed, neither the start nor the opening, while the command is
timed from its start to its end. Of the results that both calculate, all have to be the same to the last bit. Then the solar
plant grows from a thousand recalculations to a million. Exits 1 when results differ, when a model takes more than a thirtieth
of the client's processor time, or when memory grows with the recalculations.
"""

import collections
import csv
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

from record import Record, megabytes, seconds as shown

SOURCE = pathlib.Path(__file__).resolve().parent.parent
EXAMPLE = SOURCE / "examples/solar-plant/solar-plant.xlsx"
OTHERS = SOURCE.parent / "shared/models"
STEPS = 5000  # of each input
PEER_SECONDS = 10
LEAST_RATIO = 30
GROWN_STEPS = (32, 100, 316, 1000)  # of each of two inputs varied together
MOST_GROWTH = 1.5  # of memory, while recalculations grow a thousandfold

Figures = collections.namedtuple("Figures", "seconds processor peak")

# A process begins with the peak memory of the one that it comes from, so that this one has to be small.
MEASURE = """
import os, sys, time
start = time.perf_counter()
process = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
_, status, usage = os.wait4(process, 0)
print(time.perf_counter() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024)
sys.exit(status != 0)
"""


def measured(command, folder):
    words = [str(word) for word in command]
    ran = subprocess.run(["/usr/bin/python3", "-I", "-S", "-c", MEASURE, *words], cwd=folder, capture_output=True, text=True)
    if ran.returncode != 0:
        raise SystemExit(f"{' '.join(words)}: {ran.stderr}")
    return Figures(*map(float, ran.stdout.split()))


def processor_of(group):
    """Seconds that the processes of a group have had."""
    ticks = 0
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = stat.read_text(encoding="utf-8").rpartition(")")[2].split()
        except OSError:
            continue
        if int(fields[2]) == group:
            ticks += int(fields[11]) + int(fields[12])
    return ticks / os.sysconf("SC_CLK_TCK")


def swept(build, folder, workbook, definition):
    """The figures of the command; it leaves its run in the folder."""
    (folder / "bench.whatif.json").write_text(json.dumps(definition), encoding="utf-8")
    return measured([build / "ordvane", "sweep", workbook, "bench.whatif.json", "-o", "bench.run.json", "--overwrite",
                     "--quiet", "--verify", "none"], folder)


def definition_of(workbook):
    """The model's inputs with many steps, and its outputs, all of them in cells with a sheet."""
    given = json.loads(workbook.with_suffix(".whatif.json").read_text(encoding="utf-8"))
    inputs = [{key: item[key] for key in ("sheet", "cell", "low", "high")} | {"steps": STEPS} for item in given["inputs"]
              if not isinstance(item["low"], str)]
    return {"inputs": inputs, "outputs": [{key: item[key] for key in ("sheet", "cell")} for item in given["outputs"]]}


class Peer:
    """One LibreOffice, asked over a pipe."""

    def __init__(self, folder):
        pipe = f"ordvanebench{os.getpid()}"
        self._process = subprocess.Popen(
            ["soffice", f"-env:UserInstallation={(folder / 'profile').as_uri()}", "--headless", "--norestore", "--nologo",
             "--nodefault", f"--accept=pipe,name={pipe};urp;"],
            env=dict(os.environ, SC_FORCE_CALCULATION="core"), stderr=subprocess.DEVNULL, start_new_session=True)
        local = uno.getComponentContext()
        resolver = local.ServiceManager.createInstanceWithContext("com.sun.star.bridge.UnoUrlResolver", local)
        while True:
            try:
                context = resolver.resolve(f"uno:pipe,name={pipe};urp;StarOffice.ComponentContext")
                break
            except NoConnectException:
                time.sleep(0.1)
        self._desktop = context.ServiceManager.createInstanceWithContext("com.sun.star.frame.Desktop", context)

    def rows(self, workbook, definition, rows):
        """Seconds and processor seconds of a recalculation, and the results of each that was made in the time there is."""
        hidden = PropertyValue(Name="Hidden", Value=True)
        document = self._desktop.loadComponentFromURL(workbook.as_uri(), "_blank", 0, (hidden,))
        document.enableAutomaticCalculation(True)
        document.calculateAll()
        inputs, outputs = (
            [document.Sheets.getByName(item["sheet"]).getCellRangeByName(item["cell"]) for item in definition[kind]]
            for kind in ("inputs", "outputs"))
        bases = [cell.Value for cell in inputs]
        processor = processor_of(self._process.pid) + time.process_time()
        results, start, last = [], time.perf_counter(), None
        for position, value in rows:
            if last not in (None, position):
                inputs[last].Value = bases[last]
            inputs[position].Value = value
            last = position
            results.append([cell.DataArray[0][0] for cell in outputs])
            if time.perf_counter() - start > PEER_SECONDS:
                break
        seconds = time.perf_counter() - start
        processor = processor_of(self._process.pid) + time.process_time() - processor
        document.close(True)
        return seconds / len(results), processor / len(results), results

    def end(self):
        try:
            self._desktop.terminate()
        except DisposedException:  # it is quick to go
            pass
        self._process.wait()


def differing(recorded, results):
    """How many numbers of the peer are others in the run."""
    return sum(isinstance(number, float) and number != float(field)
               for row, values in zip(recorded, results) for field, number in zip(row[4:], values))


def compared(build, folder, peer, workbooks, record):
    table = record.table("sweeps", "model", "recalculations", "time", "peer", "ratio", "processor", "peer", "ratio", "memory")
    ratios, differ = [], 0
    for workbook in workbooks:
        definition = definition_of(workbook)
        figures = swept(build, folder, workbook, definition)
        with open(folder / "bench.run.csv", encoding="utf-8", newline="") as file:
            recorded = list(csv.reader(file))[1:]
        rows = [(int(row[1]) - 1, float(row[3])) for row in recorded]
        seconds, processor, results = peer.rows(workbook, definition, rows)
        differ += differing(recorded, results)
        ours = (figures.seconds / len(recorded), figures.processor / len(recorded))
        each = [1e6 * one for one in (ours[0], seconds, ours[1], processor)]
        ratios.append(each[3] / each[2])
        table.row(workbook.stem, f"{len(recorded):,}", f"{each[0]:.1f} µs", f"{each[1]:,.0f} µs", f"{each[1] / each[0]:.0f}",
                  f"{each[2]:.1f} µs", f"{each[3]:,.0f} µs", f"{ratios[-1]:.0f}", megabytes(figures.peak))
        record.ratio(workbook.stem, each[2] / each[3])
    print(f"microseconds a recalculation; ratio of processor time: median {statistics.median(ratios):.0f}, "
          f"least {min(ratios):.0f}; {differ} results differ")
    if differ or min(ratios) < LEAST_RATIO:
        raise SystemExit(f"results differ, or a ratio is below {LEAST_RATIO}")


def grown(build, folder, record):
    table = record.table("long sweeps", "recalculations", "time", "processor, each", "memory")
    peaks = []
    for steps in GROWN_STEPS:
        definition = definition_of(EXAMPLE)
        places = {("Finance", "B5"), ("Finance", "B10")}
        definition["inputs"] = [item | {"steps": steps} for item in definition["inputs"]
                                if (item["sheet"], item["cell"]) in places]
        definition["groups"] = [{"inputs": [1, 2]}]
        figures = swept(build, folder, EXAMPLE, definition)
        peaks.append(figures.peak)
        count = steps * steps + 2 * steps
        table.row(f"{count:,}", shown(figures.seconds), f"{figures.processor / count * 1e6:.1f} µs", megabytes(figures.peak))
    record.ratio("memory of the longest sweep to the shortest", peaks[-1] / peaks[0])
    if peaks[-1] > MOST_GROWTH * peaks[0]:
        raise SystemExit(f"memory grows with the recalculations, more than {MOST_GROWTH} times")


def main():
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    build = pathlib.Path(sys.argv[1]).resolve()
    workbooks = [EXAMPLE, *sorted(OTHERS.glob("*.xlsx"))]
    record = Record(build, "sweeps")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        peer = Peer(folder)
        try:
            compared(build, folder, peer, workbooks[:1] if "--quick" in sys.argv[2:] else workbooks, record)
        finally:
            peer.end()
        grown(build, folder, record)
    record.save()


if __name__ == "__main__":
    import uno  # before com.sun.star, which it makes importable
    from com.sun.star.beans import PropertyValue
    from com.sun.star.connection import NoConnectException
    from com.sun.star.lang import DisposedException

    main()
