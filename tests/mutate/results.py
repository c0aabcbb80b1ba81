# The verdicts on the mutants: the results file, the survivors explained as equivalent, the summary.
import os

from workshop import EQUIVALENT, KILLED, NOT_VIABLE, SURVIVED

EXPLAINED = "explained"
LEAST_KILLED = 97.0  # percent


class Results:
    """One line a mutant, appended as it comes; of two lines for one mutant the later one holds:
    verdict, id, fingerprint of its file, seconds, what the verdict rests on."""

    def __init__(self, path):
        self.path, self.known = path, {}
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if os.path.exists(path):
            with open(path, encoding="utf-8") as stream:
                for line in stream:
                    fields = line.rstrip("\n").split("\t")
                    if len(fields) == 5 and line.endswith("\n"):
                        self.known[fields[1], fields[2]] = fields

    def forget(self, mutants):
        """These are to be tried anew; the verdicts of others stay."""
        ids = {mutant.id for mutant in mutants}
        self.known = {key: fields for key, fields in self.known.items() if key[0] not in ids}
        with open(self.path, "w", encoding="utf-8") as stream:
            stream.writelines("\t".join(fields) + "\n" for fields in self.known.values())

    def verdict(self, mutant, fingerprint):
        """None when it is not known."""
        fields = self.known.get((mutant.id, fingerprint))
        return fields and fields[0]

    def add(self, mutant, fingerprint, verdict, reason, seconds):
        fields = [verdict, mutant.id, fingerprint, f"{seconds:.2f}", reason.replace("\t", " ")]
        self.known[mutant.id, fingerprint] = fields
        with open(self.path, "a", encoding="utf-8") as stream:
            stream.write("\t".join(fields) + "\n")


class Explanations:
    """The survivors that cannot be told from the program itself, each with its reason. They are
    known by file, function, operator and the line before and after the change, so that they hold
    when lines move."""

    def __init__(self, path):
        self.path, self.reasons, self.used = path, {}, set()
        with open(path, encoding="utf-8") as stream:
            for number, line in enumerate(stream, 1):
                if line.strip() and not line.startswith("#"):
                    self.read(number, line.rstrip("\n").split("\t"))

    def read(self, number, fields):
        if len(fields) != 6 or not all(field.strip() for field in fields):
            raise RuntimeError(f"{self.path}:{number}: six fields, separated by tabs, are expected")
        key = tuple(fields[:5])
        if key in self.reasons:
            raise RuntimeError(f"{self.path}:{number}: explained twice")
        self.reasons[key] = fields[5]

    def reason(self, mutant):
        key = (mutant.file, mutant.function, mutant.operator, mutant.before, mutant.after)
        return self.reasons.get(key)

    def use(self, mutant):
        self.used.add((mutant.file, mutant.function, mutant.operator, mutant.before, mutant.after))

    def unused(self, files):
        """Explanations of files that were looked at, and explain no survivor there."""
        return [key for key in self.reasons if key[0] in files and key not in self.used]


def percent_killed(counts):
    tried = counts.get(KILLED, 0) + counts.get(SURVIVED, 0)
    return 100.0 * counts.get(KILLED, 0) / tried if tried else 100.0


def summary(verdicts):
    """The table; `verdicts` holds pairs of a mutant and its verdict."""
    columns = (KILLED, SURVIVED, EXPLAINED, EQUIVALENT, NOT_VIABLE)
    folders = {}
    for mutant, verdict in verdicts:
        for name in (mutant.file.split("/")[0], "all"):
            counts = folders.setdefault(name, {})
            counts[verdict] = counts.get(verdict, 0) + 1
    names = sorted(name for name in folders if name != "all") + ["all"]
    lines = [f"{'folder':10}{'mutants':>9}" + "".join(f"{c:>12}" for c in columns) + "   % killed"]
    for name in names:
        counts = folders.get(name, {})
        numbers = "".join(f"{counts.get(column, 0):>12}" for column in columns)
        lines.append(
            f"{name:10}{sum(counts.values()):>9}{numbers}{percent_killed(counts):>11.1f}"
        )
    return "\n".join(lines), percent_killed(folders.get("all", {}))


def diff(mutant):
    return f"{mutant.id}  (in {mutant.function})\n  - {mutant.before}\n  + {mutant.after}"
