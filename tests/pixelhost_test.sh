#!/bin/sh
# pixelhost through its command line: round trips equal byte for byte, PNGs of every kind,
# and bad input answered by a clear message on stderr and a non-zero exit, never a crash.
# usage: pixelhost_test.sh PIXELHOST DATA_DIR WORK_DIR
set -u
pixelhost=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
data=$(cd "$2" && pwd)
work=$3
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
failures=0

fail() {
  echo "FAIL: $*"
  failures=$((failures + 1))
}

# run ARGS…: pixelhost succeeds, within two minutes (timeout's status 124 when it doesn't).
run() {
  timeout 120 "$pixelhost" "$@" >out.txt 2>err.txt || fail "pixelhost $*: exit $?: $(cat err.txt)"
}

# expect STATUS MESSAGE ARGS…: pixelhost exits with STATUS and says MESSAGE on stderr.
expect() {
  status=$1
  message=$2
  shift 2
  timeout 120 "$pixelhost" "$@" >out.txt 2>err.txt
  got=$?
  [ "$got" -lt 128 ] || fail "pixelhost $*: crashed with signal $((got - 128))"
  [ "$got" -eq "$status" ] || fail "pixelhost $*: exit $got, expected $status; stderr: $(cat err.txt)"
  grep -qF -- "$message" err.txt || fail "pixelhost $*: stderr lacks \"$message\": $(cat err.txt)"
}

same() {
  cmp -s "$1" "$2" || fail "$3: $1 and $2 differ"
}

# 37 x 23 pixels of RGB bytes that differ from their neighbours in every channel.
perl -e 'print pack("C*", map { ($_ * 53 + 17) % 256 } 0 .. 37 * 23 * 3 - 1)' >pixels.rgb
size="--width 37 --height 23"

# RGB raw bytes into a PNG and back, equal byte for byte, on each host kind; and from a Ptr.
for host in desktop console; do
  run to-picture RGB pixels.rgb in.png $size --host $host
  run to-memory RGB in.png in.rgb --host $host
  same pixels.rgb in.rgb "RGB raw to PNG and back ($host)"
done
run to-picture RGB pixels.rgb ptr.png $size --ptr
run to-memory RGB ptr.png ptr.rgb
same pixels.rgb ptr.rgb "RGB raw at a Ptr to picture"

# Every kind of PNG reads as the same 5 x 3 gray picture.
perl -e 'print pack("C*", map { ($_ * 17) x 3 } 0 .. 14)' >gray.rgb
for png in gray8 gray4 gray_alpha palette rgb16 rgba; do
  run to-memory RGB "$data/png/$png.png" "$png.rgb"
  same gray.rgb "$png.rgb" "$png.png read as RGB"
done

# An endless input: the bytes the method reads and no more.
run to-picture GRAY /dev/zero zero.png --width 10 --height 10
run to-memory R zero.png zero.r
head -c 100 /dev/zero >zero.gray
same zero.gray zero.r "10 x 10 GRAY from an endless input"

# Bad input (tests/data/pixelhost_errors.txt): a clear message and a non-zero exit.
head -c 100 pixels.rgb >short.rgb
head -c 120000 /dev/zero >wide.rgb
set -f
cases=0
while IFS='|' read -r status message args; do
  case $status in '#'*) continue ;; esac
  expect "$status" "$message" $args
  cases=$((cases + 1))
done <"$data/pixelhost_errors.txt"
[ "$cases" -gt 0 ] || fail "no case in pixelhost_errors.txt"

echo "$failures failures"
[ "$failures" -eq 0 ]
