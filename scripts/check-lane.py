#!/usr/bin/env python3
"""Checks that a test lane ran what the source tree says it should.

    check-lane.py LANE BUILD-DIR JUNIT-XML

The expectations come from the tree, not from the build, so that a build which quietly stops
registering tests is caught: every test program the tests/ folders give, every tool case and
fuzz replay the CMake files name, and the lane's own checks. Then the JUnit report of the run
must show each registered test run and passed, none skipped or disabled. Under Wine every test
program must have been started through the Wine runner.
"""
import json
import os
import re
import subprocess
import sys
import xml.etree.ElementTree as ET

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
NOT_PROGRAMS = {"support", "tools", "windows", "install"}


def unit_programs():
    """One test program per folder of tests/ that holds test sources."""
    tests = os.path.join(ROOT, "tests")
    names = []
    for entry in sorted(os.listdir(tests)):
        folder = os.path.join(tests, entry)
        if entry in NOT_PROGRAMS or not os.path.isdir(folder):
            continue
        if any(name.endswith(".cpp") for name in os.listdir(folder)):
            names.append(entry + "_tests")
    return names


def count_in(path, pattern):
    with open(os.path.join(ROOT, path)) as text:
        return len(re.findall(pattern, text.read(), re.MULTILINE))


def count_in_modules(pattern):
    """Matches of pattern over the CMake files of the format modules' folders."""
    modules = os.path.join(ROOT, "modules")
    return sum(count_in(os.path.join("modules", entry, "CMakeLists.txt"), pattern)
               for entry in sorted(os.listdir(modules))
               if os.path.isfile(os.path.join(modules, entry, "CMakeLists.txt")))


def fuzz_targets(lane):
    """Every fuzz/NAME_fuzz.cpp is a replay, but for the Linux-only ones on Windows lanes."""
    fuzz = os.path.join(ROOT, "fuzz")
    names = {f[:-len("_fuzz.cpp")] for f in os.listdir(fuzz) if f.endswith("_fuzz.cpp")}
    if lane.startswith("windows"):
        with open(os.path.join(fuzz, "CMakeLists.txt")) as cmake:
            listed = re.search(r"set\(VEXORA_FUZZ_LINUX_GDI ([^)]*)\)", cmake.read())
        names -= set(listed.group(1).split()) if listed else set()
    return names


def registered(build):
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"],
                             check=True, capture_output=True, text=True).stdout
    return json.loads(listing)["tests"]


def program_of(test):
    return os.path.basename(test["command"][0]) if test.get("command") else ""


def main():
    lane, build, junit = sys.argv[1:4]
    tests = registered(build)
    names = {test["name"] for test in tests}
    problems = []

    def need(condition, what):
        if not condition:
            problems.append(what)

    runs_programs = lane in ("native", "sanitize", "windows-x64")
    if runs_programs:
        tool_cases = sum(count_in(os.path.join("tests", "tools", name), r"^tool_case\(")
                         for name in sorted(os.listdir(os.path.join(ROOT, "tests", "tools")))
                         if name == "CMakeLists.txt" or name.endswith("_cases.cmake"))
        have = sum(name.startswith("tool_") for name in names)
        # Groups register cases in loops and helper functions, so the calls written out in
        # the files are a lower bound of what a lane must register.
        need(have >= tool_cases, f"{have} tool cases registered, the tree writes out {tool_cases}")
        replays = len(fuzz_targets(lane))
        have = sum(name.endswith("_fuzz_replay") for name in names)
        need(have == replays, f"{have} fuzz replays registered, the tree has {replays}")
    if lane == "windows-x64":
        for program in unit_programs():
            runs = [t for t in tests if t["name"] == program]
            need(runs, f"test program {program} is not registered")
            for test in runs:
                need(any("wine-run.sh" in part for part in test["command"]),
                     f"{program} is not run under Wine: {' '.join(test['command'])}")
        for test in tests:
            if test["name"].startswith("tool_"):
                need(any("EMULATOR=" in part and "wine-run.sh" in part for part in test["command"]),
                     f"{test['name']} does not run the tool under Wine")
        need("windows_export_caller" in names, "windows_export_caller is not registered")
    elif runs_programs:
        for program in unit_programs():
            count = sum(program_of(test) == program for test in tests)
            need(count > 0, f"test program {program} registered no tests")
        need("linux_export_table" in names, "linux_export_table is not registered")
    if lane.startswith("windows"):
        for check in ("windows_export_table", "windows_resources", "windows_resources_content"):
            need(check in names, f"{check} is not registered")
        modules = count_in_modules(r"^vexora_module\(")
        have = sum(name.startswith("windows_module_exports_") for name in names)
        need(have == modules, f"{have} module DLL checks registered, the tree has {modules} modules")

    report = ET.parse(junit).getroot()
    outcome = {case.get("name"): case.get("status") for case in report.iter("testcase")}
    for name in sorted(names):
        status = outcome.get(name)
        need(status == "run", f"{name} was {'not in the report' if status is None else status}")

    if problems:
        print(f"lane {lane}: the run is incomplete:", file=sys.stderr)
        for problem in problems:
            print(f"  {problem}", file=sys.stderr)
        return 1
    print(f"lane {lane}: all {len(names)} registered tests ran and passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
