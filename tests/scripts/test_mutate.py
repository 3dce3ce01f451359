"""The tool that tries small wrong changes, on a made-up source: what it finds in it, that each change can be switched and
makes the difference it says, and what it remembers. Arguments: the project's folder, a C++ compiler.
Ends with 77 if libclang's bindings (package python3-clang) are missing: CTest says "skipped"."""
import os
import pathlib
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
root, compiler = pathlib.Path(sys.argv[1]), sys.argv[2]
sys.path.insert(0, str(root / 'scripts' / 'mutate'))
try:
    from clang import cindex
except ImportError:
    print('SKIPPED: python3-clang is missing')
    sys.exit(77)
import changes
import record
import sites

SOURCE = '''\
#include <algorithm>
#include <cstdio>
#include <stdexcept>
#define CV_Assert(x) do { if (!(x)) { throw std::runtime_error("refused"); } } while (0)
enum Way { there, back };
constexpr int side = 3;
int area(int width, int height) { return 10 * width + height; }
int main() {
    int numbers[side] = {7, 5, 2};
    bool isEmpty = false;
    if (numbers[0] < 7 && !isEmpty) {
        std::puts("small");
    }
    try {
        CV_Assert(numbers[1] == 6);
        std::puts("taken");
    } catch (const std::exception&) {
    }
    numbers[2] += 4;
    const Way way = there;
    std::printf("%d %d %d %d\\n", numbers[2] - 1, area(numbers[0], numbers[1]), std::min(8, 9), way);
}
'''
USUAL = ['5 75 8 0']
# The change, as it is listed, and what the program prints with it.
EXPECTED = {
    '< -> <=': ['small', '5 75 8 0'],
    '&& -> ||': ['small', '5 75 8 0'],
    'not (numbers[0] < 7 && !isEmpty)': ['small', '5 75 8 0'],
    'without !': USUAL, # 7 is not below 7
    'false -> true': USUAL,
    'drop: std::puts("small");': USUAL,
    'drop: CV_Assert(numbers[1] == 6);': ['taken', '5 75 8 0'],
    'drop: std::puts("taken");': USUAL,
    'drop: numbers[2] += 4;': ['1 75 8 0'],
    '+= -> -=': ['-3 75 8 0'],
    '4 -> 5': ['6 75 8 0'],
    '- -> +': ['7 75 8 0'],
    'swap: numbers[0], numbers[1]': ['5 57 8 0'],
    'swap: 8, 9': USUAL,
    'std::min -> std::max': ['5 75 9 0'],
    'there -> back': ['5 75 8 1'],
    '8 -> 9': ['5 75 9 0'],
    '9 -> 10': USUAL,
    '5 -> 6': ['taken', '5 76 8 0'],
    '* -> /': ['5 6 8 0'],
    '+ -> -': ['5 65 8 0'],
}


def check(is_good, message):
    if not is_good:
        sys.exit(message)


class OneFile:
    """What record.Names needs of a build."""

    def __init__(self, name, source, found):
        self.pristine = {name: source.encode()}
        self.sites = {site.number: (name, site) for site in found}


with tempfile.TemporaryDirectory() as folder:
    file = pathlib.Path(folder) / 'made_up.cpp'
    file.write_text(SOURCE)
    unit = cindex.Index.create().parse(str(file), args=['-std=c++20'], options=cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
    finder = changes.Finder(str(file), SOURCE)
    here = [c for c in unit.cursor.get_children() if c.location.file and c.location.file.name == str(file)]
    finder.macros = [(c.extent.start.offset, c.extent.end.offset) for c in here
                     if c.kind == cindex.CursorKind.MACRO_INSTANTIATION]
    finder.assertions()
    for cursor in here:
        if not cursor.kind.is_preprocessing():
            finder.visit_top(cursor)
    found = sorted(finder.sites, key=lambda s: (s.start, -s.end, s.kind, s.change))
    for number, site in enumerate(found, 1):
        site.number = number

    # The size of an array must stay constant, and what it is made of.
    left_out = [s for s in found if SOURCE[:s.start].count('\n') == 5]
    kept = [s for s in found if s not in left_out]
    text = sites.written(SOURCE, kept, finder.constants, {'side'})
    check('constexpr int side = 3;' in text, 'a constant that must be one was changed')
    check('constexpr' not in sites.written(SOURCE, kept, finder.constants, set()), 'a constant was not made variable')
    check(sites.innermost(text, 0) == 0, 'a change is found where there is none')
    marked = next(s for s in kept if s.change == '4 -> 5')
    check(sites.innermost(text, text.index('5 : 4')) == marked.number, 'the change around an error is not found')
    file.write_text(f'#include "{root}/scripts/mutate/mutants.h"\n#line 1\n{text}')
    program = str(file.with_suffix(''))
    subprocess.run([compiler, '-std=c++20', '-w', str(file), '-o', program], check=True)

    def printed(number, **variables):
        run = subprocess.run([program], env={**os.environ, 'TARVIX_MUTANT': str(number), **variables}, check=True,
                             capture_output=True, text=True, timeout=60)
        return run.stdout.splitlines()

    check(printed(0) == USUAL, 'the program with all changes, none of them on, differs')
    numbers = {}
    for site in kept:
        numbers.setdefault(site.change, site.number)
    for change, lines in EXPECTED.items():
        check(change in numbers, f'not found: {change}; found: {sorted(numbers)}')
        got = printed(numbers[change])
        check(got == lines, f'{change}: {got}, not {lines}')
    trace = pathlib.Path(folder) / 'trace'
    trace.write_bytes(bytes(len(found) + 1))
    printed(0, TARVIX_MUTANT_TRACE=str(trace))
    reached = trace.read_bytes()
    check(reached[numbers['+= -> -=']] == 1, 'a change that was asked for is not in the trace')
    check(reached[numbers['drop: std::puts("small");']] == 0, 'a change that was not reached is in the trace')

    # Names last while the line does; results are of one version of the file.
    names = record.Names(OneFile('folder/made_up.cpp', SOURCE, found))
    moved = '\n' + SOURCE
    for site in found:
        site.start, site.end = site.start + 1, site.end + 1
    later = record.Names(OneFile('folder/made_up.cpp', moved, found))
    all_names = {names.lasting(s.number) for s in found}
    check(len(all_names) == len(found), 'two changes have one name')
    check(all_names == {later.lasting(s.number) for s in found}, 'a name depends on the number of the line')
    check(names.key(1) != later.key(1), 'a result of another version of the file would count')

    recorded = pathlib.Path(folder) / 'equivalent.txt'
    name = sorted(all_names)[0]
    recorded.write_text('# why\n' + '\t'.join([*name, 'reason']) + '\nfolder/made_up.cpp\tgone();\tdrop: gone();\treason\n')
    known = record.equivalents(recorded)
    check(name in known, 'a recorded change is not read')
    check(record.stale(known, all_names, lambda file: True) == [('folder/made_up.cpp', 'gone();', 'drop: gone();')],
          'a record of what is gone is not noticed')
    recorded.write_text('\t'.join(name) + '\n')
    try:
        record.equivalents(recorded)
    except SystemExit:
        pass
    else:
        sys.exit('a record without a reason is taken')
print(f'{len(EXPECTED)} changes')
