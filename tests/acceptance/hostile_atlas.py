#!/usr/bin/env python3
"""What a hostile user and a careless second program can do to an atlas, asked
through the tool, the C interface and Python (the README tells what is tried):
damaged files, a damaged change counter, user files linked or cut, writers
killed, huge texts. Every answer must be the undamaged atlas's or an error
naming the damaged file; no confirmed addition may go missing ("lost").

    hostile_atlas.py --tool T --c-host H [--python-host P] ATLAS SCRATCH

Prints "N tried, C crash, H hang, L lost, W silent wrong" and every failure.
"""
import argparse
import concurrent.futures
import os
import random
import shutil
import struct
import subprocess
import sys
import time

TIMEOUT_S = 10
HUGE_BUDGET_S = 2.0

# What hosts ask: a place with its zone at a date, the nearest place, a
# pattern search, a US place (TTUSA.dao), a name known by another name.
QUESTIONS = [
    ("place", "München", "D", "1980-07-01T12:00"), ("place", "Berlin", "D", "2030-01-15T12:00"),
    ("nearest", "D", "11.58", "48.14"), ("search", "M?nchen", "D"), ("search", "Zw*", "D"),
    ("place", "Cheyenne", "USWY", "1980-07-01T12:00"), ("place", "Munich", "DE"),
    ("place", "Testort", "D"),  # a user place
]

# The files a question reads; damage to each is tried.
FILES = [
    "Country.dat", "Zones13.bin", "ttx.dao", "TTUSA.dao", "D.dao", "D.IDX", "D.NDX", "D.TZP",
    "Zones.hst", "Zones.map", "DstRules.dat", "CountryNames.dat", "USWY.dao", "USER/D.dao",
    "USER/D.IDX",
]
PLACE_FILES = {"D.dao", "USWY.dao", "USER/D.dao"}

SZDD_MAGIC = b"SZDD\x88\xf0\x27\x33"


def expand_szdd(data):
    """The bytes an SZDD file holds (LZSS with a 4096-byte window)."""
    length = struct.unpack_from("<I", data, 10)[0]
    window, pos, at, out = bytearray(b" " * 4096), 4096 - 16, 14, bytearray()
    while at < len(data) and len(out) < length:
        flags, at = data[at], at + 1
        for bit in range(8):
            literal = flags & (1 << bit)
            if at + (0 if literal else 1) >= len(data) or len(out) >= length:
                break
            if literal:
                copied, at = [data[at]], at + 1
            else:
                offset, count = data[at] | ((data[at + 1] & 0xF0) << 4), (data[at + 1] & 0x0F) + 3
                copied, at = ((offset + i) & 4095 for i in range(count)), at + 2
            for byte in copied:
                byte = byte if literal else window[byte]
                out.append(byte)
                window[pos], pos = byte, (pos + 1) & 4095
    return bytes(out[:length])


def compress_literal(data):
    """An SZDD file of `data` that uses literals only: valid, if not small."""
    out = bytearray(SZDD_MAGIC + b"A\x00" + struct.pack("<I", len(data)))
    for start in range(0, len(data), 8):
        chunk = data[start:start + 8]
        out += bytes([(1 << len(chunk)) - 1]) + chunk
    return bytes(out)


def damages(file, data, rng):
    """(name, bytes or a kind of non-file) of each damage of a file."""
    compressed = data.startswith(SZDD_MAGIC)
    yield "empty", b""
    # A user file is plain records: its first bytes are a name, and another
    # name is no damage anyone can see.
    if not file.startswith("USER/"):
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
    records = (expand_szdd(data) if compressed else data) if file in PLACE_FILES else b""
    if len(records) >= 38:
        # The first record (38 bytes) with one field a place cannot have.
        for name, offset, value in (("nan", 30, struct.pack("<f", float("nan"))),
                                    ("lat400", 34, struct.pack("<f", 400.0)),
                                    ("timetable999", 28, struct.pack("<h", 999))):
            bad = records[:offset] + value + records[offset + len(value):]
            yield "records-" + name, compress_literal(bad) if compressed else bad
    yield from (("folder", "folder"), ("fifo", "fifo"))


class FrontEnds:
    """Puts questions to the tool, the C host and the Python host."""

    def __init__(self, args):
        self.tool, self.c_host, self.python_host = args.tool, args.c_host, args.python_host
        self.names = ["tool", "c"] + (["python"] if args.python_host else [])

    def ask(self, front, atlas, questions):
        """[(status, text)] per question; status 0/1/2, "crash" or "hang"."""
        if front == "tool":
            return [self._tool(atlas, q) for q in questions]
        command = [self.c_host, atlas] if front == "c" else [sys.executable, self.python_host, atlas]
        text = "".join("\t".join(q) + "\n" for q in questions)
        try:
            done = subprocess.run(command, input=text.encode(), capture_output=True,
                                  timeout=TIMEOUT_S * len(questions))
            lines, ended = done.stdout.decode(errors="replace").splitlines(), done.returncode
            why = f"exit {ended}: {done.stderr.decode(errors='replace')[-300:]}"
        except subprocess.TimeoutExpired as expired:
            lines, ended, why = (expired.stdout or b"").decode(errors="replace").splitlines(), "hang", ""
        # Questions after the last answer line died with the host.
        answers = [(int(line.partition(" ")[0]), line.partition(" ")[2]) for line in lines]
        return (answers + [("hang" if ended == "hang" else "crash", why)] * len(questions))[:len(questions)]

    def _tool(self, atlas, q):
        kind, args = q[0], list(q[1:])
        if kind == "placefile":
            kind, args[0] = "place", open(args[0], encoding="utf-8").read()
        if kind == "place" and len(args) == 3:
            args[2:] = ["--date", args[2]]
        command = [self.tool] + (["add"] if kind == "add" else ["--json", kind]) + args
        try:
            done = subprocess.run(command, env=dict(os.environ, TARV_ATLAS=atlas),
                                  capture_output=True, timeout=TIMEOUT_S)
        except subprocess.TimeoutExpired:
            return "hang", ""
        if done.returncode < 0:
            return "crash", done.stderr.decode(errors="replace")
        return done.returncode, (done.stdout + done.stderr).decode(errors="replace")


class Tally:
    def __init__(self):
        self.tried, self.failures = 0, {"crash": [], "hang": [], "lost": [], "silent wrong": []}

    def expect(self, ok, kind, case):
        self.tried += 1
        self.failures[kind] += [] if ok else [case]

    def judge(self, case, answer, right, names=(), wrong="silent wrong"):
        """One answer: it must be `right(status, text)` or an error naming one
        of `names`. An error naming another file is silent wrong, any other
        answer `wrong`."""
        status, text = answer
        if status in ("crash", "hang"):
            return self.expect(False, status, f"{case}: {text.strip()[-200:]}")
        named = status == 2 and any(n in text for n in names)
        self.expect(right(status, text) or named, "silent wrong" if status == 2 else wrong,
                    f"{case}: {status} {text.strip()[:200]}")


def fresh_copy(pristine, scratch, name="copy"):
    copy = os.path.join(scratch, name)
    shutil.rmtree(copy, ignore_errors=True)
    shutil.copytree(pristine, copy, copy_function=os.link, symlinks=True)
    # The user folder is written to: its files are copies, not links.
    user = os.path.join(copy, "USER")
    for path in (os.path.join(user, entry) for entry in os.listdir(user)):
        replace(path, open(path, "rb").read())
    return copy


def replace(path, damaged):
    os.remove(path)  # a link: the pristine file stays as it is
    {"folder": os.mkdir, "fifo": os.mkfifo}.get(damaged, lambda p: open(p, "wb").write(damaged))(path)


def damaged_files(fronts, tally, pristine, scratch, rng):
    expected = {f: fronts.ask(f, pristine, QUESTIONS) for f in fronts.names}
    for front, answers in expected.items():
        for q, (status, text) in zip(QUESTIONS, answers):
            assert status in (0, 1), f"the undamaged atlas fails {front} {q}: {text}"
    cases = []
    for file in FILES:
        data = open(os.path.join(pristine, file), "rb").read()
        cases += [(file, damage, damaged) for damage, damaged in damages(file, data, rng)]

    def asked(front, number):
        """The questions put to a front end in case `number`. The hosts answer
        all of them in one process; the tool, a process per question, answers
        three in turn, so that any three successive cases (every file has more
        damages) put every question to it."""
        if front != "tool":
            return list(range(len(QUESTIONS)))
        return sorted({(number + k) % len(QUESTIONS) for k in (0, 3, 5)})

    def ask_all(numbered):
        """Each front end's answers on a copy of the atlas with one file damaged."""
        number, (file, damage, damaged) = numbered
        copy = fresh_copy(pristine, scratch, f"copy-{number}")
        replace(os.path.join(copy, file), damaged)
        answers = {}
        for front in fronts.names:
            indexes = asked(front, number)
            answers[front] = zip(indexes, fronts.ask(front, copy, [QUESTIONS[i] for i in indexes]))
        shutil.rmtree(copy, ignore_errors=True)
        return file, damage, answers

    # The cases are independent: as many at once as there are processors.
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count() or 1) as pool:
        for file, damage, answers in pool.map(ask_all, enumerate(cases)):
            for front in fronts.names:
                for i, answer in answers[front]:
                    want = expected[front][i]
                    tally.judge(f"{front} {file} {damage}: {' '.join(QUESTIONS[i])}", answer,
                                lambda *a, want=want: a == want, [os.path.basename(file)])


def confirmed_places_found(fronts, tally, copy, places, case):
    """Every place whose addition was confirmed is found by every front end."""
    for front in fronts.names:
        answers = fronts.ask(front, copy, [("place", p, "D") for p in places])
        for place, answer in zip(places, answers):
            tally.judge(f"{front} {case}: {place} after its addition was confirmed", answer,
                        lambda s, t, p=place: s == 0 and (t.startswith(p + " (") or f'"name": "{p}"' in t),
                        ["Changes.cnt", "D.dao"], wrong="lost")


def add_everywhere(fronts, tally, copy, name, case, right=lambda s, t: True, names=()):
    """Each front end adds "NAME FRONT"; the names whose addition was confirmed."""
    added = []
    for front in fronts.names:
        answer, = fronts.ask(front, copy, [("add", "D", f"{name} {front}", "10.3", "50.3")])
        tally.judge(f"{front} {case}: add", answer, right, names)
        added += [f"{name} {front}"] if answer[0] == 0 else []
    return added


def counter_faults(fronts, tally, pristine, scratch):
    """The counter damaged by another program; additions go on and are seen."""
    faults = {
        "cut": lambda p: open(p, "r+b").truncate(0),
        "cut3": lambda p: open(p, "r+b").truncate(3),
        "garbage": lambda p: replace(p, b"not a counter at all"),
        "fifo": lambda p: replace(p, "fifo"),
        "folder": lambda p: replace(p, "folder"),
        "read-only": lambda p: os.chmod(p, 0o444),
        "removed": os.remove,
    }
    for fault, damage in faults.items():
        copy = fresh_copy(pristine, scratch)
        counter = os.path.join(copy, "USER", "Changes.cnt")
        if not os.path.exists(counter):
            open(counter, "wb").write(b"TPCHANGE" + bytes(8))
        damage(counter)
        added = add_everywhere(fronts, tally, copy, "Neuort", f"counter {fault}")
        confirmed_places_found(fronts, tally, copy, ["Testort"] + added, f"counter {fault}")


def user_file_faults(fronts, tally, pristine, scratch):
    copy = fresh_copy(pristine, scratch)
    user, index = os.path.join(copy, "USER", "D.dao"), os.path.join(copy, "USER", "D.IDX")
    # A kill between the renames of an addition: the new data file with the
    # old index. The place is found, and adding it again leaves it findable.
    old_index = open(index, "rb").read()
    fronts.ask("tool", copy, [("add", "D", "Zwischenort", "10.2", "50.2")])
    open(index, "wb").write(old_index)
    confirmed_places_found(fronts, tally, copy, ["Testort", "Zwischenort"], "kill between renames")
    for front in fronts.names:
        fronts.ask(front, copy, [("add", "D", "Zwischenort", "10.2", "50.2")])
    confirmed_places_found(fronts, tally, copy, ["Testort", "Zwischenort"], "added again")

    # A symbolic link where the user file belongs, then the file cut short:
    # each addition fails naming the user file, and nothing is rewritten.
    outside = os.path.join(scratch, "outside.txt")
    secret = b"root:x:0:0:secret bytes that must stay where they are\n"
    open(outside, "wb").write(secret)
    saved = open(user, "rb").read()
    os.remove(user)
    os.symlink(outside, user)
    cut = saved + saved[:20]
    for case, name, content, kind, unchanged in (
            ("symlinked user file", "Linkort", None, "silent wrong",
             lambda: open(outside, "rb").read() == secret and os.path.islink(user)),
            ("cut user file", "Kurzort", cut, "lost", lambda: open(user, "rb").read() == cut)):
        if content is not None:
            replace(user, content)
        add_everywhere(fronts, tally, copy, name, case, lambda s, t: False, ["D.dao"])
        tally.expect(unchanged(), kind, f"{case}: a writer changed the file or its link's target")


def killed_writers(fronts, tally, pristine, scratch, rng, kills):
    """Writers killed at random moments never cost a confirmed place."""
    copy = fresh_copy(pristine, scratch)
    confirmed = ["Testort"]
    for i in range(kills):
        name, latitude, tool = f"Killort {i}", str(50 + i / 1000), i % 2 == 0
        command = [fronts.tool, "add", "D", name, "10.5", latitude] if tool else [fronts.c_host, copy]
        with subprocess.Popen(command, env=dict(os.environ, TARV_ATLAS=copy), stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
            process.stdin.write(b"" if tool else f"add\tD\t{name}\t10.5\t{latitude}\n".encode())
            process.stdin.close()
            time.sleep(rng.uniform(0, 0.12))
            process.kill()  # SIGKILL, wherever it is
            out = process.stdout.read().decode()
        tally.tried += 1
        if process.returncode == 0 and (tool or out.startswith("0 added")):
            confirmed.append(name)
    confirmed_places_found(fronts, tally, copy, confirmed, f"{kills} killed writers")
    return len(confirmed) - 1


def huge_inputs(fronts, tally, pristine, scratch):
    """Megabytes of text answer at once (an error or nothing found)."""
    for size, fill in ((1 << 20, "["), (2 << 20, "*"), (1 << 20, "a")):
        path = os.path.join(scratch, f"huge-{size}-{ord(fill)}.txt")
        open(path, "w", encoding="utf-8").write(fill * size)
        # One argument of the tool holds at most 128 KiB on Linux.
        open(path + ".tool", "w").write(fill * (100 << 10))
        for front in fronts.names:
            start = time.monotonic()
            question = ("placefile", path + (".tool" if front == "tool" else ""), "D")
            (status, text), = fronts.ask(front, pristine, [question])
            took = time.monotonic() - start
            if took > HUGE_BUDGET_S and status != "crash":
                status, text = "hang", ""
            tally.judge(f"{front} {size >> 10} KiB of {fill!r} ({took:.2f} s)", (status, text),
                        lambda s, t: s != 0)


def main():
    parser = argparse.ArgumentParser()
    for name, more in (("--tool", {"required": True}), ("--c-host", {"required": True}),
                       ("--python-host", {}), ("--kills", {"type": int, "default": 150}),
                       ("atlas", {}), ("scratch", {})):
        parser.add_argument(name, **more)
    args = parser.parse_args()
    fronts = FrontEnds(args)
    rng = random.Random(28)
    shutil.rmtree(args.scratch, ignore_errors=True)
    pristine = os.path.join(args.scratch, "pristine")
    shutil.copytree(args.atlas, pristine)
    shutil.rmtree(os.path.join(pristine, "USER"), ignore_errors=True)
    os.makedirs(os.path.join(pristine, "USER"))
    subprocess.run([args.tool, "add", "D", "Testort", "10.5", "50.5"], check=True,
                   capture_output=True, env=dict(os.environ, TARV_ATLAS=pristine))

    tally, started = Tally(), time.monotonic()
    damaged_files(fronts, tally, pristine, args.scratch, rng)
    counter_faults(fronts, tally, pristine, args.scratch)
    user_file_faults(fronts, tally, pristine, args.scratch)
    kept = killed_writers(fronts, tally, pristine, args.scratch, rng, args.kills)
    huge_inputs(fronts, tally, pristine, args.scratch)
    f = tally.failures
    print(f"{tally.tried} tried, {len(f['crash'])} crash, {len(f['hang'])} hang, "
          f"{len(f['lost'])} lost, {len(f['silent wrong'])} silent wrong "
          f"({', '.join(fronts.names)}; {args.kills} writers killed, {kept} of their additions "
          f"confirmed; {time.monotonic() - started:.0f} s)")
    for kind, cases in f.items():
        for case in cases:
            print(f"  {kind}: {case}")
    shutil.rmtree(args.scratch, ignore_errors=True)
    return 1 if any(f.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
