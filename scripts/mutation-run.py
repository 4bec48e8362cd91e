#!/usr/bin/env python3
"""How many small faults the library's tests find.

Draws lines at random (fixed seed) from src/atlas, src/util and src/platform,
makes one small fault in each (a comparison moved by one, an arithmetic
operator swapped, a constant changed), rebuilds the library's test program
and runs it. A mutant is killed when a test fails, the program crashes or it
runs past the time budget; it survives when every test passes.

The work happens in a copy of the tree (under --work), so the checkout itself
is never changed. Lines are drawn by a hash of the seed, the file and the
line's text, so an edit elsewhere keeps the same lines drawn.

    python3 scripts/mutation-run.py              # 60 mutants, seed 29
    python3 scripts/mutation-run.py --list       # only show the mutants
"""

import argparse
import hashlib
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDERS = ("src/atlas", "src/util", "src/platform")
# Copied for the build: everything CMake and the tests read.
TREE = ("CMakeLists.txt", "CMakePresets.json", "cmake", "src", "include", "apps", "tools",
        "tests", "data", "python", "examples", "bench", "fuzz", "scripts")

COMPARISONS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+="}
OPERATOR = re.compile(r"(?<= )(==|!=|<=|>=|<|>|\+=|-=|\+|-|\*|/|%)(?= )")
CONSTANT = re.compile(r"(?<![\w.'])(\d+)([uUlL]*)(?![\w.'])")


def masked(line):
    """The line with string and character literals and comments blanked out,
    so operators are only found in code; positions stay the same."""
    out, i, quote = [], 0, None
    while i < len(line):
        c = line[i]
        if quote:
            if c == "\\":
                out.append("  ")
                i += 2
                continue
            out.append(" " if c != quote else c)
            quote = None if c == quote else quote
        elif line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        elif c in "\"'":
            quote = c
            out.append(c)
        else:
            out.append(c)
        i += 1
    return "".join(out)[: len(line)]


def windows_only(condition):
    """None when the #if does not depend on the system, else whether its
    first branch is the Windows one."""
    if "_WIN32" not in condition:
        return None
    return "!" not in condition and not condition.startswith("ifndef")


def mutations(line):
    """Every (start, end, replacement) one fault can make on the line."""
    code = masked(line)
    found = []
    for m in OPERATOR.finditer(code):
        table = COMPARISONS if m.group(1) in COMPARISONS else ARITHMETIC
        found.append((m.start(1), m.end(1), table[m.group(1)]))
    for m in CONSTANT.finditer(code):
        value = int(m.group(1))
        found.append((m.start(1), m.end(1), "1" if value == 0 else str(value + 1)))
    return found


def candidates():
    """(path, line number, line text) of every line one fault can be made on,
    on the Linux build: code for Windows only is left out."""
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in (".cc", ".h") or "windows" in path.name:
                continue
            relative = path.relative_to(ROOT).as_posix()
            inactive = []  # one flag per open #if: is this branch Windows-only?
            in_comment = False
            for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                stripped = line.strip()
                if in_comment:
                    in_comment = "*/" not in stripped
                    continue
                if stripped.startswith("/*"):
                    in_comment = "*/" not in stripped
                    continue
                if stripped.startswith("#"):
                    directive = stripped[1:].strip()
                    if directive.startswith("if"):
                        inactive.append(windows_only(directive))
                    elif directive.startswith(("else", "elif")) and inactive:
                        if inactive[-1] is not None:
                            inactive[-1] = not inactive[-1]
                    elif directive.startswith("endif") and inactive:
                        inactive.pop()
                    continue
                if any(inactive) or stripped.startswith(("//", "static_assert")):
                    continue
                if mutations(line):
                    yield relative, number, line


def draw(seed, count):
    """The count lines with the smallest hash, each with one of its faults."""
    scored, seen = [], {}
    for path, number, line in candidates():
        key = (path, line.strip())
        seen[key] = seen.get(key, 0) + 1
        digest = hashlib.sha256(f"{seed}|{path}|{line.strip()}|{seen[key]}".encode()).digest()
        scored.append((digest, path, number, line))
    scored.sort()
    drawn = []
    for digest, path, number, line in scored[:count]:
        options = mutations(line)
        start, end, replacement = options[digest[-1] % len(options)]
        drawn.append((path, number, line, line[:start] + replacement + line[end:]))
    return sorted(drawn)


def run(command, cwd, timeout=None, env=None):
    """Runs in its own process group so that a hung test and its children go."""
    process = subprocess.Popen(command, cwd=cwd, env=env, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, start_new_session=True)
    try:
        return process.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()
        return None


def run_suite(program, budget):
    """The test program in two shards at once; False as soon as one fails,
    None past the budget."""
    shards = []
    for index in range(2):
        env = dict(os.environ, GTEST_TOTAL_SHARDS="2", GTEST_SHARD_INDEX=str(index))
        shards.append(subprocess.Popen([program, "--gtest_fail_fast", "--gtest_brief=1"],
                                       env=env, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, start_new_session=True))
    deadline = time.monotonic() + budget
    result = True
    while any(shard.poll() is None for shard in shards):
        if any(shard.poll() not in (None, 0) for shard in shards):
            result = False
            break
        if time.monotonic() > deadline:
            result = None
            break
        time.sleep(0.05)
    for shard in shards:
        if shard.poll() is None:
            os.killpg(shard.pid, signal.SIGKILL)
        shard.wait()
    if result and any(shard.returncode != 0 for shard in shards):
        result = False
    return result


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--seed", type=int, default=29)
    parser.add_argument("--count", type=int, default=60)
    parser.add_argument("--work", default="/tmp/tarv-mutation", help="scratch folder")
    parser.add_argument("--atlas", default=str(ROOT / "build" / "atlas"),
                        help="default atlas the acceptance tests read")
    parser.add_argument("--list", action="store_true", help="show the mutants and stop")
    args = parser.parse_args()

    drawn = draw(args.seed, args.count)
    if args.list:
        for path, number, line, mutant in drawn:
            print(f"{path}:{number}: {line.strip()}  ->  {mutant.strip()}")
        return 0

    work = Path(args.work)
    source = work / "main"
    shutil.rmtree(work, ignore_errors=True)
    source.mkdir(parents=True)
    for name in TREE:
        if (ROOT / name).is_dir():
            shutil.copytree(ROOT / name, source / name, symlinks=True)
        elif (ROOT / name).exists():
            shutil.copy2(ROOT / name, source / name)
    (work / "shared").symlink_to((ROOT.parent / "shared").resolve())
    build = source / "build" / "mutation"
    # Unoptimised and without debug information, linked by gold: each mutant
    # relinks the test program, which is most of its cost.
    configure = ["cmake", "-S", str(source), "-B", str(build), "-DCMAKE_BUILD_TYPE=None",
                 "-DCMAKE_CXX_FLAGS=-O0", "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=gold",
                 "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=gold",
                 "-DTARV_BUILD_TESTS=ON", "-DTARV_BUILD_BENCH=OFF", "-DTARV_BUILD_UI=OFF",
                 f"-DTARV_DEFAULT_ATLAS={args.atlas}"]
    make = ["cmake", "--build", str(build), "--target", "tarvplaces_tests", "-j2"]
    if run(configure, source) != 0 or run(make, source) != 0:
        sys.exit("mutation-run: the unchanged tree does not build")
    program = str(build / "tests" / "tarvplaces_tests")
    started = time.monotonic()
    if not run_suite(program, 3600):
        sys.exit("mutation-run: the unchanged tree fails its tests")
    budget = max(60.0, 3 * (time.monotonic() - started))
    print(f"suite takes {time.monotonic() - started:.0f} s; budget per mutant {budget:.0f} s",
          flush=True)

    killed = survived = stillborn = 0
    for path, number, line, mutant in drawn:
        file = source / path
        original = file.read_text(encoding="utf-8")
        lines = original.split("\n")
        lines[number - 1] = mutant
        file.write_text("\n".join(lines), encoding="utf-8")
        try:
            if run(make, source) != 0:
                verdict = "does not build"
                stillborn += 1
            else:
                outcome = run_suite(program, budget)
                verdict = {True: "SURVIVED", False: "killed", None: "killed (time)"}[outcome]
                killed += outcome is not True
                survived += outcome is True
        finally:
            file.write_text(original, encoding="utf-8")
        print(f"{verdict:15} {path}:{number}: {mutant.strip()}", flush=True)
    print(f"\n{killed} killed, {survived} survived, {stillborn} did not build "
          f"(of {len(drawn)}; seed {args.seed})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
