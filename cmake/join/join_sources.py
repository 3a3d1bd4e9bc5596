#!/usr/bin/env python3
"""Joins sources into one translation unit: first what they include, then the rest of each.

    join_sources.py OUTPUT SOURCE...

Most of the time of compiling a test goes into the templates of the test framework and the standard library, which one
translation unit instantiates once. Unlike sources that a unity build includes, tests may use the same names: each gets a
namespace of its own. Compilers and debuggers see the lines of the sources.
"""

import sys

from source_text import SourceText


def joined(texts):
    """The lines of a source that holds all of these."""
    lines = list(dict.fromkeys(line for text in texts for _, line in text.includes))
    for text in texts:
        next_number = None
        for number, line in text.rest:
            if number != next_number:
                lines.append(f'#line {number} "{text.path}"')
            lines.append(line)
            next_number = number + 1
    return lines


def main():
    output, *sources = sys.argv[1:]
    lines = joined([SourceText(source) for source in sources])
    with open(output, "w", encoding="utf-8") as stream:
        stream.writelines(line + "\n" for line in lines)


main()
