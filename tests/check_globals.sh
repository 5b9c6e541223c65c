#!/bin/sh
# Every writable global of the plug-in (objects in .data, .bss and their thread-local kinds) is
# named in the list above the probe build's reset, and those it says the reset puts back are in
# the reset's code: each host of a test process and each fuzz input starts from the plug-in as
# loaded. Arguments: objdump, the plug-in, probe_entry.cpp, the host function list.
set -eu
objdump=$1 plugin=$2 probe=$3 wrappers=$4
# Demangled, without parameter lists; guard variables follow their statics; the toolchain's
# own (__dso_handle, completed.0, DW.ref..., section and mapping symbols) are left out.
globals=$("$objdump" -t -C "$plugin" | awk -F'\t' '{
    n = split($1, head, " "); section = head[n]; name = $2; sub(/^[0-9a-f]+ +/, "", name)
    if (section !~ /^\.t?(data|bss)$/ || name == section) next
    if (name ~ /^(guard variable for |__|_TLS_MODULE_BASE_|DW\.ref\.|completed\.|\$)/) next
    while (gsub(/\([^()]*\)/, "", name)) {}
    sub(/^::/, "", name); print name }' | sort -u)
[ -n "$globals" ] || { echo "no writable global read from $plugin"; exit 1; }
reset=$(sed -n '/^PROBE void PixelbridgeProbeReset()/,/^}/p' "$probe")
failed=0
for global in $globals; do
  entry=$(grep -E "^//   (reset|reset by [A-Za-z]+|keeps):.* $global( |,|$)" "$probe" || true)
  case "$entry" in
    "//   keeps:"*) continue ;;
    "//   reset by "*) how=${entry#//   reset by }; how=${how%%:*} ;;
    "//   reset:"*) how=$global ;;
    *) how=PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS
       grep -q "^ *X($global," "$wrappers" || { failed=1
         echo "$global, a writable global of the plug-in, is named nowhere in $probe: put it back in"
         echo "  PixelbridgeProbeReset and add it to a '//   reset:' line above it (or 'reset by F:'),"
         echo "  or, if it needs nothing (a cache found by what it holds), to a '//   keeps:' line"; continue; } ;;
  esac
  echo "$reset" | grep -qw "$how" || { failed=1; echo "$global: the reset's code lacks $how"; }
done
[ $failed = 0 ] && echo "every writable global is put back by the probe's reset or kept:" $globals
exit $failed
