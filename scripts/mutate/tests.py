"""The tests that reach a change: which they are, and running them with one change on."""
import collections
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

from build import TESTED_BY, say

MEMORY = 12 << 30  # of a test's process: a wrong size must not take the machine's


class Program:
    def __init__(self, entry):
        properties = {p['name']: p['value'] for p in entry['properties']}
        self.name, self.command = entry['name'], entry['command']
        self.folder = properties.get('WORKING_DIRECTORY')
        self.environment = dict(v.split('=', 1) for v in properties.get('ENVIRONMENT', []))
        self.is_alone = bool(properties.get('RUN_SERIAL') or properties.get('RESOURCE_LOCK'))


class Tests:
    def __init__(self, build_folder, place):
        self.build_folder, self.place, self.alone = build_folder, place, threading.Lock()
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
        if program.is_alone:
            self.alone.acquire()
        started = time.monotonic()
        try:
            # `timeout` ends it if this script was ended meanwhile.
            command = ['timeout', '--signal=KILL', str(int(seconds) + 60), *program.command]
            run = subprocess.Popen(command, cwd=program.folder, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True,
                                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY)))
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
            if program.is_alone:
                self.alone.release()
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
            how, seconds = self.run(name, 1500, cases, TARVIX_MUTANT='0', TARVIX_MUTANT_TRACE=str(file))
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

    def attempt(self, number, reaching):
        """How a change was noticed ('failed', 'hung' or None), and by which program: the fastest cases first, a few in a
        process, so that a hang is over soon. What takes five times as long as without the change, and 20 seconds more,
        hangs."""
        for name, seconds, cases in in_portions(reaching):
            how, _ = self.run(name, 20 + 5 * seconds, cases, TARVIX_MUTANT=str(number))
            if how != 'passed':
                return how, name
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
