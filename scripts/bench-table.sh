#!/usr/bin/env bash
# Runs the default-atlas benchmarks with repetitions and prints one Markdown
# table: case, our median, the medians of SQLite in memory and of SQLite on a
# database file, and the ratios ours / SQLite, in CPU time per call (other load
# on the machine stretches wall time, not CPU time).
#
#   bash scripts/bench-table.sh [BENCH_BINARY] [REPETITIONS]
set -euo pipefail
cd "$(dirname "$0")/.."
bench="${1:-build/release/bench/tarvplaces_bench}"
repetitions="${2:-5}"
if [ ! -x "$bench" ]; then
  echo "bench-table: no benchmark binary at $bench (cmake --build --preset release)" >&2
  exit 2
fi

json="$(mktemp)"
trap 'rm -f "$json"' EXIT
"$bench" --benchmark_filter='^Default/' --benchmark_repetitions="$repetitions" \
  --benchmark_report_aggregates_only=true --benchmark_format=json >"$json"

# Google Benchmark writes one JSON key per line, so awk can read it.
awk '
  function field(line) {
    sub(/^[^:]*: */, "", line); sub(/,$/, "", line); gsub(/"/, "", line)
    return line
  }
  function ns(value, unit) {
    return value * (unit == "us" ? 1e3 : unit == "ms" ? 1e6 : unit == "s" ? 1e9 : 1)
  }
  function show(t) {
    if (t == "") return "-"
    if (t < 1e3) return sprintf("%.0f ns", t)
    if (t < 1e6) return sprintf("%.2f us", t / 1e3)
    if (t < 1e9) return sprintf("%.2f ms", t / 1e6)
    return sprintf("%.2f s", t / 1e9)
  }
  BEGIN {
    title["ExactWarm"] = "GetPlaceData, exact name (warm)"
    title["ExactCold"] = "GetPlaceData, exact name (cold: first call)"
    title["Prefix"] = "GetPlaceData, prefix (\"Xxxx*\")"
    title["PatternAccents"] = "GetPlaceData, name typed without accents"
    title["OtherName"] = "GetPlaceData, a name found through the name index"
    title["WorldName"] = "SearchAllCountries, whole name (warm)"
    title["WorldPrefix3"] = "SearchAllCountries, 3-letter prefix (warm)"
    title["WorldCold"] = "SearchAllCountries, first call (every index read)"
    title["Nearest"] = "GetNearestPlace"
    title["ZoneBefore2000"] = "GetTimezoneOfCity, date before 2000"
    title["ZoneAfter2000"] = "GetTimezoneOfCity, date 2000-2037"
    title["ZoneAfter2037"] = "GetTimezoneOfCity, date 2038-2100"
    title["CountryId"] = "GetCountryID"
    title["Export"] = "whole text export"
    title["BuildAtlas"] = "whole atlas build"
  }
  /"run_name":/ { split(field($0), part, "/"); name = part[2]; side = part[3] }
  /"aggregate_name":/ { aggregate = field($0) }
  /"cpu_time":/ { cpu = field($0) }
  /"time_unit":/ {
    if (aggregate == "median") {
      if (!(name in seen)) { seen[name] = 1; order[++cases] = name }
      median[name, side] = ns(cpu, field($0))
    }
    aggregate = ""
  }
  END {
    print "| case | ours (median) | SQLite in memory | ours / memory | SQLite file | ours / file |"
    print "|---|---:|---:|---:|---:|---:|"
    for (i = 1; i <= cases; ++i) {
      c = order[i]
      ours = median[c, "ours"]; lite = median[c, "sqlite"]; file = median[c, "sqlite_file"]
      ratio = (ours != "" && lite != "") ? sprintf("%.2f", ours / lite) : "-"
      file_ratio = (ours != "" && file != "") ? sprintf("%.2f", ours / file) : "-"
      printf "| %s | %s | %s | %s | %s | %s |\n", (c in title ? title[c] : c), show(ours), \
        show(lite), ratio, show(file), file_ratio
    }
  }
' "$json"
