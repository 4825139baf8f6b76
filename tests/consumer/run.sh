#!/usr/bin/env bash
# Installs the library and chtool (static, then shared) into a temporary
# prefix given only at install time, runs the installed tool, and builds and
# runs examples/normalize_line outside the tree against the library, found
# once through CMake's package and once through pkg-config. Then builds the
# same source with the library added as a subdirectory. GoogleTest is hidden
# from every configure step: neither an install nor a subdirectory may need it.
# For the shared library, checks the SONAME and its exports (exports.sh).
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
example="$root/examples/normalize_line"
# The example's answer for one line of mixed text.
normalizes() {
  [ "$(printf 'Ｈｅｌｌｏ，世界\n' | "$@")" == "$(printf 'zh+en\tHello，世界')" ]
}

for shared in OFF ON; do
  echo "--- consumer with BUILD_SHARED_LIBS=$shared"
  prefix="$work/prefix-$shared"
  cmake -S "$root" -B "$work/lib-$shared" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DBUILD_SHARED_LIBS="$shared" -DBUILD_TESTING=OFF -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON --no-warn-unused-cli \
    > /dev/null
  cmake --build "$work/lib-$shared" > /dev/null
  cmake --install "$work/lib-$shared" --prefix "$prefix" > /dev/null
  [ "$("$prefix/bin/chtool" hann 2 | tr '\n' ' ')" == "0 0.5 " ]

  cmake -S "$example" -B "$work/app-$shared" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
  cmake --build "$work/app-$shared" > /dev/null
  normalizes "$work/app-$shared/normalize_line"

  PKG_CONFIG_PATH="$(dirname "$(find "$prefix" -name commonhelpers.pc)")"
  export PKG_CONFIG_PATH
  libdir="$(pkg-config --variable=libdir commonhelpers)"
  # shellcheck disable=SC2046
  c++ -std=c++17 "$example/main.cpp" -o "$work/app-pc-$shared" \
    $(pkg-config --cflags --libs commonhelpers)
  normalizes env LD_LIBRARY_PATH="$libdir" "$work/app-pc-$shared"
done

echo "--- consumer with add_subdirectory"
cmake -S "$root/tests/consumer/add_subdirectory" -B "$work/app-subdirectory" -G Ninja \
  -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON --no-warn-unused-cli > /dev/null
cmake --build "$work/app-subdirectory" > /dev/null
normalizes "$work/app-subdirectory/consumer"
# The hiding works: the tests asked for, the same configure step fails.
if cmake -S "$root" -B "$work/with-tests" -G Ninja -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  > /dev/null 2>&1; then
  echo "GoogleTest was found although it was hidden" >&2
  exit 1
fi

library="$libdir/libcommonhelpers.so"
objdump -p "$library" | grep -q 'SONAME *libcommonhelpers\.so\.1$'
bash "$root/tests/consumer/exports.sh" "$library" "$prefix/include/commonhelpers"
echo "consumer test passed"
