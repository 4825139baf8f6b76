#!/usr/bin/env bash
# Builds the coverage preset, runs the test suite, and prints line and branch
# coverage of the library's sources (gcovr), failing under 98% of lines or
# 90% of branches.
#
# Branches are the library's own decisions: the exceptional edges that every
# call that might throw adds are left out, as no library function throws, and
# so are the branches that the unoptimized build reports on a line of SIMD
# intrinsics or bit counts (CountOnes) that makes no decision of its own
# (the intrinsics' inlined bodies, and an arc never taken for each call: one
# line of three bit counts reported 60 such branches, half never taken).
# Lines reached only in death-test children, which end in abort() before
# their counts are written, show as not covered. The file of a SIMD level
# this CPU does not run (tools/simd_levels.sh) is left out, and said so.
# usage: tools/coverage.sh [GCOVR_OPTION...]   (e.g. --html-details out.html)
set -euo pipefail
cd "$(dirname "$0")/.."
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
cmake --workflow --preset coverage > /dev/null

exclude=()
while read -r level verdict; do
  if [ "$verdict" != yes ] && [ -f "source/kernels/$level.cpp" ]; then
    echo "coverage: source/kernels/$level.cpp left out, the $level level never runs here ($verdict)"
    exclude+=(--exclude "source/kernels/$level.cpp")
  fi
done < <(tools/simd_levels.sh)
gcovr --root . --filter source/ ${exclude[@]+"${exclude[@]}"} --exclude-throw-branches \
  --exclude-branches-by-pattern '^(?=.*\b(_mm\w*|CountOnes)\()(?!.*(\bif\b|\bwhile\b|\bfor\b|\?|&&|\|\|)).*$' \
  --print-summary --fail-under-line 98 --fail-under-branch 90 "$@" build/coverage
