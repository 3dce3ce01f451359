"""What is remembered between runs, and what is recorded in the project."""
import collections
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

    def tests_of(self, number):
        """The tests of the change's folder as they are now: what they did not notice is tried again when they change."""
        folder = self.build.sites[number][0].split('/')[0]
        if folder not in self.digests:
            of_all = hashlib.sha256()
            for name in sorted(self.build.pristine):
                if name.startswith((f'tests/{folder}/', 'tests/support/')):
                    of_all.update(self.build.pristine[name])
            self.digests[folder] = of_all.hexdigest()[:16]
        return self.digests[folder]


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
