"""A copy of the project in which every change is built at once."""
import collections
import concurrent.futures
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys

from clang import cindex

import changes
import sites

TESTED_BY = ['common', 'platform', 'bridge', 'filters', 'faces', 'geometry', 'features', 'calib']  # folders of tests/, also with --others
NUMBER = re.compile(r'tarvix_mutant\((\d+)\)')
ERROR = re.compile(r'^(/[^:\n]+):(\d+):(\d+): (?:fatal )?error: (.*)$', re.M)
NOT_CONSTANT = re.compile(r'constant[ -]expression|constant initializer|not constant|constexpr|non-constant')
HEAD_LINES = 2  # before a changed source


def say(text):
    print(f'==> {text}', flush=True)


def first_of(errors):
    """What the compiler says up to its second error elsewhere: later ones may come from the first."""
    found = list(ERROR.finditer(errors))
    later = [e for e in found if e[1] != found[0][1] or abs(int(e[2]) - int(found[0][2])) > 2]
    return errors[:later[0].start()] if later else errors


class Build:
    def __init__(self, root, place, paths):
        self.root, self.place, self.paths = root, place, paths
        self.tree, self.build = place / 'tree', place / 'build'
        self.pristine = {}  # name -> bytes, of every file of the project that git knows
        self.finders = {}   # name -> what was found in it
        self.sites = {}     # number -> (name, site)
        self.left_out, self.overlapping, self.names = set(), set(), set()

    def copy(self):
        listed = subprocess.run(['git', '-C', self.root, 'ls-files', '-z', '--cached', '--others', '--exclude-standard'],
                                check=True, capture_output=True).stdout
        for name in filter(None, listed.decode().split('\0')):
            source = self.root / name
            if source.is_file():
                self.pristine[name] = source.read_bytes()
                if not (self.is_wanted(name) and (self.tree / name).exists()):  # those are written by put_in
                    self.write(name, self.pristine[name], source.stat().st_mode)
        for folder, _, files in os.walk(self.tree):
            for file in files:
                path = os.path.join(folder, file)
                if os.path.relpath(path, self.tree) not in self.pristine:
                    os.remove(path)

    def write(self, name, content, mode=None):
        path = self.tree / name
        if not path.exists() or path.read_bytes() != content:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
        if mode is not None:
            path.chmod(mode)

    def configure(self):
        subprocess.run(['cmake', '-S', self.tree, '-B', self.build, '-G', 'Ninja', '-DCMAKE_BUILD_TYPE=Release',
                        '-DCMAKE_CXX_FLAGS=-w -Wno-narrowing -O1', '-DTARVIX_BUILD_HOST=ON', '-DCMAKE_CXX_COMPILER_LAUNCHER=ccache',
                        '-DCMAKE_EXPORT_COMPILE_COMMANDS=ON'], check=True, stdout=subprocess.DEVNULL)

    def is_wanted(self, name):
        return name.endswith(('.cpp', '.h')) and any(name == p or name.startswith(p + '/') for p in self.paths)

    def commands(self):
        """(file, command) of each source in the folders of what is changed."""
        folders = {p.split('/')[0] for p in self.paths}
        for entry in json.loads((self.build / 'compile_commands.json').read_text()):
            name = os.path.relpath(entry['file'], self.tree)
            if name.split('/')[0] in folders and name in self.pristine:
                yield entry['file'], entry['command']

    def find(self):
        overlay = [(str(self.tree / n), c) for n, c in self.pristine.items() if n.endswith(('.cpp', '.h'))]
        index = cindex.Index.create()
        for file, command in sorted(self.commands()):
            words = [w for w in shlex.split(command)[1:] if w.startswith(('-I', '-D', '-std', '-isystem', '/'))]
            words = [w for w in words if w != file and not w.endswith(('c++', '.hxx'))]  # a precompiled header is no source
            unit = index.parse(file, args=words + ['-fopenmp', '-w'], unsaved_files=overlay,
                               options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
            bad = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
            if bad:
                sys.exit(f'{os.path.relpath(file, self.tree)} is read with errors: {bad[0].spelling}')
            self.look_through(unit)
        number = 0
        for name in sorted(self.finders):
            for site in sorted(self.finders[name].sites, key=lambda s: (s.start, -s.end, s.kind, s.change)):
                number += 1
                site.number = number
                self.sites[number] = (name, site)

    def look_through(self, unit):
        macros = collections.defaultdict(list)
        for child in unit.cursor.get_children():
            if child.location.file is None:
                continue
            within = os.path.relpath(child.location.file.name, self.tree)
            if within not in self.pristine or not self.is_wanted(within):
                continue
            if child.kind == cindex.CursorKind.MACRO_INSTANTIATION:
                macros[within].append((child.extent.start.offset, child.extent.end.offset))
            if child.kind.is_preprocessing():
                continue
            finder = self.finders.get(within)
            if finder is None:
                source = self.pristine[within].decode('latin-1')  # libclang counts bytes
                finder = self.finders[within] = changes.Finder(child.location.file.name, source)
            finder.macros = macros[within]  # they come before all declarations
            finder.assertions()
            finder.visit_top(child)

    def put_in(self):
        head = f'#include "{self.root}/scripts/mutate/mutants.h"\n#line 1\n'
        for name in filter(self.is_wanted, self.pristine):
            finder = self.finders.get(name)
            found = [s for s in finder.sites if s.number not in self.left_out] if finder else []
            if found:
                text = head + sites.written(finder.source, found, finder.constants, self.names)
                self.write(name, text.encode('latin-1'))
            else:
                self.write(name, self.pristine[name])

    def digest(self, is_in):
        of_all = hashlib.sha256(repr(sorted(self.paths)).encode())
        for name in sorted(filter(is_in, self.pristine)):
            of_all.update(name.encode() + b'\n' + self.pristine[name])
        return of_all.hexdigest()

    def digest_of_all(self):
        """All that a test's outcome may depend on."""
        return self.digest(lambda name: not name.startswith('docs/') and not name.endswith(('.md', 'equivalent_changes.txt')))

    def digest_of_what_is_changed(self):
        return self.digest(lambda name: self.is_wanted(name) or name.startswith('scripts/mutate/'))

    def make(self):
        """Leaves out the changes that are errors, by the compiler's messages, and builds."""
        known = self.place / 'not_compiled.json'
        learnt = json.loads(known.read_text()) if known.exists() else {}
        digest = self.digest_of_what_is_changed()
        if digest in learnt:
            numbers, names = learnt[digest]
            self.left_out, self.names = set(numbers), set(names)
        else:
            self.only_what_compiles()
        for _ in range(30):
            self.put_in()
            run = self.ninja(sorted({p.split('/')[0] for p in self.paths}))
            if run.returncode == 0:
                break
            if not self.learn(run.stdout):
                sys.exit(run.stdout[-4000:])
        else:
            sys.exit('the build with all changes does not come to an end')
        learnt[digest] = [sorted(self.left_out), sorted(self.names)]
        known.write_text(json.dumps(learnt))
        present = set()
        for name in self.finders:
            present |= {int(n) for n in NUMBER.findall((self.tree / name).read_text('latin-1'))}
        self.overlapping = set(self.sites) - present - self.left_out
        self.left_out |= self.overlapping

    def ninja(self, folders):
        """Builds the tests of these folders."""
        targets = [f'tests/{folder}/all' for folder in folders]
        return subprocess.run(['ninja', '-C', self.build, '-k', '0', *targets, 'Tarvix'], capture_output=True, text=True)

    def make_all_tests(self):
        run = self.ninja(TESTED_BY)
        if run.returncode != 0:
            sys.exit(run.stdout[-4000:])

    def only_what_compiles(self):
        units = [command for _, command in self.commands()]

        def errors_of(command):
            command = command.replace('ccache ', '') + ' -fsyntax-only -fmax-errors=0'
            run = subprocess.run(command, shell=True, cwd=self.build, capture_output=True, text=True)
            return '' if run.returncode == 0 else run.stderr

        with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
            while units:
                self.put_in()
                errors = list(pool.map(errors_of, units))
                units = [u for u, e in zip(units, errors) if e]
                if units and not self.learn('\n'.join(first_of(e) for e in errors if e)):
                    sys.exit('\n'.join(errors)[-4000:])
                if units:
                    say(f'{len(self.left_out)} changes do not compile so far')

    def learn(self, output):
        """Leaves out what the errors name: first the constants that must be constants, else the change around the
        error, else those near it. Returns whether there was anything."""
        before = len(self.left_out), len(self.names)
        self.names |= set(re.findall(r"[‘'](?:[^’']*[ :])?(\w+)[’'] was not (?:initialized|declared)", output))
        for _, _, _, message in ERROR.findall(output):
            if NOT_CONSTANT.search(message):
                self.names |= {n.split('::')[-1] for n in re.findall(r"[‘'](?:[^’']* )?([\w:]+)[’']", message)}
        for finder in self.finders.values():
            for start, _, name, _, end in finder.constants:
                if name in self.names:  # it stays constant, and what it is made of
                    self.left_out |= {s.number for s in finder.sites if start <= s.start and s.end <= end}
        self.names &= {name for finder in self.finders.values() for _, _, name, _, _ in finder.constants}
        if len(self.names) > before[1]:
            return True
        texts = {}
        for file, line, column, _ in ERROR.findall(output):
            name = os.path.relpath(file, self.tree)
            if name not in self.finders:
                continue
            if name not in texts:
                texts[name] = ''.join((self.tree / name).read_text('latin-1').splitlines(True)[HEAD_LINES:])
            self.leave_out(texts[name], int(line) - 1, int(column) - 1)
        return (len(self.left_out), len(self.names)) != before

    def leave_out(self, text, line, column):
        lines = text.splitlines(True)
        around = sites.innermost(text, sum(len(each) for each in lines[:line]) + column)
        if around:
            self.left_out.add(around)
            return
        for reach in (0, 1, 3, 8, 20):
            near_it = {int(n) for n in NUMBER.findall(''.join(lines[max(0, line - reach):line + reach + 1]))}
            if near_it:
                self.left_out |= near_it
                return
