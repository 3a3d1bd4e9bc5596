"""A test of cmake/join/join_sources.py.

    join_test.py JOIN_SOURCES
"""

import os
import subprocess
import sys
import tempfile

FIRST = """// What it is about.
#include "Near.h"
#include "far/Far.h"

#include <vector>

namespace test {
namespace {
#if 1
#include "inside.inc"
#endif
TEST(A, B) {}
}
}
"""
SECOND = """#include <vector>
#include <string>

namespace test::deep {
TEST(C, D) {}
}
"""
HELPER = """#include <vector>

namespace test {
int help() { return 0; }
}
"""
JOINED = """#include "FOLDER/Near.h"
#include "far/Far.h"
#include <vector>
#include <string>
#line 1 "FOLDER/FirstTest.cpp"
// What it is about.
#line 4 "FOLDER/FirstTest.cpp"

#line 6 "FOLDER/FirstTest.cpp"

namespace test::FirstTest_cpp {
namespace {
#if 1
#include "inside.inc"
#endif
TEST(A, B) {}
}
}
#line 3 "FOLDER/SecondTest.cpp"

namespace test::deep::SecondTest_cpp {
TEST(C, D) {}
}
#line 2 "FOLDER/Helper.cpp"

namespace test {
int help() { return 0; }
}
"""

with tempfile.TemporaryDirectory() as folder:
    texts = {"FirstTest.cpp": FIRST, "SecondTest.cpp": SECOND, "Helper.cpp": HELPER, "Near.h": ""}
    for name, text in texts.items():
        with open(os.path.join(folder, name), "w", encoding="utf-8") as stream:
            stream.write(text)
    output = os.path.join(folder, "joined.cpp")
    sources = [os.path.join(folder, name) for name in texts if name.endswith(".cpp")]
    subprocess.run([sys.executable, "-B", sys.argv[1], output, *sources], check=True)
    with open(output, encoding="utf-8") as stream:
        joined = stream.read()
assert joined == JOINED.replace("FOLDER", folder), joined
