#!/usr/bin/env python3
"""Damages copies of the default atlas file by file and asks the tool what a
host would ask. Every answer must be the undamaged atlas's answer or an error
(exit 2) naming the damaged file; a crash, a hang over the time limit or a
different answer with exit 0 (a silent wrong answer) fails.

    hostile_atlas.py TOOL ATLAS SCRATCH

Prints "N tried, C crash, H hang, W silent wrong" and the cases that failed.
"""
import json
import os
import random
import shutil
import subprocess
import sys

TIMEOUT_S = 10

# What hosts ask: a place with its zone at a date, the nearest place, a
# pattern search, a US place (TTUSA.dao), a name known by another name.
QUESTIONS = [
    ["place", "München", "D", "--date", "1980-07-01T12:00"],
    ["place", "Berlin", "D", "--date", "2030-01-15T12:00"],
    ["nearest", "D", "11.58", "48.14"],
    ["search", "M?nchen", "D"],
    ["search", "Zw*", "D"],
    ["place", "Cheyenne", "USWY", "--date", "1980-07-01T12:00"],
    ["place", "Munich", "DE"],
    ["place", "Testort", "D"],  # a user place
]

# The files a question reads; damage to each is tried.
FILES = [
    "Country.dat", "Zones13.bin", "ttx.dao", "TTUSA.dao", "D.dao", "D.IDX", "D.NDX", "D.TZP",
    "Zones.hst", "DstRules.dat", "CountryNames.dat", "USWY.dao", "USER/D.dao", "USER/D.IDX",
]


def damages(data, rng, plain):
    """(name, bytes) of each damage of a file's bytes."""
    garbage = bytes(rng.randrange(256) for _ in range(len(data)))
    yield "empty", b""
    # A user file is plain records: its first bytes are a name, and another
    # name is no damage anyone can see.
    if not plain:
        yield "magic", b"XXXX" + data[4:]
    yield "half", data[: len(data) // 2]
    yield "cut10", data[:-10] if len(data) > 10 else b""
    yield "longer", data + b"\x00garbage\xff" * 3
    yield "garbage", garbage
    if len(data) > 64:
        flipped = bytearray(data)
        for _ in range(8):
            flipped[rng.randrange(16, len(data))] ^= 0xFF
        yield "flipped", bytes(flipped)


def run(tool, atlas, question):
    env = dict(os.environ, TARV_ATLAS=atlas)
    try:
        done = subprocess.run([tool, "--json", *question], env=env, capture_output=True,
                              timeout=TIMEOUT_S)
    except subprocess.TimeoutExpired:
        return "hang", b""
    if done.returncode < 0:
        return "crash", done.stderr
    return done.returncode, done.stdout + done.stderr


def main():
    tool, atlas, scratch = sys.argv[1:4]
    rng = random.Random(28)
    pristine = os.path.join(scratch, "pristine")
    shutil.rmtree(scratch, ignore_errors=True)
    shutil.copytree(atlas, pristine)
    user = os.path.join(pristine, "USER")
    os.makedirs(user, exist_ok=True)
    for name in os.listdir(user):
        os.remove(os.path.join(user, name))
    subprocess.run([tool, "add", "D", "Testort", "10.5", "50.5"], check=True, capture_output=True,
                   env=dict(os.environ, TARV_ATLAS=pristine))
    expected = {tuple(q): run(tool, pristine, q) for q in QUESTIONS}
    for question, (status, _) in expected.items():
        assert status in (0, 1), f"the undamaged atlas fails {question}"

    tried = 0
    failures = {"crash": [], "hang": [], "silent wrong": []}
    for file in FILES:
        data = open(os.path.join(pristine, file), "rb").read()
        for damage, damaged in damages(data, rng, file.startswith("USER/")):
            copy = os.path.join(scratch, "copy")
            shutil.rmtree(copy, ignore_errors=True)
            shutil.copytree(pristine, copy, copy_function=os.link)
            target = os.path.join(copy, file)
            os.remove(target)  # the link: the pristine file stays as it is
            with open(target, "wb") as out:
                out.write(damaged)
            for question in QUESTIONS:
                tried += 1
                status, output = run(tool, copy, question)
                case = f"{file} {damage}: {' '.join(question)}"
                if status in ("crash", "hang"):
                    failures[status].append(case)
                elif status == 2:
                    # An error must name the damaged file.
                    if os.path.basename(file).encode() not in output:
                        failures["silent wrong"].append(case + " (error names another file)")
                elif (status, output) != expected[tuple(question)]:
                    failures["silent wrong"].append(case)
    print(f"{tried} tried, {len(failures['crash'])} crash, {len(failures['hang'])} hang, "
          f"{len(failures['silent wrong'])} silent wrong")
    for kind, cases in failures.items():
        for case in cases:
            print(f"  {kind}: {case}")
    shutil.rmtree(scratch, ignore_errors=True)
    return 1 if any(failures.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
