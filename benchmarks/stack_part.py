"""One process of a running system as script/lib/stack.conf describes it."""

import pathlib
import re
import shutil

SCRIPT = pathlib.Path(__file__).resolve().parent.parent / "script"


def _described():
    for line in (SCRIPT / "lib" / "stack.conf").read_text().splitlines():
        words = line.split(None, 2)
        if len(words) == 3 and not words[0].startswith("#"):
            yield words


class StackPart:
    """`values` stand for the names in braces, one word each or a list of words; {script} is this
    repository's, {wrapper} is empty unless given. {address} is known once the process is up."""

    def __init__(self, name, **values):
        self.name = name
        self._lines = [(kind, rest) for part, kind, rest in _described() if part == name]
        if not self._lines:
            raise KeyError(f"script/lib/stack.conf has no process called {name}")
        self._values = {"script": SCRIPT, "wrapper": [], **values}

    def _all(self, kind):
        return [rest for each, rest in self._lines if each == kind]

    def _text(self, pattern):
        return re.sub(r"{([a-z]+)}", lambda match: str(self._values[match.group(1)]), pattern)

    def command(self):
        words = []
        for word in self._all("command")[0].split():
            value = self._values[word[1:-1]] if re.fullmatch(r"{[a-z]+}", word) else None
            if isinstance(value, (list, tuple)):
                words += value
            else:
                words.append("" if word == "''" else self._text(word))
        return words

    def prepare(self):
        """Creates and deletes what must be there, or not, before a start."""
        for path in self._all("remove"):
            place = pathlib.Path(self._text(path))
            if place.is_dir():
                shutil.rmtree(place)
            else:
                place.unlink(missing_ok=True)
        for path in self._all("folder"):
            pathlib.Path(self._text(path)).mkdir(parents=True, exist_ok=True)

    @property
    def conditions(self):
        """What must hold until the process is up, in this order."""
        return self._all("ready")

    def holds(self, condition, pid, output):
        """`output`: what the process wrote since its start."""
        kind, what = condition.split(None, 1)
        if kind == "log":
            for line in output.splitlines(keepends=True):
                match = re.search(what, line.rstrip("\n")) if line.endswith("\n") else None
                if match:
                    self._values["address"] = match.group(1) if match.re.groups else ""
                    return True
            return False
        if kind == "file":
            return pathlib.Path(self._text(what)).exists()
        if kind == "blocks":
            status = pathlib.Path(f"/proc/{pid}/status").read_text()
            blocked = int(re.search(r"SigBlk:\s*([0-9a-f]+)", status).group(1), 16)
            return blocked & (1 << (int(what) - 1)) != 0
        raise ValueError(f"script/lib/stack.conf: no condition is called {kind}")

    @property
    def address(self):
        return self._values["address"]

    def environment(self):
        """What the process, once it is up, gives its users."""
        return dict(self._text(each).split("=", 1) for each in self._all("gives"))
