#!/bin/sh
# Usage: sh cmake/wow64_dlls.sh DIR
# The i386 Windows builtins (ntdll.dll, kernel32.dll, msvcrt.dll, ...) with which wine64 runs
# 32-bit programs in its WoW64 mode, into DIR/dlls, the folder WINEDLLPATH names. Debian ships
# them in libwine:i386, which is fetched in the very version of the installed wine64 (its
# libwine) and unpacked, not installed: apt works with package lists and a cache of its own in
# DIR/apt, so dpkg's architectures and the system's packages and lists stay as they are, and
# checks the package against the archive's signed index. Fetched again only when wine64's
# version changes.
set -eu
dir=$1
mkdir -p "$dir"
# One fetch at a time, however many builds of the tree run at once.
exec 9>"$dir/lock"
flock 9

fail() {
  echo "win32: $1" >&2
  shift
  [ $# = 0 ] || printf '  %s\n' "$@" >&2
  exit 1
}

status=$(dpkg-query -W -f='${db:Status-Status} ${Version}' libwine 2>/dev/null || true)
case $status in
  "installed "*) version=${status#installed } ;;
  *) fail "wine64 isn't installed; the tree's programs run under it." \
       "What to do: make win32 as root installs it (or apt-get install wine64), then make again." ;;
esac
[ "$(cat "$dir/version" 2>/dev/null)" = "$version" ] && [ -f "$dir/dlls/i386-windows/ntdll.dll" ] && exit 0

echo "win32: fetching libwine:i386 $version, wine64's i386 Windows builtins, into $dir/dlls"
rm -rf "$dir/dlls" "$dir/version" "$dir/apt" "$dir/new"
mkdir -p "$dir/apt/lists/partial" "$dir/apt/cache/archives/partial" "$dir/new/dlls"
set -- -o APT::Architectures::=amd64 -o APT::Architectures::=i386 -o Acquire::Languages=none \
  -o Dir::State::Lists="$dir/apt/lists" -o Dir::Cache="$dir/apt/cache"
# update fails when any index does (the security archive's i386 one may); the main archive's,
# which holds the package, is enough: download says whether it came.
apt-get "$@" update >"$dir/update.log" 2>&1 || true
if ! (cd "$dir/new" && apt-get "$@" download "libwine:i386=$version") >"$dir/download.log" 2>&1; then
  {
    echo "win32: can't fetch libwine:i386 $version, the i386 Windows builtins with which wine64"
    echo "  runs this tree's 32-bit programs (WoW64). apt-get download said:"
    grep -v '^W:' "$dir/download.log" | sed 's/^/    /'
    if grep -q 'Failed to fetch' "$dir/update.log"; then
      echo "  and apt-get update (all of it in $dir/update.log):"
      grep 'Failed to fetch' "$dir/update.log" | sed 's/^/    /'
    fi
    echo "  What to do: the package comes from the Debian archive that the system's apt sources"
    echo "  name, in the version of the installed wine64. Check that the archive is reachable and"
    echo "  still has libwine $version for i386. If wine64 came from elsewhere, or the archive"
    echo "  has moved on, install the archive's (apt-get update, then apt-get install wine64) and"
    echo "  make again. Nothing was installed."
  } >&2
  exit 1
fi
# Its usr/lib/i386-linux-gnu/wine/, which holds i386-windows/.
dpkg-deb --fsys-tarfile "$dir"/new/libwine_*_i386.deb |
  tar -x -C "$dir/new/dlls" --strip-components=5 ./usr/lib/i386-linux-gnu/wine
[ -f "$dir/new/dlls/i386-windows/ntdll.dll" ] || fail "libwine:i386 $version unpacked without i386-windows/ntdll.dll"
mv "$dir/new/dlls" "$dir/dlls"
rm -rf "$dir/new" "$dir/apt"
echo "$version" >"$dir/version"
