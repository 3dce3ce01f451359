"""Makes small wrong changes in the product's sources, one at a time, and lists those that no test notices.
Called by scripts/mutate.sh."""
import argparse
import collections
import concurrent.futures
import hashlib
import os
import pathlib
import sys
import threading
import time

import record
from build import Build, TESTED_BY, say
from tests import Tests

FOLDERS = ['bridge', 'filters', 'faces', 'geometry', 'features', 'calib']


def options_of(words):
    parser = argparse.ArgumentParser()
    parser.add_argument('root', type=pathlib.Path)
    parser.add_argument('--sample', type=int, default=0, help='a fixed choice of so many changes')
    parser.add_argument('--list', action='store_true', help='lists the changes and ends')
    parser.add_argument('--again', action='store_true', help='tries everything, what is recorded as without effect, too')
    parser.add_argument('--others', action='store_true', help='tries what was not noticed with other folders\' tests, too')
    parser.add_argument('--at-most', type=float, default=0, metavar='SECONDS', help='a first look, without longer tests')
    parser.add_argument('--jobs', type=int, default=len(os.sched_getaffinity(0)))
    parser.add_argument('paths', nargs='*')
    return parser.parse_intermixed_args(words)


def try_all(todo, jobs, attempt):
    done, started, lock = 0, time.monotonic(), threading.Lock()

    def one(number):
        nonlocal done
        attempt(number, lock)
        with lock:
            done += 1
            if done % 20 == 0 or done == len(todo):
                left = (time.monotonic() - started) / done * (len(todo) - done)
                say(f'{done} of {len(todo)}, about {left / 60:.0f} minutes left')

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        list(pool.map(one, todo))


def no_longer_than(seconds, reaching):
    """Those of the tests [seconds, program, case] that take no longer; 0: all."""
    return [test for test in reaching if not seconds or test[0] <= seconds]


def within(root, path):
    """A PATH of the command line as the project names its files, or the end."""
    place = (root / path).resolve()
    if not place.exists() or root not in place.parents:
        sys.exit(f'{path} is not a file or folder of the project')
    name = place.relative_to(root)
    if name.parts[0] not in TESTED_BY:
        sys.exit(f'{path}: the tests of {name.parts[0]} take no part')
    return str(name)


def report(build, names, chosen, known, results, looked_at=()):
    """Prints what was not noticed and the table. Returns whether all is as it should be. Of what was only looked at, the
    longer tests were left out."""
    counts, is_good = collections.defaultdict(lambda: [0] * 5), True
    for number in chosen:
        name, site = build.sites[number]
        entry, is_known = results.entries.get(names.key(number)), names.lasting(number) in known
        if is_known and not names.holds(number, entry):
            entry = None
        if number in looked_at:
            entry = {'how': None, 'by': None, 'tests': looked_at[number]}
        row = counts[name.split('/')[0]]
        row[0] += 1
        row[3 if is_known else 1 if entry['how'] else 4] += 1
        row[2] += not is_known and entry['how'] == 'hung'
        where = f'{name}:{names.line(number)}: {names.labels[number]}'
        if is_known and entry and entry['how']:
            print(f'recorded as without effect, but {entry["by"]} {entry["how"]}: {where}')
            is_good = False
        if not is_known and not entry['how']:
            reach = f'{entry["tests"]} tests' if entry['tests'] else 'no test reaches it'
            reach += ', the longer ones left out' if number in looked_at else ''
            print(f'{where}  ({reach})\n    {names.line_text(number)}')
            is_good = False
    print('| folder | changes | noticed | of these, by not ending | without effect, with a reason | not noticed |\n'
          '|---|---|---|---|---|---|')
    for folder, row in [*sorted(counts.items()), ('all', [sum(column) for column in zip(*counts.values())])]:
        print('| ' + ' | '.join([folder, *map(str, row)]) + ' |')
    return is_good


def main():
    options = options_of(sys.argv[1:])
    root = options.root.resolve()
    place = root / 'build' / 'mutate'
    place.mkdir(parents=True, exist_ok=True)
    build = Build(root, place, [within(root, p) for p in options.paths] or FOLDERS)
    say('reading the sources')
    build.copy()
    build.configure()
    build.find()
    names = record.Names(build)
    for path in build.paths:
        if not any(f'{name}/'.startswith(f'{path}/') for name, _ in build.sites.values()):
            sys.exit(f'there is nothing to change in {path}')
    say(f'{len(build.sites)} changes in {len(build.finders)} files')
    if options.list:
        for number in sorted(build.sites):
            print(f'{build.sites[number][0]}:{names.line(number)}: {names.labels[number]}')
        return 0
    known = record.equivalents(root / 'tests' / 'equivalent_changes.txt')
    lost = record.stale(known, {names.lasting(n) for n in build.sites}, build.is_wanted)
    if lost:
        sys.exit('\n'.join(['tests/equivalent_changes.txt has what the sources do not have:'] + [' | '.join(e) for e in lost]))

    build.make()
    chosen = sorted(set(build.sites) - build.left_out)
    say(f'{len(chosen)} changes; left out: {len(build.left_out) - len(build.overlapping)} that do not compile or are near '
        f'such a one, {len(build.overlapping)} that overlap another; running the tests without any')
    tests = Tests(build.build, place)
    folders = {number: build.sites[number][0].split('/')[0] for number in chosen}
    if options.sample:
        digest = lambda n: hashlib.sha256('\t'.join(names.lasting(n)).encode()).hexdigest()
        chosen = sorted(sorted(chosen, key=digest)[:options.sample])
    results = record.Results(place / 'results.jsonl')

    def is_open(number):
        if options.again:
            return True
        entry = results.entries.get(names.key(number))
        is_settled = names.holds(number, entry) and (entry['how'] or not options.others)
        return not is_settled and names.lasting(number) not in known

    looked_at = {}

    def attempt(number, lock):
        reaching = reached.get(number, [])
        short = no_longer_than(options.at_most, reaching)
        how, by = tests.attempt(number, short)
        with lock:
            if how is None and len(short) < len(reaching):
                looked_at[number] = len(short)
                return
            results.add({'key': names.key(number), 'how': how, 'by': by, 'tests': len(reaching), **names.state(number, by)})

    todo = [n for n in chosen if is_open(n)]
    others = (build.make_all_tests, frozenset(todo)) if options.others else ()
    reached = tests.reaching(folders, build.digest_of_all(), *others)
    tests.check({name for n in todo for _, name, _ in reached.get(n, [])}, options.jobs)
    say(f'{len(chosen)} changes, {len(todo)} to try')
    try_all(todo, options.jobs, attempt)
    return 0 if report(build, names, chosen, known, results, looked_at) else 1


if __name__ == '__main__':
    sys.exit(main())
