#!/usr/bin/env bash
# Builds the coverage preset, runs the test suite, and prints line and branch
# coverage of each library source under source/ and in total (gcov).
#
# Branches are the library's own decisions: the exceptional edges that gcov
# adds to every call that might throw are left out (marked "(throw)"), as no
# library function throws. Lines reached only in death-test children, which
# end in abort() before gcov writes its counts, show as not covered.
# usage: tools/coverage.sh [--uncovered]   (also lists what was not covered)
set -euo pipefail
cd "$(dirname "$0")/.."
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
cmake --workflow --preset coverage > /dev/null

objects="$(pwd)/build/coverage/CMakeFiles/commonhelpers.dir/source"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
(cd "$work" && find "$objects" -name '*.gcda' -exec sh -c 'gcov -b -c -o "$(dirname "$1")" "$1"' _ {} \; > /dev/null)

printf '%-34s %8s %8s %10s %8s\n' file lines covered branches taken
for source in $(cd source && ls */*.cpp | sort); do
  report="$work/$(basename "$source").gcov"
  [ -f "$report" ] || continue
  # A template's lines count once (the merged count gcov prints first); its
  # branches, listed per instantiation, count once per line and index, taken
  # when any instantiation took them.
  awk -v file="source/$source" -v list="${1:-}" -v table="$work/table" '
    /^-+$/ { separator = 1; next }
    separator { separator = 0; instance = $0 !~ /^ *[-#=0-9*]+: *[0-9]+:/ }
    /^ *[-#=0-9*]+: *[0-9]+:/ {
      split($0, f, ":"); count = f[1]; gsub(/[ *]/, "", count); line = f[2] + 0
      if (count == "-" || instance) next
      lines++
      if (count ~ /^[0-9]+$/) covered++
      else missing = missing sprintf("  line %d:%s\n", line, substr($0, length(f[1]) + length(f[2]) + 3))
    }
    /^branch/ && !/\(throw\)/ {
      key = line ":" $2
      if (!(key in seen)) { seen[key] = 0; order[++branches] = key }
      if ($3 == "taken" && $4 + 0 > 0) seen[key] = 1
    }
    END {
      for (k = 1; k <= branches; ++k) {
        if (seen[order[k]]) taken++
        else { split(order[k], b, ":"); missing = missing sprintf("  branch %d at line %d\n", b[2], b[1]) }
      }
      row = sprintf("%-34s %8d %8d %10d %8d", file, lines, covered, branches, taken)
      print row; print row >> table
      if (list != "") printf "%s", missing
    }' "$report"
done
awk '{ l += $2; c += $3; b += $4; t += $5 }
     END { printf "%-34s %8d %8d %10d %8d\n", "total", l, c, b, t;
           printf "lines %.1f%%, branches %.1f%%\n", 100 * c / l, b ? 100 * t / b : 100 }' "$work/table"
