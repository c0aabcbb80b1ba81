"""The repository as the rules see it: its files, their text, and the folders."""

import functools
import pathlib
import subprocess


class Tree:
    """Files under a root. Paths are relative to it, with `/`."""

    def __init__(self, root, files):
        self.root = pathlib.Path(root)
        self.files = sorted(files)

    @classmethod
    def of_repository(cls, root):
        """All versioned files and new ones that git does not ignore."""
        listed = subprocess.run(
            ["git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
            capture_output=True, check=True).stdout.decode()
        return cls(root, {name for name in listed.split("\0")
                          if name and (pathlib.Path(root) / name).is_file()})

    def having(self, *suffixes):
        return [file for file in self.files if file.endswith(suffixes)]

    @functools.cache
    def text(self, file):
        """The file's text; of a binary file nothing."""
        content = (self.root / file).read_bytes()
        return "" if b"\0" in content else content.decode(errors="replace")

    def lines(self, file):
        """Pairs of a line's number, from 1, and the line."""
        return enumerate(self.text(file).splitlines(), 1)

    @functools.cached_property
    def folders(self):
        """All folders that hold a file, those above them too; without the root."""
        found = set()
        for file in self.files:
            found.update(str(parent) for parent in pathlib.PurePosixPath(file).parents)
        return sorted(found - {"."})


def folder_of(file):
    """"a/b/c.h" lies in "a/b", "c.h" in ""."""
    return file.rpartition("/")[0]


def is_within(path, folder):
    """Is the path the folder itself or below it?"""
    return path == folder or path.startswith(folder + "/")
