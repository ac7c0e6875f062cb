"""Where the sources can be changed by one token, for mutants.py."""
import collections
import hashlib
import os
import re
import subprocess
import sys

SWAPS = {
    "comparison": {"<": ("<=", ">="), "<=": ("<", ">"), ">": (">=", "<="), ">=": (">", "<"), "==": ("!=",), "!=": ("==",)},
    "shift": {"<<": (">>",), ">>": ("<<",), "<<=": (">>=",), ">>=": ("<<=",)},
    "sum": {"+": ("-",), "-": ("+",), "+=": ("-=",), "-=": ("+=",)},
    "logic": {"&&": ("||",), "||": ("&&",)},
}
# The formatter puts spaces around binary operators and none around the brackets of templates.
OPERATOR = re.compile(r"(?<=[ ])(?:%s)(?=[ \n])" % "|".join(
    sorted((re.escape(o) for swaps in SWAPS.values() for o in swaps), key=len, reverse=True)))
NUMBER = re.compile(r"(?<![\w.])(0x[\da-fA-F']+|\d[\d']*(?:\.\d*)?(?:[eE][-+]?\d+)?)([uUlLfF]*)(?![\w.])")
DATA = re.compile(r"[-\d\s,{};.xa-fA-F]*")  # a row of a table
GUARD = re.compile(r"\bif \(")
NOT_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'(?<![\da-fA-F]\'[\da-fA-F]{3})'
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|\bstatic_assert\b[^;]*;|\btemplate <[^>\n]*>|\boperator\S+", re.S | re.M)


class Mutant(collections.namedtuple("Mutant", "file line text nth token replacement kind start end code")):
    """One change: in line `line` of the file, the token that is the nth of its spelling there."""

    @property
    def room(self):
        return self.file.split("/")[1]

    @property
    def key(self):
        return (self.file, self.text, f"{self.token} -> {self.replacement}" + (f" ({self.nth})" if self.nth > 1 else ""))

    def applied(self, source):
        return source[:self.start] + self.code + source[self.end:]

    def __str__(self):
        return f"{self.file}:{self.line}: {self.key[2]} in: {self.text}"


def numbers(literal, suffix):
    """The spellings of a constant that is one more, one less, or twice as much."""
    if re.search(r"[.eEfF]", literal + suffix) and not literal.startswith("0x"):
        return [f"({literal}{suffix} * 2)", f"({literal}{suffix} + 1)"]
    value = int(literal.replace("'", ""), 0 if literal.startswith("0x") else 10)
    return [f"{v}{suffix}" for v in sorted({value + 1, value - 1, 2 * value} - {value}) if v >= 0 or not suffix]


def closing(code, at):
    """The index after the bracket that closes the one before `at`."""
    depth = 1
    while depth > 0:
        depth += {"(": 1, ")": -1}.get(code[at], 0)
        at += 1
    return at


def changes(code):
    """(kind, token, replacement, start, end, new code) of each change."""
    for match in NUMBER.finditer(code):
        for other in numbers(*match.groups()):
            yield "constant", match.group(), other.strip("()"), *match.span(), other
    for match in OPERATOR.finditer(code):
        for kind, swaps in SWAPS.items():
            for other in swaps.get(match.group(), ()):
                yield kind, match.group(), other, *match.span(), other
    for match in GUARD.finditer(code):
        start, end = match.end(), closing(code, match.end())
        if ";" not in code[start:end]:
            for other, new in ("if not", "(!(%s))"), ("if false", "(false && (%s))"):
                yield "guard", "if", other, start - 1, end, new % code[start:end - 1]


def compiled_lines(path, compiler):
    """The lines that are there on this machine: the other branches of #if are another's. None: all of them."""
    with open(path) as file:
        if not re.search(r"^ *# *if", file.read(), re.M):
            return None
    source, command = compiler.commands[next(o for o in compiler.core if o in compiler.users[path])]
    out = subprocess.run(command + ["-E", source], capture_output=True, text=True, check=True).stdout
    lines, here, at = set(), False, 0
    for line in out.splitlines():
        marker = re.match(r'# (\d+) "([^"]*)"', line)
        if marker:
            at, here = int(marker.group(1)), marker.group(2) == path
        else:
            if here and line.strip():
                lines.add(at)
            at += 1
    return lines


def sites_in(path, name, compiler):
    with open(path) as file:
        source = file.read()
    code = NOT_CODE.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), source)
    there = compiled_lines(path, compiler)
    places = collections.defaultdict(set)  # of a token of a line
    for kind, token, other, start, end, new in changes(code):
        line = source.count("\n", 0, start) + 1
        if there is not None and line not in there:
            continue
        begin = source.rfind("\n", 0, start) + 1
        places[line, token].add(start)
        text = source[begin:source.find("\n", start)].strip()
        if DATA.fullmatch(text):
            continue
        yield Mutant(name, line, text, len(places[line, token]), token, other, kind, start, end, new)


def sites_of(root, compiler, begins):
    """In the files of the library, but the tables, whose names begin with one of these."""
    found = []
    for path in sorted(compiler.users):
        name = os.path.relpath(path, root)
        used = any(o in compiler.users[path] for o in compiler.core)
        if used and name.startswith(begins) and "/tables/" not in name and not name.endswith("kernels.inc"):
            found.extend(sites_in(path, name, compiler))
    return found


def drawn(sites, quotas, count):
    """`count` of them, the kinds by their quotas, in the order of their digests."""
    digest = lambda site: hashlib.sha256("|".join(site.key).encode()).digest()
    chosen = []
    for kind, share in quotas.items():
        chosen += sorted((s for s in sites if s.kind == kind), key=digest)[:round(share * count)]
    return sorted(chosen, key=digest)


def listed(path):
    """The equivalent mutants of the list: (file, line, change), of blocks of these and the reason.

    A block may name several changes, with commas between them.
    """
    with open(path) as file:
        text = "".join(line for line in file if not line.startswith("#"))
    keys = []
    for block in filter(None, (b.strip() for b in re.split(r"\n\s*\n", text))):
        lines = [line.strip() for line in block.splitlines()]
        if len(lines) < 4:
            sys.exit(f"mutants: {path}: no reason is given for {lines[-1]!r} in {lines[0]}")
        keys += [(lines[0], lines[1], change) for change in lines[2].split(", ")]
    return keys


def equivalents(keys, sites):
    """The sites of the list, each of which is still in the sources."""
    there = {site.key for site in sites}
    for file, text, change in keys:
        if (file, text, change) not in there:
            sys.exit(f"mutants: {file} no longer has {change!r} in {text!r}: remove it from the equivalent mutants")
    return {site for site in sites if site.key in keys}
