#!/usr/bin/env python3
"""What a hostile user and a careless second program can do to an atlas, asked
through every front end a host uses: the tool, the C interface and Python.

    hostile_atlas.py --tool T --c-host H [--python-host P] ATLAS SCRATCH

1. Damaged files. Each atlas file a lookup reads is damaged on a copy of the
   atlas (emptied, another magic, cut, lengthened, garbage, bytes flipped, a
   length field smaller or larger, plain where the atlas writes SZDD, records
   off the globe or on a timetable the country lacks, a folder or FIFO in its
   place) and the questions hosts ask are put to each front end. Every answer
   must be the undamaged atlas's or an error naming the damaged file.
2. User places under faults: the change counter cut, replaced, made a FIFO, a
   folder or read-only; the user file a symbolic link, cut short, or left with
   a stale index as a kill between two renames leaves it; writers killed at
   random moments. No place whose addition was confirmed may go missing
   ("lost"), no file outside USER may be read or written through a link.
3. Huge inputs: texts of one and two megabytes answer within two seconds.

Prints "N tried, C crash, H hang, L lost, W silent wrong" and every failure.
"""
import argparse
import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import time

TIMEOUT_S = 10
HUGE_BUDGET_S = 2.0

# What hosts ask: a place with its zone at a date, the nearest place, a
# pattern search, a US place (TTUSA.dao), a name known by another name.
QUESTIONS = [
    ("place", "München", "D", "1980-07-01T12:00"),
    ("place", "Berlin", "D", "2030-01-15T12:00"),
    ("nearest", "D", "11.58", "48.14"),
    ("search", "M?nchen", "D"),
    ("search", "Zw*", "D"),
    ("place", "Cheyenne", "USWY", "1980-07-01T12:00"),
    ("place", "Munich", "DE"),
    ("place", "Testort", "D"),  # a user place
]

# The files a question reads; damage to each is tried.
FILES = [
    "Country.dat", "Zones13.bin", "ttx.dao", "TTUSA.dao", "D.dao", "D.IDX", "D.NDX", "D.TZP",
    "Zones.hst", "DstRules.dat", "CountryNames.dat", "USWY.dao", "USER/D.dao", "USER/D.IDX",
]
PLACE_FILES = {"D.dao", "USWY.dao", "USER/D.dao"}

SZDD_MAGIC = b"SZDD\x88\xf0\x27\x33"


def expand_szdd(data):
    """The bytes an SZDD file holds (LZSS with a 4096-byte window)."""
    length = struct.unpack_from("<I", data, 10)[0]
    window = bytearray(b" " * 4096)
    pos, at, out = 4096 - 16, 14, bytearray()
    while at < len(data) and len(out) < length:
        flags = data[at]
        at += 1
        for bit in range(8):
            if at >= len(data) or len(out) >= length:
                break
            if flags & (1 << bit):
                byte = data[at]
                at += 1
                out.append(byte)
                window[pos] = byte
                pos = (pos + 1) & 4095
            else:
                if at + 1 >= len(data):
                    break
                offset = data[at] | ((data[at + 1] & 0xF0) << 4)
                count = (data[at + 1] & 0x0F) + 3
                at += 2
                for i in range(count):
                    byte = window[(offset + i) & 4095]
                    out.append(byte)
                    window[pos] = byte
                    pos = (pos + 1) & 4095
    return bytes(out[:length])


def compress_literal(data):
    """An SZDD file of `data` that uses literals only: valid, if not small."""
    out = bytearray(SZDD_MAGIC + b"A\x00" + struct.pack("<I", len(data)))
    for start in range(0, len(data), 8):
        chunk = data[start:start + 8]
        out.append((1 << len(chunk)) - 1)
        out += chunk
    return bytes(out)


def off_the_globe(records):
    """Place records, each with one field a place cannot have."""
    size = 38
    if len(records) < size:
        return []
    first = bytearray(records[:size])
    cases = []
    for name, offset, value in (("nan", 30, struct.pack("<f", float("nan"))),
                                ("lat400", 34, struct.pack("<f", 400.0)),
                                ("timetable999", 28, struct.pack("<h", 999))):
        bad = bytearray(first)
        bad[offset:offset + len(value)] = value
        cases.append((name, bytes(bad) + records[size:]))
    return cases


def damages(file, data, rng):
    """(name, bytes or a kind of non-file) of each damage of a file."""
    user = file.startswith("USER/")
    compressed = data.startswith(SZDD_MAGIC)
    yield "empty", b""
    # A user file is plain records: its first bytes are a name, and another
    # name is no damage anyone can see.
    if not user:
        yield "magic", b"XXXX" + data[4:]
    yield "half", data[: len(data) // 2]
    yield "cut10", data[:-10] if len(data) > 10 else b""
    yield "longer", data + b"\x00garbage\xff" * 3
    yield "garbage", bytes(rng.randrange(256) for _ in range(len(data)))
    if len(data) > 64:
        flipped = bytearray(data)
        for _ in range(8):
            flipped[rng.randrange(16, len(data))] ^= 0xFF
        yield "flipped", bytes(flipped)
    if compressed:
        length = struct.unpack_from("<I", data, 10)[0]
        for name, field in (("length-smaller", length // 2), ("length-larger", length * 2 + 7)):
            yield name, data[:10] + struct.pack("<I", field) + data[14:]
        yield "plain", expand_szdd(data)
    if file in PLACE_FILES:
        records = expand_szdd(data) if compressed else data
        for name, bad in off_the_globe(records):
            yield "records-" + name, compress_literal(bad) if compressed else bad
    yield "folder", "folder"
    yield "fifo", "fifo"


class FrontEnds:
    """Puts questions to the tool, the C host and the Python host."""

    def __init__(self, args):
        self.tool = args.tool
        self.c_host = args.c_host
        self.python_host = args.python_host
        self.names = ["tool", "c"] + (["python"] if args.python_host else [])

    def tool_args(self, q):
        if q[0] == "place":
            return ["--json", "place", q[1], q[2]] + (["--date", q[3]] if len(q) > 3 else [])
        if q[0] == "placefile":
            return ["--json", "place", open(q[1], encoding="utf-8").read(), q[2]]
        if q[0] == "nearest":
            return ["--json", "nearest", q[1], q[2], q[3]]
        if q[0] == "search":
            return ["--json", "search", q[1], q[2]]
        if q[0] == "add":
            return ["add", q[1], q[2], q[3], q[4]]
        raise ValueError(q)

    def ask(self, front, atlas, questions, timeout=TIMEOUT_S):
        """[(status, text)] per question; status 0/1/2, "crash" or "hang"."""
        if front == "tool":
            return [self._tool(atlas, q, timeout) for q in questions]
        command = [self.c_host, atlas] if front == "c" else [sys.executable, self.python_host, atlas]
        text = "".join("\t".join(q) + "\n" for q in questions)
        try:
            done = subprocess.run(command, input=text.encode(), capture_output=True,
                                  timeout=timeout * len(questions))
            lines, ended = done.stdout.decode(errors="replace").splitlines(), done.returncode
        except subprocess.TimeoutExpired as expired:
            lines, ended = (expired.stdout or b"").decode(errors="replace").splitlines(), "hang"
        answers = []
        for i in range(len(questions)):
            if i < len(lines):
                status, _, rest = lines[i].partition(" ")
                answers.append((int(status), rest))
            elif ended == "hang":
                answers.append(("hang", ""))
            else:
                answers.append(("crash", f"exit {ended}: {done.stderr.decode(errors='replace')[-300:]}"))
        return answers

    def _tool(self, atlas, q, timeout):
        env = dict(os.environ, TARV_ATLAS=atlas)
        try:
            done = subprocess.run([self.tool, *self.tool_args(q)], env=env, capture_output=True,
                                  timeout=timeout)
        except subprocess.TimeoutExpired:
            return "hang", ""
        if done.returncode < 0:
            return "crash", done.stderr.decode(errors="replace")
        return done.returncode, (done.stdout + done.stderr).decode(errors="replace")


class Tally:
    def __init__(self):
        self.tried = 0
        self.failures = {"crash": [], "hang": [], "lost": [], "silent wrong": []}

    def fail(self, kind, case):
        self.failures[kind].append(case)

    def check(self, case, answer, expected, damaged_name):
        """An answer to a damaged atlas: the undamaged one or an error naming the file."""
        self.tried += 1
        status, text = answer
        if status in ("crash", "hang"):
            self.fail(status, f"{case} {text[-200:]}")
        elif status == 2:
            if damaged_name not in text:
                self.fail("silent wrong", f"{case} (the error names another file: {text.strip()[:200]})")
        elif answer != expected:
            self.fail("silent wrong", f"{case}: {text.strip()[:200]}")


def fresh_copy(pristine, scratch, name="copy"):
    copy = os.path.join(scratch, name)
    shutil.rmtree(copy, ignore_errors=True)
    shutil.copytree(pristine, copy, copy_function=os.link, symlinks=True)
    # The user folder is written to: its files are copies, not links.
    user = os.path.join(copy, "USER")
    for entry in os.listdir(user):
        path = os.path.join(user, entry)
        data = open(path, "rb").read()
        os.remove(path)
        open(path, "wb").write(data)
    return copy


def replace(path, damaged):
    os.remove(path)  # a link: the pristine file stays as it is
    if damaged == "folder":
        os.mkdir(path)
    elif damaged == "fifo":
        os.mkfifo(path)
    else:
        with open(path, "wb") as out:
            out.write(damaged)


def damaged_files(fronts, tally, pristine, scratch, rng):
    expected = {f: fronts.ask(f, pristine, QUESTIONS) for f in fronts.names}
    for front, answers in expected.items():
        for q, (status, text) in zip(QUESTIONS, answers):
            assert status in (0, 1), f"the undamaged atlas fails {front} {q}: {text}"
    for file in FILES:
        data = open(os.path.join(pristine, file), "rb").read()
        for damage, damaged in damages(file, data, rng):
            copy = fresh_copy(pristine, scratch)
            replace(os.path.join(copy, file), damaged)
            for front in fronts.names:
                answers = fronts.ask(front, copy, QUESTIONS)
                for q, answer, want in zip(QUESTIONS, answers, expected[front]):
                    case = f"{front} {file} {damage}: {' '.join(q)}"
                    tally.check(case, answer, want, os.path.basename(file))


def confirmed_places_found(fronts, tally, copy, places, case):
    """Every place whose addition was confirmed is found by every front end."""
    for front in fronts.names:
        answers = fronts.ask(front, copy, [("place", p, "D") for p in places])
        for place, (status, text) in zip(places, answers):
            tally.tried += 1
            if status in ("crash", "hang"):
                tally.fail(status, f"{front} {case}: place {place}")
            elif status == 1 or (status == 0 and not (text.startswith(place + " (")
                                                      or f'"name": "{place}"' in text)):
                tally.fail("lost", f"{front} {case}: {place} not found after its addition was confirmed")
            elif status == 2 and "Changes.cnt" not in text and "D.dao" not in text:
                tally.fail("silent wrong", f"{front} {case}: {text.strip()[:200]}")


def counter_faults(fronts, tally, pristine, scratch):
    """The counter damaged by another program; additions go on and are seen."""
    faults = {
        "cut": lambda p: open(p, "r+b").truncate(0),
        "cut3": lambda p: open(p, "r+b").truncate(3),
        "garbage": lambda p: (os.remove(p), open(p, "wb").write(b"not a counter at all")),
        "fifo": lambda p: (os.remove(p), os.mkfifo(p)),
        "folder": lambda p: (os.remove(p), os.mkdir(p)),
        "read-only": lambda p: os.chmod(p, 0o444),
        "removed": os.remove,
    }
    for fault, damage in faults.items():
        copy = fresh_copy(pristine, scratch)
        counter = os.path.join(copy, "USER", "Changes.cnt")
        if not os.path.exists(counter):
            open(counter, "wb").write(b"TPCHANGE" + bytes(8))
        damage(counter)
        confirmed = ["Testort"]
        for front in fronts.names:
            name = f"Neuort {front}"
            (status, text), = fronts.ask(front, copy, [("add", "D", name, "10.1", "50.1")])
            tally.tried += 1
            if status == 0:
                confirmed.append(name)
            elif status in ("crash", "hang"):
                tally.fail(status, f"{front} counter {fault}: add")
        confirmed_places_found(fronts, tally, copy, confirmed, f"counter {fault}")


def refused_additions(fronts, tally, copy, name, case):
    """Each front end's addition fails with an error naming the user file."""
    for front in fronts.names:
        (status, text), = fronts.ask(front, copy, [("add", "D", f"{name} {front}", "10.3", "50.3")])
        tally.tried += 1
        if status in ("crash", "hang"):
            tally.fail(status, f"{front} {case}: add")
        elif status != 2 or "D.dao" not in text:
            tally.fail("silent wrong", f"{front} {case}: add gave {status} {text.strip()[:200]}")


def user_file_faults(fronts, tally, pristine, scratch):
    copy = fresh_copy(pristine, scratch)
    user = os.path.join(copy, "USER", "D.dao")
    index = os.path.join(copy, "USER", "D.IDX")
    # A kill between the renames of an addition: the new data file with the
    # old index. The place is found, and adding it again leaves it findable.
    old_index = open(index, "rb").read()
    fronts.ask("tool", copy, [("add", "D", "Zwischenort", "10.2", "50.2")])
    open(index, "wb").write(old_index)
    confirmed_places_found(fronts, tally, copy, ["Testort", "Zwischenort"], "kill between renames")
    for front in fronts.names:
        fronts.ask(front, copy, [("add", "D", "Zwischenort", "10.2", "50.2")])
    confirmed_places_found(fronts, tally, copy, ["Testort", "Zwischenort"], "added again")

    # A symbolic link where the user file belongs: nothing is read through it
    # or written to its target, and the error names the user file.
    outside = os.path.join(scratch, "outside.txt")
    secret = b"root:x:0:0:secret bytes that must stay where they are\n"
    open(outside, "wb").write(secret)
    saved = open(user, "rb").read()
    os.remove(user)
    os.symlink(outside, user)
    refused_additions(fronts, tally, copy, "Linkort", "symlinked user file")
    tally.tried += 1
    if open(outside, "rb").read() != secret or not os.path.islink(user):
        tally.fail("silent wrong", "symlinked user file: its target or the link was changed")
    os.remove(user)

    # A user file cut short: an error naming it, and no writer rewrites it.
    cut = saved + saved[:20]
    open(user, "wb").write(cut)
    refused_additions(fronts, tally, copy, "Kurzort", "cut user file")
    tally.tried += 1
    if open(user, "rb").read() != cut:
        tally.fail("lost", "cut user file: a writer rewrote the file it could not read whole")


def killed_writers(fronts, tally, pristine, scratch, rng, kills):
    """Writers killed at random moments never cost a confirmed place."""
    copy = fresh_copy(pristine, scratch)
    confirmed = ["Testort"]
    env = dict(os.environ, TARV_ATLAS=copy)
    for i in range(kills):
        name = f"Killort {i}"
        if i % 2 == 0:
            process = subprocess.Popen([fronts.tool, "add", "D", name, "10.5", str(50 + i / 1000)],
                                       env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        else:
            process = subprocess.Popen([fronts.c_host, copy], stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            process.stdin.write(f"add\tD\t{name}\t10.5\t{50 + i / 1000}\n".encode())
            process.stdin.close()
        time.sleep(rng.uniform(0, 0.12))
        process.send_signal(signal.SIGKILL)
        process.wait()
        out = process.stdout.read().decode() if process.stdout else ""
        process.stdout and process.stdout.close()
        if process.returncode == 0 and (i % 2 == 0 or out.startswith("0 added")):
            confirmed.append(name)
        tally.tried += 1
    confirmed_places_found(fronts, tally, copy, confirmed, f"{kills} killed writers")
    return len(confirmed) - 1


def huge_inputs(fronts, tally, pristine, scratch):
    """Megabytes of text answer at once (an error or nothing found)."""
    for size, fill in ((1 << 20, "["), (2 << 20, "*"), (1 << 20, "a")):
        path = os.path.join(scratch, f"huge-{size}-{ord(fill)}.txt")
        open(path, "w", encoding="utf-8").write(fill * size)
        for front in fronts.names:
            if front == "tool":
                # One argument holds at most 128 KiB on Linux.
                open(path + ".tool", "w").write(fill * (100 << 10))
                question = ("placefile", path + ".tool", "D")
            else:
                question = ("placefile", path, "D")
            start = time.monotonic()
            (status, text), = fronts.ask(front, pristine, [question])
            took = time.monotonic() - start
            tally.tried += 1
            case = f"{front} {size >> 10} KiB of {fill!r}"
            if status in ("crash", "hang") or took > HUGE_BUDGET_S:
                tally.fail("hang" if status != "crash" else "crash", f"{case}: {took:.2f} s")
            elif status == 0:
                tally.fail("silent wrong", f"{case}: found {text.strip()[:100]}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--c-host", required=True)
    parser.add_argument("--python-host")
    parser.add_argument("--kills", type=int, default=150)
    parser.add_argument("atlas")
    parser.add_argument("scratch")
    args = parser.parse_args()
    fronts = FrontEnds(args)
    rng = random.Random(28)
    scratch = args.scratch
    shutil.rmtree(scratch, ignore_errors=True)
    pristine = os.path.join(scratch, "pristine")
    shutil.copytree(args.atlas, pristine)
    user = os.path.join(pristine, "USER")
    shutil.rmtree(user, ignore_errors=True)
    os.makedirs(user)
    subprocess.run([args.tool, "add", "D", "Testort", "10.5", "50.5"], check=True,
                   capture_output=True, env=dict(os.environ, TARV_ATLAS=pristine))

    tally = Tally()
    started = time.monotonic()
    damaged_files(fronts, tally, pristine, scratch, rng)
    counter_faults(fronts, tally, pristine, scratch)
    user_file_faults(fronts, tally, pristine, scratch)
    kept = killed_writers(fronts, tally, pristine, scratch, rng, args.kills)
    huge_inputs(fronts, tally, pristine, scratch)
    f = tally.failures
    print(f"{tally.tried} tried, {len(f['crash'])} crash, {len(f['hang'])} hang, "
          f"{len(f['lost'])} lost, {len(f['silent wrong'])} silent wrong "
          f"({', '.join(fronts.names)}; {args.kills} writers killed, {kept} of their additions "
          f"confirmed; {time.monotonic() - started:.0f} s)")
    for kind, cases in f.items():
        for case in cases:
            print(f"  {kind}: {case}")
    shutil.rmtree(scratch, ignore_errors=True)
    return 1 if any(f.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
