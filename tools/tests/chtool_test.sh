#!/usr/bin/env bash
# End-to-end tests of chtool: runs the built tool on the samples and on bad
# input and checks output and exit status.
# usage: chtool_test.sh CHTOOL SAMPLES_DIR
set -uo pipefail
tool="$1"
samples="$2"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
passed=0
failed=0

check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'FAIL %s\n--- expected\n%s\n--- actual\n%s\n' "$1" "$2" "$3"
  fi
}

status() { "$@" > /dev/null 2>&1; echo $?; }

# Help, version and usage errors.
check "help" 0 "$(status "$tool" --help)"
check "version" "chtool $3" "$("$tool" --version)"
check "no command" 2 "$(status "$tool")"
check "unknown command" 2 "$(status "$tool" frobnicate)"
for command in halfwidth lang dump pack cmp hann; do
  check "$command --help" 0 "$(status "$tool" "$command" --help)"
done

# halfwidth: files, standard input, lines of any length.
check "halfwidth" "API v1.0: 1 2 3 -5~+3" "$(printf 'ＡＰＩ　ｖ１．０: ①　②　③ －５～＋３\n' | "$tool" halfwidth)"
check "halfwidth keeps other text" "你好，世界！" "$(printf '你好，世界！' | "$tool" halfwidth -)"
long="$(head -c 300000 /dev/zero | tr '\0' 'x')"
check "halfwidth long line" 300002 "$(printf '%sＸ\n' "$long" | "$tool" halfwidth | wc -c)"
check "halfwidth sample" 6 "$("$tool" halfwidth "$samples/mixed.txt" | wc -l)"
check "halfwidth missing file" 1 "$(status "$tool" halfwidth "$work/missing")"
check "halfwidth directory" 1 "$(status "$tool" halfwidth "$work")"
check "halfwidth zero bytes, no last line feed" 0 \
  "$(printf 'Ａ\0Ｂ\n\0Ｃ' | "$tool" halfwidth | cmp -s - <(printf 'A\0B\n\0C'); echo $?)"
check "write error" 1 "$("$tool" hann 4 > /dev/full 2> /dev/null; echo $?)"

# lang: per line and in summary.
check "lang" "$(printf 'en\tabc\nzh\t你好\nzh+en\tx你\n-\t１２\nzh\t你\xffa\nen\ta\xff你\n')" \
  "$(printf 'abc\n你好\nx你\n１２\n你\xffa\na\xff你\n' | "$tool" lang)"
check "lang summary" "$(printf 'lines\t6\nchinese\t4\nenglish\t3\nboth\t1\nneither\t0')" \
  "$("$tool" lang --summary "$samples/mixed.txt")"
check "lang bad option" 2 "$(status "$tool" lang --bogus)"

# pack and dump: the sample record file, the round trip, and bad records.
layout=int,str,wstr,bool
"$tool" pack --layout "$layout" "$samples/records.txt" > "$work/records.bin"
check "pack reproduces the sample" 0 "$(status cmp "$work/records.bin" "$samples/records.bin")"
check "dump round trip" "$(cat "$samples/records.txt")" \
  "$("$tool" dump --layout "$layout" "$samples/records.bin" | cut -f3)"
check "dump offsets" "$(printf '0\tint\t1\n1\tstr\t你好，世界')" \
  "$("$tool" dump --layout "$layout" - < "$samples/records.bin" | head -2)"
head -c 20 "$samples/records.bin" > "$work/truncated.bin"
check "dump truncated" "chtool: $work/truncated.bin: offset 12: wstr: RESULT_INV_DATA" \
  "$("$tool" dump --layout "$layout" "$work/truncated.bin" 2>&1 > /dev/null)"
check "dump truncated status" 1 "$(status "$tool" dump --layout "$layout" "$work/truncated.bin")"
check "dump without layout" 2 "$(status "$tool" dump "$samples/records.bin")"
check "dump bad layout" 2 "$(status "$tool" dump --layout int,float "$samples/records.bin")"
# Hostile records: layout, bytes (printf format), the report.
while IFS='|' read -r bad_layout bytes report; do
  printf "$bytes" > "$work/bad.bin"
  check "dump $bad_layout $bytes" "$(printf 'chtool: %s: %s\nexit 1' "$work/bad.bin" "$report")" \
    "$("$tool" dump --layout "$bad_layout" "$work/bad.bin" 2>&1 > /dev/null; echo "exit $?")"
done <<'RECORDS'
int|\x80\x80\x80\x80\x80|offset 0: int: RESULT_INV_DATA
int|\x05\x80|offset 1: int: RESULT_INV_DATA
int,bool|\x01|offset 1: bool: RESULT_INV_DATA
str|\xfe\xff\xff\xff\x07ab|offset 0: str: RESULT_INV_DATA
str|\xff\xff\xff\xff\x0f|offset 0: str: RESULT_INV_DATA
wstr|\x03abc|offset 0: wstr: RESULT_INV_DATA
str|\x02\x00\xd8|offset 0: str: RESULT_INV_DATA
wstr|\x02a\x00\x02\x00\xdc|offset 3: wstr: RESULT_INV_DATA
RECORDS
check "dump empty file" "exit 0" "$(: | "$tool" dump --layout int - 2>&1; echo "exit $?")"
for seed in 1 2 3 4 5 6 7 8; do
  head -c $((seed * 997)) /dev/urandom > "$work/random.bin"
  code="$(status "$tool" dump --layout "$layout" "$work/random.bin")"
  check "dump random bytes ($seed)" yes "$([ "$code" -le 1 ] && echo yes || echo "no: $code")"
done
check "pack bad integer" 1 "$(printf '12x\n' | status "$tool" pack --layout int)"
check "pack out of range" 1 "$(printf '2147483648\n' | status "$tool" pack --layout int)"
check "pack incomplete record" 1 "$(printf '1\n' | status "$tool" pack --layout int,bool)"
check "pack bad UTF-8" 1 "$(printf 'a\xff\n' | status "$tool" pack --layout str)"
check "pack negative" "-2147483648" \
  "$(printf -- '-2147483648\n' | "$tool" pack --layout int | "$tool" dump --layout int - | cut -f3)"

# cmp: equal, different, trouble.
printf 'a \r\nb\r\n' > "$work/crlf.txt"
printf 'a\nb\n' > "$work/lf.txt"
check "cmp equal" 0 "$(status "$tool" cmp "$samples/mixed.txt" "$samples/mixed.txt")"
check "cmp different" 1 "$(status "$tool" cmp "$work/crlf.txt" "$work/lf.txt")"
check "cmp --text" 0 "$(status "$tool" cmp --text "$work/crlf.txt" "$work/lf.txt")"
check "cmp standard input" 0 "$(status "$tool" cmp - "$work/lf.txt" < "$work/lf.txt")"
check "cmp standard input differs" 1 "$(status "$tool" cmp "$work/crlf.txt" - < "$work/lf.txt")"
check "cmp missing" 2 "$(status "$tool" cmp "$work/crlf.txt" "$work/missing")"
check "cmp directory" 2 "$(status "$tool" cmp "$work" "$work/lf.txt")"

# hann: exact floats.
check "hann 4" "$(printf '0\n0.25\n0.5\n0.25000003')" "$("$tool" hann 4)"
check "hann 0" "" "$("$tool" hann 0)"
check "hann negative" 2 "$(status "$tool" hann -1)"
check "hann text" 2 "$(status "$tool" hann four)"

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
