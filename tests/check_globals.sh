#!/bin/sh
# Every writable global of the plug-in (objects in .data, .bss and their thread-local kinds) is
# named in the list above PixelbridgeProbeReset, and every one that list says the reset puts
# back is in the reset's code: so that each host of a test process and each fuzz input starts
# from the plug-in as loaded. Arguments: objdump, the plug-in, probe_entry.cpp, the host
# function list (whose wrappers the reset puts back through its macro).
set -eu
objdump=$1 plugin=$2 probe=$3 wrappers=$4
# Demangled names without parameter lists or anonymous namespaces; guard variables follow
# their statics, and the toolchain's own (__dso_handle, completed.0, DW.ref..., section and
# mapping symbols) are left out.
globals=$("$objdump" -t -C "$plugin" | awk -F'\t' '{
    n = split($1, head, " "); section = head[n]
    if (section !~ /^\.t?(data|bss)$/) next
    name = $2; sub(/^[0-9a-f]+ +/, "", name)
    if (name == section || name ~ /^(guard variable for |__|_TLS_MODULE_BASE_|DW\.ref\.|completed\.|\$)/) next
    while (gsub(/\([^()]*\)/, "", name)) {}
    sub(/^::/, "", name); print name }' | sort -u)
reset=$(sed -n '/^PROBE void PixelbridgeProbeReset()/,/^}/p' "$probe")
listed=$(sed -n 's|^//   global \([^ ]*[^ :]\)\(:.*\)\{0,1\}$|\1|p' "$probe")
wrapped=$(sed -n 's/^ *X(\([A-Za-z0-9_]*\),.*/\1/p' "$wrappers")
failed=0
for global in $globals; do
  if echo "$wrapped" | grep -qx "$global"; then
    echo "$reset" | grep -q 'PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(' && continue
  elif echo "$listed" | grep -qx "$global"; then
    how=$(sed -n "s|^//   global $global: *\\([A-Za-z0-9_]*\\).*|\\1|p" "$probe")
    [ "$how" = keeps ] && continue
    echo "$reset" | grep -q "\\b${how:-${global##*::}}\\b" && continue
    echo "$global is listed in $probe as put back${how:+ by $how}, but the reset's code doesn't"
    failed=1; continue
  fi
  echo "$global, a writable global of the plug-in, is named nowhere in $probe: put it back in"
  echo "  PixelbridgeProbeReset and list it above it as '//   global $global' (or, put back by a"
  echo "  function, '//   global $global: ThatFunction'), or, if it needs nothing (a cache found"
  echo "  by what it holds), as '//   global $global: keeps, because ...'"
  failed=1
done
[ $failed = 0 ] && echo "every writable global is put back by the probe's reset or needs nothing:" $globals
exit $failed
