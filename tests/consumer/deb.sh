#!/usr/bin/env bash
# Builds the Debian package with `cpack -G DEB` from a shared build for /usr,
# checks what it holds, installs it with dpkg into a scratch root, and builds
# against that root both programs of examples/ (normalize_line also through
# pkg-config). Runs the installed chtool, and checks that its
# version, the package's and the SONAME all follow project(VERSION).
# GoogleTest is hidden from the configure step.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
normalizes() {
  [ "$(printf 'Ｈｅｌｌｏ，世界\n' | "$@")" == "$(printf 'zh+en\tHello，世界')" ]
}

version="$(sed -n '/^project(commonhelpers/,/)/s/^ *VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")"
major="${version%%.*}"
grep -q "^## \[$version\]" "$root/CHANGELOG.md" ||
  { echo "CHANGELOG.md has no entry for $version" >&2; exit 1; }

cmake -S "$root" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DBUILD_SHARED_LIBS=ON -DBUILD_TESTING=OFF -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
  -DCMAKE_INSTALL_PREFIX=/usr --no-warn-unused-cli > /dev/null
cmake --build "$work/build" > /dev/null
(cd "$work/build" && cpack -G DEB > /dev/null)
deb="$(ls "$work/build"/commonhelpers_*.deb)"
[ "$(dpkg-deb -f "$deb" Version)" == "$version" ]

dpkg-deb -c "$deb" | awk '{print $6}' > "$work/contents"
for wanted in "/usr/lib/.*/libcommonhelpers\.so\.$version\$" \
  '/usr/include/commonhelpers/commonhelpers\.h$' '/usr/include/commonhelpers/stringconverter\.h$' \
  '/usr/include/commonhelpers/typedefs\.h$' '/usr/lib/.*/cmake/commonhelpers/commonhelpersConfig\.cmake$' \
  '/usr/lib/.*/pkgconfig/commonhelpers\.pc$' '/usr/bin/chtool$' '/usr/share/man/man1/chtool\.1' \
  '/usr/share/doc/commonhelpers/LICENSE$'; do
  grep -q "$wanted" "$work/contents" || { echo "the package lacks $wanted" >&2; exit 1; }
done

scratch="$work/root"
mkdir -p "$scratch/var/lib/dpkg/info" "$scratch/var/lib/dpkg/updates"
touch "$scratch/var/lib/dpkg/status"
# The scratch root's package database is empty: libc and libstdc++ are the
# machine's. Unpacked, not configured: the ldconfig step would run chrooted
# in a root without a shell.
dpkg --root="$scratch" --log=/dev/null --force-depends --unpack "$deb" > /dev/null
usr="$scratch/usr"
[ "$("$usr/bin/chtool" --version)" == "chtool $version" ]
objdump -p "$(ls "$usr"/lib/*/libcommonhelpers.so."$version")" |
  grep -q "SONAME *libcommonhelpers\.so\.$major\$"

for project in normalize_line read_records; do
  cmake -S "$root/examples/$project" -B "$work/$project" -G Ninja -DCMAKE_PREFIX_PATH="$usr" \
    > /dev/null
  cmake --build "$work/$project" > /dev/null
done
normalizes "$work/normalize_line/normalize_line"
"$work/read_records/read_records" "$root/samples/records.bin" > "$work/records"
[ "$(cut -f1 "$work/records" | tr '\n' ' ')" == "1 300 -1 " ]

PKG_CONFIG_PATH="$(dirname "$(ls "$usr"/lib/*/pkgconfig/commonhelpers.pc)")"
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion commonhelpers)" == "$version" ]
# shellcheck disable=SC2046
c++ -std=c++17 "$root/examples/normalize_line/main.cpp" -o "$work/app-pc" \
  $(pkg-config --cflags --libs commonhelpers) -Wl,-rpath,"$(pkg-config --variable=libdir commonhelpers)"
normalizes "$work/app-pc"
echo "package test passed: $(basename "$deb")"
