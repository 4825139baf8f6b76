#!/usr/bin/env bash
# Runs the benchmark suite and prints, as Markdown, one table of throughput
# ratios against the anchors (with the issue's targets) and the scaling check
# (1 MB against 64 KB) for every function that walks a text.
#
# Usage: bench/report.sh [extra benchmark flags...]
#   Builds the bench preset first. REPETITIONS (default 3) sets how many runs
#   the medians come from; e.g. --benchmark_filter=Utf8 narrows the suite.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset bench >/dev/null
cmake --build --preset bench >/dev/null

csv=$(mktemp)
log=$(mktemp)
trap 'rm -f "$csv" "$log"' EXIT
if ! ./build/bench/bench/commonhelpers_bench \
  --benchmark_repetitions="${REPETITIONS:-3}" --benchmark_report_aggregates_only=true \
  --benchmark_out="$csv" --benchmark_out_format=csv "$@" >"$log" 2>&1; then
  cat "$log" >&2
  exit 1
fi

echo "Machine: $(lscpu | sed -n 's/^Model name: *//p'), $(nproc) cores;" \
  "load before the run: $(cut -d' ' -f1-3 /proc/loadavg); $(date -u '+%Y-%m-%d %H:%M UTC')"
echo

awk -F, '
  # Minimum ratio (ours / anchor throughput) the issue asks for, or "".
  function target(f, anchor, input, size) {
    if (f == "Utf8ToUtf16" || f == "Utf16ToUtf8") {
      if (anchor == "ICU" && size == 64) return 1.0
      if (input == "mixed" || (size != 4096 && size != 1048576)) return ""
      return anchor == "ICU" ? 1.5 : 3.0
    }
    if (f == "fullToHalf" && anchor == "memcpy" && size == 1048576)
      return input == "english" ? 0.4 : (input == "chinese" ? 0.1 : "")
    if ((f == "split" || f == "StringReplace") && size == 1048576) return 1.0
    if (f == "CompareBinFiles") return 1 / 1.2
    if (f == "CompareTextFiles") return 0.5
    return ""
  }
  function mb(bps) { return sprintf("%.0f", bps / 1e6) }
  # Medians when the run was repeated, the single figures otherwise.
  /^"/ && !/_(mean|stddev|cv)"/ {
    name = $1; gsub(/"/, "", name); sub(/_median$/, "", name); sub(/\/real_time$/, "", name)
    split(name, part, "/")
    key = part[1] SUBSEP part[3] SUBSEP part[4]
    if (!(key in seen)) { seen[key] = 1; order[++n] = key }
    if (part[2] == "ours") ours[key] = $6
    else { anchors[key] = anchors[key] " " part[2]; bps[key, part[2]] = $6 }
  }
  END {
    print "| function | input | bytes | ours MB/s | anchor | anchor MB/s | ratio | target | met |"
    print "|---|---|---:|---:|---|---:|---:|---:|---|"
    for (k = 1; k <= n; ++k) {
      key = order[k]; split(key, part, SUBSEP)
      m = split(anchors[key], list, " ")
      if (m == 0) printf "| %s | %s | %s | %s | | | | | |\n", part[1], part[2], part[3], mb(ours[key])
      for (a = 1; a <= m; ++a) {
        ratio = ours[key] / bps[key, list[a]]
        t = target(part[1], list[a], part[2], part[3])
        met = t == "" ? "" : (ratio >= t ? "yes" : "**no**")
        printf "| %s | %s | %s | %s | %s | %s | %.2f | %s | %s |\n", part[1], part[2], part[3],
          mb(ours[key]), list[a], mb(bps[key, list[a]]), ratio, t == "" ? "" : sprintf("%.2f", t), met
      }
    }
    print ""
    print "Scaling: time for 1 MB over 16 times the time for 64 KB (target at most 1.20),"
    print "with the same ratio for each anchor beside it."
    print ""
    print "| function | input | ours | anchors |"
    print "|---|---|---:|---|"
    for (k = 1; k <= n; ++k) {
      split(order[k], part, SUBSEP)
      if (part[3] != 1048576) continue
      small = part[1] SUBSEP part[2] SUBSEP 65536
      if (!(small in ours)) continue
      s = ours[small] / ours[order[k]]
      others = ""
      m = split(anchors[order[k]], list, " ")
      for (a = 1; a <= m; ++a)
        others = others sprintf("%s%s %.2f", a > 1 ? ", " : "", list[a], bps[small, list[a]] / bps[order[k], list[a]])
      printf "| %s | %s | %.2f%s | %s |\n", part[1], part[2], s, s <= 1.2 ? "" : " **over**", others
    }
  }' "$csv"
