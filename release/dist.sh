#!/bin/sh
# Usage: release/dist.sh OUT
# One archive per platform in OUT from the trees `make test` built, and OUT/SHA256SUMS. The
# same sources give the same bytes: binaries are stripped of the build's paths, and every
# archive member has the last commit's time, owner 0 and a fixed order and mode.
set -eu
export LC_ALL=C TZ=UTC
out=$1
here=$(cd "$(dirname "$0")/.." && pwd)
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$here/build/native/CMakeCache.txt")
[ -n "$version" ] || { echo "dist: no build/native tree; run make test first" >&2; exit 1; }
epoch=${SOURCE_DATE_EPOCH:-$(git -C "$here" log -1 --format=%ct 2>/dev/null || echo 0)}
export SOURCE_DATE_EPOCH=$epoch  # the time strip gives a Windows file it rewrites
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
rm -rf "$out" && mkdir -p "$out" && out=$(cd "$out" && pwd)

# stage NAME TREE KIND FILE...: the tree's files (stripped with the tree's own strip where
# KIND's binaries allow it), the licence, README and docs/, KIND's INSTALL and NOTICE in NAME/.
stage() {
  name=pixelbridge-$version-$1 tree=$here/build/$2 kind=$3
  shift 3
  dir=$stage/$name
  mkdir -p "$dir"
  strip=$(sed -n 's/^CMAKE_STRIP:FILEPATH=//p' "$tree/CMakeCache.txt")
  for file in "$@"; do
    [ -f "$tree/$file" ] || { echo "dist: no $tree/$file; run make test first" >&2; exit 1; }
    cp "$tree/$file" "$dir/$file"
    # The Mac bundle's arm64 signature covers its bytes; it is linked without a debug map.
    [ "$kind" = macos ] || "$strip" --strip-unneeded "$dir/$file"
    chmod 755 "$dir/$file"
  done
  cp "$here/LICENSE" "$here/README.md" "$here"/release/$kind/* "$dir/"
  mkdir "$dir/docs" && cp "$here"/docs/*.md "$dir/docs/"
  chmod 644 "$dir/LICENSE" "$dir/README.md" "$dir"/INSTALL* "$dir"/NOTICE* "$dir"/docs/*
  chmod 755 "$dir/docs"
  find "$dir" -exec touch -h -d "@$epoch" {} +
}
tarball() {
  (cd "$stage" && tar --sort=name --owner=0 --group=0 --numeric-owner --mtime="@$epoch" \
    --format=gnu -cf - "$1" | gzip -9 -n >"$out/$1.tar.gz")
}
zipball() {
  (cd "$stage" && find "$1" | sort | zip -X -q -9 "$out/$1.zip" -@)
}

for arch in x86_64:native i386:i386 aarch64:aarch64 armhf:armhf; do
  stage linux-${arch%%:*} ${arch#*:} linux libpixelbridge.so libcgstandin.so pixelhost
  tarball pixelbridge-$version-linux-${arch%%:*}
done
for arch in x64:win64 x86:win32; do
  stage windows-${arch%%:*} ${arch#*:} windows pixelbridge.dll pixelhost.exe
  zipball pixelbridge-$version-windows-${arch%%:*}
done
stage windows-arm64 winarm64 winarm64 pixelbridge.dll pixelhost.exe
zipball pixelbridge-$version-windows-arm64
stage macos-universal macos macos pixelbridge.bundle
tarball pixelbridge-$version-macos-universal
(cd "$out" && sha256sum pixelbridge-* >SHA256SUMS)
ls -l "$out"
