#!/bin/sh
# Usage: check_dll.sh OBJDUMP MACHINE DLL [PREFIX]
# The DLL is for MACHINE (its COFF header's, in hex: 8664, 14c, aa64), exports REALPluginMain
# alone (with PREFIX: and functions whose names start with it) and imports system DLLs alone:
# a host loads it from its own folder, and Windows doesn't look beside the DLL for the DLLs it
# imports. OBJDUMP is GNU's or llvm's.
set -eu
dll=$3 prefix=${4:-REALPluginMain}
signature=$(od -An -tu4 -j60 -N4 "$dll" | tr -d ' ')
machine=$(od -An -tx2 -j$((signature + 4)) -N2 "$dll" | tr -d ' ' | sed 's/^0*//')
table=$("$1" -p "$dll")
exports=$(echo "$table" | sed -n -e '/Ordinal.Name Pointer/,/^$/s/^\s*\[ *[0-9]*\] *//p' \
  -e '/^ *Ordinal *RVA *Name$/,/^$/s/^ *[0-9][0-9]* *0x[0-9a-f]* *//p')
imports=$(echo "$table" | sed -n 's/^\s*DLL Name: //p' | sort -u)
echo "machine: $machine"; echo "exports:" $exports; echo "imports:" $imports
[ "$machine" = "$2" ] || { echo "machine $machine, not $2"; exit 1; }
echo "$exports" | grep -qx REALPluginMain || { echo "REALPluginMain isn't exported"; exit 1; }
for name in $exports; do
  case $name in REALPluginMain | "$prefix"*) ;; *) echo "unexpected export $name"; exit 1 ;; esac
done
[ -n "$imports" ] || { echo "no imports read"; exit 1; }
for dll in $imports; do
  case $(echo "$dll" | tr 'A-Z' 'a-z') in
    kernel32.dll | msvcrt.dll | api-ms-win-crt-*.dll) ;;
    *) echo "imports $dll, which isn't a system DLL"; exit 1 ;;
  esac
done
