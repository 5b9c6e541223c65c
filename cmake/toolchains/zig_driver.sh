#!/bin/sh
# zig as the Windows on ARM64 tree's C and C++ compiler and linker:
#   zig_driver.sh ZIG CACHE cc|c++ ARGUMENTS...
# with its caches in CACHE. zig 0.11's driver refuses the project's -Wl,--no-insert-timestamp
# and passes lld no other way to leave out the link time a Windows image carries: this does
# what the option does, the COFF header's TimeDateStamp made 0 once the image is linked.
set -eu
zig=$1 cache=$2 language=$3
shift 3
no_timestamp=false image="" previous="" optimised=false linking=true stripped=false
for argument; do
  shift
  [ "$previous" != -o ] || image=$argument
  previous=$argument
  case $argument in
  -O*) optimised=true ;;
  -c | -E | -S) linking=false ;;
  -s) stripped=true ;;
  esac
  if [ "$argument" = -Wl,--no-insert-timestamp ]; then no_timestamp=true; else set -- "$@" "$argument"; fi
done
# zig builds the target's C and C++ runtimes at the first link of each optimisation mode and
# way of stripping, a minute or two a set. Every image of the tree links optimised and
# stripped. CMake's own checks of the compilers give neither: they link so too, and build
# the sets the tree's links use. Its identification of the compilers, the one call without an
# output file, reads what it needs from an object file as well as from a program: it compiles
# and links nothing.
if [ -z "$image" ] && $linking; then
  set -- -c "$@"
elif $linking; then
  $optimised || set -- -O2 "$@"
  $stripped || set -- -s "$@"
fi
ZIG_GLOBAL_CACHE_DIR=$cache ZIG_LOCAL_CACHE_DIR=$cache "$zig" "$language" -target aarch64-windows-gnu "$@"
if $no_timestamp; then
  # The PE signature's offset is at byte 0x3C; the COFF header follows the signature, and its
  # TimeDateStamp follows Machine and NumberOfSections.
  signature=$(od -An -tu4 -j60 -N4 "$image" | tr -d ' ')
  printf '\0\0\0\0' | dd of="$image" bs=1 seek=$((signature + 8)) conv=notrunc status=none
fi
