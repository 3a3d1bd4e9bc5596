"""Tests of cmake/lint/tidy.py that need no clang-tidy.

    tidy_test.py TIDY
"""

import json
import os
import subprocess
import sys
import tempfile


def lint(sources):
    """What the program says of a compilation database of these sources."""
    with tempfile.TemporaryDirectory() as folder:
        with open(os.path.join(folder, ".clang-tidy"), "w", encoding="utf-8") as stream:
            stream.write("Checks: '-*'\n")
        entries = [
            {"directory": folder, "file": os.path.join(folder, source), "command": f"clang++ -c {source}"}
            for source in sources
        ]
        with open(os.path.join(folder, "compile_commands.json"), "w", encoding="utf-8") as stream:
            json.dump(entries, stream)
        return subprocess.run([sys.executable, sys.argv[1], folder], capture_output=True, text=True, check=False)


# On a fresh clone no source has been generated yet.
result = lint(["Generated.cpp", "AlsoGenerated.cpp"])
assert (result.returncode, result.stdout) == (0, "0 sources, 0 findings\n"), result
