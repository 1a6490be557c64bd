"""Says which sources of a folder can be compiled as one, so that the headers they share are parsed once.

    source_groups.py SOURCE...

prints, for each source that has company, a line "SOURCE<tab>NUMBER": sources of one number can be read one after the other. They
must not see each other's names: what one declares for itself, in a namespace without a name, must not be declared or used by the
others. Names are found by reading, not by compiling. What is mistaken for a name only keeps two sources apart; a name that is
overlooked is one more error of the compiler, "redefinition of ...", which a better name mends.
"""

import re
import sys

MOST = 10  # sources in a group: more would leave processors idle at the end

NOT_CODE = re.compile(
    r"""R"(?P<mark>\w*)\(.*?\)(?P=mark)" | "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])+' | //[^\n]* | /\*.*?\*/ | ^\s*\#[^\n]*""",
    re.DOTALL | re.MULTILINE | re.VERBOSE,
)
UNNAMED = re.compile(r"\bnamespace\s*\{")
TYPE = re.compile(r"(?:struct|class|union|enum(?:\s+(?:class|struct))?)\s+(\w+)")
OPEN_ENUM = re.compile(r"enum\s+(?!class\b|struct\b)\w+[^{]*\{(.*)", re.DOTALL)
TEMPLATE = re.compile(r"template\s*<.*?>\s*(?=[A-Za-z_])", re.DOTALL)
# Not members, nor names of a scope that is named.
USED = re.compile(r"(?<![.\w])(?<!->)(?<!::)([A-Za-z_]\w*)\b(?!\s*:[^:])")
CALLED = re.compile(r"(?<![.\w])(?<!->)(?<!::)([A-Za-z_]\w*)\s*\(")


def unnamed_namespaces(text):
    for begin in UNNAMED.finditer(text):
        depth, at = 1, begin.end()
        while depth and at < len(text):
            depth += {"{": 1, "}": -1}.get(text[at], 0)
            at += 1
        yield text[begin.end() : at - 1]


def declarations(namespace):
    """Its declarations without the bodies of functions and classes; those of enumerations are kept."""
    declaration, depth = "", 0
    for character in namespace:
        if character == "}":
            depth -= 1
            if depth == 0:
                yield declaration
                declaration = ""
        elif character == ";" and depth == 0:
            yield declaration
            declaration = ""
        elif depth == 0 or (depth == 1 and OPEN_ENUM.match(declaration.lstrip())):
            declaration += character
        if character == "{":
            depth += 1


def names(declaration):
    """What a declaration names; a function has a bracket behind its name."""
    declaration = TEMPLATE.sub("", declaration.strip(), count=1)
    if found := TYPE.match(declaration):
        enumerators = OPEN_ENUM.match(declaration)
        return {found[1]} | set(re.findall(r"(\w+)\s*(?:=[^,]*)?(?:,|$)", enumerators[1]) if enumerators else ())
    if found := re.match(r"using\s+(\w+)\s*=", declaration):
        return {found[1]}
    head = re.split(r"[={]", declaration, maxsplit=1)[0]
    if found := re.search(r"(\w+)\s*\(", head):
        return {found[1] + "("}
    found = re.search(r"(\w+)\s*(?:\[[^\]]*\]\s*)*$", head)
    return {found[1]} if found else set()


class Source:
    def __init__(self, path):
        self.path = path
        with open(path, encoding="utf-8") as file:
            text = NOT_CODE.sub(" ", file.read())
        self.own = {name for part in unnamed_namespaces(text) for each in declarations(part) for name in names(each)}
        self.used = set(USED.findall(text)) | {name + "(" for name in CALLED.findall(text)}

    def goes_with(self, other):
        return not (self.own & other.used or other.own & self.used)


def main():
    groups = []
    for source in map(Source, sorted(sys.argv[1:])):
        for group in groups:
            if len(group) < MOST and all(map(source.goes_with, group)):
                group.append(source)
                break
        else:
            groups.append([source])
    for number, group in enumerate(groups):
        for source in group if len(group) > 1 else ():
            print(f"{source.path}\t{number}")


if __name__ == "__main__":
    main()
