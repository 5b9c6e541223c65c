#!/bin/sh
# Usage: check_rebuild.sh SOURCE DLL CMAKE_OPTION...
# The plug-in built again from a copy of SOURCE, in other folders and at another time, with
# these options, has DLL's bytes: nothing in it says where or when it was built.
set -eu
source=$1 dll=$2
shift 2
again=$(mktemp -d)
trap 'rm -rf "$again"' EXIT
mkdir "$again/sources"
tar -C "$source" --exclude=./build --exclude=./dist --exclude=./.git -cf - . | tar -C "$again/sources" -xf -
cmake -S "$again/sources" -B "$again/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPIXELBRIDGE_TESTS=OFF "$@" >/dev/null
cmake --build "$again/build" --target pixelbridge >/dev/null
cmp "$dll" "$again/build/${dll##*/}"
echo "built again in $again: the same $(wc -c <"$dll") bytes"
