#!/usr/bin/env bash
# Checks that a shared build of the library (a .so, or a Windows DLL) exports
# exactly the functions that the installed headers declare, each with a row
# in docs/api.md's null-argument table.
# Usage: exports.sh LIBRARY INCLUDE_DIR
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
library=$1
include=$2
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

sed -n 's/^COMMONHELPERS_API .*[ *&]\([A-Za-z0-9_]*\)(.*/\1/p' "$include"/*.h | sort > "$work/declared"
case "$library" in
  *.dll)
    # The export table lists mangled names; the demangled function name is
    # what comes before the parameter list.
    x86_64-w64-mingw32-objdump -p "$library" |
      sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\s*\[ *[0-9]*\] \(.*\)/\1/p' |
      c++filt | sed 's/(.*//' | sort > "$work/exported"
    ;;
  *)
    nm -D --defined-only -C "$library" | sed 's/^[0-9a-f]* T \([A-Za-z0-9_]*\)(.*/\1/' | sort \
      > "$work/exported"
    ;;
esac
if ! diff "$work/declared" "$work/exported"; then
  echo "$library: its exports differ from the declared functions" >&2
  exit 1
fi
sed -n 's/^| `\([A-Za-z0-9_]*\)` | .*/\1/p' "$root/docs/api.md" | sort -u > "$work/documented"
if comm -23 "$work/declared" "$work/documented" | grep .; then
  echo "docs/api.md's null-argument table has no row for the functions above" >&2
  exit 1
fi
echo "$(basename "$library"): exports exactly the $(wc -l < "$work/declared") declared functions"
