"""The tests that reach a change: which they are, and running them with one change on."""
import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

from build import TESTED_BY, say

MEMORY = 12 << 30  # of a test's process: a wrong size must not take the machine's
WHOLE_PROGRAM = 1500  # seconds; it only ends a hang


class Program:
    def __init__(self, entry):
        properties = {p['name']: p['value'] for p in entry['properties']}
        self.name, self.command = entry['name'], entry['command']
        self.folder = properties.get('WORKING_DIRECTORY')
        self.environment = dict(v.split('=', 1) for v in properties.get('ENVIRONMENT', []))
        self.is_serial, self.is_locked = bool(properties.get('RUN_SERIAL')), bool(properties.get('RESOURCE_LOCK'))


class Turns:
    """Serial programs run alone, the others beside each other."""

    def __init__(self):
        self.changed, self.running, self.serial_waiting = threading.Condition(), 0, 0

    @contextlib.contextmanager
    def taken(self, is_serial):
        with self.changed:
            self.serial_waiting += is_serial
            self.changed.wait_for(lambda: self.running == 0 if is_serial else self.running >= 0 and not self.serial_waiting)
            self.serial_waiting -= is_serial
            self.running = -1 if is_serial else self.running + 1
        try:
            yield
        finally:
            with self.changed:
                self.running = 0 if is_serial else self.running - 1
                self.changed.notify_all()


class Tests:
    def __init__(self, build_folder, place):
        self.build_folder, self.place = build_folder, place
        self.turns, self.lock = Turns(), threading.Lock()
        self.traced = set()  # in this run
        self.find()

    def find(self):
        """Those that have been built: CTest knows no command of the others."""
        shown = subprocess.run(['ctest', '--test-dir', self.build_folder, '--show-only=json-v1'], check=True,
                               capture_output=True, text=True)
        found = [t for t in json.loads(shown.stdout)['tests'] if t['name'].split('.')[0] in TESTED_BY and 'command' in t]
        self.programs = {t['name']: Program(t) for t in found}

    def run(self, name, seconds, cases=None, **variables):
        """Whether it passes ('passed', 'failed' or 'hung'), and the time it took."""
        program = self.programs[name]
        temporary = tempfile.mkdtemp(prefix='tarvix-mutate-')
        os.chmod(temporary, 0o1777)  # as the system's is: tests run as other users, too
        environment = {**os.environ, **program.environment, **variables, 'TMPDIR': temporary, 'GTEST_FAIL_FAST': '1'}
        if cases is not None:
            environment['GTEST_FILTER'] = ':'.join(cases)
        # `timeout` ends it if this script was ended meanwhile.
        command = ['timeout', '--signal=KILL', str(int(seconds) + 60), 'prlimit', f'--as={MEMORY}', *program.command]
        try:
            with self.lock if program.is_locked else contextlib.nullcontext(), self.turns.taken(program.is_serial):
                started = time.monotonic()
                run = subprocess.Popen(command, cwd=program.folder, env=environment, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
                try:
                    how = 'passed' if run.wait(seconds) == 0 else 'failed'
                except subprocess.TimeoutExpired:
                    how = 'hung'
                taken = time.monotonic() - started
                try:
                    os.killpg(run.pid, signal.SIGKILL)  # and what it started
                except ProcessLookupError:
                    pass
                run.wait()
        finally:
            shutil.rmtree(temporary, ignore_errors=True)
        return how, taken

    def cases(self, name):
        program = self.programs[name]
        listed = subprocess.run([*program.command, '--gtest_list_tests'], cwd=program.folder, check=True,
                                capture_output=True, text=True).stdout
        suite, found = '', []
        for line in listed.splitlines():
            word = line.split('#')[0].rstrip()
            if re.fullmatch(r'\S+\.', word):
                suite = word
            elif re.fullmatch(r'  \S+', word):
                found.append(suite + word.strip())
        return found

    def reaching(self, folders, digest, make_others=None, more=frozenset()):
        """Number -> the tests that ask for it, as [seconds, program, case]: those of its own folder of tests/. If
        make_others, which builds the others, is given: where there is none, and for the numbers `more`, those of other
        folders, too. `folders` has the folder of each number. What is found is kept for the same sources."""
        kept = pathlib.Path(self.place) / 'trace.json'
        found = json.loads(kept.read_text()) if kept.exists() else {}
        if found.get('digest') != digest:
            found = {'digest': digest, 'programs': {}}
        if make_others:
            make_others()
            self.find()
        own = set(folders.values())
        for name in sorted(self.programs, key=lambda name: name.split('.')[0] not in own):
            if name not in found['programs'] and (make_others or name.split('.')[0] in own):
                found['programs'][name] = self.trace(name, max(folders) + 1)
                self.traced.add(name)
                kept.write_text(json.dumps(found))
        by_own, by_others = collections.defaultdict(list), collections.defaultdict(list)
        for name, tests in found['programs'].items():
            for seconds, case, numbers in tests:
                for number in numbers:
                    if number in folders:
                        is_own = folders[number] == name.split('.')[0]
                        (by_own if is_own else by_others)[number].append([seconds, name, case])
        return {n: by_own[n] + (by_others[n] if make_others and (n in more or not by_own[n]) else []) for n in folders}

    def trace(self, name, size):
        """[seconds, case, numbers that it asks for] of each case of a program. A test that fails without any change ends
        the run: with it, every change would look noticed."""
        file = pathlib.Path(self.place) / 'trace'

        def asked_for(cases):
            file.write_bytes(bytes(size))
            how, seconds = self.run(name, WHOLE_PROGRAM, cases, TARVIX_MUTANT='0', TARVIX_MUTANT_TRACE=str(file))
            if how != 'passed':
                sys.exit(f'{name} {how} without any change ({cases or "all cases"})')
            return [n for n, byte in enumerate(file.read_bytes()) if byte], seconds

        tests = []
        if asked_for(None)[0]:
            for case in self.cases(name):
                numbers, seconds = asked_for([case])
                tests.append([seconds, case, numbers])
            say(f'{name} reaches changes')
        return tests

    def check(self, names, jobs):
        """Ends the run if one of these programs does not pass without any change, unless this run has traced it."""
        names = sorted(set(names) - self.traced)
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            for name, (how, _) in zip(names, pool.map(lambda n: self.run(n, WHOLE_PROGRAM, TARVIX_MUTANT='0'), names)):
                if how != 'passed':
                    sys.exit(f'{name} {how} without any change')

    def attempt(self, number, reaching):
        """How a change was noticed ('failed', 'hung' or None), and by which program: the fastest cases first, a few in a
        process, so that a hang is over soon. What takes five times as long as without the change, and 20 seconds more,
        hangs. Cases that then do not pass without the change either have noticed nothing, and end the run if that
        happens again."""
        for name, seconds, cases in in_portions(reaching):
            for _ in range(3):
                how, _ = self.run(name, 20 + 5 * seconds, cases, TARVIX_MUTANT=str(number))
                if how == 'passed':
                    break
                without, _ = self.run(name, 20 + 5 * seconds, cases, TARVIX_MUTANT='0')
                if without == 'passed':
                    return how, name
            else:
                sys.exit(f'{name} {without} without any change ({cases})')
        return None, None


def in_portions(reaching, largest=3.0):
    """(program, seconds, cases): cases of one program together, of `largest` seconds at most or one case."""
    portions = []
    for seconds, name, case in sorted(reaching):
        open_ones = [p for p in portions if p[0] == name and p[1] + seconds <= largest]
        if open_ones:
            open_ones[-1][1] += seconds
            open_ones[-1][2].append(case)
        else:
            portions.append([name, seconds, [case]])
    return sorted(portions, key=lambda p: p[1])
