"""The tool that tries small wrong changes: which results of earlier runs count, which paths it takes, what a first look
leaves out, and when a test has noticed a change. Made-up programs stand for tests. Arguments: the project's folder.
Ends with 77 if libclang's bindings (package python3-clang) are missing: CTest says "skipped"."""
import contextlib
import io
import pathlib
import sys
import tempfile
import threading
import types

sys.dont_write_bytecode = True
root = pathlib.Path(sys.argv[1])
sys.path.insert(0, str(root / 'scripts' / 'mutate'))
try:
    import clang
except ImportError:
    print('SKIPPED: python3-clang is missing')
    sys.exit(77)
import record
import run
import sites
import tests


def check(is_good, message):
    if not is_good:
        sys.exit(message)


def ends(function, *arguments):
    try:
        function(*arguments)
    except SystemExit as end:
        return str(end)
    return ''


def paths(folder):
    (folder / 'filters').mkdir()
    (folder / 'filters' / 'a.cpp').write_text('')
    for path in ['filters/a.cpp', './filters/a.cpp', 'filters/../filters/a.cpp', str(folder / 'filters/a.cpp')]:
        check(run.within(folder, path) == 'filters/a.cpp', f'{path}: {run.within(folder, path)}')
    check(run.within(folder, 'filters/') == 'filters', 'a folder is another one')
    for path in ['fliters', 'filters/b.cpp', '..', '.', '/']:
        check('is not a file or folder' in ends(run.within, folder, path), f'{path} is taken')
    (folder / 'docs').mkdir()
    check('take no part' in ends(run.within, folder, 'docs'), 'a folder without tests is taken')


FILES = {'filters/a.cpp': 'a();\n', 'filters/a.h': '', 'common/include/common/c.h': '', 'include/tarvix/a.h': '',
         'faces/f.cpp': '', 'tests/filters/test_one.cpp': '', 'tests/filters/test_two.cpp': '',
         'tests/filters/CMakeLists.txt': 'SOURCES test_one.cpp test_part.cpp',
         'tests/filters/test_part.cpp': '', 'tests/support/files.h': '', 'tests/faces/test_f.cpp': ''}


def names_of(files={}):
    """`files` are changed, or gone if they are None."""
    changed = {**FILES, **files}
    site = sites.Site(0, 4, 'dropped', 'drop: a();', None)
    build = types.SimpleNamespace(sites={1: ('filters/a.cpp', site)},
                                  pristine={n: t.encode() for n, t in changed.items() if t is not None})
    return record.Names(build)


def results():
    noticed = {'how': 'failed', 'by': 'filters.one', **names_of().state(1, 'filters.one')}
    open_one = {'how': None, 'by': None, **names_of().state(1, None)}
    of_another = {'how': 'hung', 'by': 'faces.f', **names_of().state(1, 'faces.f')}
    # What is changed, and whether a result counts afterwards: noticed by a test of the folder, not noticed, noticed by
    # a test of another folder.
    for file, change, expected in [
            ('docs/page.md', 'x', (True, True, True)),
            ('faces/f.cpp', 'x', (True, True, True)),
            ('filters/a.cpp', 'x', (False, False, False)),
            ('filters/a.h', 'x', (False, False, False)),
            ('filters/new.cpp', 'x', (False, False, False)),
            ('common/include/common/c.h', 'x', (False, False, False)),
            ('include/tarvix/a.h', 'x', (False, False, False)),
            ('tests/support/files.h', 'x', (False, False, False)),
            ('tests/filters/CMakeLists.txt', 'x', (False, False, True)),
            ('tests/filters/test_one.cpp', 'x', (False, False, True)),
            ('tests/filters/test_one.cpp', None, (False, False, True)),
            ('tests/filters/test_part.cpp', 'x', (False, False, True)),
            ('tests/filters/test_two.cpp', 'x', (True, False, True)),
            ('tests/filters/test_three.cpp', 'x', (True, False, True)),
            ('tests/faces/test_f.cpp', 'x', (True, True, False))]:
        now = names_of({file: change})
        counts = tuple(now.holds(1, entry) for entry in (noticed, open_one, of_another))
        check(counts == expected, f'{file}, {change}: {counts}')
    check(not names_of().holds(1, None), 'no result counts')
    check(not names_of().holds(1, {'how': 'failed', 'by': 'filters.one', 'suite': 'x'}), 'a result of an earlier kind counts')


def looks():
    """A first look leaves out long tests, and what was only looked at is not noticed."""
    reaching = [[0.1, 'filters.a', 'A.x'], [2.5, 'filters.b', 'B.x'], [2.6, 'filters.b', 'B.y']]
    check(run.no_longer_than(0, reaching) == reaching, 'a test was left out without being asked to')
    check(run.no_longer_than(2.5, reaching) == reaching[:2], 'the long test was not left out, or more than that')
    names, printed = names_of(), io.StringIO()
    noticed = types.SimpleNamespace(entries={names.key(1): {'how': 'failed', 'by': 'filters.one', 'tests': 3}})
    with contextlib.redirect_stdout(printed):
        check(run.report(names.build, names, [1], {}, noticed), 'what is noticed is not good')
        check(not run.report(names.build, names, [1], {}, noticed, {1: 2}), 'an older result counts')
    check('(2 tests, the longer ones left out)' in printed.getvalue(), printed.getvalue())


# Fails if there is a file `broken`, and with change 7. With change 8, its first run makes that file.
PROGRAM = '''#!/bin/sh
cd "$(dirname "$0")" && echo "$1 $TARVIX_MUTANT" >>runs
[ ! -e broken ] && [ "$TARVIX_MUTANT" != 7 ] || exit 1
[ "$TARVIX_MUTANT" != 8 ] || [ -e was ] || { touch was broken; exit 1; }
'''


def attempts(folder):
    program = folder / 'program.sh'
    program.write_text(PROGRAM)
    program.chmod(0o755)
    (folder / 'CTestTestfile.cmake').write_text(
        f'add_test([=[filters.a]=] "{program}" "a")\n'
        f'add_test([=[filters.b]=] "{program}" "b")\n'
        'set_tests_properties([=[filters.b]=] PROPERTIES RUN_SERIAL TRUE)\n'
        f'add_test([=[faces.c]=] "{program}" "c")\n'
        'set_tests_properties([=[faces.c]=] PROPERTIES RESOURCE_LOCK desktop)\n')
    suite = tests.Tests(folder, folder)
    kinds = {name: (p.is_serial, p.is_locked) for name, p in suite.programs.items()}
    check(kinds == {'filters.a': (False, False), 'filters.b': (True, False), 'faces.c': (False, True)}, f'read: {kinds}')

    def runs():
        had = (folder / 'runs').read_text().split('\n')[:-1]
        (folder / 'runs').unlink()
        return had

    reaching = [[0.1, 'filters.a', 'A.x'], [0.2, 'filters.b', 'B.x']]
    check(suite.attempt(5, reaching) == (None, None), 'a change that makes no test fail is noticed')
    check(runs() == ['a 5', 'b 5'], 'not each test that reaches it was run with it, or without it in vain')
    check(suite.attempt(7, reaching) == ('failed', 'filters.a'), 'a change that makes a test fail is not noticed')
    check(runs() == ['a 7', 'a 0'], 'no run without the change')
    suite.check(['filters.a', 'faces.c'], 2)
    check(sorted(runs()) == ['a 0', 'c 0'], 'not each program was run without a change')
    suite.traced.add('filters.a')
    suite.check(['filters.a', 'faces.c'], 2)
    check(runs() == ['c 0'], 'what was traced is run again')

    (folder / 'broken').touch()
    check('faces.c failed without any change' in ends(suite.check, ['faces.c'], 2), 'a program that fails anyway is taken')
    check('filters.a failed without any change' in ends(suite.attempt, 7, reaching),
          'a test that fails anyway has noticed a change')
    (folder / 'broken').unlink()
    (folder / 'runs').unlink()

    # The system was short of something for a while.
    usual = suite.run

    def mended(name, seconds, cases=None, **variables):
        result = usual(name, seconds, cases, **variables)
        if variables['TARVIX_MUTANT'] == '0':
            (folder / 'broken').unlink(missing_ok=True)
        return result

    suite.run = mended
    check(suite.attempt(8, reaching) == (None, None), 'one failure that had another cause counts')
    check(runs() == ['a 8', 'a 0', 'a 8', 'b 8'], 'it was not tried again')


def turns():
    """A serial program has the machine for itself, and is not kept waiting by those that come after it."""
    order, of_all = tests.Turns(), []
    begun, go_on = threading.Event(), threading.Event()

    def one(name, is_serial, signal=None, wait=None):
        with order.taken(is_serial):
            of_all.append((name, order.running))
            if signal:
                signal.set()
            if wait:
                wait.wait()

    first = threading.Thread(target=one, args=('first', False, begun, go_on))
    first.start()
    begun.wait()
    beside = threading.Thread(target=one, args=('beside', False))
    beside.start()
    beside.join()
    serial = threading.Thread(target=one, args=('serial', True))
    serial.start()
    while not order.serial_waiting:
        pass
    late = threading.Thread(target=one, args=('late', False))
    late.start()
    go_on.set()
    for thread in (first, serial, late):
        thread.join()
    check(of_all == [('first', 1), ('beside', 2), ('serial', -1), ('late', 1)], f'ran as {of_all}')


with tempfile.TemporaryDirectory() as one, tempfile.TemporaryDirectory() as other:
    paths(pathlib.Path(one).resolve())
    results()
    looks()
    attempts(pathlib.Path(other))
    turns()
print('results, paths, looks, attempts and turns')
