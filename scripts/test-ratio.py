#!/usr/bin/env python3
"""Lines of tests against lines of code: non-blank lines of C, C++ and Python.

Code is src/, include/, apps/, tools/ and python/tarvplaces; tests are tests/
and python/tests. With --max, fails when the tests exceed that share.

    python3 scripts/test-ratio.py --max 0.35
"""

import argparse
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
CODE = ("src", "include", "apps", "tools", "python/tarvplaces")
TESTS = ("tests", "python/tests")
SUFFIXES = {".c", ".cc", ".h", ".py"}


def count(folders):
    total = 0
    for folder in folders:
        for path in (ROOT / folder).rglob("*"):
            if path.suffix in SUFFIXES and path.is_file():
                text = path.read_text(encoding="utf-8")
                total += sum(1 for line in text.splitlines() if line.strip())
    return total


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--max", type=float, help="largest share of tests allowed")
    args = parser.parse_args()
    code, tests = count(CODE), count(TESTS)
    ratio = tests / code
    print(f"tests {tests} lines, code {code} lines: {ratio:.3f}")
    if args.max is not None and ratio > args.max:
        print(f"test-ratio: tests are more than {args.max} of the code", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
