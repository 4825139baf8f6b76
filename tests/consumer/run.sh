#!/usr/bin/env bash
# Installs the library (static, then shared) into a temporary prefix and
# builds and runs a project outside the tree against it, found once through
# CMake's package and once through pkg-config.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

for shared in OFF ON; do
  echo "--- consumer with BUILD_SHARED_LIBS=$shared"
  prefix="$work/prefix-$shared"
  cmake -S "$root" -B "$work/lib-$shared" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DBUILD_SHARED_LIBS="$shared" -DCOMMONHELPERS_BUILD_TESTS=OFF -DCOMMONHELPERS_BUILD_TOOLS=OFF \
    -DCMAKE_INSTALL_PREFIX="$prefix" > /dev/null
  cmake --build "$work/lib-$shared" > /dev/null
  cmake --install "$work/lib-$shared" > /dev/null

  cmake -S "$root/tests/consumer" -B "$work/app-$shared" -G Ninja \
    -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
  cmake --build "$work/app-$shared" > /dev/null
  LD_LIBRARY_PATH="$prefix/lib" "$work/app-$shared/consumer"

  export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
  # shellcheck disable=SC2046
  c++ -std=c++17 "$root/tests/consumer/main.cpp" -o "$work/app-pc-$shared" \
    $(pkg-config --cflags --libs commonhelpers)
  LD_LIBRARY_PATH="$prefix/lib" "$work/app-pc-$shared"
done

if [ "$(nm -D --defined-only "$work/prefix-ON/lib/libcommonhelpers.so" | grep -c " T ")" -gt 52 ]; then
  echo "the shared library exports more than its 52 functions" >&2
  exit 1
fi
objdump -p "$work/prefix-ON/lib/libcommonhelpers.so" | grep -q 'SONAME.*libcommonhelpers.so.1'
echo "consumer test passed"
