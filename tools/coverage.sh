#!/usr/bin/env bash
# Builds the coverage preset, runs the test suite, and prints line and branch
# coverage of the library's sources (gcovr), failing under 98% of lines or
# 90% of branches.
#
# Branches are the library's own decisions: the exceptional edges that every
# call that might throw adds are left out, as no library function throws.
# Lines reached only in death-test children, which end in abort() before
# their counts are written, show as not covered. A kernel file for an
# instruction set this CPU lacks never runs here: it is left out, and said so.
# usage: tools/coverage.sh [GCOVR_OPTION...]   (e.g. --html-details out.html)
set -euo pipefail
cd "$(dirname "$0")/.."
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
cmake --workflow --preset coverage > /dev/null

exclude=()
if ! grep -qw avx512bw /proc/cpuinfo; then
  echo "coverage: this CPU lacks AVX-512 BW; left out: source/kernels/avx512.cpp"
  exclude+=(--exclude source/kernels/avx512.cpp)
fi
if ! grep -qw avx2 /proc/cpuinfo; then
  echo "coverage: this CPU lacks AVX2; left out: source/kernels/avx2.cpp"
  exclude+=(--exclude source/kernels/avx2.cpp)
fi
gcovr --root . --filter source/ "${exclude[@]}" --exclude-throw-branches \
  --print-summary --fail-under-line 98 --fail-under-branch 90 "$@" build/coverage
