"""Checks what the pages of the documentation promise: commands run, links lead somewhere, files and targets exist.

Usage: documents_check.py SOURCE_FOLDER ORDVANE

A command is a line of an indented block that begins with "ordvane". It runs in a folder with the example run and its
workbook under whatever names the page uses, and must exit with 0. Each command stands for itself: what an earlier one wrote
under the same name is gone, unless the command asks to add to it or to replace it. Prints one line a fault; exits with 1 when
there is one.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SOURCE, ORDVANE = pathlib.Path(sys.argv[1]), sys.argv[2]
EXAMPLE = SOURCE / "examples/solar-plant"
PAGES = sorted([*SOURCE.glob("*.md"), *SOURCE.glob("docs/**/*.md")])
FOLDERS = "bench|cmake|docs|examples|resources|src|tests|tools"  # whose files pages name by their paths


def blocks(page):
    """Fenced blocks as (language, text); the page with the fenced blocks left out."""
    parts = re.split(r"^```(.*)\n((?:.*\n)*?)^```$", page.read_text(), flags=re.M)
    return list(zip(parts[1::3], parts[2::3])), "".join(parts[0::3])


def prepare(folder, command):
    """Gives a command the files that it names."""
    for name in re.findall(r"[\w-]+\.run\.json", command):
        shutil.copy(EXAMPLE / "solar-plant.run.json", folder / name)
        for table in EXAMPLE.glob("*.csv"):
            shutil.copy(table, folder)
    if swept := re.search(r"sweep (\S+)\.xlsx(?: (\S+\.whatif\.json))?", command):
        for old in [*folder.glob(swept[1] + ".run.*"), *folder.glob(swept[1] + ".whatif.json")]:
            old.unlink()
        shutil.copy(EXAMPLE / "solar-plant.xlsx", folder / (swept[1] + ".xlsx"))
        if swept[2]:
            shutil.copy(EXAMPLE / "solar-plant.whatif.json", folder / swept[2])
    if imported := re.search(r"import (\S+)\.csv", command):
        (folder / (imported[1] + ".csv")).write_text("Price,Volume,NPV,IRR\n10,4,3,1\n8,4,2,1\n10,8,9,2\n")
        (folder / (imported[1] + ".run.json")).unlink(missing_ok=True)
        (folder / (imported[1] + ".run.csv")).unlink(missing_ok=True)
        (folder / (imported[1] + ".run.groups.csv")).unlink(missing_ok=True)
    into = re.search(r"--into (\S+)", command)
    if into and not (folder / into[1]).exists():
        shutil.copy(EXAMPLE / "solar-plant.xlsx", folder / into[1])
    for graphs in re.findall(r"--(?:svg|png|pdf) (\S+)", command):
        shutil.rmtree(folder / graphs, ignore_errors=True)
    if "--overwrite" not in command:
        written = re.search(r"-o (\S+)", command)
        for old in [folder / written[1]] if written else folder.glob("*-reports.xlsx"):
            old.unlink(missing_ok=True)


def run_commands(text, folder):
    for line in re.findall(r"^ {4,}(ordvane .+)$", text, re.M):
        command = re.split(r"\s+#", line)[0].replace("RUN", "solar-plant.run.json")
        if shutil.which("jq") is None:
            command = command.split("|")[0]
        prepare(folder, command)
        started = re.sub(r"\bordvane (?=sweep|merge|import|report|show|export|diff|check|help)", ORDVANE.replace("\\", r"\\") + " ", command)
        ran = subprocess.run(["bash", "-c", "set -o pipefail; " + started], cwd=folder, capture_output=True, text=True)
        yield command, ran.returncode, ran.stderr.strip()


def anchors(page):
    """The names that GitHub gives to the headings of a page."""
    headings = re.findall(r"^#+ (.+)$", blocks(page)[1], re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def dead_links(page, text):
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        path, _, anchor = target.partition("#")
        if "://" in path:
            continue
        there = (page.parent / path).resolve() if path else page
        if not there.exists() or (anchor and anchor not in anchors(there)):
            yield target


def missing_names(text):
    """Paths and targets of make that pages name in backticks or as commands."""
    targets = set(re.findall(r"^([\w-]+):", (SOURCE / "Makefile").read_text(), re.M))
    for target in re.findall(r"(?:`|^ {4,})make ([\w-]+)", text, re.M):
        if target not in targets:
            yield f"make {target}"
    for path in re.findall(rf"(?:`|^ {{4,}}|[ /]python3 )((?:{FOLDERS})/[\w./*-]*)", text, re.M):
        if not any(SOURCE.glob(path.rstrip("/"))) and not (SOURCE / f"{path}.cc").exists():  # a program
            yield path


def main():
    faults, commands = [], 0
    for page in PAGES:
        name = page.relative_to(SOURCE)
        fenced, text = blocks(page)
        for language, block in fenced:
            if language == "json" and block.lstrip().startswith("{"):
                try:
                    json.loads(block)
                except ValueError as fault:
                    faults.append(f"{name}: a JSON block: {fault}")
        with tempfile.TemporaryDirectory() as scratch:
            for file in EXAMPLE.iterdir():
                shutil.copy(file, scratch)
            for command, status, said in run_commands(text, pathlib.Path(scratch)):
                commands += 1
                if status != 0:
                    faults.append(f"{name}: `{command}` exits with {status}: {said}")
        faults += [f"{name}: the link {link} leads nowhere" for link in dead_links(page, text)]
        faults += [f"{name}: there is no `{missing}`" for missing in missing_names(text)]
    if commands < 20:
        faults.append(f"only {commands} commands were found in {len(PAGES)} pages")
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
