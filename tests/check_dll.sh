#!/bin/sh
# The DLL exports REALPluginMain alone and imports system DLLs alone: a host loads it from
# its own folder, and Windows doesn't look beside the DLL for the DLLs it imports.
set -eu
table=$("$1" -p "$2")
exports=$(echo "$table" | sed -n '/Ordinal.Name Pointer/,/^$/s/^\s*\[ *[0-9]*\] *//p')
imports=$(echo "$table" | sed -n 's/^\s*DLL Name: //p' | sort -u)
echo "exports: $exports"; echo "imports:" $imports
[ "$exports" = REALPluginMain ] || { echo "unexpected exports"; exit 1; }
[ -n "$imports" ] || { echo "no imports read"; exit 1; }
for dll in $imports; do
  case $(echo "$dll" | tr 'A-Z' 'a-z') in
    kernel32.dll | msvcrt.dll | api-ms-win-crt-*.dll) ;;
    *) echo "imports $dll, which isn't a system DLL"; exit 1 ;;
  esac
done
