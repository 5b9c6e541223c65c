#!/bin/sh
# The plug-in exports its entry point and nothing else.
set -eu
exports=$(nm -D --defined-only "$1" | awk '{print $3}' | sort)
if [ "$exports" != "REALPluginMain" ]; then
  echo "unexpected exports of $1:"; echo "$exports"; exit 1
fi
echo "only REALPluginMain is exported"
