#!/bin/sh
# The methods document's tables hold each registered declaration once, and nothing else.
set -eu
table=$(grep '^| [0-9]* | `' "$1" | sed 's/^| [0-9]* | `//; s/` |.*$//' | sort)
registered=$(grep -v '^#' "$2" | sort)
if [ "$table" != "$registered" ]; then
  echo "the methods document's tables and the declarations differ:"
  printf '%s\n' "$table" >"$3.table" && printf '%s\n' "$registered" | diff "$3.table" - || true
  exit 1
fi
echo "the methods document's tables hold the 50 declarations"
