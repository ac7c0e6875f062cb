#!/usr/bin/env python3
"""What tests do not reach, compared with a list of what they cannot.

    unreached.py EXPORT LIST BARS FOLDER...

EXPORT is what llvm-cov exports, from the folder of the build; BARS are three percentages, of lines, branches and
conditions (MC/DC), as in 100,98,95. In LIST a name of a file is followed by its lines, each as
"  l1 b2 c1 | the source's line | why": 1 line, 2 sides of branches and 1 condition that nothing shows to count.
A line of a template or of a kernel's body is reached if it is in one of its forms.
"""
import collections
import json
import os
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]


def inside_one_of(folders, path):
    return any(path.startswith(folder + "/") for folder in folders)


def gaps_of(export, folders):
    """The counts {what: [reached, all]} and the gaps {(file, line number): {what: how many}}."""
    lines, sides, conditions = collections.Counter(), collections.Counter(), {}
    names = {}

    def inside(name):
        if name not in names:
            path = os.path.relpath(os.path.realpath(name), ROOT)
            names[name] = path if inside_one_of(folders, path) else None
        return names[name]

    for part in export["data"]:
        for file in part["files"]:
            if not (path := inside(file["filename"])):
                continue
            for number, count in line_counts(file["segments"]):
                lines[path, number] += count
        for function in part["functions"]:
            files = [inside(name) for name in function["filenames"]]
            # What stands in a macro belongs to the line that uses it.
            used_at = {region[6]: (region[5], region[0]) for region in function["regions"] if region[7] == 1}

            def place(file, number):
                while file in used_at:
                    file, number = used_at[file]
                return files[file], number

            for branch in function["branches"]:
                path, number = place(branch[6], branch[0])
                if path:
                    for side in (4, 5):
                        sides[path, number, *branch[:4], side] += branch[side]
            for record in function["mcdc_records"]:
                number = record[0]
                if not files[0]:
                    continue
                shown = conditions.setdefault((files[0], number, *record[:4]), [False] * len(record[-1]))
                for k, reached in enumerate(record[-1]):
                    shown[k] = shown[k] or reached
    total = {"lines": [0, 0], "branches": [0, 0], "conditions": [0, 0]}
    gaps = collections.defaultdict(collections.Counter)

    def tell(what, reached, path, number):
        total[what][0] += reached
        total[what][1] += 1
        if not reached:
            gaps[path, number][what[0]] += 1

    for (path, number), count in lines.items():
        tell("lines", count > 0, path, number)
    for (path, number, *_), count in sides.items():
        tell("branches", count > 0, path, number)
    for (path, number, *_), shown in conditions.items():
        for reached in shown:
            tell("conditions", reached, path, number)
    return total, gaps


def line_counts(segments):
    """How often each line ran, as llvm-cov report counts lines."""
    by_line = collections.defaultdict(list)
    for segment in segments:
        by_line[segment[0]].append(segment)
    wrapped = None
    for number in range(segments[0][0], segments[-1][0] + 1) if segments else ():
        here = by_line[number]
        starts = [s for s in here if not s[5] and s[3] and s[4]]
        skipped = bool(here) and not here[0][3] and here[0][4]
        mapped = not skipped and ((wrapped and wrapped[3]) or len(starts) > 0)
        if mapped:
            yield number, max([s[2] for s in starts] + ([wrapped[2]] if wrapped and wrapped[3] else []), default=0)
        if here:
            wrapped = here[-1]


def listed(file):
    """{(file, line of source): {what: how many}}; a line that stands in a file twice is listed once, with the sum."""
    kept, path = {}, None
    for number, line in enumerate(pathlib.Path(file).read_text().splitlines(), 1):
        if not line.startswith("  "):
            path = line if line and not line.startswith("#") else path
            continue
        parts = line.strip().split(" | ")
        if len(parts) < 3 or not parts[-1].strip():
            sys.exit(f"{file}:{number}: say what is not reached, the source's line and why, with | between them")
        kept[path, " | ".join(parts[1:-1])] = collections.Counter({word[0]: int(word[1:]) for word in parts[0].split()})
    return kept


def main():
    export, list_file, bars, *folders = sys.argv[1:]
    total, gaps = gaps_of(json.loads(pathlib.Path(export).read_text()), folders)
    sources = {path: (ROOT / path).read_text().splitlines() for path, _ in gaps}
    found, first = collections.defaultdict(collections.Counter), {}
    for (path, number), kinds in sorted(gaps.items()):
        key = path, sources[path][number - 1].strip()
        found[key] += kinds
        first.setdefault(key, number)
    kept = {key: kinds for key, kinds in listed(list_file).items() if inside_one_of(folders, key[0])}
    faults = []
    for path, text in sorted(set(kept) - set(found)):
        faults.append(f"{path}: reached or gone, so take it out of {list_file}: {text}")
    for (path, text), kinds in found.items():
        if kinds != kept.get((path, text)):
            said = " ".join(f"{kind}{kinds[kind]}" for kind in "lbc" if kinds[kind])
            faults.append(f"{path}:{first[path, text]}: not reached and not in {list_file}: {said} | {text}")
    figures = []
    for (what, (reached, every)), bar in zip(total.items(), map(float, bars.split(","))):
        share = 100 * reached / max(every, 1)
        figures.append(f"{what} {share:.2f} % of {every}")
        if share < bar:
            faults.append(f"{what}: {share:.2f} %, which is less than {bar:g} %")
    print(*faults, f"{', '.join(folders)}: {', '.join(figures)}; {len(kept)} lines listed", sep="\n")
    sys.exit(bool(faults))


if __name__ == "__main__":
    main()
