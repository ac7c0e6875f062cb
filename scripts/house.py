#!/usr/bin/env python3
"""Draw the rooms of the library and of the command from their includes, into docs/house.md.

    scripts/house.py           draw
    scripts/house.py --check   tell whether the page is as it would be drawn

Includes that form a circle, among rooms or among files, and two rooms of one name are errors either way.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / 'docs/house.md'
HOUSES = ('src', 'tools/vask')


def includes_of(house):
    """Every file below a house and the files of the house that it includes."""
    top = ROOT / house
    files = {str(path.relative_to(top)): path for path in top.rglob('*') if path.suffix in ('.h', '.cpp', '.inc')}
    includes = {}
    for name, path in sorted(files.items()):
        found = re.findall(r'^\s*#\s*include "([^"]+)"', path.read_text(), re.MULTILINE)
        includes[name] = {other for other in found if other in files} - {name}
    return includes


def room_of(name):
    """The folder that a file is in; beside the folders, as main.cpp is, the name of the file."""
    first, slash, _ = name.partition('/')
    return first if slash else pathlib.PurePath(name).stem


def rooms_of(includes):
    rooms = {room_of(name): set() for name in includes}
    for name, others in includes.items():
        rooms[room_of(name)] |= {room_of(other) for other in others}
    return {room: others - {room} for room, others in rooms.items()}


def circle_in(graph):
    """A path that leads back to its start, or None."""
    done = set()

    def walk(node, path):
        if node in path:
            return path[path.index(node):] + [node]
        if node in done:
            return None
        done.add(node)
        return next(filter(None, (walk(other, path + [node]) for other in sorted(graph[node]))), None)

    return next(filter(None, (walk(node, []) for node in sorted(graph))), None)


def reached_from(node, graph):
    return set().union(*({other} | reached_from(other, graph) for other in graph[node]))


def floors_of(graph):
    """Rooms by the length of their longest way down."""
    height = {}

    def climb(room):
        if room not in height:
            height[room] = 1 + max((climb(other) for other in graph[room]), default=-1)
        return height[room]

    top = max(map(climb, graph))
    return [sorted(room for room in graph if height[room] == floor) for floor in range(top, -1, -1)]


def drawing(graph):
    """One line a floor, and the arrows that do not follow from others."""
    lines = ['```text', *(' '.join(floor) for floor in floors_of(graph)), '```', '', '```mermaid', 'flowchart TD']
    for floor in floors_of(graph):
        for room in floor:
            beyond = set().union(*(reached_from(other, graph) for other in graph[room]))
            lines += [f'  {room} --> {other}' for other in sorted(graph[room] - beyond)] or [f'  {room}']
    return '\n'.join(lines + ['```'])


def main():
    faults, seen, page = [], {}, PAGE.read_text()
    for house in HOUSES:
        files = includes_of(house)
        rooms = rooms_of(files)
        circles = [circle for circle in (circle_in(rooms), circle_in(files)) if circle]
        faults += [f'{house}: a circle of includes: {" -> ".join(circle)}' for circle in circles]
        folders = sorted({name.partition('/')[0] for name in files if '/' in name})
        faults += [f'{house}/{room}: there is a room of this name in {seen[room]}' for room in folders if room in seen]
        seen.update(dict.fromkeys(folders, house))
        if not circles:
            page = re.sub(rf'(<!-- {house} -->\n).*?(<!-- end -->)', rf'\g<1>{drawing(rooms)}\n\g<2>', page, flags=re.DOTALL)
    if not faults and '--check' not in sys.argv:
        PAGE.write_text(page)
    elif not faults and page != PAGE.read_text():
        faults.append('docs/house.md is not as the includes are: run scripts/house.py')
    print(*faults, sep='\n', end='\n' if faults else '')
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
