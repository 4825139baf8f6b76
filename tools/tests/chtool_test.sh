#!/usr/bin/env bash
# End-to-end tests of chtool: runs the built tool on the samples, on bad input
# and on random record files, and checks output, messages and exit status.
# usage: chtool_test.sh CHTOOL SAMPLES_DIR VERSION [EMULATOR...]
# A cross-compiled chtool runs through EMULATOR (qemu-user, wine). Rows that
# need what Windows lacks (FIFOs, /dev/full, /proc) are skipped there.
set -uo pipefail
tool="$(cd "$(dirname "$1")" && pwd)/$(basename "$1")"
samples="$2"
version="$3"
shift 3
run=("$@" "$tool")
windows=no
[[ "$tool" == *.exe ]] && windows=yes && export WINEDEBUG=-all
manual="$samples/../docs/chtool.1"
work="$(mktemp -d)"
writer_pid=""
trap 'reap; rm -rf "$work"' EXIT
passed=0
failed=0
skipped=0

chtool() { "${run[@]}" "$@"; }

# Writes TEXT (printf %b escapes) into the FIFO after DELAY seconds, in the
# background; reap kills it if no reader came, so that it never outlives the
# test (it would hold ctest's output pipe open).
writer() {  # writer FIFO DELAY TEXT
  (sleep "$2"; printf '%b' "$3" > "$1") > /dev/null 2>&1 &
  writer_pid=$!
}
reap() {
  [ -n "$writer_pid" ] && { kill "$writer_pid" 2> /dev/null; wait "$writer_pid" 2> /dev/null; }
  writer_pid=""
}

# True when the rows that follow can run here; else counts them as skipped.
can() {  # can WHAT ROWS REASON: WHAT is posix (not on Windows) or a command
  if { [ "$1" == posix ] && [ "$windows" == no ]; } || { [ "$1" != posix ] && eval "$1"; }; then
    return 0
  fi
  skipped=$((skipped + $2))
  echo "SKIP $2 rows: $3"
  return 1
}

check() {  # check NAME EXPECTED ACTUAL
  if [ "$2" == "$3" ]; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'FAIL %s\n--- expected\n%s\n--- actual\n%s\n' "$1" "$2" "$3"
  fi
}

status() { "$@" > /dev/null 2>&1; echo $?; }
# Standard error and the exit status of a run, standard output dropped.
# shellcheck disable=SC2069
errors() { "$@" 2>&1 > /dev/null; echo "exit $?"; }

# --- Conventions: options, usage errors, help, version, write errors ---------
check "version follows the project" "chtool $version" "$(chtool --version)"
# Rows: expected status | arguments (split at spaces).
while IFS='|' read -r expected arguments; do
  # shellcheck disable=SC2086
  check "status of chtool $arguments" "$expected" "$(status chtool $arguments)"
done <<'ROWS'
0|--help
0|hann --help
0|hann -h 3
2|
2|frobnicate
2|lang --bogus
2|cmp -x a b
2|cmp --text=yes a b
2|dump --layout
2|dump samples.bin
2|dump --layout int,,str x
2|dump --layout int, x
2|dump --layout int,float x
2|pack --layout int a b
2|hann 1048577
2|hann -1
2|hann four
2|hann 1 2
ROWS
check "usage error names the usage" \
  "$(printf 'chtool: cmp: two files expected\nusage: chtool cmp [-s] [--text] FILE1 FILE2\nexit 2')" \
  "$(errors chtool cmp a)"
if can posix 4 "no /dev/full on Windows"; then
  for arguments in "--help" "--version" "hann --help" "hann 4"; do
    # shellcheck disable=SC2086
    check "$arguments to a full disk" 2 "$(chtool $arguments > /dev/full 2> /dev/null; echo $?)"
  done
fi
check "--opt=value" "$(printf 'en\tab')" "$(printf 'ab' | chtool lang -- -)"
check "-- ends the options" 1 "$(status chtool lang -- --summary)"
for command in halfwidth lang dump pack cmp hann; do
  check "manual has $command" 1 "$(grep -c "^\.SS $command\$" "$manual")"
done
for fact in "U+FF01" "xAy" "6.2831852" "1048576" "pack: line"; do
  check "manual tells $fact" yes "$(grep -q "$fact" "$manual" && echo yes)"
done

# --- halfwidth -------------------------------------------------------------------
# Rows: input | output (both with printf %b escapes).
while IFS='|' read -r input output; do
  check "halfwidth $input" "$(printf '%b' "$output")" "$(printf '%b' "$input" | chtool halfwidth)"
done <<'ROWS'
ＡＰＩ　ｖ１．０: ①　②　③ －５～＋３\n|API v1.0: 1 2 3 -5~+3
！＂＇（），：；？［＼］＾｀|！＂＇（），：；？［＼］＾｀
x\xef\x7c!y|xAy
trailing lead \xef\xbc|trailing lead \xef\xbc
⑩—‐、。｟|⑩—‐、。｟
ROWS
long="$(head -c 300000 /dev/zero | tr '\0' 'x')"
check "halfwidth long line" 300002 "$(printf '%sＸ\n' "$long" | chtool halfwidth | wc -c)"
check "halfwidth zero bytes, no last line feed" 0 \
  "$(printf 'Ａ\0Ｂ\n\0Ｃ' | chtool halfwidth | cmp -s - <(printf 'A\0B\n\0C'); echo $?)"
check "halfwidth: a zero byte ends a sequence" 0 \
  "$(printf 'x\xef\0\xef\xbc\xa1' | chtool halfwidth | cmp -s - <(printf 'x\xef\0A'); echo $?)"
check "halfwidth missing file" 1 "$(status chtool halfwidth "$work/missing")"
check "halfwidth directory" 1 "$(status chtool halfwidth "$work")"
for fact in "U+FF01" "U+FF40" "U+FF5F" "xAy" "whatever they are"; do
  check "halfwidth help tells $fact" yes "$(chtool halfwidth --help | grep -q "$fact" && echo yes)"
done

# --- lang ------------------------------------------------------------------------
check "lang" "$(printf 'en\tabc\nzh\t你好\nzh+en\tx你\n-\t１２\nzh\t你\xffa\nen\ta\xff你\n')" \
  "$(printf 'abc\n你好\nx你\n１２\n你\xffa\na\xff你\n' | chtool lang)"
check "lang summary: each line in one class" \
  "$(printf 'zh only\t2\nen only\t1\nzh+en\t1\nneither\t1\ntotal\t5')" \
  "$(printf 'abc\n你好\nx你\n１２\n你\n' | chtool lang --summary)"
check "lang: every part between zero bytes counts" "$(printf 'en\t@abc\nzh+en\tabc@你\n-\t@')" \
  "$(printf '\0abc\nabc\0你\n\0\n' | chtool lang | tr '\0' @)"

# --- cmp -------------------------------------------------------------------------
printf 'a \r\nb\r\n' > "$work/crlf"
printf 'a\nb\n' > "$work/lf"
printf 'a\nc\n' > "$work/lf2"
printf 'a\n' > "$work/short"
: > "$work/empty"
long="$(head -c 1022 /dev/zero | tr '\0' x)"
printf '%s\r\n' "$long" > "$work/long-crlf"
printf '%s\n' "$long" > "$work/long-lf"
printf 'a\0x\n' > "$work/zero1"
printf 'a\0y\n' > "$work/zero2"
# Rows: arguments (files in $work) | expected standard output and error | status.
while IFS='|' read -r arguments expected code; do
  # shellcheck disable=SC2086
  check "cmp $arguments" "$(printf "${expected}exit %s" "$code")" \
    "$(cd "$work" && chtool cmp $arguments < lf 2>&1; echo "exit $?")"
done <<'ROWS'
lf lf||0
crlf lf|crlf lf differ: byte 2, line 1\n|1
lf lf2|lf lf2 differ: byte 3, line 2\n|1
-s lf lf2||1
--quiet lf lf2||1
short lf|chtool: cmp: EOF on short after byte 2, line 1\n|1
empty lf|chtool: cmp: EOF on empty which is empty\n|1
--text crlf lf||0
--text lf2 crlf|lf2 crlf differ: line 2\n|1
--text lf short|chtool: cmp: EOF on short after line 1\n|1
- lf||0
crlf -|crlf - differ: byte 2, line 1\n|1
lf missing|chtool: missing: No such file or directory\n|2
. lf|chtool: .: is a directory\n|2
-s lf missing||2
-s . lf||2
lf ./lf||0
- -||0
--text zero1 zero2||0
--text lf2 -|lf2 - differ: line 2\n|1
ROWS
check "cmp the same piped input twice" "exit 0" "$(printf xyz | chtool cmp - - 2>&1; echo "exit $?")"
# --text in step (standard input) reads as the library does: a line of 1,022
# bytes is one piece with LF and two with CR LF, except on Windows, where
# text mode reads CR LF as LF.
long_end=$'chtool: cmp: EOF on long-lf after line 1\nexit 1'
[ "$windows" == yes ] && long_end="exit 0"
check "cmp --text, 1,022 bytes with CR LF" "$long_end" \
  "$(cd "$work" && chtool cmp --text long-crlf long-lf 2>&1; echo "exit $?")"
check "cmp --text in step, 1,022 bytes with CR LF" "${long_end/long-lf/-}" \
  "$(cd "$work" && chtool cmp --text long-crlf - < long-lf 2>&1; echo "exit $?")"
check "cmp --text in step, up to a zero byte" "exit 0" \
  "$(cd "$work" && chtool cmp --text zero1 - < zero2 2>&1; echo "exit $?")"
for fact in "first zero byte" "1,022" "Prints nothing about the files"; do
  check "manual tells $fact" yes "$(grep -q "$fact" "$manual" && echo yes)"
done
check "cmp an endless pipe answers at its first difference" \
  "$(printf -- '- lf differ: byte 1, line 1\nexit 1')" \
  "$(cd "$work" && yes | timeout 20 "${run[@]}" cmp - lf; echo "exit $?")"

if can posix 6 "no devices or FIFOs on Windows"; then
  check "cmp a device answers at its first difference" \
    "$(printf '/dev/zero lf differ: byte 1, line 1\nexit 1')" \
    "$(cd "$work" && timeout 20 "${run[@]}" cmp /dev/zero lf; echo "exit $?")"
  mkfifo "$work/fifo"
  # Rows: writer's delay | what it writes | arguments | expected output | status.
  while IFS='|' read -r delay text arguments expected code; do
    writer "$work/fifo" "$delay" "$text"
    # shellcheck disable=SC2086
    check "cmp $arguments, FIFO writes $text" "$(printf "${expected}exit %s" "$code")" \
      "$(cd "$work" && timeout 20 "${run[@]}" cmp $arguments 2>&1; echo "exit $?")"
    reap
  done <<'ROWS'
0.2|a\nc\n|fifo lf|fifo lf differ: byte 3, line 2\n|1
0|xyz|fifo fifo||0
0|a\nb\n|-s fifo lf||0
0|a\nc\n|-s fifo lf||1
0|a\nb\n|--text lf fifo||0
ROWS
fi
if can "[ $windows == no ] && [ -r /proc/self/mem ]" 3 "no /proc/self/mem, whose reads fail"; then
  message=$'chtool: /proc/self/mem: Input/output error\n'
  for option in --text -s --; do
    [ "$option" == -s ] && expected="exit 2" || expected="${message}exit 2"
    check "cmp $option a file whose read fails" "$expected" \
      "$(cd "$work" && chtool cmp "$option" /proc/self/mem empty 2>&1; echo "exit $?")"
  done
fi
# Without /proc (hidden in a mount namespace of its own). A sanitizer's
# runtime needs /proc itself (it fails or warns there): such a build skips
# the row.
# shellcheck disable=SC2016
no_proc() { unshare -rm sh -c 'mount -t tmpfs none /proc && cd "$1" && shift && "$@"' sh "$@"; }
if can "[ $windows == no ] && [ -z \"\$(no_proc . \"\${run[@]}\" --version 2>&1 > /dev/null || echo fails)\" ]" 1 \
  "no mount namespace to hide /proc in, or a chtool that needs /proc"; then
  check "cmp piped input without /proc" "exit 0" \
    "$(printf 'a\nb\n' | no_proc "$work" "${run[@]}" cmp - lf 2>&1; echo "exit $?")"
fi

# --- hann ------------------------------------------------------------------------
check "hann 4" "$(printf '0\n0.25\n0.5\n0.25000003')" "$(chtool hann 4)"
check "hann 0" "" "$(chtool hann 0)"
check "hann largest" "$(printf '0\n1048576')" "$(chtool hann 1048576 | sed -n '1p;$=')"
check "hann help names the period" yes "$(chtool hann --help | grep -q 6.2831852 && echo yes)"

# --- pack and dump ---------------------------------------------------------------
layout=int,str,wstr,bool
chtool pack --layout "$layout" "$samples/records.txt" > "$work/records.bin"
check "pack reproduces the sample" 0 "$(status cmp "$work/records.bin" "$samples/records.bin")"
check "dump the sample" "$(cat "$samples/records.txt")" \
  "$(chtool dump --layout "$layout" "$samples/records.bin" | cut -f3)"
check "dump offsets" "$(printf '0\tint\t1\n1\tstr\t你好，世界')" \
  "$(chtool dump --layout="$layout" - < "$samples/records.bin" 2> /dev/null | head -2)"
check "dump empty file" "exit 0" "$(: | errors chtool dump --layout int -)"
# Rows: layout | bytes (printf %b escapes) | what dump reports after "offset ".
while IFS='|' read -r bad_layout bytes report; do
  printf '%b' "$bytes" > "$work/bad.bin"
  check "dump $bad_layout $bytes" "$(printf 'chtool: %s: offset %s\nexit 1' "$work/bad.bin" "$report")" \
    "$(errors chtool dump --layout "$bad_layout" "$work/bad.bin")"
done <<'ROWS'
int|\x80\x80\x80\x80\x80|0: int: more than 5 bytes in the 7-bit encoding of an int
int|\x05\x80|1: int: the file ends inside an int
int,bool|\x01|1: bool: the file ends where a bool was expected
str|\xfe\xff\xff\xff\x07ab|0: str: a byte count of 2147483646 but only 2 bytes follow
str|\xff\xff\xff\xff\x0f|0: str: negative byte count -1 (UTF-16 needs a whole number of 2-byte units)
wstr|\x03abc|0: wstr: odd byte count 3 (UTF-16 needs a whole number of 2-byte units)
str|\x02\x00\xd8|0: str: the text is not valid UTF-16 (an unpaired surrogate)
wstr|\x02a\x00\x02\x00\xdc|3: wstr: the text is not valid UTF-16 (an unpaired surrogate)
int,str|\x01\x80|1: str: the file ends inside the byte count
ROWS
for seed in 1 2 3 4 5 6 7 8; do
  head -c $((seed * 997)) /dev/urandom > "$work/random.bin"
  code="$(status chtool dump --layout "$layout" "$work/random.bin")"
  check "dump random bytes ($seed)" yes "$([ "$code" -le 1 ] && echo yes || echo "no: $code")"
done
# Rows: layout | input (printf %b escapes) | what pack reports after "line " (as is).
while IFS='|' read -r pack_layout input report; do
  check "pack $pack_layout $input" "$(printf 'chtool: pack: line %s\nexit 1' "$report")" \
    "$(printf '%b' "$input" | errors chtool pack --layout "$pack_layout")"
done <<'ROWS'
int|12x\n|1: '12x' is not a decimal integer
int|007\n|1: leading zeros are not allowed: '007'
int|1\n2147483648\n|2: 2147483648 is out of range (-2147483648 to 2147483647)
int|-\n|1: '-' is not a decimal integer
int|\n|1: missing int value
int|0 \\x80\\x01\n|1: the bytes '\x80\x01' are not a 7-bit encoding of 0
int|0 \\x8\n|1: '\x8' is not a sequence of \xHH bytes
bool|maybe\n|1: 'maybe' is not a bool (true, false, 1, 0 or \xHH)
bool|\n|1: missing bool value
str|a\\q\n|1: unknown escape '\q' (known: \\ \n \r \t \0)
str|\\x41\n|1: the bytes '\x41' are not a 7-bit encoding of the byte count 0
str|\\x80\\xgg\n|1: unknown escape '\x' (known: \\ \n \r \t \0)
int|5 a\n|1: 'a' is not a sequence of \xHH bytes
int|0 \\x80\\x00X\n|1: '\x80\x00X' is not a sequence of \xHH bytes
int|5 \n|1: '' is not a sequence of \xHH bytes
int|5\0\n|1: a zero byte in the value (a text writes \0 for a zero unit)
str|a\\\n|1: a '\' at the end of the line (write \\ for a backslash)
str|a\xff\n|1: the text is not valid UTF-8
int,bool|1\n|2: end of input where a bool value is expected (the last record is incomplete)
int,bool|0\tint\t1\n0\tbool\ttrue\n|2: offset 0, but the values before it end at 1
int,bool|0\tint\t1\n1\tint\t2\n|2: a int where the layout has a bool
ROWS
# Encodings other than the shortest: rows of layout | bytes | dump's line.
while IFS='|' read -r odd_layout bytes line; do
  printf '%b' "$bytes" > "$work/odd.bin"
  check "dump $bytes" "$line" "$(chtool dump --layout "$odd_layout" "$work/odd.bin")"
  check "pack $line" 0 "$(printf '%s\n' "$line" | chtool pack --layout "$odd_layout" |
    cmp -s - "$work/odd.bin"; echo $?)"
done <<'ROWS'
wstr|\x82\x00\x61\x00|0	wstr	\x82\x00a
str|\x80\x80\x80\x80\x70|0	str	\x80\x80\x80\x80\x70
int|\xff\xff\xff\xff\x7f|0	int	-1 \xff\xff\xff\xff\x7f
int|\x80\x00|0	int	0 \x80\x00
ROWS
check "pack CRLF" "$(printf '0\tint\t7\n1\tstr\ta')" \
  "$(printf '7\r\na\r\n' | chtool pack --layout int,str | chtool dump --layout int,str -)"
check "pack negative" "-2147483648" \
  "$(printf -- '-2147483648\n' | chtool pack --layout int | chtool dump --layout int - | cut -f3)"

# Random record files that dump reads without error: dump | pack must give them
# back byte for byte. Integers and byte counts take 1 to 5 bytes (longer than
# needed too, and a fifth byte with its ignored bits set), texts mix ASCII,
# Chinese, zero units, surrogate pairs and escaped characters, and bools take
# any byte.
random_records() {  # random_records SEED RECORDS: a record file in printf %b escapes
  RANDOM=$1
  local record unit units i length
  for ((record = 0; record < $2; ++record)); do
    length=$((RANDOM % 5 + 1))
    for ((i = 1; i < length; ++i)); do printf '\\x%02x' $((RANDOM % 128 + 128)); done
    printf '\\x%02x' $((RANDOM % 128))
    for _ in str wstr; do
      units=()
      for ((i = RANDOM % 6; i > 0; --i)); do
        case $((RANDOM % 6)) in
          0) units+=(0) ;;
          1) units+=($((0x4E00 + RANDOM % 0x5200))) ;;
          2) units+=(0xD83D 0xDE00) ;;
          3) units+=($((RANDOM % 2 ? 10 : 92))) ;;
          *) units+=($((RANDOM % 95 + 32))) ;;
        esac
      done
      length=$((RANDOM % 3 == 0 ? RANDOM % 4 + 2 : 1))
      printf '\\x%02x' $((${#units[@]} * 2 + (length > 1 ? 128 : 0)))
      for ((i = 2; i < length; ++i)); do printf '\\x80'; done
      ((length > 1)) && printf '\\x%02x' $((length == 5 ? RANDOM % 8 * 16 : 0))
      for unit in "${units[@]}"; do printf '\\x%02x\\x%02x' $((unit & 255)) $((unit >> 8)); done
    done
    printf '\\x%02x' $((RANDOM % 256))
  done
}
for seed in $(seq 1 20); do
  printf '%b' "$(random_records "$seed" 30)" > "$work/records-$seed.bin"
  chtool dump --layout "$layout" "$work/records-$seed.bin" > "$work/records-$seed.txt"
  check "round trip of random records ($seed)" "0 0" "$? $(chtool pack --layout "$layout" \
    "$work/records-$seed.txt" | cmp -s - "$work/records-$seed.bin"; echo $?)"
done

echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" -eq 0 ]
