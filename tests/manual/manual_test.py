#!/usr/bin/env python3
"""The manual page and the completions name the subcommands and options of --help, no more and no fewer.

    manual_test.py VASK SOURCE_DIR [test...]
"""
import fcntl
import os
import pty
import re
import select
import shutil
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

VASK, SOURCE = (os.path.abspath(path) for path in sys.argv[1:3])
PAGE = SOURCE + '/docs/man/vask.1'
WITH_VASK = dict(os.environ, PATH=os.path.dirname(VASK) + ':' + os.environ['PATH'])  # the completions run it
GENERAL = {'--device', '--os', '--config', '--cpu'}  # may follow a subcommand too


def help_of(*subcommand):
    done = subprocess.run([VASK, *subcommand, '--help'], stdout=subprocess.PIPE, check=True)
    return done.stdout.decode()


def options_of(*subcommand):
    return set(re.findall(r'^  (?:-\w,\s*)?(--[a-z][a-z-]*)', help_of(*subcommand), re.M))


def bash(*words):
    """What bash completes the last word to."""
    script = '''source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
                "$(complete -p vask | sed 's/.*-F \\([^ ]*\\).*/\\1/')"; printf '%s\\n' "${COMPREPLY[@]}"'''
    done = subprocess.run(['bash', '-uec', script, '-', SOURCE + '/completions/vask.bash', *words],
                          stdout=subprocess.PIPE, env=WITH_VASK, check=True)
    return set(done.stdout.decode().split())


class Zsh:
    """An interactive zsh on a terminal of its own, wide enough for every list."""

    def __init__(self, folder):
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.chdir(folder)
            os.execvpe('zsh', ['zsh', '-f', '-i'],
                       {'HOME': folder, 'PATH': WITH_VASK['PATH'], 'TERM': 'dumb', 'LC_ALL': 'C'})
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack('HHHH', 200, 100, 0, 0))
        self.ask(f"PS1='ready> '; fpath=({SOURCE}/completions $fpath); autoload -Uz compinit; compinit -u -D\n"
                 "LISTMAX=0; zstyle ':completion:*' verbose no; setopt no_always_last_prompt\n"
                 "bindkey '^T' list-choices\n")

    def ask(self, typed):
        """Type, then print a mark; return what appeared before it. The next prompt shows that the keys are bound."""
        os.write(self.terminal, typed.encode() + b'\x15print MA""RK\n')
        seen, end = b'', time.time() + 60
        while not re.search(b'MARK.*ready> ', seen, re.S):
            if not select.select([self.terminal], [], [], max(0, end - time.time()))[0]:
                raise AssertionError(f'zsh does not answer: {seen}')
            seen += os.read(self.terminal, 65536)
        return seen.decode().split('MARK')[0]

    def complete(self, line):
        listed = self.ask(line + '\x14').split('\r\r\n')[1].split('ready> ')[0]
        return set(listed.split())


class Manual(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        listed = re.split(r'^subcommands:\s*$', help_of(), flags=re.M | re.I)[1]
        cls.subcommands = set(re.findall(r'^  ([a-z]+)', listed.split('\n\n')[0], re.M))
        assert cls.subcommands >= {'detect', 'mfcc'}, cls.subcommands
        with open(PAGE, encoding='utf-8') as page:
            cls.page = page.read().replace('\\\n', '')  # an item of several lines
        cls.formats = set(re.findall(r'^\.It Cm (\S+)', cls.page.split('.Sh FORMATS')[1].split('.Sh')[0], re.M))

    def check_completion(self, complete):
        self.assertEqual(complete('vask', ''), self.subcommands)
        self.assertEqual(complete('vask', '--'), options_of())
        for subcommand in sorted(self.subcommands):
            self.assertEqual(complete('vask', subcommand, '--'), options_of(subcommand) | GENERAL, subcommand)
        self.assertEqual(complete('vask', 'detect', '-f', ''), self.formats)
        self.assertEqual(complete('vask', '--device', '48', 'env', '--j'), {'--json'})

    def test_page(self):
        self.assertEqual(set(re.findall(r'^\.Ss vask (\S+)', self.page, re.M)), self.subcommands)
        parts = re.split(r'^\.S[hs] (.*)$', self.page, flags=re.M)
        for title, text in zip(parts[1::2], parts[2::2]):
            items = re.findall(r'^\.It (.*)$', text, re.M)
            options = {'-' + name for item in items for name in re.findall(r'Fl (-\S+)', item)}
            if title == 'DESCRIPTION':
                self.assertEqual(options, options_of())
            elif title.startswith('vask '):
                self.assertEqual(options | {'--help'}, options_of(title.split()[1]), title)
                for item in items:  # the short one belongs to the long one
                    short, long = (re.search(pattern, item) for pattern in (r'Fl (\w) ,', r'Fl -(\S+)'))
                    if short:
                        self.assertRegex(help_of(title.split()[1]), f'-{short[1]}, *--{long[1]}')

    def test_page_is_clean(self):
        done = subprocess.run(['mandoc', '-T', 'lint', '-W', 'warning', PAGE], stdout=subprocess.PIPE)
        self.assertEqual(done.returncode, 0, done.stdout.decode())
        done = subprocess.run(['man', '--warnings', '-E', 'UTF-8', '-l', '-Tutf8', '-Z', PAGE], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env=dict(os.environ, MANROFFSEQ='', LC_ALL='C.UTF-8'))
        self.assertEqual((done.returncode, done.stderr), (0, b''))

    def test_formats(self):
        for form in sorted(self.formats):
            subprocess.run([VASK, 'detect', '-f', form, SOURCE + '/samples/room.wav'], stdout=subprocess.DEVNULL,
                           check=True)
        listed = re.search(r'--format NAME:\{(.*)\}', help_of('detect'))
        self.assertEqual(set(listed[1].split(',')), self.formats,
                         'FORMATS in docs/man/vask.1 must describe the formats that --help lists')

    def test_bash(self):
        self.check_completion(lambda *words: bash(*words))
        self.assertEqual(bash('vask', 'detect', '--format', '=', 'te'), {'text', 'textgrid'})

    def test_zsh(self):
        self.assertTrue(shutil.which('zsh'), 'zsh is missing: scripts/install-deps.sh installs it')
        with tempfile.TemporaryDirectory() as folder:
            zsh = Zsh(folder)
            self.check_completion(lambda *words: zsh.complete(' '.join(words)))
            os.close(zsh.terminal)


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
