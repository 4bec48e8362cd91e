#!/usr/bin/env bash
# Checks a wheel of tarvplaces (scripts/build-wheel.sh) the way a user gets
# it: installed by pip alone into a fresh virtual environment that does not
# see the system's packages, then used without any variable pointing at the
# build, from a folder outside the repository, with a home of its own.
#   bash scripts/test-wheel.sh WHEEL [ATLAS]
# ATLAS (default build/atlas) is another atlas that Atlas(folder) must still
# open. Fails with a message naming the check; prints the wheel's size and
# fails when it is 16 MB or more.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
limit_bytes=16000000

fail() {
  echo "test-wheel: FAIL: $*" >&2
  exit 1
}
# Runs a check; on failure, says which one (the command's own output above
# tells why).
check() {
  local what="$1"
  shift
  if ! "$@"; then fail "$what"; fi
  echo "ok: $what"
}
# Runs a command with its output into a file.
into() {
  local file="$1"
  shift
  "$@" >"$file"
}

[ $# -ge 1 ] || { echo "usage: bash scripts/test-wheel.sh WHEEL [ATLAS]" >&2; exit 2; }
wheel="$(realpath "$1")"
other_atlas="$(realpath "${2:-$root/build/atlas}")"
[ -f "$wheel" ] || fail "no wheel at $1"
[ -f "$other_atlas/Country.dat" ] || fail "no atlas at $other_atlas to open by folder"

size="$(stat -c %s "$wheel")"
awk -v s="$size" 'BEGIN { printf "wheel: %.1f MB\n", s / 1000000 }'
[ "$size" -lt "$limit_bytes" ] || fail "the wheel has $size bytes, 16 MB or more"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
# Debian's python3: its venv module brings pip, which another python3
# earlier on PATH may not.
/usr/bin/python3 -m venv "$work/venv" || fail "python3 -m venv (python3-venv installed?)"
python="$work/venv/bin/python"
check "pip installs the wheel with nothing but the wheel" \
  "$python" -m pip install --quiet --no-index --disable-pip-version-check "$wheel"

# The user's world: no variable names an atlas or a library, a home and a
# data folder of its own, a working folder outside the repository.
unset TARV_ATLAS TARVPLACES_LIBRARY PYTHONPATH LD_LIBRARY_PATH PYTHONHOME
export HOME="$work/home" XDG_DATA_HOME="$work/home/data"
mkdir -p "$HOME" "$work/elsewhere"
cd "$work/elsewhere"
site="$("$python" -c 'import sysconfig; print(sysconfig.get_paths()["platlib"])')"
site="$(realpath "$site")"
export TEST_SITE="$site" TEST_OTHER_ATLAS="$other_atlas"

check "the package has the library and an atlas inside, and its notice" "$python" - "$wheel" <<'EOF'
import os, pathlib, sys, zipfile
names = zipfile.ZipFile(sys.argv[1]).namelist()
atlas = [n for n in names if n.startswith("tarvplaces/atlas/")]
assert "tarvplaces/libtarvplaces.so.3" in names, "no libtarvplaces.so.3 in the wheel"
assert "tarvplaces/atlas/Country.dat" in names and len(atlas) > 1000, f"{len(atlas)} atlas files"
assert not [n for n in atlas if n.startswith("tarvplaces/atlas/USER/")], "user places in the wheel"
notice = [n for n in names if n.endswith(".dist-info/NOTICE")]
assert notice, "no NOTICE in the metadata"
assert b"CC BY 4.0" in zipfile.ZipFile(sys.argv[1]).read(notice[0]), "the NOTICE does not name CC BY 4.0"
import tarvplaces
lib = pathlib.Path(tarvplaces._native.lib._name).resolve()
assert lib.parent == pathlib.Path(os.environ["TEST_SITE"], "tarvplaces"), f"library loaded from {lib}"
EOF

# The README's example, with the default atlas instead of build/atlas.
readme_example="$work/readme_example.txt"
"$python" - "$root/README.md" "$readme_example" <<'EOF' || fail "README.md has no Python example to run"
import re, sys
text = open(sys.argv[1], encoding="utf-8").read()
match = re.search(r"<!-- example: python -->\n((?:    .*\n|\n)+)", text)
example = re.sub(r"(?m)^    ", "", match.group(1))
example, count = re.subn(r'tarvplaces\.Atlas\("build/atlas"\)', "tarvplaces.Atlas()", example)
assert count == 1, "the example does not open build/atlas"
open(sys.argv[2], "w", encoding="utf-8").write(example)
EOF
check "the README's Python example, with Atlas() and no folder" "$python" - "$readme_example" <<'EOF'
import doctest, sys
text = open(sys.argv[1], encoding="utf-8").read()
runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
runner.run(doctest.DocTestParser().get_doctest(text, {}, "README.md", None, 0))
result = runner.summarize(verbose=False)
assert result.attempted > 0 and result.failed == 0, result
EOF

check "Atlas() answers from the package: München 1980-07-01 12:00 is MET/S, +7200 s" "$python" - <<'EOF'
import datetime, os, pathlib, tarvplaces
with tarvplaces.Atlas() as atlas:
    p = atlas.place("München", "D", when=datetime.datetime(1980, 7, 1, 12, 0))
    assert (p.zone, p.utc_offset) == ("MET/S", datetime.timedelta(seconds=7200)), p
    folder = pathlib.Path(atlas.folder).resolve()
    site = pathlib.Path(os.environ["TEST_SITE"])
    assert folder == site / "tarvplaces" / "atlas", f"Atlas().folder is {folder}, not in {site}"
EOF

check "a wheel tagged for one Python holds the compiled lookup, and loads it" "$python" - <<EOF
import os, pathlib, tarvplaces
compiled = tarvplaces._compiled_lookup
if "-py3-none-" in "$(basename "$wheel")":
    assert compiled is None, compiled
else:
    assert compiled is not None, "no tarvplaces._lookup in the wheel"
    assert pathlib.Path(compiled.__file__).resolve().parent == pathlib.Path(os.environ["TEST_SITE"]) / "tarvplaces"
EOF

snapshot() { find "$site" -printf '%p %s %T@\n' | sort; }
snapshot >"$work/site-before"
check "a user place of the default atlas goes to \$XDG_DATA_HOME/tarvplaces/USER" "$python" - <<'EOF'
import os, pathlib, tarvplaces
with tarvplaces.Atlas() as atlas:
    atlas.add_place("D", "Wheelhausen", 11.5, 48.1)
    assert atlas.place("Wheelhausen", "D").user_place
user = pathlib.Path(os.environ["XDG_DATA_HOME"], "tarvplaces", "USER")
assert user.is_dir() and any(user.iterdir()), f"nothing written under {user}"
with tarvplaces.Atlas() as atlas:  # a new atlas object reads it back
    assert atlas.place("Wheelhausen", "D").user_place
EOF
snapshot >"$work/site-after"
check "nothing under site-packages changed" diff "$work/site-before" "$work/site-after"

place_out="$work/place.txt"
check "python -m tarvplaces place München D answers, exit 0" \
  into "$place_out" "$python" -m tarvplaces place München D --date 1980-07-01T12:00
grep -q "MET/S (Central European Summer Time), UTC+2:00" "$place_out" || { cat "$place_out"; fail "place printed no MET/S, UTC+2:00"; }
search_out="$work/search.txt"
check "python -m tarvplaces search \"Mün*\" D answers, exit 0" \
  into "$search_out" "$python" -m tarvplaces search "Mün*" D
grep -q "^München  *D  *11.57549" "$search_out" || { cat "$search_out"; fail "search did not list München"; }

check "Atlas(folder) still opens another atlas ($other_atlas)" "$python" - <<'EOF'
import os, pathlib, tarvplaces
other = os.environ["TEST_OTHER_ATLAS"]
with tarvplaces.Atlas(other) as atlas:
    assert pathlib.Path(atlas.folder).resolve() == pathlib.Path(other), atlas.folder
    assert atlas.place("München", "D").longitude == 11.57549
    assert atlas.place("Wheelhausen", "D") is None, "the other atlas sees the default atlas's user place"
EOF

check "help(tarvplaces) renders, every public name documented" "$python" - <<'EOF'
import inspect, pydoc, tarvplaces
text = pydoc.render_doc(tarvplaces, renderer=pydoc.plaintext)
assert "Alias for field number" not in text, "a record field without its own help"
undocumented = []
for name in tarvplaces.__all__:
    obj = getattr(tarvplaces, name)
    if not inspect.getdoc(obj):
        undocumented.append(name)
    for member, value in vars(obj).items() if inspect.isclass(obj) else ():
        documentable = callable(value) or isinstance(value, property)
        if documentable and not member.startswith("_") and not inspect.getdoc(value):
            undocumented.append(f"{name}.{member}")
assert not undocumented, f"no docstring: {undocumented}"
EOF

echo "test-wheel: all checks passed for $(basename "$wheel")"
