#!/usr/bin/env bash
# Builds the library as a Windows DLL with the windows-x64 toolchain, checks
# that it exports exactly the declared functions (tests/consumer/exports.sh),
# and runs chtool, which imports it, under Wine.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cmake -S "$root" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON \
  -DBUILD_TESTING=OFF -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchains/windows-x64.cmake" > /dev/null
cmake --build "$work/build" > /dev/null
cmake --install "$work/build" --prefix "$work/prefix" > /dev/null
bash "$root/tests/consumer/exports.sh" "$work/prefix/bin/libcommonhelpers.dll" \
  "$work/prefix/include/commonhelpers"
window=$(WINEDEBUG=-all WINEPREFIX="$work/wine" wine "$work/prefix/bin/chtool.exe" hann 2 | tr -d '\r' | tr '\n' ' ')
if [ "$window" != "0 0.5 " ]; then
  echo "chtool.exe with the DLL printed '$window'" >&2
  exit 1
fi
echo "chtool.exe runs with the DLL"
