#!/bin/sh
# The release archives in $1: each holds its platform's files and nothing else, with the
# version in every plug-in; no file names the machine that built it; the sums match; the
# x86-64 Linux archive runs pixelhost's info and demo from an empty folder, and the Windows
# archives its --version, info and demo; and making them again gives the same bytes.
set -eu
export LC_ALL=C
dist=$(cd "$1" && pwd) here=$(cd "$(dirname "$0")/.." && pwd)
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$here/build/native/CMakeCache.txt")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "dist test: $*" >&2; exit 1; }

# Every archive holds the documents too.
docs="docs/ $(cd "$here/docs" && printf 'docs/%s\n' *.md)"
# holds PLATFORM SUFFIX FILE...: the archive is there and holds its folder with FILE... and the
# documents alone.
holds() {
  folder=pixelbridge-$version-$1
  archive=$dist/$folder.$2
  shift 2
  case $archive in *.zip) list=$(unzip -Z1 "$archive") ;; *) list=$(tar -tzf "$archive") ;; esac
  [ "$list" = "$(printf "$folder/%s\n" "" "$@" $docs | sort)" ] || fail "$archive holds" $list
  case $archive in *.zip) unzip -q "$archive" -d "$work" ;; *) tar -xzf "$archive" -C "$work" ;; esac
  echo "${archive##*/}" >>"$work/archives"
}
for arch in x86_64 i386 aarch64 armhf; do
  holds linux-$arch tar.gz INSTALL LICENSE NOTICE README.md libcgstandin.so libpixelbridge.so pixelhost
  grep -q "@(#)pixelbridge $version" "$work/pixelbridge-$version-linux-$arch/libpixelbridge.so" || fail "$arch: no version"
done
for arch in x64 x86; do
  holds windows-$arch zip INSTALL.txt LICENSE NOTICE.txt README.md pixelbridge.dll pixelhost.exe
  strings -el "$work/pixelbridge-$version-windows-$arch/pixelbridge.dll" | grep -qx "$version" || fail "$arch: no VERSIONINFO"
done
# Windows on ARM64 isn't run here: its plug-in is checked as its tree checks it.
holds windows-arm64 zip INSTALL.txt LICENSE NOTICE.txt README.md pixelbridge.dll pixelhost.exe
arm64=$work/pixelbridge-$version-windows-arm64
strings -el "$arm64/pixelbridge.dll" | grep -qx "$version" || fail "arm64: no VERSIONINFO"
sh "$here/tests/check_dll.sh" llvm-objdump aa64 "$arm64/pixelbridge.dll" >/dev/null || fail "arm64: the DLL's check"
holds macos-universal tar.gz INSTALL LICENSE NOTICE README.md pixelbridge.bundle
grep -q "<string>$version</string>" "$work/pixelbridge-$version-macos-universal/pixelbridge.bundle" || fail "macOS: no version"
echo SHA256SUMS >>"$work/archives"
[ "$(ls "$dist")" = "$(sort "$work/archives")" ] || fail "$dist holds" $(ls "$dist")
(cd "$dist" && sha256sum --check --quiet --strict SHA256SUMS) || fail "SHA256SUMS doesn't match"
! grep -rl "$here" "$work" || fail "files above name the build's folder"

cd "$work/pixelbridge-$version-linux-x86_64"
./pixelhost info | grep -qx "pixelhost $version, plug-in $PWD/libpixelbridge.so: pixelbridge $version" || fail "linux info"
./pixelhost demo --out demo | grep -q '^50 of 50 methods round-trip exactly' || fail "linux demo"
# The Windows archives' pixelhost.exe under wine64, as their trees' tests run it: x64 with the
# win64 tree's prefix, x86 in WoW64 mode with the win32 tree's and the i386 builtins it
# fetched, on a machine that runs 32-bit x86 code (elsewhere the win32 tree's tests say so too).
run() { WINEPREFIX="$tree/wine" WINEDEBUG=-all WINEDLLPATH="$tree/wow64/dlls" /usr/lib/wine/wine64 pixelhost.exe "$@" | tr -d '\r'; }
for arch in x64:win64 x86:win32; do
  tree=$here/build/${arch#*:} arch=${arch%%:*}
  if [ "$arch" = x86 ] && ! /lib/ld-linux.so.2 --version >/dev/null 2>&1; then
    echo "dist test: windows x86 not run: this machine runs no 32-bit x86 code" >&2
    continue
  fi
  cd "$work/pixelbridge-$version-windows-$arch"
  run --version | grep -qx "pixelhost $version" || fail "windows $arch --version"
  run info | grep -q "^pixelhost $version, plug-in .*pixelbridge.dll: pixelbridge $version\$" || fail "windows $arch info"
  run demo --out demo | grep -q '^50 of 50 methods round-trip exactly' || fail "windows $arch demo"
done

"$here/release/dist.sh" "$work/again" >/dev/null
for archive in "$dist"/*; do cmp "$archive" "$work/again/${archive##*/}" || fail "a second run differs"; done
echo "dist test: the archives of $version and their sums as they should be"
