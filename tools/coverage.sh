#!/usr/bin/env bash
# Builds the coverage preset, runs the test suite, and prints line and branch
# coverage of each library source under source/ and in total (gcov).
# usage: tools/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
cmake --workflow --preset coverage > /dev/null

objects="build/coverage/CMakeFiles/commonhelpers.dir/source"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
printf '%-34s %8s %8s %10s %8s\n' file lines covered branches taken
find "$objects" -name '*.gcda' | sort | while read -r gcda; do
  (cd "$work" && gcov -b -n -o "$(dirname "$OLDPWD/$gcda")" "$OLDPWD/$gcda") |
    awk -v root="$(pwd)/" '
      /^File / { file = $2; gsub(/\x27/, "", file); keep = index(file, root "source/") == 1 }
      keep && /^Lines executed:/ { split($2, a, ":"); pct = a[2] + 0; lines = $4; covered = pct * lines / 100 }
      keep && /^Taken at least once:/ { split($4, b, ":"); tpct = b[2] + 0; branches = $6;
        sub(root, "", file); printf "%-34s %8d %8.0f %10d %8.0f\n", file, lines, covered, branches, tpct * branches / 100; keep = 0 }
      keep && /^No branches/ { sub(root, "", file); printf "%-34s %8d %8.0f %10d %8d\n", file, lines, covered, 0, 0; keep = 0 }'
done | tee "$work/table"
awk '{ l += $2; c += $3; b += $4; t += $5 }
     END { printf "%-34s %8d %8d %10d %8d\n", "total", l, c, b, t;
           printf "lines %.1f%%, branches %.1f%%\n", 100 * c / l, b ? 100 * t / b : 100 }' "$work/table"
