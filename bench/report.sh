#!/usr/bin/env bash
# Regenerates every figure of docs/performance.md with one command: builds the
# bench preset and runs the suite once per SIMD level that this CPU has, each
# level its own process chosen by COMMONHELPERS_SIMD. The widest level, the
# one the library picks by itself, runs everything: the library, ICU, iconv,
# Abseil, memcpy, cmp and the file benchmarks, interleaved at random, so that
# every ratio of a target comes from one run of one binary. The other levels
# run only the library's in-memory benchmarks. Then it prints the table of
# targets and the scaling check (bench/report.py) and redraws the chart
# (bench/chart.py, docs/conversion-throughput.svg) from the JSON.
#
# Usage: bench/report.sh [extra benchmark flags...]
#   RESULTS   directory for the JSON and the tables (default build/bench/results)
#   LEVELS    the levels to run (default: scalar sse2 avx2 avx512, less those
#             the CPU lacks)
#   REPETITIONS (default 5) and MIN_TIME (seconds, default 0.1) per benchmark;
#   medians are reported. About five minutes on two cores.
#   Extra flags go to every run (a --benchmark_filter of their own replaces
#   the split between the runs).
set -euo pipefail
cd "$(dirname "$0")/.."

results=${RESULTS:-build/bench/results}
python=/usr/bin/python3  # Debian's, which sees python3-matplotlib

cmake --preset bench >/dev/null
cmake --build --preset bench >/dev/null
binary=build/bench/bench/commonhelpers_bench

if [ -z "${LEVELS:-}" ]; then
  LEVELS=scalar
  flags=$(grep -m1 '^flags' /proc/cpuinfo || true)
  for level in sse2:sse2 avx2:avx2 avx512:avx512bw; do
    grep -qw "${level#*:}" <<<"$flags" && LEVELS+=" ${level%%:*}"
  done
fi

mkdir -p "$results"
rm -f "$results"/*.json
{
  echo "$(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores"
  echo "$(grep -m1 '^flags' /proc/cpuinfo | grep -ow -E 'sse4_2|avx2|avx512bw|avx512vbmi|avx512_vbmi2' | sort -u | tr '\n' ' ')"
  echo "load before the run: $(cut -d' ' -f1-3 /proc/loadavg); $(date -u '+%Y-%m-%d %H:%M UTC')"
} >"$results/machine.txt"

# The library on in-memory inputs, for the levels other than the widest.
ours='^[^/]+/ours/(english|chinese|mixed|commas|br)/'
widest=${LEVELS##* }
start=$SECONDS
for level in $LEVELS; do
  filter=$ours
  [ "$level" = "$widest" ] && filter=.
  if ! COMMONHELPERS_SIMD=$level "$binary" --benchmark_filter="$filter" \
    --benchmark_repetitions="${REPETITIONS:-5}" --benchmark_min_time="${MIN_TIME:-0.1}" \
    --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true \
    --benchmark_out="$results/ours-$level.json" --benchmark_out_format=json "$@" \
    >"$results/ours-$level.log" 2>&1; then
    cat "$results/ours-$level.log" >&2
    exit 1
  fi
done

"$python" bench/report.py "$results" | tee "$results/report.md"
"$python" bench/chart.py "$results" docs/conversion-throughput.svg
echo
echo "Runs took $((SECONDS - start)) s; JSON, logs and report.md in $results;" \
  "chart in docs/conversion-throughput.svg."
