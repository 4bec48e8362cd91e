#!/usr/bin/env python3
"""Fails when the project's own includes form a cycle.

Reads every source and header under src/, include/, apps/ and tools/,
follows their #include "..." lines, and treats a file and the header of the
same name beside it (place_file.cc and place_file.h) as one unit, since
together they are one module, with the implementations of each system. Prints each cycle found and exits 1; prints
the number of units and exits 0 when there is none.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ["src", "include", "apps", "tools"]
SEARCH = [ROOT / "src", ROOT / "include", ROOT / "tools", ROOT / "apps"]
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def unit_of(path):
    """The module a file belongs to: its path without the extension, and
    without the suffix of a system's implementation (file_status_posix.cc,
    file_status_windows.cc and file_status_native.h are file_status)."""
    unit = str(path.relative_to(ROOT).with_suffix(""))
    return re.sub(r"_(posix|windows|native)$", "", unit)


def resolve(name, including):
    for base in [including.parent] + SEARCH:
        candidate = (base / name).resolve()
        if candidate.is_file() and ROOT in candidate.parents:
            return candidate
    return None


def graph():
    edges = {}
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in (".h", ".cc", ".c") or "build" in path.parts:
                continue
            unit = unit_of(path)
            edges.setdefault(unit, set())
            for name in INCLUDE.findall(path.read_text(encoding="utf-8", errors="replace")):
                target = resolve(name, path)
                if target is not None and unit_of(target) != unit:
                    edges[unit].add(unit_of(target))
    return edges


def cycles(edges):
    """Tarjan's strongly connected components with more than one unit."""
    index, low, stack, on_stack, found = {}, {}, [], set(), []
    counter = [0]
    sys.setrecursionlimit(10000)

    def visit(unit):
        index[unit] = low[unit] = counter[0]
        counter[0] += 1
        stack.append(unit)
        on_stack.add(unit)
        for other in edges.get(unit, ()):
            if other not in index:
                visit(other)
                low[unit] = min(low[unit], low[other])
            elif other in on_stack:
                low[unit] = min(low[unit], index[other])
        if low[unit] == index[unit]:
            component = []
            while True:
                other = stack.pop()
                on_stack.discard(other)
                component.append(other)
                if other == unit:
                    break
            if len(component) > 1:
                found.append(sorted(component))

    for unit in sorted(edges):
        if unit not in index:
            visit(unit)
    return found


def main():
    edges = graph()
    found = cycles(edges)
    for component in found:
        print("include cycle among: " + ", ".join(component))
        for unit in component:
            inside = sorted(e for e in edges[unit] if e in component)
            print("  " + unit + " -> " + ", ".join(inside))
    if found:
        return 1
    print(f"no include cycles among {len(edges)} modules")
    return 0


if __name__ == "__main__":
    sys.exit(main())
