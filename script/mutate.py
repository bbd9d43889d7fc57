"""Tells how many one-line faults the tests notice.

Faults are found in the syntax tree (faults.py): another comparison, an && for an ||, a + for a -, a number that is one
more or less, a condition the other way around, a ! that is missing, a call or an assignment that is left out, arguments
that trade places, a min for a max. Of all of them some are chosen by chance, in each room in proportion to its lines.

All that can be chosen while a program runs is built at once, each fault behind a switch (mutate.h), and the tests run
once to learn which faults each of them reaches. Then each fault is switched on for the tests that reach it, the fastest
first, until one of them fails, crashes, or takes ten times as long and five seconds more. What stands where a constant must
stand, in tables and in constexpr functions, is built alone, one by one; where that doesn't compile, it is noticed too.

What nobody can see, because the program does the same with the fault, is listed with the reason in mutate-unseen.txt.
Tests at 32 bits are left out where the same test reaches the fault natively.
"""
import argparse
import collections
import concurrent.futures
import dataclasses
import json
import multiprocessing
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import faults

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutate"
COPY = WORK / "source"
BUILD = WORK / "out/build"  # two folders deeper: programs look for fonts beside what they are installed in
ROOMS = ("engine", "plugin", "platform")
TARGETS = ("tests", "engine-tests", "engine-tests-32", "containers-tests")
JOBS = 2
BUILD_SECONDS = 1800
MOST_BYTES = 8 << 30  # of a file that a test writes
# The thread sanitizer's tests, and what looks at the bundle's imports, of which the switches have some.
LEFT_OUT = "^engine-tests-threads|^Bundle.ExportsItsEntryPointAndImportsOnlyWhatItMay$"


def say(sentence):
    print(f"mutate: {sentence}", flush=True)


def fail(sentence):
    raise SystemExit(f"mutate: {sentence}")


def put_file(name, content):
    """Writes a file of the copy, unless it has these bytes already: what is older than its objects isn't built again."""
    path = COPY / name
    if not path.exists() or path.read_bytes() != content:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def copy_tree():
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\0")
    kept = {name for name in listed if name and (ROOT / name).is_file()}
    for path in list(COPY.rglob("*")):
        if path.is_file() and str(path.relative_to(COPY)) not in kept:
            path.unlink()
    return kept


def configure():
    flags = f"-w -Wno-narrowing -include {COPY}/script/mutate.h"
    launcher = "ccache" if shutil.which("ccache") else ""
    subprocess.run(["cmake", "-G", "Ninja", "-S", COPY, "-B", BUILD, "-DCMAKE_BUILD_TYPE=Mutate",
                    "-DCMAKE_CXX_FLAGS_MUTATE=-O1", "-DWARNINGS_AS_ERRORS=OFF", f"-DCMAKE_CXX_FLAGS={flags}",
                    f"-DCMAKE_CXX_COMPILER_LAUNCHER={launcher}", f"-DCMAKE_C_COMPILER_LAUNCHER={launcher}"],
                   check=True, stdout=subprocess.DEVNULL)


def build(targets=TARGETS):
    """Builds the tests. The status, and what the compiler said; one that takes too long fails."""
    environment = os.environ | {"CCACHE_BASEDIR": str(WORK), "CCACHE_NOHASHDIR": "1"}
    with tempfile.TemporaryFile("w+") as log:
        ninja = subprocess.Popen(["ninja", "-C", BUILD, "-k", "0", "-j", str(JOBS), *targets], stdout=log, stderr=log,
                                 env=environment, start_new_session=True)
        try:
            status = ninja.wait(BUILD_SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(ninja.pid, signal.SIGKILL)
            status = ninja.wait()
        log.seek(0)
        return status, log.read()


def find_faults(files):
    """All faults in these files. Headers are read with the options of a source beside them."""
    commands = {}
    for command in json.loads((BUILD / "compile_commands.json").read_text()):
        name = str(pathlib.Path(command["file"]).relative_to(COPY)) if command["file"].startswith(str(COPY)) else None
        words = [word.replace(str(COPY), str(ROOT)) for word in shlex.split(command["command"])]
        options = [word for word in words if re.match("-[DI]|-std=|-m32", word)]
        if name and name not in commands:
            commands[name] = options + ["-x", "c++", "-w"]
    resources = subprocess.run(["clang-14", "-print-resource-dir"], check=True, capture_output=True, text=True).stdout.strip()
    work = []
    for file in files:
        nearest = max(commands, key=lambda name: (name == file, len(os.path.commonpath([name, file]))))
        work.append((ROOT, file, commands[nearest] + ["-resource-dir", resources]))
    try:
        with multiprocessing.Pool(JOBS) as pool:
            return [fault for found in pool.imap(faults.find, work) for fault in found]
    except ValueError as error:
        fail(error)


def choose(found, count, seed):
    """Faults by chance, of each room as many as its part of the lines."""
    chance = random.Random(seed)
    lines = {room: sum(faults.code_lines(ROOT, file) for file in faults.sources(ROOT, [room])) for room in ROOMS}
    chosen = []
    for room in ROOMS:
        here = [fault for fault in found if fault.file.startswith(room + "/")]
        chosen += chance.sample(here, min(len(here), round(count * lines[room] / sum(lines.values()))))
    return chosen


def by_file(chosen):
    groups = collections.defaultdict(list)
    for fault in chosen:
        groups[fault.file].append(fault)
    return groups


def put_in(kept, chosen):
    """Fills the copy: each file as it is, with its faults behind switches."""
    groups = by_file(fault for fault in chosen if not fault.fixed)
    for name in kept:
        source = (ROOT / name).read_bytes()
        put_file(name, faults.switched(source, groups[name]) if name in groups else source)


def build_switched(kept, chosen):
    """Builds all faults that can be switched; those that the compiler won't have so are left to be built alone."""
    while True:
        put_in(kept, chosen)
        status, log = build()
        if status == 0:
            return
        switched = [fault for fault in chosen if not fault.fixed]
        blamed = []
        for kinds in ("error", "error|note", None):  # what isn't seen in the message is in a file that is named
            said = re.findall(rf"/{COPY.name}/([^:\s]+):(\d+):\d+: (?:fatal )?(?:{kinds or 'error|note'}):", log)
            places = {(name, int(line)) for name, line in said}
            for fault in switched:
                last = fault.line + (ROOT / fault.file).read_bytes()[fault.start:fault.end].count(b"\n")
                if any(name == fault.file and (kinds is None or fault.line <= line <= last) for name, line in places):
                    blamed.append(fault)
            if blamed:
                break
        if not blamed:
            fail("the tests can't be built:\n" + "\n".join(re.findall("FAILED.*|.*error:.*", log)))
        for fault in blamed:
            fault.fixed = True
        say(f"{len(blamed)} faults can't be switched, and are built alone")


@dataclasses.dataclass
class Test:
    name: str
    command: list
    folder: str
    seconds: float = 0.0
    reached: bytes = b""

    def run(self, limit=None, **environment):
        """Whether it passes."""
        process = subprocess.Popen(self.command, cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   stdin=subprocess.DEVNULL, start_new_session=True,
                                   env=os.environ | {"TMPDIR": str(WORK / "tmp")} | environment,
                                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (MOST_BYTES, MOST_BYTES)))
        try:
            return process.wait(limit) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            try:  # also what it has started
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def notices(self, number):
        return not self.run(10 * self.seconds + 5, MUTATE_FAULT=str(number))

    def native(self):
        """The name of the same test natively, if this one is at 32 bits."""
        return self.name.replace("engine-tests-32:", "engine-tests:")


def record(count):
    """The tests, each with what it reaches, the fastest first."""
    listed = subprocess.run(["ctest", "--show-only=json-v1", "-E", LEFT_OUT], cwd=BUILD, check=True,
                            capture_output=True, text=True).stdout
    tests = []
    for row in json.loads(listed)["tests"]:
        values = {value["name"]: value["value"] for value in row.get("properties", [])}
        tests.append(Test(row["name"], row["command"], values.get("WORKING_DIRECTORY", str(BUILD))))

    def look(test):
        with tempfile.NamedTemporaryFile(dir=WORK / "tmp") as reached:
            reached.write(bytes(count + 1))
            reached.flush()
            start = time.monotonic()
            passes = test.run(MUTATE_REACHED=reached.name)
            test.seconds = time.monotonic() - start
            test.reached = pathlib.Path(reached.name).read_bytes()
        return passes

    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        failed = [test.name for test, passes in zip(tests, pool.map(look, tests)) if not passes]
    if failed:
        fail(f"these tests fail without a fault: {', '.join(failed)}")
    return sorted(tests, key=lambda test: test.seconds)


def without_twins(tests):
    names = {test.name for test in tests}
    return [test for test in tests if test.native() == test.name or test.native() not in names]


def notice_switched(fault, tests):
    """Which test notices a fault that is switched on, and whether any reaches it."""
    reaching = without_twins([test for test in tests if test.reached[fault.number]])
    return next((test.name for test in reaching if test.notices(fault.number)), ""), bool(reaching)


def notice_fixed(fault, tests, chosen):
    """The same for one that is built alone. Tests that reach its file come first."""
    if build()[0] != 0:
        return "the compiler"
    beside = [other.number for other in chosen if other.file == fault.file]
    order = sorted(without_twins(tests), key=lambda test: not any(test.reached[number] for number in beside))
    noticed = ""
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        def look(test):
            nonlocal noticed
            if not noticed and test.notices(0):
                noticed = test.name
        list(pool.map(look, order))
    return noticed


def read_unseen():
    """The faults that can't be seen, with why: blocks of a file, a line of it, what is put for what, and the reason."""
    blocks = (ROOT / "script/mutate-unseen.txt").read_text(encoding="utf-8").strip("\n").split("\n\n")
    unseen = {}
    for block in filter(None, blocks):
        lines = block.split("\n")
        if len(lines) < 4 or " -> " not in lines[2]:
            fail(f"a block in script/mutate-unseen.txt has {len(lines)} lines, and not a file, its line, a -> b, and why")
        was, put = lines[2].split(" -> ", 1) if lines[2].count(" -> ") == 1 else lines[2].rsplit(" -> ", 1)
        unseen[lines[0], lines[1], was, put.strip()] = " ".join(lines[3:])
    return unseen


def report(results, unseen):
    """Prints the survivors by file, and how many of how many were noticed in each room."""
    survivors = [row for row in results if not row["noticed"] and row["key"] not in unseen]
    for file, rows in sorted(by_file_of(survivors).items()):
        print(f"\n{file}")
        for row in sorted(rows, key=lambda row: row["line"]):
            _, text, was, put = row["key"]
            print(f"  {row['line']}: {text}\n      {was} -> {put}{'' if row['reached'] else '   (not reached)'}")
    print()
    for room in (*ROOMS, ""):
        here = [row for row in results if row["key"][0].startswith(room)]
        noticed = sum(1 for row in here if row["noticed"])
        hidden = sum(1 for row in here if not row["noticed"] and row["key"] in unseen)
        compiler = sum(1 for row in here if row["noticed"] == "the compiler")
        say(f"{room or 'all'}: noticed {noticed} of {len(here)}, {compiler} of them by the compiler; "
            f"{hidden} of the rest can't be seen, with reasons; {len(here) - noticed - hidden} survive")


def by_file_of(rows):
    groups = collections.defaultdict(list)
    for row in rows:
        groups[row["key"][0]].append(row)
    return groups


def main():
    parser = argparse.ArgumentParser(prog="script/mutate", description="Tells how many one-line faults the tests notice.")
    parser.add_argument("--seed", type=int, default=1, help="for the choice by chance (1)")
    parser.add_argument("--count", type=int, default=400, help="how many faults (400)")
    parser.add_argument("--again", action="store_true", help="what survived the last run")
    parser.add_argument("file", nargs="*", help="all faults in these files")
    options = parser.parse_args()
    all_files = faults.sources(ROOT, ROOMS)
    for file in options.file:
        if file not in all_files:
            fail(f"{file} is no source in {', '.join(ROOMS)}; a name like {all_files[0]} would work")
    last = WORK / "results.json"
    if options.again and not last.exists():
        fail("no run has left survivors yet; one without --again would")
    unseen = read_unseen()

    shutil.rmtree(WORK / "tmp", ignore_errors=True)
    (WORK / "tmp").mkdir(parents=True)
    kept = copy_tree()
    put_in(kept, [])
    configure()
    survived = [tuple(row["key"]) for row in json.loads(last.read_text()) if not row["noticed"]] if options.again else []
    found = find_faults(options.file or sorted({key[0] for key in survived}) or all_files)
    say(f"{len(found)} faults found")
    if options.again:
        chosen = [fault for fault in found if fault.key() in set(survived)]
    else:
        chosen = found if options.file else choose(found, options.count, options.seed)
    for number, fault in enumerate(chosen, 1):
        fault.number = number
    say(f"{len(chosen)} chosen")
    build_switched(kept, chosen)
    tests = record(len(chosen))
    say(f"{len(tests)} tests take {sum(test.seconds for test in tests):.0f} s together")

    results = []

    def done(fault, noticed, reached=True):
        results.append({"key": fault.key(), "line": fault.line, "noticed": noticed, "reached": reached})
        last.write_text(json.dumps(results))
        if len(results) % 20 == 0:
            say(f"{len(results)} of {len(chosen)} tried, {sum(1 for row in results if row['noticed'])} noticed")

    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        switched = [fault for fault in chosen if not fault.fixed]
        for fault, outcome in zip(switched, pool.map(lambda fault: notice_switched(fault, tests), switched)):
            done(fault, *outcome)
    for file, group in by_file(fault for fault in chosen if fault.fixed).items():
        clean = (COPY / file).read_bytes()
        for fault in group:
            put_file(file, faults.replaced((ROOT / file).read_bytes(), fault))
            done(fault, notice_fixed(fault, tests, switched))
        put_file(file, clean)
    report(results, unseen)


if __name__ == "__main__":
    sys.exit(main())
