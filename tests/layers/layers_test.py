#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Who calls and reads whom in the service, and what its sources and pages point at.

usage: layers_test.py NM OBJECT...     (of the service and its libraries)
"""
import graphlib
import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SERVICE = ROOT / "apps/esa"
# The ground first.
FLOORS = "libs state link ses policy bus chips chassis start esamain".split()


def floor(name):
    """Of "policy/fan_policy" of the service, or "libs/i2c_dev"."""
    return FLOORS.index(name.split("/")[0])


def sources(*folders):
    return [file for folder in folders for file in (ROOT / folder).rglob("*.[hc]*")]


class LayersTest(unittest.TestCase):
    # Calls through the chassis row in force are free.
    def test_calls_go_down_and_not_in_circles(self):
        definer, used = {}, {}
        for file in OBJECTS:
            library, name = re.search(r"CMakeFiles/(\w+)\.dir/(?:\./)?(.*)\.\w+\.o$", file).groups()
            name = name if library == "esaservice" else "libs/" + name
            listed = subprocess.run([NM, "-P", file], stdout=subprocess.PIPE, text=True, check=True)
            symbols = re.findall(r"^(\S+) (\S)", listed.stdout, re.M)
            definer |= {symbol: name for symbol, kind in symbols if kind in "TDBRG"}
            used[name] = {symbol for symbol, kind in symbols if kind == "U"}
        calls = {
            name: {definer.get(symbol, name) for symbol in used[name]} - {name} for name in used
        }
        up = [(name, to) for name in calls for to in calls[name] if floor(to) > floor(name)]
        self.assertEqual(up, [])
        self.assertGreater(sum(map(len, calls.values())), 100)
        graphlib.TopologicalSorter(calls).prepare()  # an error: a circle

    def test_headers_are_read_downwards(self):
        for file in SERVICE.glob("*/*.[hc]*"):
            name = str(file.relative_to(SERVICE))
            for header in re.findall(r'^#include "([a-z]+/.*)"', file.read_text(), re.M):
                self.assertLessEqual(floor(header), floor(name), f"{name} includes {header}")

    # It looks in its own folder first, then in the include path. When more than one file answers,
    # moving either changes what is included without a word.
    def test_a_quoted_include_finds_one_file(self):
        for file in sources("include", "libs", "apps", "lab", "tools", "tests"):
            for name in re.findall(r'^ *# *include *"(.*?)"', file.read_text(), re.M):
                places = [file.parent, *(ROOT / p for p in ("include", "libs", "apps/esa", "."))]
                found = {(place / name).resolve() for place in places if (place / name).exists()}
                self.assertLess(len(found), 2, f"{file}: {name}")

    def test_remarks_name_an_entry_of_the_page(self):
        entries = set(re.findall('<a id="(.*?)">', (ROOT / "docs/compatibility.md").read_text()))
        text = "".join(file.read_text() for file in sources("apps", "libs"))
        remarks = set(re.findall(r"[(]compatibility: ([a-z0-9-]+)[)]", text))
        self.assertEqual(remarks - entries, set())
        self.assertGreaterEqual(len(remarks), 30, "has their form changed?")

    def test_pages_name_what_there_is(self):
        for page in [*ROOT.glob("*.md"), *(ROOT / "docs").rglob("*.md")]:
            words = re.findall(r"\b(?:scenarios|scripts|tests)/[\w./-]*\w", page.read_text())
            gone = [word for word in words if not (ROOT / word).exists() and "shelf8" not in word]
            self.assertEqual(gone, [], page)  # shelf8: the page's example


if __name__ == "__main__":
    NM, OBJECTS = sys.argv[1], sys.argv[2:]
    unittest.main(argv=sys.argv[:1])
