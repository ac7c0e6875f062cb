#!/usr/bin/env python3
"""Write a model file as the constants that are built into the library.

    training/embed.py MODEL > src/gate/tables/model.inc
    training/embed.py --extract src/gate/tables/model.inc > MODEL    the other way round
"""
import array
import pathlib
import sys

A_LINE = 24


def extract(constants):
    lines = [line for line in constants.splitlines() if not line.startswith('//')]
    values = ''.join(lines).rstrip(',').split(',')
    sys.stdout.buffer.write(array.array('b', map(int, values)).tobytes())


def main():
    if sys.argv[1] == '--extract':
        extract(pathlib.Path(sys.argv[2]).read_text())
        return
    values = array.array('b', pathlib.Path(sys.argv[1]).read_bytes())
    print('// The bytes of the built-in model, as docs/model-file.md describes them; written by training/embed.py.')
    for at in range(0, len(values), A_LINE):
        print(','.join(map(str, values[at:at + A_LINE])), end=',\n')


if __name__ == '__main__':
    main()
