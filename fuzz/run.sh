#!/usr/bin/env bash
# Runs every fuzz target for SECONDS (default 60) or ten million executions,
# whichever ends first, on a working copy of its seed corpus, one after
# another; builds the fuzz preset first. Everything a run writes stays under
# fuzz/corpus-work/: the grown corpus in TARGET/, the log in TARGET.log, and
# what a failure leaves (crash-*, leak-*, oom-*, slow-unit-*, timeout-*) in
# TARGET-artifacts/.
# usage: fuzz/run.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds="${1:-60}"
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(records convert api pack)

cmake --preset fuzz > /dev/null
cmake --build --preset fuzz > /dev/null

# Oversized requests (a record announcing two gigabytes, say) come back null
# and take the out-of-memory path instead of stopping the run.
export ASAN_OPTIONS="allocator_may_return_null=1:max_allocation_size_mb=256:detect_leaks=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
for target in "${targets[@]}"; do
  work="fuzz/corpus-work/$target"
  artifacts="fuzz/corpus-work/$target-artifacts/"
  mkdir -p "$work" "$artifacts"
  cp -n fuzz/corpus/"$target"/* "$work"/ 2>/dev/null || true
  echo "--- fuzz_$target for ${seconds}s"
  log="fuzz/corpus-work/$target.log"
  if ! "build/fuzz/fuzz/fuzz_$target" "$work" -max_total_time="$seconds" -runs=10000000 -timeout=10 \
    -rss_limit_mb=4096 -artifact_prefix="$artifacts" -print_final_stats=1 > "$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "fuzz_$target found a failure; the reproducer is in $(pwd)/$artifacts" >&2
    exit 1
  fi
  grep -E "^stat::(number_of_executed_units|new_units_added)" "$log"
  echo "corpus: $(ls "$work" | wc -l) inputs"
done
