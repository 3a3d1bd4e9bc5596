#!/usr/bin/env python3
"""Runs clang-tidy over all sources of a compilation database, several sources at a time.

    tidy.py BUILD_DIR [REGEX]    REGEX selects sources by their path

Most of clang-tidy's time goes into the headers of the standard library and of the test framework. Sources that are
compiled with the same flags are therefore included in one file and looked at together. Where sources cannot share a
translation unit, such as two that define a constant of the same name, they are looked at one after the other.

What sources in a group lose, measured with planted faults: the static analyzer (clang-analyzer-*) and the compiler's own
warnings report nothing there. To have both, run clang-tidy on a source alone: clang-tidy -p build/lint SOURCE.
Prints every finding once, and exits with 1 if there is one.
"""

import concurrent.futures
import json
import os
import re
import shlex
import subprocess
import sys

GROUP = 12  # Sources at a time; other numbers were not measured.
FINDING = re.compile(r"^(/.*:\d+:\d+: )(warning|error|fatal error): .*")


OWN_DEFINITION = "-DPLATE_MEND_SOURCE_PATH="  # Each source of the library has one of its own.


def flags_of(entry):
    """The flags of a compilation, without its source and its output."""
    words, flags = shlex.split(entry["command"])[1:], []
    while words:
        word = words.pop(0)
        if word in ("-o", "-MT", "-MF"):
            words.pop(0)
        elif word not in ("-c", "-MD") and os.path.join(entry["directory"], word) != entry["file"]:
            flags.append(word)
    return flags


class Source:
    """A source, its flags, and the part of them that it shares with others."""

    def __init__(self, entry):
        self.path = entry["file"]
        self.flags = flags_of(entry)
        self.shared = tuple(flag for flag in self.flags if not flag.startswith(OWN_DEFINITION))
        self.own = [flag for flag in self.flags if flag.startswith(OWN_DEFINITION)]

    def included(self):
        """The lines that include it."""
        lines = [f'#include "{self.path}" // NOLINT(bugprone-suspicious-include)\n']
        for flag in self.own:
            name, value = flag[2:].split("=", 1)
            lines = [f"#define {name} {value}\n", *lines, f"#undef {name}\n"]
        return lines


def groups_of(database, pattern):
    """Lists of sources that share their flags; each source once."""
    by_flags, seen = {}, set()
    for source in map(Source, database):
        if source.path in seen or not re.search(pattern, source.path):
            continue
        seen.add(source.path)
        by_flags.setdefault((os.path.splitext(source.path)[1], source.shared), []).append(source)
    for (language, _), sources in by_flags.items():
        sources.sort(key=lambda source: source.path)
        size = 1 if language == ".c" else GROUP
        for start in range(0, len(sources), size):
            yield sources[start : start + size]


class Linter:
    def __init__(self, folder):
        self.folder = os.path.join(folder, "lint")
        os.makedirs(self.folder, exist_ok=True)

    def lint(self, sources):
        """The findings in some sources."""
        findings = []
        while sources:
            together, sources = self.apart(sources)
            if len(together) == 1:
                findings += self.run(together[0].path, together[0].flags)
            else:
                findings += self.run(self.file_of(together), together[0].shared)
        return findings

    def apart(self, sources):
        """Splits sources into some that can share a translation unit, at least one, and the rest."""
        together, rest = list(sources), []
        while len(together) > 1:
            command = ["clang++", "-fsyntax-only", "-w", "-ferror-limit=0", *together[0].shared, self.file_of(together)]
            errors = subprocess.run(command, capture_output=True, text=True, check=False).stderr
            names = set(re.findall(r"^(/[^:]*):\d+:\d+: (?:fatal )?error: ", errors, re.MULTILINE))
            if not names:
                break
            refused = [source for source in together[1:] if source.path in names] or together[1:]
            together = [source for source in together if source not in refused]
            rest += refused
        return together, rest

    def file_of(self, sources):
        """A file that includes some sources."""
        path = os.path.join(self.folder, re.sub(r"\W+", "_", f"{sources[0].path}_{len(sources)}") + ".cpp")
        with open(path, "w", encoding="utf-8") as stream:
            stream.writelines(line for source in sources for line in source.included())
        return path

    @staticmethod
    def run(source, flags):
        command = ["clang-tidy", "-quiet", "-extra-arg=-Wno-unknown-warning-option", source, "--", *flags]
        result = subprocess.run(command, capture_output=True, text=True, check=False)
        findings = [line for line in result.stdout.splitlines() if FINDING.match(line)]
        if result.returncode != 0 and not findings:
            findings = [f"{source}:1:1: fatal error: clang-tidy failed: {result.stderr.strip()[-500:]}"]
        return findings


def main():
    folder, pattern = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "."
    with open(os.path.join(folder, "compile_commands.json"), encoding="utf-8") as stream:
        groups = list(groups_of(json.load(stream), pattern))
    linter, findings = Linter(folder), set()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(linter.lint, groups):
            findings.update(found)
    print(f"{sum(map(len, groups))} sources, {len(findings)} findings")
    print("\n".join(sorted(findings)))
    return 1 if findings else 0


sys.exit(main())
