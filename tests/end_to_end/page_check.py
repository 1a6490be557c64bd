"""Drives pages in headless Chromium as their readers do: pointer, keyboard, no scripts, print, and a tool that judges how they
read to those who do not see them.

Usage: page_check.py ORDVANE RUN behaviour|accessibility

What it expects comes from `ordvane show --json` and from what stands in the page without scripts. Prints one line a fault;
exits with 1 when there is one, with 77 when what it needs is not on this machine.
"""

import itertools
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

ORDVANE, RUN, WHAT = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3]
LANGUAGES = ["de", "en", "es", "fr", "it", "ja", "pt", "zh"]
MOST_BYTES = 300_000
AXE = "axe-core@4.10.2"


def skip(why):
    print(why)
    sys.exit(77)


class Browser:
    """Chromium behind a pipe: messages are JSON, each ended by a zero byte."""

    def __init__(self, folder):
        program = shutil.which("chromium") or skip("chromium is not installed")
        to_read, self.to = os.pipe()
        self.come, to_write = os.pipe()

        def connect():
            os.dup2(to_read, 3)
            os.dup2(to_write, 4)

        # Both ends lie above 4 first, so that neither is closed by what takes its place.
        to_read, to_write = (os.dup2(each, each + 20) for each in (to_read, to_write))
        self.process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", f"--user-data-dir={folder}/profile",
             "--remote-debugging-pipe", "about:blank"], preexec_fn=connect, close_fds=False, stderr=subprocess.DEVNULL)
        self.number, self.rest, self.events = 0, b"", []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = None
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def message(self):
        while b"\0" not in self.rest:
            self.rest += os.read(self.come, 1 << 20)
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **params):
        self.number += 1
        sent = {"id": self.number, "method": method, "params": params}
        if getattr(self, "session", None):
            sent["sessionId"] = self.session
        os.write(self.to, json.dumps(sent).encode() + b"\0")
        while (got := self.message()).get("id") != self.number:
            self.events.append(got)
        if "error" in got:
            raise RuntimeError(f"{method}: {got['error']['message']}")
        return got["result"]

    def open(self, page, scripts=True):
        self.events = []
        self.call("Emulation.setScriptExecutionDisabled", value=not scripts)
        start = time.monotonic()
        self.call("Page.navigate", url=page.absolute().as_uri())
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.message())
        return time.monotonic() - start

    def run(self, script):
        # Also where the page's own scripts are turned off.
        got = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True, userGesture=True)
        if "exceptionDetails" in got:
            raise RuntimeError(got["exceptionDetails"]["exception"].get("description", script))
        return got["result"].get("value")

    def key(self, key, code=0, text=""):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, windowsVirtualKeyCode=code, text=text if kind == "keyDown" else "")

    def point(self, x, y, click=False):
        self.call("Input.dispatchMouseEvent", type="mouseMoved", x=x, y=y)
        for kind in ("mousePressed", "mouseReleased") if click else ():
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)

    def click(self, selector):
        x, y = self.run(f"""(() => {{ const e = document.querySelector({json.dumps(selector)});
            e.scrollIntoView({{block: 'center'}}); const r = e.getBoundingClientRect();
            return [r.x + r.width / 2, r.y + r.height / 2]; }})()""")
        self.point(x, y, click=True)

    def complaints(self):
        """What the page logged, threw or asked the network for."""
        for event in self.events:
            method, params = event.get("method"), event.get("params", {})
            if method == "Runtime.exceptionThrown":
                yield params["exceptionDetails"].get("exception", {}).get("description", "an exception")
            if method == "Log.entryAdded" and params["entry"]["level"] in ("error", "warning"):
                yield params["entry"]["text"]
            if method == "Runtime.consoleAPICalled":
                yield "console: " + str(params["args"])
            if method == "Network.requestWillBeSent" and not params["request"]["url"].startswith(("file:", "blob:", "data:")):
                yield "asks for " + params["request"]["url"]

    def close(self):
        self.process.terminate()
        self.process.wait()


def report(page, *options):
    subprocess.run([ORDVANE, "report", RUN, "-o", page, "--quiet", "--overwrite", *options], check=True)
    return page


TABLES = """[...document.querySelectorAll('section.view')].map((s) => [...s.querySelectorAll('[data-table]')].map((t) =>
    [...t.querySelectorAll('tbody tr')].map((r) => [...r.cells].map((c) => c.textContent))))"""
COLUMN = """[...document.querySelectorAll('section.view:not([hidden]) [data-table=inputs] tbody tr')].map((r) =>
    r.cells[[...r.closest('table').tHead.rows[0].cells].findIndex((h) => h.dataset.key === '%s')].textContent)"""


def same(what, got, expected):
    if got != expected:
        yield f"{what}: {str(got)[:300]} is not {str(expected)[:300]}"


def figures_without_and_with_scripts(browser, folder):
    """Every language; every output, with the figures that the program wrote and those that the script draws."""
    for language in LANGUAGES:
        page = report(folder / f"{language}.html", "--language", language)
        if page.read_bytes() != report(folder / "again.html", "--language", language).read_bytes():
            yield f"{language}: the page is not the same bytes again"
        if page.stat().st_size > MOST_BYTES and RUN.name.startswith("solar"):
            yield f"{language}: {page.stat().st_size} bytes are more than {MOST_BYTES}"
        browser.open(page, scripts=False)
        written = browser.run(TABLES)
        yield from same(f"{language}: controls without scripts", browser.run("document.querySelector('.controls').offsetHeight"), 0)
        browser.open(page)
        for output in range(len(written)):
            browser.run(f"""(() => {{ const s = document.getElementById('output'); s.value = {output};
                s.dispatchEvent(new Event('change')); }})()""")
        drawn = browser.run(TABLES)
        for output, (before, after) in enumerate(zip(written, drawn)):
            for table, rows in enumerate(before):
                if rows or output == 0:  # behind the first output, the script fills the table of steps
                    yield from same(f"{language}: table {table} of output {output}", after[table], rows)
        yield from (f"{language}: {complaint}" for complaint in browser.complaints())


def pointer_and_keyboard(browser, folder):
    page = report(folder / "page.html", "--language", "en")
    shown = json.loads(subprocess.run([ORDVANE, "show", RUN, "--json"], check=True, capture_output=True).stdout)["outputs"]
    browser.call("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(folder))
    browser.open(page)
    ranked = [effect["name"] or effect["cell"] for effect in shown[0]["inputs"]]
    names = lambda: [name for name in browser.run("""[...document.querySelectorAll(
        'section.view:not([hidden]) [data-table=inputs] tbody th')].map((h) => h.firstChild.data)""")]
    yield from same("order", names(), ranked)
    browser.click("[data-key=name] button")
    yield from same("order by name", names(), sorted(ranked, key=str.lower))
    browser.run("document.querySelector('[data-key=swing] button').focus()")
    for _ in range(2):
        browser.key("Enter", 13, "\r")
    yield from same("order by swing, down", names(), ranked)
    yield from same("aria-sort", browser.run("document.querySelector('[data-key=swing]').ariaSort"), "descending")

    values = browser.run(COLUMN % "low")
    browser.run("document.querySelector('[name=show]:checked').focus()")
    browser.key("ArrowDown", 40)
    changes = browser.run(COLUMN % "low")
    lowest = shown[0]["inputs"][0]["lowChange"] * 100
    yield from same("change", changes[0], f"{lowest:+,.1f}%".replace("-", "−"))
    browser.key("ArrowUp", 38)
    yield from same("values again", browser.run(COLUMN % "low"), values)

    browser.click("#filter")
    for letter in ranked[0][:4]:
        browser.key(letter, 0, letter)
    yield from same("filtered", names(), [name for name in ranked if ranked[0][:4].lower() in name.lower()])
    time.sleep(0.5)
    if not browser.run("document.getElementById('said').textContent"):
        yield "nothing is said of the filter"
    browser.click("section.view:not([hidden]) [data-table=inputs] .tools button:last-child")
    browser.run("document.getElementById('filter').value = ''; document.getElementById('filter').dispatchEvent(new Event('input'))")
    for _ in range(50):
        if files := [file for file in folder.glob("*.csv")]:
            break
        time.sleep(0.1)
    text = files[0].read_text(encoding="utf-8-sig") if files else ""
    line = text.splitlines()[1].split(",") if text else []
    if ranked[0] not in line or repr(shown[0]["inputs"][0]["low"]) not in line:
        yield f"the file of the table has {line}"

    # The output halfway between two steps of the strongest input is reached halfway between their values.
    place = browser.run("Number(document.querySelector('[data-table=inputs] tbody tr').dataset.input)")
    rows = [line.split(",") for line in RUN.with_suffix(".csv").read_text().splitlines()[1:]]
    (x1, y1), (x2, y2) = sorted((float(row[3]), float(row[4])) for row in rows if row[1] == str(place + 1))[2:4]
    browser.run(f"""(() => {{ const f = document.getElementById('target'); f.value = '{(y1 + y2) / 2:,.6f}';
        f.dispatchEvent(new Event('change')); }})()""")
    yield from same("value at the target", browser.run(COLUMN % "break_even")[0], f"{(x1 + x2) / 2:,.2f}")

    bar = browser.run("""(() => { const r = document.querySelector('figure.tornado .row .bar').getBoundingClientRect();
        scrollTo(0, scrollY + r.y - 200); const s = document.querySelector('figure.tornado .row .bar').getBoundingClientRect();
        return [s.x + s.width / 2, s.y + s.height / 2]; })()""")
    browser.point(*bar)
    tip = browser.run("[document.getElementById('tip').hidden, document.getElementById('tip').textContent]")
    if tip[0] or not tip[1].startswith(ranked[0]) or values[0] not in tip[1]:
        yield f"over the first bar stands {tip}"
    yield from browser.complaints()


def changed(folder):
    """The run, with a base value and the swings of an input that are others."""
    now = json.loads(RUN.read_text())
    now["inputs"][0]["base"] *= 2
    now["outputs"][0]["base"] *= 0.5
    lines = RUN.with_suffix(".csv").read_text().splitlines()
    cells = [line.split(",") for line in lines]
    for row in cells[1:]:
        if row[1] == "7":
            row[4] = str(float(row[4]) * 1.5)
    (folder / "now.run.csv").write_text("\n".join(map(",".join, cells)) + "\n")
    now = {name: value for name, value in now.items() if not name.startswith("group")} | {"recalculations": "now.run.csv"}
    (folder / "now.run.json").write_text(json.dumps(now))
    return folder / "now.run.json"


def compared(browser, folder):
    """A page of two runs, in every language: its figures are those of `diff --json`, and it runs no script."""
    diff = [ORDVANE, "diff", RUN, changed(folder)]
    told = json.loads(subprocess.run([*diff, "--json"], check=True, capture_output=True).stdout)["outputs"][0]
    for language in LANGUAGES:
        page = folder / f"diff-{language}.html"
        subprocess.run([*diff, "-o", page, "--language", language, "--overwrite"], check=True, capture_output=True)
        browser.open(page)
        bars = browser.run("[...document.querySelectorAll('.pairs .before, .pairs .bar')].map((b) => b.width.baseVal.value)")[2:]
        swings = [input[field] for input in told["inputs"] for field in ("swingBefore", "swing")]
        scale = max(bars) / max(swings)
        if len(bars) != len(swings) or any(abs(bar - swing * scale) > 0.2 for bar, swing in zip(bars, swings)):
            yield f"{language}: the bars are {bars}, of swings {swings}"
        names = browser.run("[...document.querySelectorAll('section tbody th')].map((h) => h.firstChild.data)")
        yield from same(f"{language}: inputs", names, [input["name"] for input in told["inputs"]])
        yield from same(f"{language}: scripts", browser.run("document.scripts.length"), 0)
        yield from (f"{language}: {complaint}" for complaint in browser.complaints())


def judged(browser, folder):
    """Of every kind of page, light and dark."""
    npm = shutil.which("npm") or skip("npm, which fetches axe-core, is not installed")
    subprocess.run([npm, "install", "--silent", "--no-audit", "--no-fund", "--prefix", str(folder / "npm"), AXE],
                   capture_output=True, check=False)
    axe = folder / "npm/node_modules/axe-core/axe.min.js"
    if not axe.exists():
        skip(f"{AXE} could not be fetched")
    subprocess.run([ORDVANE, "diff", RUN, changed(folder), "-o", folder / "diff.html", "--language", "en"],
                   check=True, capture_output=True)
    for page, scheme in itertools.product((report(folder / "page.html", "--language", "en"), folder / "diff.html"),
                                          ("light", "dark")):
        browser.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        browser.open(page)
        browser.run("document.querySelectorAll('details').forEach((d) => (d.open = true))")
        browser.run(axe.read_text())
        for fault in browser.run("axe.run().then((r) => r.violations.map((v) => v.id + ': ' + v.nodes.map((n) => n.html).slice(0, 3)))"):
            yield f"{page.name}, {scheme}: {fault}"


def main():
    # Chromium's helpers may write into its profile for a moment after it has ended.
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as name:
        folder = pathlib.Path(name)
        browser = Browser(folder)
        try:
            checks = [judged] if WHAT == "accessibility" else [figures_without_and_with_scripts, pointer_and_keyboard, compared]
            faults = [fault for check in checks for fault in check(browser, folder)]
        finally:
            browser.close()
    print("\n".join(faults))
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main())
