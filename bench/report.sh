#!/usr/bin/env bash
# Regenerates every figure of docs/performance.md with one command: builds the
# bench preset and runs the whole suite, every implementation interleaved at
# random in each process: the library as a caller gets it (the widest SIMD
# level this CPU runs), each level through its own table, ICU, iconv, Abseil,
# memcpy, cmp and the file benchmarks. So every ratio, between levels as
# well, comes from one binary. split and StringReplace run once more against
# Abseil in a plain -O2 build, as distributions build the library. Then it
# prints the tables (bench/report.py) and redraws the chart (bench/chart.py,
# docs/conversion-throughput.svg) from the JSON.
#
# The suite runs in PROCESSES processes one after the other, and a figure is
# the median of the processes' best repetitions. Best, not median: the
# shared virtual machines this runs on have spells of a tenth of a second to
# a second or more in which everything runs a third slower (a fixed loop of
# memcpy and additions, timed every 0.1 s, flips between 9.2 and 12-14 ns),
# and a repetition that meets one measures the spell, not the code. In a run
# of five repetitions a row, four rows in five had one a fifth or more slower
# than their best, and a sixth to two fifths of them (by process) a median
# that much slower. The median over the processes then drops a process whose
# best was still slow.
#
# Usage: bench/report.sh [extra benchmark flags...]
#   RESULTS   directory for the JSON and the tables (default build/bench/results)
#   PROCESSES (default 3), REPETITIONS per process (default 5) and MIN_TIME
#   (seconds, default 0.06) per benchmark. About ten minutes on two cores.
#   Extra flags go to every run.
set -euo pipefail
cd "$(dirname "$0")/.."

results=${RESULTS:-build/bench/results}
python=/usr/bin/python3  # Debian's, which sees python3-matplotlib

cmake --preset bench >/dev/null
cmake --build --preset bench -j2 >/dev/null
binary=build/bench/bench/commonhelpers_bench
cmake -S . -B build/bench-o2 -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O2 \
  -DCOMMONHELPERS_WERROR=ON -DCOMMONHELPERS_BUILD_BENCH=ON -DCOMMONHELPERS_BUILD_TESTS=OFF \
  -DCOMMONHELPERS_BUILD_TOOLS=OFF >/dev/null
cmake --build build/bench-o2 -j2 >/dev/null

mkdir -p "$results"
rm -f "$results"/*.json
{
  echo "$(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores"
  echo "$(grep -m1 '^flags' /proc/cpuinfo | grep -ow -E 'sse4_2|avx2|avx512bw|avx512vbmi|avx512_vbmi2' | sort -u | tr '\n' ' ')"
  echo "load before the run: $(cut -d' ' -f1-3 /proc/loadavg); $(date -u '+%Y-%m-%d %H:%M UTC')"
} >"$results/machine.txt"

start=$SECONDS
run() {  # run BINARY NAME FILTER [flags...]
  local bin=$1 name=$2 filter=$3
  shift 3
  if ! "$bin" --benchmark_filter="$filter" --benchmark_repetitions="${REPETITIONS:-5}" \
    --benchmark_min_time="${MIN_TIME:-0.06}" --benchmark_enable_random_interleaving=true \
    --benchmark_display_aggregates_only=true --benchmark_out="$results/$name.json" \
    --benchmark_out_format=json "$@" >"$results/$name.log" 2>&1; then
    cat "$results/$name.log" >&2
    exit 1
  fi
}
for p in $(seq "${PROCESSES:-3}"); do
  run "$binary" "run$p" . "$@"
  run build/bench-o2/bench/commonhelpers_bench "o2-$p" '^(split|StringReplace)/' "$@"
done
echo "load after the run: $(cut -d' ' -f1-3 /proc/loadavg)" >>"$results/machine.txt"

"$python" bench/report.py "$results" | tee "$results/report.md"
"$python" bench/chart.py "$results" docs/conversion-throughput.svg
echo
echo "Runs took $((SECONDS - start)) s; JSON, logs and report.md in $results;" \
  "chart in docs/conversion-throughput.svg."
