"""What is remembered between runs, and what is recorded in the project."""
import collections
import fnmatch
import hashlib
import json


class Names:
    """Names for changes that last: a number changes with every line of the sources."""

    def __init__(self, build):
        self.build, self.labels, self.digests = build, {}, {}
        seen = collections.Counter()
        for number in sorted(build.sites):
            name, site = build.sites[number]
            alike = name, self.line_text(number), site.change
            seen[alike] += 1
            self.labels[number] = site.change + (f' #{seen[alike]}' if seen[alike] > 1 else '')

    def line(self, number):
        name, site = self.build.sites[number]
        return self.build.pristine[name].count(b'\n', 0, site.start) + 1

    def line_text(self, number):
        name, _ = self.build.sites[number]
        return ' '.join(self.build.pristine[name].decode().split('\n')[self.line(number) - 1].split())

    def lasting(self, number):
        """File, line of the source and change: what is written in equivalent_changes.txt."""
        return self.build.sites[number][0], self.line_text(number), self.labels[number]

    def key(self, number):
        """Of this version of the file: a result for another one does not count."""
        name, site = self.build.sites[number]
        digest = self.digests.setdefault(name, hashlib.sha256(self.build.pristine[name]).hexdigest()[:16])
        return f'{name}:{digest}:{site.start}:{site.end}:{site.kind}:{self.labels[number]}'

    def digest(self, what, is_in):
        """Of the files that is_in() takes, their names and what they hold, as they are now; kept as `what`."""
        if what not in self.digests:
            of_all = hashlib.sha256()
            for name in sorted(filter(is_in, self.build.pristine)):
                of_all.update(name.encode() + b'\n' + self.build.pristine[name])
            self.digests[what] = of_all.hexdigest()[:16]
        return self.digests[what]

    def state(self, number, program):
        """What a result depends on: the sources around the change; the program that noticed it, or all tests of the
        change's folder if none did. A program is test_NAME.cpp and what is not a test_*.cpp or is named in the folder's
        CMakeLists.txt, as a source of several are."""
        folder = self.build.sites[number][0].split('/')[0]
        own, _, test = (program or folder).partition('.')
        file, listed = f'tests/{own}/test_{test}.cpp', self.build.pristine.get(f'tests/{own}/CMakeLists.txt', b'').decode()

        def is_anothers(name):
            is_program = fnmatch.fnmatch(name, f'tests/{own}/test_*.cpp') and name.split('/')[-1] not in listed
            return file in self.build.pristine and name != file and is_program

        def is_test(name):
            return name.startswith((f'tests/{own}/', 'tests/support/')) and not is_anothers(name)

        return {'sources': self.digest(folder, lambda name: name.startswith((f'{folder}/', 'common/', 'include/'))),
                'suite': self.digest(f'tests of {own} {test}', is_test)}

    def holds(self, number, entry):
        """Whether a remembered result is one of the sources and tests as they are now."""
        return entry is not None and self.state(number, entry['by']).items() <= entry.items()


class Results:
    def __init__(self, path):
        self.path, self.entries = path, {}
        for line in path.read_text().splitlines() if path.exists() else []:
            try:
                entry = json.loads(line)
            except ValueError:
                continue  # the last line of a run that was ended
            self.entries[entry['key']] = entry

    def add(self, entry):
        self.entries[entry['key']] = entry
        with self.path.open('a') as file:
            file.write(json.dumps(entry) + '\n')


def equivalents(path):
    """(file, line of the source, change) -> reason, of lines with tabs between; # begins a comment."""
    found = {}
    for line in path.read_text().splitlines():
        if not line.strip() or line.startswith('#'):
            continue
        parts = line.split('\t')
        if len(parts) != 4 or not all(part.strip() for part in parts):
            raise SystemExit(f'{path.name}: not file, line, change and reason with tabs between: {line}')
        if tuple(parts[:3]) in found:
            raise SystemExit(f'{path.name}: twice: {line}')
        found[tuple(parts[:3])] = parts[3]
    return found


def stale(known, lasting, is_wanted):
    """Recorded changes that the sources do not have, or no longer."""
    return [entry for entry in known if is_wanted(entry[0]) and entry not in lasting]
