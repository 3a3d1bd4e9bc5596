"""The text of a source, apart, so that it can be joined with others into one translation unit."""

import os
import re

INCLUDE = re.compile(r"\s*#\s*include\b")
QUOTED = re.compile(r'(\s*#\s*include\s+)"([^"]+)"')
AT_THE_TOP = re.compile(r"\s*($|//|#\s*include\b)")


class SourceText:
    """The lines of a source with their numbers, apart: what it includes at its top, and the rest."""

    def __init__(self, path):
        self.path = path
        with open(path, encoding="utf-8") as stream:
            numbered = list(enumerate(stream.read().splitlines(), 1))
        top = next((number for number, line in numbered if not AT_THE_TOP.match(line)), len(numbered) + 1)
        self.includes = [
            (number, self.found_from_anywhere(line)) for number, line in numbered if number < top and INCLUDE.match(line)
        ]
        self.rest = [(number, line) for number, line in numbered if number >= top or not INCLUDE.match(line)]
        if path.endswith("Test.cpp"):
            self.rest = [(number, self.in_own_namespace(line)) for number, line in self.rest]

    def found_from_anywhere(self, line):
        """A header in the folder of the source is named with that folder."""
        match = QUOTED.match(line)
        neighbour = os.path.join(os.path.dirname(self.path), match[2]) if match else ""
        return f'{match[1]}"{neighbour}"' if os.path.isfile(neighbour) else line

    def in_own_namespace(self, line):
        """A test defines nothing for others, so its names need not clash with those of other tests."""
        return re.sub(r"^(namespace \w[\w:]*) \{", r"\1::" + re.sub(r"\W", "_", os.path.basename(self.path)) + " {", line)
