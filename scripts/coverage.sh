#!/usr/bin/env bash
# Line and branch coverage of src/ by the whole test suite of the debug build
# (library, C, Python, tool and dialog tests), measured with gcov counters and
# summed up by gcovr. Branches that only throw or that the compiler proves
# unreachable are left out: every call that may throw is a branch otherwise.
# Counters are updated atomically: the thread tests would race them.
#
#   bash scripts/coverage.sh            # summary; HTML in build/coverage/html
#   ATLAS=/path/to/atlas bash scripts/coverage.sh
#
# The default atlas (build/atlas, or ATLAS) must exist: scripts/build-atlas.sh.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh --coverage
atlas="${ATLAS:-$PWD/build/atlas}"
[ -f "$atlas/Country.dat" ] || { echo "coverage: no atlas at $atlas (scripts/build-atlas.sh)" >&2; exit 1; }

cmake --preset coverage -DTARV_DEFAULT_ATLAS="$atlas" >/dev/null
cmake --build --preset coverage
find build/coverage -name '*.gcda' -delete
# The install tests build hosts against the installed library, which would
# need gcov's runtime; they test packaging, not src/.
ctest --preset coverage -j2 -E '^install\.' || echo "coverage: some tests failed; the figures count what ran" >&2
mkdir -p build/coverage/html
gcovr --root . --object-directory build/coverage --filter 'src/' \
      --exclude-throw-branches --exclude-unreachable-branches \
      --html-details build/coverage/html/index.html --print-summary
