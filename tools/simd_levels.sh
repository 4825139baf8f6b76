#!/usr/bin/env bash
# Prints each SIMD level of the library and whether this CPU runs it, as the
# levels' own checks decide (source/kernels/*.cpp, `...Supported`): "LEVEL yes"
# or "LEVEL no: lacks FLAG...", one line each, narrowest first. CI runs the
# suite at each level marked yes; coverage leaves out the files of the others.
set -euo pipefail
flags=" $(grep -m1 '^flags' /proc/cpuinfo 2>/dev/null || true) "
declare -A needs=(
  [scalar]=""
  [sse2]="sse2"
  [avx2]="avx2 bmi1 popcnt"
  [avx512]="avx512f avx512bw avx512vbmi avx512_vbmi2 avx2 bmi2 popcnt")
for level in scalar sse2 avx2 avx512; do
  missing=""
  for flag in ${needs[$level]}; do
    [[ "$flags" == *" $flag "* ]] || missing="$missing $flag"
  done
  if [ -n "$missing" ]; then
    echo "$level no: lacks$missing"
  else
    echo "$level yes"
  fi
done
