#!/bin/sh
# The macOS plug-in ($2, read with llvm-objdump $1) is one universal bundle a Mac host can load
# as it is: slices for arm64 and x86_64 alone, each exporting REALPluginMain alone, loading
# libSystem, libc++ and CoreGraphics alone, every symbol bound to one of them by name (none
# looked up flat, none weak), for macOS 11 and later; the arm64 slice signed ad hoc, as Apple
# silicon runs no unsigned code; each slice with its vector kernels.
set -eu
export LC_ALL=C
objdump=$1 bundle=$2
fail() { echo "$bundle: $*"; exit 1; }
archs=$("$objdump" --macho --universal-headers "$bundle" | sed -n 's/^architecture //p' | sort | tr '\n' ' ')
[ "$archs" = "arm64 x86_64 " ] || fail "slices $archs, not arm64 and x86_64"
for arch in arm64 x86_64; do
  headers=$("$objdump" --macho --private-headers --arch=$arch "$bundle")
  echo "$headers" | grep -q 'BUNDLE .* NOUNDEFS DYLDLINK TWOLEVEL' || fail "$arch: not a two-level bundle with every symbol found"
  exports=$("$objdump" --macho --exports-trie --arch=$arch "$bundle" | awk '/^0x/ {print $2}')
  [ "$exports" = _REALPluginMain ] || fail "$arch exports:" $exports
  loads=$(echo "$headers" | awk '/cmd LC_/ {cmd = $2} /^ *name / && cmd ~ /DYLIB/ {print cmd, $2}' | sort | tr '\n' ' ')
  [ "$loads" = "LC_LOAD_DYLIB /System/Library/Frameworks/CoreGraphics.framework/Versions/A/CoreGraphics \
LC_LOAD_DYLIB /usr/lib/libSystem.B.dylib LC_LOAD_DYLIB /usr/lib/libc++.1.dylib " ] || fail "$arch loads: $loads"
  binds=$("$objdump" --macho --bind --lazy-bind --arch=$arch "$bundle" | awk '$1 ~ /^__/ {print $(NF-1)}' | sort -u | tr '\n' ' ')
  [ "$binds" = "CoreGraphics libSystem libc++ " ] || fail "$arch binds to $binds, not to its three libraries by name"
  [ -z "$("$objdump" --macho --weak-bind --arch=$arch "$bundle" | awk '$1 ~ /^__/')" ] || fail "$arch has weak binds"
  echo "$headers" | awk '/cmd LC_BUILD_VERSION/ {b = 1} b && /minos/ {print $2; exit}' | grep -qx 11.0 ||
    fail "$arch: not for macOS 11.0 and later"
done
# The arm64 slice's signature: a superblob whose code directory has the ad hoc flag (0x2).
slice=$("$objdump" --macho --universal-headers "$bundle" | awk '/^architecture/ {a = $2} a == "arm64" && /offset/ {print $2; exit}')
signature=$("$objdump" --macho --private-headers --arch=arm64 "$bundle" | awk '/LC_CODE_SIGNATURE/ {s = 1} s && /dataoff/ {print $2; exit}')
[ -n "$signature" ] || fail "arm64 is not signed"
bytes() { od -A n -t x1 -j $(($1)) -N $2 "$bundle" | tr -d ' \n'; }
[ "$(bytes "$slice + $signature" 4)" = fade0cc0 ] || fail "arm64: no signature superblob"
directory=$(bytes "$slice + $signature + 16" 4)
[ "$(bytes "$slice + $signature + 0x$directory" 4)" = fade0c02 ] || fail "arm64: no code directory"
[ $((0x$(bytes "$slice + $signature + 0x$directory + 12" 4) & 2)) = 2 ] || fail "arm64: signed, but not ad hoc"
"$objdump" -d --arch=x86_64 "$bundle" | grep -q 'vpermb.*%zmm' || fail "x86_64 has no AVX-512 kernels"
"$objdump" -d --arch=x86_64 "$bundle" | grep -q 'vpshufb.*%ymm' || fail "x86_64 has no AVX2 kernels"
"$objdump" -d --arch=arm64 "$bundle" | grep -qE '(tbl|ld3|ld4|st3|st4)\.16b' || fail "arm64 has no NEON kernels"
echo "$bundle: arm64 and x86_64, REALPluginMain alone, libSystem, libc++ and CoreGraphics two-level, macOS 11.0, arm64 signed ad hoc"
