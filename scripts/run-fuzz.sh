#!/usr/bin/env bash
# Builds the libFuzzer targets (preset fuzz) and runs each for SECONDS
# (default 30), one per core at a time, on a scratch copy of its seed
# corpus, so that what a run discovers never lands in fuzz/corpus. Exits
# non-zero when any target finds a crash, a leak or a hang; the input that
# did it is kept in build/fuzz/findings/ for a regression test.
#   scripts/run-fuzz.sh [SECONDS]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-30}"

bash scripts/setup.sh --fuzz
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

findings="$PWD/build/fuzz/findings"
mkdir -p "$findings"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# One target's run; its status and log land in $work.
fuzz_one() {
  local target="$1" name
  name="$(basename "$target")"
  cp -r "fuzz/corpus/$name" "$work/$name"
  # One input may take at most 10 s: anything slower counts as a hang.
  if "$target" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
      -artifact_prefix="$findings/$name-" "$work/$name" >"$work/$name.log" 2>&1; then
    echo ok >"$work/$name.status"
  else
    echo FAILED >"$work/$name.status"
  fi
}
targets=(build/fuzz/fuzz/*_fuzzer)
for target in "${targets[@]}"; do
  while (($(jobs -rp | wc -l) >= $(nproc))); do wait -n || true; done
  fuzz_one "$target" &
done
wait

failed=()
for target in "${targets[@]}"; do
  name="$(basename "$target")"
  status="$(cat "$work/$name.status" 2>/dev/null || echo FAILED)"
  if [ "$status" != ok ]; then
    failed+=("$name")
    tail -n 60 "$work/$name.log"
  fi
  runs="$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$name.log")"
  echo "$name: ${runs:-0} executions in ${seconds}s, $status"
done

if ((${#failed[@]})); then
  echo "fuzzing found problems in: ${failed[*]} (inputs in $findings)"
  exit 1
fi
echo "fuzzing: no crash in ${#targets[@]} targets"
