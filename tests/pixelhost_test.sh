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

# run ARGS…: pixelhost succeeds.
run() {
  "$pixelhost" "$@" >out.txt 2>err.txt || fail "pixelhost $*: exit $?: $(cat err.txt)"
}

# expect STATUS MESSAGE ARGS…: pixelhost exits with STATUS and says MESSAGE on stderr.
expect() {
  status=$1
  message=$2
  shift 2
  "$pixelhost" "$@" >out.txt 2>err.txt
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

# A PNG through RGB raw bytes and back into a picture, equal pixel for pixel, on each host kind.
for host in desktop console; do
  run to-picture RGB pixels.rgb in.png $size --host $host
  run to-memory RGB in.png in.rgb --host $host
  same pixels.rgb in.rgb "PNG to RGB raw ($host)"
  run to-picture RGB in.rgb out.png $size --host $host
  run to-memory RGB out.png out.rgb --host $host
  same pixels.rgb out.rgb "RGB raw to picture ($host)"
done
run to-picture RGB in.rgb ptr.png $size --ptr
run to-memory RGB ptr.png ptr.rgb
same pixels.rgb ptr.rgb "RGB raw at a Ptr to picture"

# Every kind of PNG reads as the same 5 x 3 gray picture.
perl -e 'print pack("C*", map { ($_ * 17) x 3 } 0 .. 14)' >gray.rgb
for png in gray8 gray4 gray_alpha palette rgb16 rgba; do
  run to-memory RGB "$data/png/$png.png" "$png.rgb"
  same gray.rgb "$png.rgb" "$png.png read as RGB"
done

# Bad names and missing or short files.
expect 2 'unknown layout "RGBZ"' to-memory RGBZ in.png x.raw
expect 2 'unknown layout "GREY"' to-picture GREY pixels.rgb x.png $size
expect 1 "cannot open missing.png" to-memory RGB missing.png x.raw
expect 1 "cannot open missing.rgb" to-picture RGB missing.rgb x.png $size
expect 1 "pixels.rgb is not a PNG file" to-memory RGB pixels.rgb x.raw
head -c 100 pixels.rgb >short.rgb
expect 1 "OutOfBoundsException: Memoryblock is too small." to-picture RGB short.rgb x.png $size
expect 1 "short.rgb holds 100 bytes, too few" to-picture RGB short.rgb x.png $size --ptr

# Exceptions the plug-in raises, as "Class: message".
expect 1 "UnsupportedOperationException: width is too small. Must be >0." to-picture RGB pixels.rgb x.png --width 0 --height 23
expect 1 "UnsupportedOperationException: offset is too small. Must be >=0." to-memory RGB in.png x.raw --offset -1
expect 1 "UnsupportedOperationException: PixelByteSize is too small. Must be >0." to-memory G in.png x.raw --pixel-byte-size 0
expect 1 "CopyRGBtoMemoryblockQZV returned false" to-memory RGB in.png x.raw --end-line -2
head -c 120000 /dev/zero >wide.rgb
expect 1 "MemoryblockRGBtoPictureQZV returned nil" to-picture RGB wide.rgb x.png --width 40000 --height 1

# Bad command lines print the usage.
expect 2 "usage:"
expect 2 "unknown command" frob
expect 2 "needs a value" to-memory RGB in.png x.raw --offset
expect 2 "wants a 32-bit integer" to-picture RGB pixels.rgb x.png --width 1e3 --height 2
expect 2 "takes 3 operands" to-picture RGB pixels.rgb --width 3 --height 2
expect 2 "--width and --height are needed" to-picture RGB pixels.rgb x.png
expect 2 "wants 3 comma-separated values" to-picture GRAY pixels.rgb x.png $size --tint 1,2
expect 2 "no CopyRGBtoMemoryblockQZV taking AlphaValue" to-memory RGB in.png x.raw --alpha 3
expect 2 "usage: pixelhost to-memory" to-memory ARGB in.png x.raw --alpha 3 --mask in.png
expect 2 "--host is desktop, console or web" info --host mars

echo "$failures failures"
[ "$failures" -eq 0 ]
