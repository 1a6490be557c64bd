"""Checks what is made of the definitions of the options, as READER takes it.

Usage: manual_check.py GENERATED_FOLDER ORDVANE READER

READER is mandoc (manual pages without a warning), bash (lines completed in an interactive shell), zsh or fish (completions
are sound; fish also completes), or docs (the tables of docs/command.md). Whatever the reader, no option may be missing. Prints
one line a fault; exits with 1 when there is one, with 77 when the reader is not on this machine.
"""

import os
import pathlib
import pty
import re
import shutil
import subprocess
import sys
import tempfile

GENERATED, ORDVANE, READER = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve(), sys.argv[3]
DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs/command.md"
# What is typed before the tab key, and what the shell then has; files are those of `prepare`.
LINES = [
    ("ordvane rep", ["report"]),
    ("ordvane help sh", ["help", "show"]),
    ("ordvane report m", ["report", "my run.json"]),
    ("ordvane report --tor", ["report", "--tornado"]),
    ("ordvane report --language d", ["report", "--language", "de"]),
    ("ordvane report --language=pt", ["report", "--language=pt"]),
    ("ordvane report x.json --into b", ["report", "x.json", "--into", "book.xlsm"]),
    ("ordvane report -o b", ["report", "-o", "b"]),  # not the .xlsm
    ("ordvane report --log f", ["report", "--log", "folder/"]),
    ("ordvane report --threshold m", ["report", "--threshold", "m"]),
    ("ordvane show --js", ["show", "--json"]),
]


def prepare(folder):
    for name in ("my run.json", "my run.csv", "book.xlsm"):
        (folder / name).touch()
    (folder / "folder").mkdir()


def run(*command, **more):
    done = subprocess.run(command, capture_output=True, text=True, check=False, **more)
    return done.stdout + done.stderr


def options():
    """By command, what its help says that it takes."""
    commands = re.findall(r"^  (\w+) ", run(ORDVANE, "help").split("Commands:")[1].split("\n\n")[0], re.M)
    return {
        command: re.findall(r"(?<=[ ,])--?[a-z][\w-]*", "".join(re.findall(r"^  -.{24}", run(ORDVANE, "help", command), re.M)))
        for command in commands
    }


def missing(text, command):
    for option in options()[command]:
        if not re.search(rf"(?<![\w-]){option}(?![\w-])", text):
            yield f"{READER}: {command} lacks {option}"


def mandoc():
    pages = sorted((GENERATED / "man/man1").iterdir())
    if {page.stem for page in pages} != {"ordvane"} | {f"ordvane-{command}" for command in options() if command != "help"}:
        yield f"not a page for each command: {pages}"
    for page in pages:
        yield from run("mandoc", "-T", "lint", page).splitlines()
        if command := page.stem.partition("-")[2]:
            shown = re.sub(".\b", "", run("mandoc", "-T", "utf8", page)).replace("\u2010", "-")
            yield from missing(shown, command)


def type_line(line, folder):
    """What an interactive bash calls once the tab key was hit behind a line."""
    call = "ordvane() { printf '<%s>' \"$@\"; printf '\\n'; exit; }"
    pid, terminal = pty.fork()
    if pid == 0:
        os.chdir(folder)
        os.execvpe("bash", ["bash", "--norc", "--noprofile"], {"PATH": os.environ["PATH"], "TERM": "dumb", "HISTFILE": ""})
    os.write(terminal, f"{call}; . '{GENERATED}/completions/bash/ordvane'; echo 're''ady'\n".encode())
    said, typed = b"", False
    try:
        while part := os.read(terminal, 4096):
            said += part
            if b"ready" in said and not typed:
                typed = os.write(terminal, (line + "\t\n").encode())
    except OSError:  # the shell is gone
        pass
    os.close(terminal)
    os.waitpid(pid, 0)
    return re.findall(r"<([^<>]*)>", re.findall(r"^<.*>\r?$", said.decode(), re.M)[-1])


def bash():
    with tempfile.TemporaryDirectory() as name:
        prepare(pathlib.Path(name))
        for line, words in LINES:
            if (got := type_line(line, name)) != words:
                yield f"{line!r} becomes {got}, not {words}"
    text = (GENERATED / "completions/bash/ordvane").read_text()
    for command in options():
        yield from missing(re.search(rf"{command}:-\*\) (.*)", text)[1], command)


def zsh():
    file = GENERATED / "completions/zsh/_ordvane"
    yield from run("zsh", "-n", file).splitlines()
    for command in options():
        yield from missing(re.search(rf"      {command}\) _arguments((.|\n)*?);;\n", file.read_text())[1], command)


def fish():
    file = GENERATED / "completions/fish/ordvane.fish"
    yield from run("fish", "-n", file).splitlines()
    offered = lambda line: run("fish", "--no-config", "-c", f"source {file}; complete -C '{line}'")
    for command in options():
        yield from missing(offered(f"ordvane {command} --") + offered(f"ordvane {command} -"), command)
    if not offered("ordvane report --language d").startswith("de\t"):
        yield "no language is offered"


def docs():
    table = re.search(r"<!-- options: begin -->\n((?:.*\n)*)<!-- options: end -->", DOCS.read_text())
    made = GENERATED / "options.md"
    if not table or table[1] != made.read_text():
        yield f"the options in docs/command.md are not those of {made}: put these in their place"


def main():
    if READER != "docs" and not shutil.which(READER):
        print(f"{READER} is not installed")
        return 77
    if sum(map(len, options().values())) < 20:
        print("only a few options were found in the help")
        return 1
    faults = list(globals()[READER]())
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
