#!/usr/bin/env python3
"""Runs clang-tidy over all sources of a compilation database, several sources at a time.

    tidy.py BUILD_DIR [REGEX]    REGEX selects sources by their path

Most of clang-tidy's time goes into the headers of the standard library and of the test framework. Sources that are
compiled with the same flags are therefore joined into one file and looked at together. Where sources cannot share a
translation unit, such as two that define a constant of the same name, they are looked at one after the other. Sources are
joined, not included: the static analyzer follows only functions of the main file. Sources that the build generates are
left out until it has.

-Wshadow is left out of joined sources, where one may declare a name of another. GCC checks it in every build.
Prints every finding once, as soon as it is known, and exits with 1 if there is one.
"""

import concurrent.futures
import json
import os
import re
import shlex
import subprocess
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "join"))
from source_text import SourceText  # noqa: E402

GROUP = 12  # Sources at a time; other numbers were not measured.
GROUP_OF_TESTS = 48  # With 12, 57 tests took 69 s of processor time instead of 47: most is in the headers.
FINDING = re.compile(r"^(/[^:]*):(\d+)(:\d+: (?:warning|error|fatal error): .*)")

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


def configuration_of(path):
    """The .clang-tidy that holds for a source."""
    folder = os.path.dirname(path)
    while not os.path.exists(os.path.join(folder, ".clang-tidy")):
        folder = os.path.dirname(folder)
    return os.path.join(folder, ".clang-tidy")


class Source:
    """A source, its flags, and the part of them that it shares with others."""

    def __init__(self, entry):
        self.path = entry["file"]
        self.configuration = configuration_of(self.path)
        self.flags = flags_of(entry)
        self.shared = tuple(flag for flag in self.flags if not flag.startswith(OWN_DEFINITION))
        self.own = [flag for flag in self.flags if flag.startswith(OWN_DEFINITION)]


class Joined:
    """A file that holds the text of several sources: first what they include, then the rest of each."""

    def __init__(self, folder, sources):
        self.path = os.path.join(folder, re.sub(r"\W+", "_", f"{sources[0].path}_{len(sources)}") + ".cpp")
        self.flags = [flag for flag in sources[0].shared if flag != "-Wshadow"]
        self.lines, self.origins = [], []  # Each line, and the source and line that it is from.
        texts = [SourceText(source.path) for source in sources]
        included = set()
        for source, text in zip(sources, texts):
            self.add(source, ((number, line) for number, line in text.includes if line.strip() not in included))
            included.update(line.strip() for _, line in text.includes)
        for source, text in zip(sources, texts):
            definitions = [flag[2:].split("=", 1) for flag in source.own]
            self.add(source, ((0, f"#define {name} {value}") for name, value in definitions))
            self.add(source, text.rest)
            self.add(source, ((0, f"#undef {name}") for name, _ in definitions))
        with open(self.path, "w", encoding="utf-8") as stream:
            stream.writelines(line + "\n" for line in self.lines)

    def add(self, source, numbered):
        for number, line in numbered:
            self.lines.append(line)
            self.origins.append((source.path, number))

    def in_sources(self, finding):
        """A finding, with the place in the source."""
        match = FINDING.match(finding)
        if match[1] != self.path:
            return finding
        path, line = self.origins[int(match[2]) - 1]
        return f"{path}:{line}{match[3]}"


def groups_of(database, pattern):
    """Lists of sources that share their flags; each source once, and only if it is there."""
    by_flags, seen = {}, set()
    for source in map(Source, filter(lambda entry: os.path.exists(entry["file"]), database)):
        if source.path in seen or not re.search(pattern, source.path):
            continue
        seen.add(source.path)
        language = os.path.splitext(source.path)[1]
        by_flags.setdefault((language, source.configuration, source.shared), []).append(source)
    for (language, *_), sources in by_flags.items():
        sources.sort(key=lambda source: source.path)
        is_test = f"{os.sep}tests{os.sep}" in sources[0].path
        size = 1 if language == ".c" else GROUP_OF_TESTS if is_test else GROUP
        for start in range(0, len(sources), size):
            yield sources[start : start + size]


class Linter:
    def __init__(self, folder):
        self.folder = os.path.abspath(os.path.join(folder, "lint"))
        os.makedirs(self.folder, exist_ok=True)

    def lint(self, sources):
        """The findings in some sources."""
        findings = []
        while sources:
            together, sources = self.apart(sources)
            if len(together) == 1:
                findings += self.tidy(together[0].path, together[0].flags, together[0].configuration)
            else:
                joined = Joined(self.folder, together)
                findings += map(joined.in_sources, self.tidy(joined.path, joined.flags, together[0].configuration))
        return findings

    def apart(self, sources):
        """Splits sources into some that can share a translation unit, at least one, and the rest."""
        together, rest = list(sources), []
        while len(together) > 1:
            joined = Joined(self.folder, together)
            command = ["clang++", "-fsyntax-only", "-w", "-ferror-limit=0", *joined.flags, joined.path]
            errors = subprocess.run(command, capture_output=True, text=True, check=False).stderr.splitlines()
            names = {joined.in_sources(line).split(":")[0] for line in errors if FINDING.match(line)}
            if not names:
                break
            refused = [source for source in together[1:] if source.path in names] or together[1:]
            together = [source for source in together if source not in refused]
            rest += refused
        return together, rest

    @staticmethod
    def tidy(source, flags, configuration):
        """What clang-tidy finds. A configuration that inherits finds its parent above the source's own folder."""
        options = ["-quiet", f"--config-file={configuration}", "-extra-arg=-Wno-unknown-warning-option"]
        command = ["clang-tidy", *options, source, "--", *flags]
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
        for group in concurrent.futures.as_completed([pool.submit(linter.lint, sources) for sources in groups]):
            for finding in sorted(set(group.result()) - findings):
                print(finding, flush=True)
            findings.update(group.result())
    print(f"{sum(map(len, groups))} sources, {len(findings)} findings")
    return 1 if findings else 0


sys.exit(main())
